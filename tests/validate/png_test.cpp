// Icons that do not decode are found, each for the reason a viewer would stumble on.
#include "ResourceCheck.hpp"
#include "Validation.hpp"

#include <gtest/gtest.h>
#include <zlib.h>

#include <functional>

using kfhost::PngProblem;
using kfhost::validate::ReadWhole;

namespace {

std::size_t ChunkAt(const std::string& png, std::string_view type)
{
    return png.find(type) - 4;
}

// Changes a chunk's body and puts a matching checksum after it, as a careful writer would.
void Rewrite(std::string& png, std::string_view type, const std::function<void(std::string& body)>& change)
{
    const std::size_t at = ChunkAt(png, type);
    const auto* b = reinterpret_cast<const unsigned char*>(png.data() + at);
    const std::size_t length = std::size_t(b[0]) << 24 | std::size_t(b[1]) << 16 | std::size_t(b[2]) << 8 | b[3];
    std::string body = png.substr(at + 8, length);
    change(body);
    ASSERT_EQ(body.size(), length);
    png.replace(at + 8, length, body);
    const uLong crc = crc32(0, reinterpret_cast<const Bytef*>(png.data() + at + 4), uInt(length + 4));
    for (int i = 0; i < 4; ++i)
        png[at + 8 + length + std::size_t(i)] = char(crc >> (24 - 8 * i) & 0xFF);
}

TEST(Png, ProblemsOfDamagedIcons)
{
    const std::string icon = ReadWhole(KF_TEST_ICON);
    ASSERT_GT(icon.size(), 64u);
    struct Case {
        const char* name;
        std::function<void(std::string&)> damage;
        std::string problem;
    };
    const Case cases[] = {
        {"intact", [](std::string&) {}, ""},
        {"not a PNG", [](std::string& png) { png[1] = 'Q'; }, "not a PNG image"},
        {"cut in half", [](std::string& png) { png.resize(png.size() / 2); }, "cut short"},
        {"no end", [](std::string& png) { png.resize(ChunkAt(png, "IEND")); }, "cut short"},
        {"a flipped bit", [](std::string& png) { png[ChunkAt(png, "IDAT") + 12] ^= 0x10; },
         "chunk IDAT has a wrong checksum"},
        {"a colour type no decoder knows",
         [](std::string& png) { Rewrite(png, "IHDR", [](std::string& body) { body[9] = 5; }); },
         "a colour type or bit depth no decoder knows"},
        {"data that does not inflate",
         [](std::string& png) { Rewrite(png, "IDAT", [](std::string& body) { body.replace(0, 2, "\xff\xff"); }); },
         "image data that does not inflate"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string png = icon;
        c.damage(png);
        EXPECT_EQ(PngProblem(png), c.problem);
    }
    // A header that promises a taller image than the data holds.
    std::string taller = icon;
    Rewrite(taller, "IHDR", [](std::string& body) { body[7] = char(body[7] + 1); });
    EXPECT_NE(PngProblem(taller).find("where the header wants"), std::string::npos) << PngProblem(taller);
}

} // namespace
