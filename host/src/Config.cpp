// The host's configuration: the per-user default of the framework folder, settings given by name,
// paths fixed before any add-on can change the working folder, and the file modes the host wants.
#include "kfhost/Host.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace kfhost {

namespace fs = std::filesystem;

namespace {

// A folder that only this user can have made: a real folder (no symlink), owned by us, closed to
// everyone else. Answers why not, or nothing.
std::optional<std::string> NotPrivate(const fs::path& folder)
{
    struct stat st {};
    if (::lstat(folder.c_str(), &st) != 0)
        return folder.string() + " cannot be examined: " + std::error_code(errno, std::generic_category()).message();
    if (!S_ISDIR(st.st_mode))
        return folder.string() + " is not a folder (a link or a file is in its place)";
    if (st.st_uid != ::getuid())
        return folder.string() + " belongs to another user";
    if ((st.st_mode & 077) != 0) {
        char mode[8];
        std::snprintf(mode, sizeof mode, "%04o", unsigned(st.st_mode & 07777));
        return folder.string() + " is open to other users (mode " + mode + ")";
    }
    return std::nullopt;
}

// $base/kfhost-<uid>, made closed to others when missing; answers why it cannot be used, or nothing.
std::optional<std::string> PrivateFolder(const fs::path& folder)
{
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        return "cannot create " + folder.string() + ": " + std::error_code(errno, std::generic_category()).message();
    return NotPrivate(folder);
}

const char* Env(const char* name)
{
    const char* value = std::getenv(name);
    return value && *value ? value : nullptr;
}

} // namespace

FrameworkFolderChoice DefaultFrameworkFolder()
{
    if (const char* data = Env("XDG_DATA_HOME"))
        return {fs::path(data) / "kfhost" / "framework", {}};
    if (const char* home = Env("HOME"))
        return {fs::path(home) / ".local" / "share" / "kfhost" / "framework", {}};
    // No home: a folder of this user's own, which no other user can have put in place first.
    if (const char* runtime = Env("XDG_RUNTIME_DIR"); runtime && !NotPrivate(runtime))
        return {fs::path(runtime) / "kfhost" / "framework", {}};
    std::error_code ec;
    const fs::path folder = fs::temp_directory_path(ec) / ("kfhost-" + std::to_string(::getuid()));
    if (const auto why = PrivateFolder(folder))
        return {{},
                "no framework folder: neither HOME nor XDG_DATA_HOME is set, and " + *why +
                    "; give one with --framework-folder"};
    return {folder / "framework", {}};
}

std::string ApplySetting(HostConfig& config, std::string_view key, std::string_view value)
{
    if (key == "update-server") {
        config.updateServer = std::string(value);
        return {};
    }
    if (key == "download-limit") {
        double seconds = 0;
        const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), seconds);
        if (error != std::errc() || end != value.data() + value.size() || !std::isfinite(seconds) || seconds <= 0)
            return "the setting download-limit wants a positive number of seconds, not \"" + std::string(value) + "\"";
        config.downloadLimit = std::clamp(seconds, kDownloadLimitRange.first, kDownloadLimitRange.second);
        return {};
    }
    return "unknown host setting \"" + std::string(key) + "\" (known: update-server, download-limit)";
}

void MakeAbsolute(fs::path& path)
{
    std::error_code ec;
    if (!path.empty())
        if (fs::path made = fs::absolute(path, ec); !ec)
            path = made.lexically_normal();
}

void MakePathsAbsolute(HostConfig& config)
{
    MakeAbsolute(config.frameworkFolder);
    MakeAbsolute(config.project);
    MakeAbsolute(config.embeddedLibrary);
    for (fs::path& library : config.libraries)
        MakeAbsolute(library);
}

unsigned HostUmask()
{
    // Read once, before any add-on runs: what an add-on sets later decides nothing of the host's.
    static const unsigned mask = [] {
        const mode_t current = ::umask(022);
        ::umask(current);
        return unsigned(current);
    }();
    return mask;
}

std::error_code CreateFolders(const fs::path& folder)
{
    std::error_code ec;
    if (folder.empty() || fs::is_directory(folder, ec))
        return {};
    if (const fs::path parent = folder.parent_path(); !parent.empty() && parent != folder)
        if (const std::error_code up = CreateFolders(parent))
            return up;
    if (::mkdir(folder.c_str(), 0700) != 0)
        return errno == EEXIST && fs::is_directory(folder, ec) ? std::error_code()
                                                               : std::error_code(errno, std::generic_category());
    ::chmod(folder.c_str(), mode_t(0777 & ~HostUmask()));
    return {};
}

} // namespace kfhost
