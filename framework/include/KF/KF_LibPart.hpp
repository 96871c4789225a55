// Library parts and libraries of the host, for framework add-ons that look up their own parts.
#pragma once

#include "HostAPI.hpp"
#include "KF/KF_List.hpp"
#include "KF/KF_Location.hpp"
#include "KF/KF_String.hpp"

// Operations on the host's library parts. An index of -1 means "not found" throughout.
class KF_LibPart {
public:
    // The host's answer for a name; APIERR_MISSINGDEF (-7003) when the name is known but its
    // definition is missing. On 0, out.location belongs to the caller.
    static HostErrCode Search(const KF_String& name, API_LibTypeID type, API_LibPart& out);

    // On true, out.location belongs to the caller.
    static bool LibPart(const KF_Location& partFile, API_LibTypeID type, API_LibPart& out);
    static bool LibPart(const KF_String& name, API_LibTypeID type, API_LibPart& out);
    static bool LibPart(const long& index, API_LibPart& out);

    // The part's file; out is left unchanged when the part cannot be had.
    static bool Location(const KF_Location& partFile, API_LibTypeID type, KF_Location& out);
    static bool Location(long index, KF_Location& out);

    static long Index(const KF_String& name, API_LibTypeID type);
    // As Index, loading the suite library (checking the loaded ones first) and then asking the
    // user for a folder when the part is still missing.
    static long IndexFullLib(const KF_String& name, API_LibTypeID type);
    // As IndexFullLib, loading the suite library without looking at the loaded ones.
    static long IndexFullLibNoCheckLibs(const KF_String& name, API_LibTypeID type);
};

// Operations on the host's loaded libraries.
class KF_Library {
public:
    // The loaded libraries in the host's order, the one the host names moved to the front.
    static bool Libraries(KF_List<KF_Location>& out);
    // Loads the suite library folder beside the add-on unless (checkLoaded) it is loaded already.
    static bool Load(bool checkLoaded);
    // Asks the user for a library folder and loads it.
    static bool Ask(const KF_String& message, bool prefixWithAddOnName);
};
