// What the files of the guide's sample add-on share.
#pragma once

#include "HostAPI.hpp"
#include "KF/KF_String.hpp"

extern const char kGuide_VersionLine[];

long CountUse();
void ShowNotes();
void CheckNow();
void TellSuite();
bool FindChair(API_LibPart& part);
