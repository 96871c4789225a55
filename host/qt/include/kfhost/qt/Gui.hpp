// kfhost with real windows: a Qt application whose main window stands for the host's application
// window, with the Qt dialog backend and Qt's event loop as the host's main run loop.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace kfhost {
class Host;
class ScriptRunner;
} // namespace kfhost

namespace kfhost::qt {

class MainWindow;
class QtBackend;
class ScriptPlayer;

struct GuiOptions {
    std::filesystem::path screenshotDir; // empty: no pictures
    bool batch = false;                  // end with the script instead of handing over to the user
    bool echo = true;                    // also print the transcript on standard output
};

// Whether there is a window system to show windows on ($DISPLAY, $WAYLAND_DISPLAY or a Qt platform
// chosen by $QT_QPA_PLATFORM).
bool DisplayPresent();

class GuiSession {
public:
    // Makes the Qt application (unless one exists) and installs the Qt run loop and dialog backend in
    // host, answering from script while it plays. Do it before loading add-ons, so that whatever
    // they schedule runs on Qt's loop.
    GuiSession(Host& host, ScriptRunner& script, GuiOptions options);
    // Unloads the add-ons while their windows still exist, then gives the host back its headless
    // backend (the script's) and poll loop.
    ~GuiSession();
    GuiSession(const GuiSession&) = delete;
    GuiSession& operator=(const GuiSession&) = delete;

    // Shows the main window with the menus registered so far, plays the script (if any) against
    // the real widgets and then, unless batch, leaves the windows to the user until the main
    // window closes. Answers whether every expectation held; failures are in the script runner.
    bool Run(std::string_view script, const std::string& source);
    // Shows (or refreshes) the main window; Run does it.
    void ShowMainWindow();

    QtBackend& Backend();
    MainWindow& Window();
    ScriptPlayer& Player();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace kfhost::qt
