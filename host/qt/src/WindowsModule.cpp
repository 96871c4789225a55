// The part of kfhost's windows that lives in kfhost itself: whether windows can be shown, and
// opening the module that shows them. No Qt here.
#include "kfhost/Modules.hpp"
#include "kfhost/qt/Module.hpp"

#include <cstdlib>

namespace kfhost::qt {
namespace {

bool Set(const char* name)
{
    const char* value = std::getenv(name);
    return value && *value;
}

} // namespace

bool WindowsBuilt()
{
    return KFHOST_WITH_QT;
}

bool DisplayPresent()
{
    return Set("DISPLAY") || Set("WAYLAND_DISPLAY") || Set("QT_QPA_PLATFORM");
}

const WindowsModule* OpenModule(std::string* why)
{
#if !KFHOST_WITH_QT
    *why = "no windows: this kfhost was built without Qt (-DKF_WITH_QT=OFF)";
    return nullptr;
#else
    std::string reason;
    using ModuleFn = const WindowsModule* (*)();
    const auto exported = reinterpret_cast<ModuleFn>(ModuleSymbol(KFHOST_QT_MODULE_NAME, kModuleSymbol, &reason));
    const WindowsModule* answer = exported ? exported() : nullptr;
    if (answer && answer->interface != kModuleInterface) {
        reason = KFHOST_QT_MODULE_NAME " belongs to another build of kfhost";
        answer = nullptr;
    }
    if (!answer)
        *why = "no windows: " + reason;
    return answer;
#endif
}

} // namespace kfhost::qt
