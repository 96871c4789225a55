// A bundle's resource folder: text resources and PNG icons named by their resource number.
#include "kfhost/Resources.hpp"

#include "kfsdk/Codes.hpp"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <string_view>

namespace kfhost {
namespace {

std::string ReadFile(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in)
        throw ResourceError(file.string(), 1, 1, "cannot be read");
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::uint32_t BigEndian32(const unsigned char* p)
{
    return kfsdk::FourCharCode(std::string_view(reinterpret_cast<const char*>(p), 4));
}

} // namespace

namespace {

// Reads at most count bytes from the start of file.
std::string ReadHead(const std::filesystem::path& file, std::size_t count)
{
    std::ifstream in(file, std::ios::binary);
    if (!in)
        throw ResourceError(file.string(), 1, 1, "cannot be read");
    std::string head(count, '\0');
    in.read(head.data(), std::streamsize(count));
    head.resize(std::size_t(in.gcount()));
    return head;
}

} // namespace

IconResource ReadIcon(const std::filesystem::path& file, std::int16_t resID)
{
    // The header decides, for every backend alike: signature, then the IHDR chunk with width and
    // height, which must be sane before any backend decodes the pixels.
    static constexpr unsigned char kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    const std::string data = ReadHead(file, 8 + 8 + 13 + 4);
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
    if (data.size() < 8 || !std::equal(kSignature, kSignature + 8, bytes))
        throw ResourceError(file.string(), 1, 1, "not a PNG image (bad signature)");
    if (data.size() < 8 + 8 + 13 + 4 || BigEndian32(bytes + 8) != 13 || std::string_view(data.data() + 12, 4) != "IHDR")
        throw ResourceError(file.string(), 1, 9, "not a PNG image (no IHDR header)");
    IconResource icon;
    icon.resID = resID;
    icon.file = file;
    icon.width = BigEndian32(bytes + 16);
    icon.height = BigEndian32(bytes + 20);
    if (icon.width == 0 || icon.height == 0)
        throw ResourceError(file.string(), 1, 17, "PNG image of zero size");
    if (icon.width > kMaxIconSide || icon.height > kMaxIconSide)
        throw ResourceError(file.string(), 1, 17,
                            "PNG image of " + std::to_string(icon.width) + "x" + std::to_string(icon.height) +
                                " pixels; an icon is at most " + std::to_string(kMaxIconSide) + "x" +
                                std::to_string(kMaxIconSide));
    return icon;
}

ResourceModule LoadResourceFolder(const std::filesystem::path& folder)
{
    namespace fs = std::filesystem;
    ResourceModule module;
    std::error_code ec;
    if (!fs::is_directory(folder, ec))
        return module; // a bundle without resources is allowed
    std::vector<fs::path> files;
    for (fs::recursive_directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
        if (it->is_regular_file())
            files.push_back(it->path());
    if (ec)
        throw ResourceError(folder.string(), 1, 1, "cannot be listed: " + ec.message());
    std::sort(files.begin(), files.end());
    for (const auto& file : files)
        ReadResourceFile(file, module);
    return module;
}

void ReadResourceFile(const std::filesystem::path& file, ResourceModule& module)
{
    const std::string ext = file.extension().string();
    if (ext == ".res") {
        ParseResourceText(ReadFile(file), file.string(), module);
    } else if (ext == ".png") {
        const std::string stem = file.stem().string();
        int number = 0;
        const auto [end, errc] = std::from_chars(stem.data(), stem.data() + stem.size(), number);
        if (errc != std::errc() || end != stem.data() + stem.size() || number < 1 || number > 32767)
            throw ResourceError(file.string(), 1, 1, "an icon's file name must be its resource number (1 to 32767)");
        const std::string key = "icon " + std::to_string(number);
        if (const auto it = module.origins.find(key); it != module.origins.end())
            throw ResourceError(file.string(), 1, 1, key + " is defined twice (first at " + it->second + ")");
        module.origins[key] = file.string();
        module.icons[std::int16_t(number)] = ReadIcon(file, std::int16_t(number));
    }
}

} // namespace kfhost
