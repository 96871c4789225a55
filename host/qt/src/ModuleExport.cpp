// The one symbol of kfhost-qt.so that kfhost looks up.
#include "kfhost/qt/Gui.hpp"

namespace {

std::unique_ptr<kfhost::qt::WindowedRun> Open(kfhost::Host& host, kfhost::ScriptRunner& script,
                                              const kfhost::qt::GuiOptions& options)
{
    return std::make_unique<kfhost::qt::GuiSession>(host, script, options);
}

constexpr kfhost::qt::WindowsModule kModule{kfhost::qt::kModuleInterface, &Open};

} // namespace

extern "C" __attribute__((visibility("default"))) const kfhost::qt::WindowsModule* kfhost_qt_module()
{
    return &kModule;
}
