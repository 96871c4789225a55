// kfhost's windows live in a module of their own (kfhost-qt.so), opened only when windows are
// asked for, so that a headless run maps none of Qt's libraries. The module takes the host's code
// from the kfhost that opens it (the program exports it); both are built from one tree, and this
// is all that passes between them. Nothing here needs Qt.
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

struct GuiOptions {
    std::filesystem::path screenshotDir; // empty: no pictures
    bool batch = false;                  // end with the script instead of handing over to the user
    bool echo = true;                    // also print the transcript on standard output
};

// A host shown in windows, for as long as it lives.
class WindowedRun {
public:
    virtual ~WindowedRun() = default;
    // Shows the main window, plays the script (if any) against the widgets and then, unless batch,
    // leaves the windows to the user until the main window closes. Answers whether every
    // expectation held; failures are in the script runner.
    virtual bool Run(std::string_view script, const std::string& source) = 0;
};

// What the module hands kfhost. The interface number changes with anything above.
struct WindowsModule {
    int interface;
    // Makes the Qt application and installs the Qt run loop and dialog backend in host; do it
    // before loading add-ons, so that whatever they schedule runs on Qt's loop.
    std::unique_ptr<WindowedRun> (*open)(Host& host, ScriptRunner& script, const GuiOptions& options);
};
inline constexpr int kModuleInterface = 1;
// The module's one exported function: `const WindowsModule* kfhost_qt_module()`.
inline constexpr const char* kModuleSymbol = "kfhost_qt_module";

// Whether this kfhost was built with windows (not configured with -DKF_WITH_QT=OFF).
bool WindowsBuilt();

// Whether there is a window system to show windows on ($DISPLAY, $WAYLAND_DISPLAY or a Qt platform
// chosen by $QT_QPA_PLATFORM).
bool DisplayPresent();

// Opens the module beside kfhost (or where it is installed): what it exports, or null and why, in one
// line (not built, not installed, Qt's libraries missing, another kfhost's module).
const WindowsModule* OpenModule(std::string* why);

} // namespace kfhost::qt
