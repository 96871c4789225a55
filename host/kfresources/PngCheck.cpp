// Icons decoded far enough to be shown: chunk checksums, a header that makes sense, and image
// data that inflates to exactly the size the header announces.
#include "ResourceCheck.hpp"

#include <zlib.h>

#include <array>

namespace kfhost {

namespace {

std::uint32_t BigEndian32(std::string_view data, std::size_t at)
{
    const auto* b = reinterpret_cast<const unsigned char*>(data.data() + at);
    return std::uint32_t(b[0]) << 24 | std::uint32_t(b[1]) << 16 | std::uint32_t(b[2]) << 8 | b[3];
}

// Bytes of filtered image data: each row is a filter byte and its pixels; Adam7 has seven passes.
std::uint64_t ImageBytes(std::uint32_t width, std::uint32_t height, unsigned bitsPerPixel, bool interlaced)
{
    auto rows = [&](std::uint64_t w, std::uint64_t h) { return w && h ? h * (1 + (w * bitsPerPixel + 7) / 8) : 0; };
    if (!interlaced)
        return rows(width, height);
    static constexpr std::array<std::array<unsigned, 4>, 7> kPasses{
        {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4}, {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}}};
    std::uint64_t total = 0;
    for (const auto& [x0, y0, dx, dy] : kPasses)
        total += rows(width > x0 ? (width - x0 + dx - 1) / dx : 0, height > y0 ? (height - y0 + dy - 1) / dy : 0);
    return total;
}

} // namespace

std::string PngProblem(std::string_view data)
{
    static constexpr std::string_view kSignature("\x89PNG\r\n\x1a\n", 8);
    if (data.substr(0, 8) != kSignature)
        return "not a PNG image";
    std::string compressed;
    std::uint32_t width = 0, height = 0;
    unsigned bitsPerPixel = 0;
    bool interlaced = false, header = false, end = false;
    for (std::size_t at = 8; !end;) {
        if (at + 12 > data.size() || BigEndian32(data, at) > data.size() - at - 12)
            return "cut short";
        const std::uint32_t length = BigEndian32(data, at);
        const std::string_view type = data.substr(at + 4, 4);
        const auto* bytes = reinterpret_cast<const Bytef*>(data.data() + at + 4);
        if (crc32(0, bytes, uInt(length + 4)) != BigEndian32(data, at + 8 + length))
            return "chunk " + std::string(type) + " has a wrong checksum";
        const std::string_view body = data.substr(at + 8, length);
        if (type == "IHDR" && length == 13) {
            width = BigEndian32(body, 0);
            height = BigEndian32(body, 4);
            const unsigned depth = static_cast<unsigned char>(body[8]);
            static constexpr std::array<unsigned, 7> kChannels{1, 0, 3, 1, 2, 0, 4}; // by colour type
            const unsigned colourType = static_cast<unsigned char>(body[9]);
            if (colourType >= kChannels.size() || kChannels[colourType] == 0 || depth == 0 || depth > 16)
                return "a colour type or bit depth no decoder knows";
            bitsPerPixel = kChannels[colourType] * depth;
            interlaced = body[12] != 0;
            header = true;
        } else if (type == "IDAT") {
            compressed.append(body);
        }
        end = type == "IEND";
        at += 12 + length;
    }
    if (!header || width == 0 || height == 0)
        return "no image header";
    const std::uint64_t expected = ImageBytes(width, height, bitsPerPixel, interlaced);
    if (expected > (std::uint64_t(1) << 28))
        return "an image too large to show";
    std::string pixels(std::size_t(expected) + 1, '\0');
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK)
        return "cannot inflate";
    stream.next_in = reinterpret_cast<Bytef*>(compressed.data());
    stream.avail_in = uInt(compressed.size());
    stream.next_out = reinterpret_cast<Bytef*>(pixels.data());
    stream.avail_out = uInt(pixels.size());
    const int status = inflate(&stream, Z_FINISH);
    const std::uint64_t produced = stream.total_out;
    inflateEnd(&stream);
    if (status != Z_STREAM_END)
        return "image data that does not inflate";
    if (produced != expected)
        return "image data of " + std::to_string(produced) + " bytes where the header wants " +
               std::to_string(expected);
    return {};
}

} // namespace kfhost
