// A bundle's resource folder as the host scans it: text resources and PNG icons in folders, made
// from the input. Anything that is not a resource is refused with ResourceError at a sane position,
// a dialog's items are numbered without gaps, and an icon that is accepted has a size every backend
// can show.
#include "kfhost/Resources.hpp"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

// Names the files of the input may take: resources, icons, and names the scan must pass over.
constexpr const char* kNames[] = {"strings.res", "32758.png",  "icons/7.png", "sub/menus.res",
                                  "0.png",       "readme.txt", "32768.png",   "x.png"};

const std::filesystem::path& Folder()
{
    static std::filesystem::path const folder = [] {
        std::filesystem::path made =
            std::filesystem::temp_directory_path() / ("kf-fuzz-resources-" + std::to_string(::getpid()));
        std::filesystem::create_directories(made);
        return made;
    }();
    return folder;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    namespace fs = std::filesystem;
    const fs::path& folder = Folder();
    fs::remove_all(folder);
    fs::create_directories(folder);
    // Files are separated by a zero byte; the first byte of each picks its name.
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    while (!rest.empty()) {
        std::size_t const end = rest.find('\0');
        std::string_view piece = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        if (piece.empty())
            continue;
        fs::path const file = folder / kNames[static_cast<unsigned char>(piece[0]) % std::size(kNames)];
        piece.remove_prefix(1);
        fs::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary | std::ios::app).write(piece.data(), std::streamsize(piece.size()));
    }
    try {
        kfhost::ResourceModule const module = kfhost::LoadResourceFolder(folder);
        for (const auto& [id, dialog] : module.dialogs)
            for (std::size_t i = 0; i < dialog.items.size(); ++i)
                Check(dialog.items[i].number == std::int16_t(i + 1));
        for (const auto& [id, icon] : module.icons) {
            Check(id >= 1 && icon.resID == id);
            Check(icon.width >= 1 && icon.width <= kfhost::kMaxIconSide);
            Check(icon.height >= 1 && icon.height <= kfhost::kMaxIconSide);
        }
    } catch (const kfhost::ResourceError& error) {
        Check(!error.File().empty() && error.Line() >= 1 && error.Column() >= 1);
        Check(std::size_t(error.Line()) <= size + 1);
    }
    return 0;
}
