// Whole-file access through the host's file system: real files, and the host's fault hook for the
// error table.
#include "kftest/InProcessHost.hpp"
#include "KF/KF_File.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

KF_Location At(fs::path const& path)
{
    return KF_Location(KF_String(path.string().c_str(), KF_String::Enc_System));
}

class HostedFiles : public ::testing::Test {
protected:
    void SetUp() override { host.Attach(); }

    fs::path Path(char const* name) const { return host.TempDir() / name; }

    kftest::InProcessHost host;
};

using FileReading = HostedFiles;
using FileWriting = HostedFiles;
using FileErrors = HostedFiles;
using FileObject = HostedFiles;

std::string Bytes(std::initializer_list<unsigned char> bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

} // namespace

TEST_F(FileReading, MissingFileIsNoErrorAndLeavesSizeAndBufferAlone)
{
    char buffer[4] = {'a', 'b', 'c', 'd'};
    unsigned long size = 3;
    bool exists = true;
    EXPECT_EQ(KF_File::ReadBin(At(Path("missing")), buffer, &size, &exists, 0), 0);
    EXPECT_FALSE(exists);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(std::string(buffer, 4), "abcd");
    EXPECT_EQ(KF_File::ReadBin(At(Path("missing")), buffer, &size, nullptr, 0), 0);
    EXPECT_FALSE(fs::exists(Path("missing")));
}

TEST_F(FileReading, SizeZeroReadsTheWholeFile)
{
    kftest::WriteFile(Path("f"), "hello world");
    char buffer[32] = {};
    unsigned long size = 0;
    bool exists = false;
    EXPECT_EQ(KF_File::ReadBin(At(Path("f")), buffer, &size, &exists, 0), 0);
    EXPECT_TRUE(exists);
    EXPECT_EQ(size, 11u);
    EXPECT_EQ(std::string(buffer, size), "hello world");
}

TEST_F(FileReading, GivenSizeReadsThatManyBytesFromTheStartPosition)
{
    kftest::WriteFile(Path("f"), "0123456789abcdef");
    char buffer[16] = {};
    unsigned long size = 4;
    EXPECT_EQ(KF_File::ReadBin(At(Path("f")), buffer, &size, nullptr, 10), 0);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(std::string(buffer, 4), "abcd");
}

TEST_F(FileReading, EmptyFileReadsAsZeroBytes)
{
    kftest::WriteFile(Path("empty"), "");
    char buffer[1] = {'z'};
    unsigned long size = 0;
    bool exists = false;
    EXPECT_EQ(KF_File::ReadBin(At(Path("empty")), buffer, &size, &exists, 0), 0);
    EXPECT_TRUE(exists);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(buffer[0], 'z');
}

TEST_F(FileReading, ReadFailureLeavesSizeAndOnlyTheCloseDecidesTheResult)
{
    kftest::WriteFile(Path("f"), "content");
    char buffer[16] = {};
    unsigned long size = 0;
    host.Faults().Fail(kfhost::FileOp::Read, "*", IO::Error);
    EXPECT_EQ(KF_File::ReadBin(At(Path("f")), buffer, &size, nullptr, 0), 0);
    EXPECT_EQ(size, 0u);

    host.Faults().Fail(kfhost::FileOp::Close, "*", IO::DiskFull);
    EXPECT_EQ(KF_File::ReadBin(At(Path("f")), buffer, &size, nullptr, 0), 4);
    EXPECT_EQ(size, 7u);
}

TEST_F(FileWriting, CreateFalseNeverCreatesAMissingFile)
{
    EXPECT_EQ(KF_File::WriteBin(At(Path("new")), "abc", 3, false, false), 6);
    EXPECT_FALSE(fs::exists(Path("new")));
    EXPECT_EQ(KF_File::WriteBin(At(Path("new")), "abc", 3, false, true), 0);
    EXPECT_EQ(kftest::ReadFile(Path("new")), "abc");
    // Now it exists, so create false writes.
    EXPECT_EQ(KF_File::WriteBin(At(Path("new")), "xy", 2, false, false), 0);
    EXPECT_EQ(kftest::ReadFile(Path("new")), "xy");
}

TEST_F(FileWriting, AppendAddsAndOtherwiseReplaces)
{
    EXPECT_EQ(KF_File::WriteBin(At(Path("f")), "one", 3, true, true), 0);
    EXPECT_EQ(KF_File::WriteBin(At(Path("f")), "two", 3, true, true), 0);
    EXPECT_EQ(kftest::ReadFile(Path("f")), "onetwo");
    EXPECT_EQ(KF_File::WriteBin(At(Path("f")), "3", 1, false, true), 0);
    EXPECT_EQ(kftest::ReadFile(Path("f")), "3");
    EXPECT_EQ(KF_File::WriteBin(At(Path("f")), nullptr, 0, false, true), 0);
    EXPECT_EQ(fs::file_size(Path("f")), 0u);
}

TEST_F(FileWriting, TextGetsItsByteOrderMarkOnlyWhenAsked)
{
    KF_String const text("Ä", KF_String::Enc_UTF8);
    EXPECT_EQ(KF_File::WriteFullText(At(Path("bom")), text, KF_String::Enc_UTF8, true, false), 0);
    EXPECT_EQ(kftest::ReadFile(Path("bom")), Bytes({0xEF, 0xBB, 0xBF, 0xC3, 0x84}));
    EXPECT_EQ(KF_File::WriteFullText(At(Path("plain")), text, KF_String::Enc_UTF8, false, false), 0);
    EXPECT_EQ(kftest::ReadFile(Path("plain")), Bytes({0xC3, 0x84}));

    EXPECT_EQ(KF_File::WriteFullText(At(Path("plain")), KF_String("b", KF_String::Enc_System),
                                     KF_String::Enc_UTF8, true, true),
              0);
    EXPECT_EQ(kftest::ReadFile(Path("plain")), Bytes({0xC3, 0x84, 0xEF, 0xBB, 0xBF, 0x62}));
}

TEST_F(FileWriting, TrailingZeroBytesOfTheConversionAreAllCut)
{
    // "AB" in UTF-16LE ends in the high byte 00 of "B", which goes with the terminator.
    KF_String const text("AB", KF_String::Enc_System);
    EXPECT_EQ(KF_File::WriteFullText(At(Path("le")), text, KF_String::Enc_UTF16LE, true, false), 0);
    EXPECT_EQ(kftest::ReadFile(Path("le")), Bytes({0xFF, 0xFE, 0x41, 0x00, 0x42}));
    EXPECT_EQ(KF_File::WriteFullText(At(Path("be")), text, KF_String::Enc_UTF16BE, false, false), 0);
    EXPECT_EQ(kftest::ReadFile(Path("be")), Bytes({0x00, 0x41, 0x00, 0x42}));
}

TEST_F(FileWriting, DeleteRemovesFilesAndFolders)
{
    kftest::WriteFile(Path("f"), "x");
    fs::create_directories(Path("dir"));
    EXPECT_TRUE(KF_File::Delete(At(Path("f"))));
    EXPECT_TRUE(KF_File::Delete(At(Path("dir"))));
    EXPECT_FALSE(fs::exists(Path("f")));
    EXPECT_FALSE(fs::exists(Path("dir")));
    EXPECT_FALSE(KF_File::Delete(At(Path("f"))));
    EXPECT_FALSE(KF_File::Delete(KF_Location()));
}

TEST_F(FileErrors, HostCodesMapToTheSharedTable)
{
    EXPECT_EQ(KF_File::MapHostError(NoError), 0);
    EXPECT_EQ(KF_File::MapHostError(IO::AccessDenied), 2);
    EXPECT_EQ(KF_File::MapHostError(IO::FileNotFound), 3);
    EXPECT_EQ(KF_File::MapHostError(IO::DiskFull), 4);
    EXPECT_EQ(KF_File::MapHostError(IO::Error), 5);
    EXPECT_EQ(KF_File::MapHostError(IO::NotOpen), 6);
    EXPECT_EQ(KF_File::MapHostError(1), 6);
}

TEST_F(FileErrors, WriteFailuresReportTheHostsError)
{
    struct Case {
        kfhost::FileOp op;
        GSErrCode code;
        std::int32_t result;
    };
    for (Case const c : {Case{kfhost::FileOp::Write, IO::DiskFull, 4}, Case{kfhost::FileOp::Write, IO::Error, 5},
                         Case{kfhost::FileOp::Open, IO::AccessDenied, 2}, Case{kfhost::FileOp::Open, 12, 6},
                         Case{kfhost::FileOp::Write, IO::EndOfFile, 6}}) {
        host.Faults().Fail(c.op, "*", c.code);
        EXPECT_EQ(KF_File::WriteBin(At(Path("f")), "abc", 3, false, true), c.result) << c.code;
        host.Faults().Fail(c.op, "*", c.code);
        EXPECT_EQ(KF_File::WriteFullText(At(Path("t")), KF_String("abc", KF_String::Enc_System),
                                         KF_String::Enc_UTF8, true, false),
                  c.result)
            << c.code;
        host.Faults().Clear();
    }
    // The close of a write is not part of its result.
    host.Faults().Fail(kfhost::FileOp::Close, "*", IO::DiskFull);
    EXPECT_EQ(KF_File::WriteBin(At(Path("f")), "abc", 3, false, true), 0);
}

TEST_F(FileErrors, ReadOpenFailureIsMapped)
{
    kftest::WriteFile(Path("f"), "x");
    char buffer[4] = {};
    unsigned long size = 0;
    host.Faults().Fail(kfhost::FileOp::Open, "*", IO::AccessDenied);
    EXPECT_EQ(KF_File::ReadBin(At(Path("f")), buffer, &size, nullptr, 0), 2);
}

TEST_F(FileObject, OpenKeepsTheHostFileOpenForItsCaller)
{
    kftest::WriteFile(Path("f"), "data");
    KF_File file;
    ASSERT_EQ(file.Open(At(Path("f")), KF_File_Read), 0);
    ASSERT_NE(file.file, nullptr);
    EXPECT_TRUE(file.file->IsOpen());
    UInt64 length = 0;
    EXPECT_EQ(file.file->GetDataLength(&length), NoError);
    EXPECT_EQ(length, 4u);

    // Opening again drops the first host file.
    ASSERT_EQ(file.Open(At(Path("g")), KF_File_WriteEmpty), 0);
    unsigned long written = 99;
    EXPECT_EQ(file.WriteFullText(KF_String("xyz", KF_String::Enc_System), KF_String::Enc_UTF8, false, &written), 0);
    EXPECT_EQ(written, 3u);
}

TEST_F(FileObject, OpenForReadingNeedsAnExistingFileAndModesStopAtFour)
{
    KF_File file;
    EXPECT_EQ(file.Open(At(Path("missing")), KF_File_Read), 3);
    EXPECT_NE(file.file, nullptr); // kept, to be deleted by the object
    EXPECT_FALSE(fs::exists(Path("missing")));

    EXPECT_EQ(file.Open(At(Path("m5")), static_cast<KF_File_OpenMode>(5)), 6);
    EXPECT_EQ(file.Open(At(Path("m4")), KF_File_Append), 0);
    EXPECT_TRUE(fs::exists(Path("m4")));
}

TEST_F(FileObject, TextWithoutAHostFileAnswersOne)
{
    KF_File empty;
    unsigned long written = 5;
    EXPECT_EQ(empty.WriteFullText(KF_String("a", KF_String::Enc_System), KF_String::Enc_UTF8, true, &written), 1);
    EXPECT_EQ(empty.WriteFullText(KF_String("a", KF_String::Enc_System), KF_String::Enc_UTF8, false, &written), 1);
    EXPECT_EQ(written, 0u);
}
