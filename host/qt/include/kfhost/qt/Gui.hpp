// kfhost with real windows: a Qt application whose main window stands for the host's application
// window, with the Qt dialog backend and Qt's event loop as the host's main run loop. The script
// runs through the script runner as it does headless, with the widgets as its hand.
#pragma once

#include "kfhost/qt/Module.hpp"

#include <memory>
#include <string>
#include <string_view>

namespace kfhost::qt {

class MainWindow;
class QtBackend;

class GuiSession final : public WindowedRun {
public:
    // Makes the Qt application (unless one exists) and installs the Qt run loop and dialog backend in
    // host, answering from script while it plays. Do it before loading add-ons, so that whatever
    // they schedule runs on Qt's loop.
    GuiSession(Host& host, ScriptRunner& script, GuiOptions options);
    // Unloads the add-ons while their windows still exist, then gives the host back its headless
    // backend (the script's) and poll loop.
    ~GuiSession() override;
    GuiSession(const GuiSession&) = delete;
    GuiSession& operator=(const GuiSession&) = delete;

    bool Run(std::string_view script, const std::string& source) override;
    // Shows (or refreshes) the main window; Run does it.
    void ShowMainWindow();

    QtBackend& Backend();
    MainWindow& Window();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace kfhost::qt
