// Whole-file access against real files, the encoding a text file is read in, and the host's file
// errors through its fault hook.
#include "kftest/HostedFiles.hpp"
#include "KF/KF_File.hpp"

#include <gtest/gtest.h>

namespace fs = std::filesystem;
using namespace kftest;

namespace {

using Files = HostedFiles;
using ReadText = HostedFiles;

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

std::string Bytes(std::initializer_list<unsigned char> bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

} // namespace

TEST_F(Files, ReadBinWholeFromAPositionOrNothingForAMissingFile)
{
    char buffer[32] = {'k'};
    unsigned long size = 3;
    bool exists = true;
    EXPECT_EQ(KF_File::ReadBin(At("missing"), buffer, &size, &exists, 0), 0);
    EXPECT_FALSE(exists);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(buffer[0], 'k');

    kftest::WriteFile(Path("f"), "0123456789abcdef");
    size = 0;
    EXPECT_EQ(KF_File::ReadBin(At("f"), buffer, &size, &exists, 0), 0);
    EXPECT_TRUE(exists);
    EXPECT_EQ(std::string(buffer, size), "0123456789abcdef");
    size = 4;
    EXPECT_EQ(KF_File::ReadBin(At("f"), buffer, &size, nullptr, 10), 0);
    EXPECT_EQ(std::string(buffer, size), "abcd");

    // A failed read leaves size alone; only the close decides the result.
    size = 0;
    host.Faults().Fail(kfhost::FileOp::Read, "*", IO::Error);
    EXPECT_EQ(KF_File::ReadBin(At("f"), buffer, &size, nullptr, 0), 0);
    EXPECT_EQ(size, 0u);
    host.Faults().Fail(kfhost::FileOp::Close, "*", IO::DiskFull);
    EXPECT_EQ(KF_File::ReadBin(At("f"), buffer, &size, nullptr, 0), 4);
}

TEST_F(Files, WriteBinCreatesOnlyWhenAskedAndAppendsOrReplaces)
{
    EXPECT_EQ(KF_File::WriteBin(At("f"), "abc", 3, false, false), 6);
    EXPECT_FALSE(fs::exists(Path("f")));
    EXPECT_EQ(KF_File::WriteBin(At("f"), "one", 3, true, true), 0);
    EXPECT_EQ(KF_File::WriteBin(At("f"), "two", 3, true, false), 0);
    EXPECT_EQ(kftest::ReadFile(Path("f")), "onetwo");
    EXPECT_EQ(KF_File::WriteBin(At("f"), "3", 1, false, false), 0);
    EXPECT_EQ(kftest::ReadFile(Path("f")), "3");
    EXPECT_TRUE(KF_File::Delete(At("f")));
    EXPECT_FALSE(KF_File::Delete(At("f")));
}

TEST_F(Files, WriteFullTextWithMarkAndWithoutAnyTrailingZeroByte)
{
    EXPECT_EQ(KF_File::WriteFullText(At("u8"), S("Ä"), KF_String::Enc_UTF8, true, false), 0);
    EXPECT_EQ(KF_File::WriteFullText(At("u8"), S("b"), KF_String::Enc_UTF8, false, true), 0);
    EXPECT_EQ(kftest::ReadFile(Path("u8")), Bytes({0xEF, 0xBB, 0xBF, 0xC3, 0x84, 0x62}));
    // The zero high byte of the last UTF-16LE character goes with the terminator.
    EXPECT_EQ(KF_File::WriteFullText(At("le"), S("AB"), KF_String::Enc_UTF16LE, true, false), 0);
    EXPECT_EQ(kftest::ReadFile(Path("le")), Bytes({0xFF, 0xFE, 0x41, 0x00, 0x42}));

    KF_File none;
    EXPECT_EQ(none.WriteFullText(S("a"), KF_String::Enc_UTF8, false, nullptr), 1);
}

TEST_F(Files, HostErrorsMapToTheSharedTable)
{
    struct Case {
        kfhost::FileOp op;
        HostErrCode code;
        std::int32_t result;
    };
    for (const Case c :
         {Case{kfhost::FileOp::Open, IO::AccessDenied, 2}, Case{kfhost::FileOp::Write, IO::FileNotFound, 3},
          Case{kfhost::FileOp::Write, IO::DiskFull, 4}, Case{kfhost::FileOp::Write, IO::Error, 5},
          Case{kfhost::FileOp::Write, IO::EndOfFile, 6}, Case{kfhost::FileOp::Open, 12, 6}}) {
        host.Faults().Fail(c.op, "*", c.code);
        EXPECT_EQ(KF_File::WriteBin(At("w"), "abc", 3, false, true), c.result) << c.code;
        host.Faults().Fail(c.op, "*", c.code);
        EXPECT_EQ(KF_File::WriteFullText(At("t"), S("abc"), KF_String::Enc_UTF8, true, false), c.result) << c.code;
        host.Faults().Clear();
    }
    host.Faults().Fail(kfhost::FileOp::Close, "*", IO::DiskFull); // not part of a write's result
    EXPECT_EQ(KF_File::WriteBin(At("w"), "abc", 3, false, true), 0);

    KF_File file;
    EXPECT_EQ(file.Open(At("missing"), KF_File_Read), 3);
    EXPECT_FALSE(fs::exists(Path("missing")));
    EXPECT_EQ(file.Open(At("m5"), static_cast<KF_File_OpenMode>(5)), 6);
    ASSERT_EQ(file.Open(At("w"), KF_File_Read), 0);
    EXPECT_TRUE(file.file->IsOpen());
}

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
