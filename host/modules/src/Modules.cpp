#include "kfhost/Modules.hpp"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>
#include <vector>

namespace kfhost {
namespace {

namespace fs = std::filesystem;

// Beside the program (the build tree), then where the package installs it.
std::vector<fs::path> Places(std::string_view file)
{
    std::error_code ec;
    const fs::path folder = fs::read_symlink("/proc/self/exe", ec).parent_path();
    if (ec)
        return {};
    return {folder / file, (folder / KFHOST_MODULES_INSTALLED / file).lexically_normal()};
}

} // namespace

void* ModuleSymbol(std::string_view file, const char* symbol, std::string* why)
{
    const std::vector<fs::path> places = Places(file);
    std::error_code ec;
    for (const fs::path& place : places) {
        if (!fs::is_regular_file(place, ec))
            continue;
        // Kept for the life of the process: what it loads (Qt) cannot be unloaded.
        void* module = ::dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!module) {
            const char* error = ::dlerror();
            *why = error ? error : "cannot load " + place.string();
            return nullptr;
        }
        if (void* found = ::dlsym(module, symbol))
            return found;
        *why = place.string() + " is not a module of this kfhost (it has no " + symbol + ")";
        return nullptr;
    }
    std::string looked;
    for (const fs::path& place : places)
        looked += (looked.empty() ? "" : " or ") + place.string();
    *why = "the module " + std::string(file) + " is not installed (looked for " + looked + ")";
    return nullptr;
}

} // namespace kfhost
