// The part of kfhost's windows that lives in kfhost itself: whether windows can be shown, and
// opening the module that shows them. No Qt here.
#include "kfhost/qt/Module.hpp"

#include <dlfcn.h>

#include <cstdlib>
#include <string>
#include <system_error>
#include <vector>

namespace kfhost::qt {
namespace {

namespace fs = std::filesystem;

bool Set(const char* name)
{
    const char* value = std::getenv(name);
    return value && *value;
}

// Beside the program (the build tree), then where the package installs it.
std::vector<fs::path> Places()
{
    std::error_code ec;
    const fs::path self = fs::read_symlink("/proc/self/exe", ec);
    if (ec)
        return {};
    const fs::path folder = self.parent_path();
    return {folder / KFHOST_QT_MODULE_NAME,
            (folder / KFHOST_QT_MODULE_INSTALLED / KFHOST_QT_MODULE_NAME).lexically_normal()};
}

} // namespace

bool DisplayPresent()
{
    return Set("DISPLAY") || Set("WAYLAND_DISPLAY") || Set("QT_QPA_PLATFORM");
}

const ModuleEntry* OpenModule(std::string* why)
{
#if !KFHOST_WITH_QT
    *why = "no windows: this kfhost was built without Qt (-DKF_WITH_QT=OFF)";
    return nullptr;
#else
    static const ModuleEntry* opened = nullptr;
    if (opened)
        return opened;
    const std::vector<fs::path> places = Places();
    std::error_code ec;
    for (const fs::path& place : places) {
        if (!fs::is_regular_file(place, ec))
            continue;
        // Kept for the life of the process: Qt cannot be unloaded.
        void* module = ::dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!module) {
            const char* error = ::dlerror();
            *why = std::string("no windows: ") + (error ? error : "cannot load " + place.string());
            return nullptr;
        }
        using EntryFn = const ModuleEntry* (*)();
        const auto entry = reinterpret_cast<EntryFn>(::dlsym(module, kModuleEntrySymbol));
        const ModuleEntry* answer = entry ? entry() : nullptr;
        if (!answer || answer->interface != kModuleInterface) {
            *why = "no windows: " + place.string() + " belongs to another build of kfhost";
            return nullptr;
        }
        return opened = answer;
    }
    std::string looked;
    for (const fs::path& place : places)
        looked += (looked.empty() ? "" : " or ") + place.string();
    *why = "no windows: the window module " KFHOST_QT_MODULE_NAME " is not installed (looked for " + looked + ")";
    return nullptr;
#endif
}

} // namespace kfhost::qt
