// Small static helpers around the host and the operating system for framework add-ons.
#pragma once

#include "HostAPI.hpp"
#include "KF/KF_Location.hpp"
#include "KF/KF_String.hpp"

// Download events delivered to a URLDownload callback.
enum KF_URL_Message : int {
    KF_URL_Opened = 0, // connection open, before the target file is created (answer 1 to cancel)
    KF_URL_Failed = 1,
    KF_URL_Data = 2, // a block was received and written; progress is always 0.5
    KF_URL_Done = 3,
    KF_URL_Close = 4 // never sent by the downloader
};

using KF_URL_CallBack = int (*)(KF_URL_Message message, double progress, void* userData);

class KF_General {
public:
    // Download (update area).
    static bool URLDownload(const KF_String& url, const KF_Location& target, KF_URL_CallBack callback, void* userData);
    // As above; a document of more than maxBytes (counted after any content decoding; 0: no
    // limit) ends the download as failed. The data goes to a new file beside the target, which
    // replaces the target only when the document is complete; a failed download leaves nothing.
    // An HTTP status of 400 or more is a failure.
    static bool URLDownload(const KF_String& url, const KF_Location& target, KF_URL_CallBack callback, void* userData,
                            unsigned long long maxBytes);

    // Library part look-ups with an error alert (library area).
    static bool GetLPIdxFullLib(const KF_String& name, long& index, bool showError, const KF_String& errorText,
                                API_LibTypeID type);
    static bool GetLPIdxFullLibNoCheckLibs(const KF_String& name, long& index, bool showError,
                                           const KF_String& errorText, API_LibTypeID type);

    // Host utilities.
    static bool HostProjectTitle(KF_String& title, bool* untitled);
    static short CheckCurrentRenderingEngine(const KF_String& engineName);
    static bool SetRenderingEngine(const KF_String& engineName);
    static bool OpenFolderByLoc(KF_Location& folder);
    static bool LaunchDocByLoc(const KF_Location& file);
    static bool LaunchDocByPath(const KF_String& path);
    static bool LaunchURLByPath(const KF_String& address);
};
