// Everything the framework offers an add-on, in one include.
#pragma once

#include "KF/KF_String.hpp"
#include "KF/KF_List.hpp"
#include "KF/KF_Text_Scanner.hpp"

#include "KF/KF_Location.hpp"
#include "KF/KF_File.hpp"

#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_AddonSettings.hpp"
#include "KF/KF_Language.hpp"

#include "KF/KF_AddonUpdate.hpp"
#include "KF/KF_General.hpp"

#include "KF/KF_Comm.hpp"
#include "KF/KF_Dialog.hpp"
#include "KF/KF_LibPart.hpp"
