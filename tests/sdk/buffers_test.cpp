// Texts the host hands into a caller's fixed-size buffer: cut to the buffer, always terminated,
// never writing past it and never ending in half a character.
#include "HostAPI.hpp"
#include "FTM.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(FixedBuffers, MenuTextsAreCutToTheBufferAtACharacterBoundary)
{
    std::string const accented = std::string(254, 'x') + "\xC3\xA9"; // 256 bytes, the last character 2
    struct Case {
        std::string text;
        std::size_t kept;
    };
    const Case cases[] = {{std::string(254, 'a'), 254},
                          {std::string(255, 'b'), 255},
                          {std::string(256, 'c'), 255},
                          {std::string(257, 'd'), 255},
                          {accented, 254}};
    kfhost::HostConfig config;
    config.renderingEngines.emplace();
    for (const Case& c : cases)
        config.renderingEngines->push_back(c.text);
    config.currentEngine = 1;
    kftest::InProcessHost host(config);
    host.Attach();
    ASSERT_EQ(EXPGetRendNum(), 5);
    for (int engine = 1; engine <= 5; ++engine) {
        const Case& c = cases[engine - 1];
        char buffer[260];
        std::memset(buffer, 'Z', sizeof buffer);
        ASSERT_TRUE(EXPGetRendMenuStr(engine, buffer, 256)) << engine;
        EXPECT_EQ(std::strlen(buffer), c.kept) << engine;
        EXPECT_EQ(std::string(buffer), c.text.substr(0, c.kept)) << engine;
        EXPECT_EQ(std::string(buffer + 256, 4), "ZZZZ") << "nothing is written past the buffer";
    }
    char tiny[1] = {'Z'};
    ASSERT_TRUE(EXPGetRendMenuStr(1, tiny, 1));
    EXPECT_EQ(tiny[0], '\0');
}

TEST(FixedBuffers, FileTypeTextsKeepWhatFitsTheirFields)
{
    for (std::size_t const length : {126u, 127u, 128u, 200u}) {
        std::string const description(length, 'd');
        std::string const extension(length - 96, 'e'); // 30, 31, 32 and 104 around the field of 32
        FTM::FileType const type(description.c_str(), extension.c_str(), 0, 0, 0);
        EXPECT_EQ(std::string(type.GetDescription()), description.substr(0, 127)) << length;
        EXPECT_EQ(std::string(type.GetExtension()), extension.substr(0, 31)) << length;
    }
}

} // namespace
