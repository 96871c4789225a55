// KF_File::ReadFullText: the encoding a file is read in, its bound, and how failures read.
#include "kftest/HostedFiles.hpp"
#include "KF/KF_File.hpp"

#include <gtest/gtest.h>

using namespace kftest;

namespace {

struct TextCase {
    const char* what;
    std::string bytes;
    KF_String::Encoding encoding;
    std::int32_t result;
    std::string utf8; // the text read, as UTF-8
};

const TextCase kCases[] = {
    {"UTF-8 as asked",
     "Gr\xC3\xBC\xC3\x9F"
     "e\n\xE6\x9D\xB1",
     KF_String::Enc_UTF8, 0,
     "Gr\xC3\xBC\xC3\x9F"
     "e\n\xE6\x9D\xB1"},
    {"a mark wins over the encoding asked",
     "\xEF\xBB\xBF"
     "caf\xC3\xA9",
     KF_String::Enc_UTF16LE, 0, "caf\xC3\xA9"},
    {"UTF-16LE as asked", std::string("h\0i\0", 4), KF_String::Enc_UTF16LE, 0, "hi"},
    {"UTF-16BE by its mark", std::string("\xFE\xFF\0O\0K", 6), KF_String::Enc_UTF8, 0, "OK"},
    {"guessed when asked for none",
     "\xE2\x82\xAC"
     "5",
     KF_String::Enc_None, 0,
     "\xE2\x82\xAC"
     "5"},
    {"an empty file", "", KF_String::Enc_UTF8, 0, ""},
    {"only a mark", "\xEF\xBB\xBF", KF_String::Enc_UTF8, 0, ""},
    {"one byte under the bound", std::string(KF_File_TextLimit - 1, 'a'), KF_String::Enc_UTF8, 0,
     std::string(KF_File_TextLimit - 1, 'a')},
    {"at the bound", std::string(KF_File_TextLimit, 'a'), KF_String::Enc_UTF8, KF_File_TooLarge, ""},
};

using ReadText = HostedFiles;

} // namespace

TEST_F(ReadText, ReadsInTheEncodingOfTheMarkOrTheOneAskedWithinTheBound)
{
    for (const TextCase& c : kCases) {
        kftest::WriteFile(Path("t.txt"), c.bytes);
        KF_String text("left over");
        bool exists = false;
        EXPECT_EQ(KF_File::ReadFullText(At("t.txt"), text, c.encoding, &exists), c.result) << c.what;
        EXPECT_TRUE(exists) << c.what;
        EXPECT_EQ(Utf8(text), c.utf8) << c.what;
    }
}

TEST_F(ReadText, MissingFileIsNoErrorAndAFailedReadIsOne)
{
    KF_String text("left over");
    bool exists = true;
    EXPECT_EQ(KF_File::ReadFullText(At("missing.txt"), text, KF_String::Enc_UTF8, &exists), 0);
    EXPECT_FALSE(exists);
    EXPECT_EQ(Utf8(text), "");

    // Where ReadBin would answer 0 with nothing read, the text reader reports the host's error.
    kftest::WriteFile(Path("t.txt"), "abc");
    host.Faults().Fail(kfhost::FileOp::Read, "*", IO::AccessDenied);
    EXPECT_EQ(KF_File::ReadFullText(At("t.txt"), text, KF_String::Enc_UTF8, nullptr), 2);
    EXPECT_EQ(Utf8(text), "");
}
