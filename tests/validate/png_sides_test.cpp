// An image with no pixels (a side of 0) is no icon, whichever side it is.
#include "ResourceCheck.hpp"

#include <gtest/gtest.h>
#include <zlib.h>

namespace {

void Put32(std::string& out, std::uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        out += char(value >> shift & 0xFF);
}

void Chunk(std::string& png, const char* type, const std::string& body)
{
    Put32(png, std::uint32_t(body.size()));
    const std::string typed = type + body;
    png += typed;
    Put32(png, std::uint32_t(crc32(0, reinterpret_cast<const Bytef*>(typed.data()), uInt(typed.size()))));
}

// A well-formed 8-bit grey image of width x height, all black.
std::string GreyPng(std::uint32_t width, std::uint32_t height)
{
    std::string header;
    Put32(header, width);
    Put32(header, height);
    header += std::string("\x08\x00\x00\x00\x00", 5);
    const std::string rows(std::size_t(height) * (width + 1), '\0');
    uLongf size = compressBound(uLong(rows.size()));
    std::string data(size, '\0');
    compress(reinterpret_cast<Bytef*>(data.data()), &size, reinterpret_cast<const Bytef*>(rows.data()),
             uLong(rows.size()));
    data.resize(size);
    std::string png("\x89PNG\r\n\x1a\n", 8);
    Chunk(png, "IHDR", header);
    Chunk(png, "IDAT", data);
    Chunk(png, "IEND", "");
    return png;
}

} // namespace

TEST(PngSides, ASideOfZeroIsNoImage)
{
    EXPECT_EQ(kfhost::PngProblem(GreyPng(3, 2)), "");
    EXPECT_EQ(kfhost::PngProblem(GreyPng(0, 2)), "no image header");
    EXPECT_EQ(kfhost::PngProblem(GreyPng(3, 0)), "no image header");
}
