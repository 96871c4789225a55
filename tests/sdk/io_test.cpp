// IO:: over the host's real file system, with the host's error codes and its fault hook.
#include "IO.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

namespace fs = std::filesystem;

Base::UniString U(const std::string& s)
{
    return Base::UniString::FromUTF8(s);
}
IO::Location Loc(const fs::path& p)
{
    return IO::Location(U(p.string()));
}

std::string PathOf(const IO::Location& location)
{
    Base::UniString path;
    return location.ToPath(&path) == NoError ? path.ToUTF8() : std::string("<none>");
}

class IOTest : public ::testing::Test {
protected:
    void SetUp() override { host.Attach(); }
    fs::path Dir() const { return host.TempDir(); }
    kftest::InProcessHost host;
};

TEST(Location, PathOperations)
{
    IO::Location empty;
    Base::UniString path;
    EXPECT_EQ(empty.ToPath(&path), IO::BadLocation);

    IO::Location l(U("/A/B"));
    IO::Name name;
    ASSERT_EQ(l.MoveLastLocalName(&name), NoError);
    EXPECT_EQ(PathOf(l), "/A");
    EXPECT_EQ(name.ToUniString().ToUTF8(), "B");
    ASSERT_EQ(l.MoveLastLocalName(&name), NoError);
    EXPECT_EQ(PathOf(l), "/");
    EXPECT_EQ(l.MoveLastLocalName(&name), IO::BadLocation);
    ASSERT_EQ(l.AppendToLocal(IO::Name(U("C"))), NoError);
    EXPECT_EQ(PathOf(l), "/C");
    ASSERT_EQ(l.AppendToLocal(IO::Name(U("d é.txt"))), NoError);
    EXPECT_EQ(PathOf(l), "/C/d é.txt");
    ASSERT_EQ(l.GetLastLocalName(&name), NoError);
    EXPECT_EQ(name.ToUniString().ToUTF8(), "d é.txt");
    EXPECT_EQ(PathOf(l), "/C/d é.txt");

    char small[8];
    UInt32 needed = 0;
    EXPECT_EQ(l.ToUTF8POSIXPath(small, sizeof small, &needed), IO::Error);
    EXPECT_EQ(needed, 12u);
    char big[12];
    ASSERT_EQ(l.ToUTF8POSIXPath(big, sizeof big), NoError);
    EXPECT_STREQ(big, "/C/d é.txt");
}

TEST_F(IOTest, FilesAreCreatedWrittenReadAndAppended)
{
    const fs::path file = Dir() / "a.txt";
    IO::File missing(Loc(file), IO::File::Fail);
    EXPECT_EQ(missing.GetStatus(), IO::FileNotFound);
    EXPECT_EQ(missing.Open(IO::File::ReadMode), IO::FileNotFound);
    EXPECT_FALSE(fs::exists(file));

    {
        IO::File f(Loc(file), IO::File::Create);
        ASSERT_EQ(f.GetStatus(), NoError);
        EXPECT_TRUE(fs::exists(file));
        ASSERT_EQ(f.Open(IO::File::WriteEmptyMode), NoError);
        UInt64 written = 0;
        ASSERT_EQ(f.WriteBin("hello world", 11, &written), NoError);
        EXPECT_EQ(written, 11u);
    } // closed by the destructor
    EXPECT_EQ(kftest::ReadFile(file), "hello world");

    IO::File f(Loc(file), IO::File::Fail);
    ASSERT_EQ(f.Open(IO::File::AppendMode), NoError);
    ASSERT_EQ(f.WriteBin("!", 1), NoError);
    ASSERT_EQ(f.Close(), NoError);
    EXPECT_EQ(f.Close(), IO::NotOpen);
    EXPECT_EQ(kftest::ReadFile(file), "hello world!");

    ASSERT_EQ(f.Open(IO::File::ReadMode), NoError);
    UInt32 length32 = 0;
    UInt64 length64 = 0;
    ASSERT_EQ(f.GetDataLength(&length32), NoError);
    ASSERT_EQ(f.GetDataLength(&length64), NoError);
    EXPECT_EQ(length32, 12u);
    EXPECT_EQ(length64, 12u);
    ASSERT_EQ(f.SeekTo(6), NoError);
    char buffer[16] = {};
    UInt64 read = 0;
    EXPECT_EQ(f.ReadBin(buffer, 10, &read), IO::EndOfFile) << "asked for more than there is";
    EXPECT_EQ(read, 6u);
    EXPECT_STREQ(buffer, "world!");
    EXPECT_EQ(f.WriteBin("x", 1), IO::Error) << "opened for reading only";
    f.Close();

    ASSERT_EQ(f.Open(IO::File::WriteEmptyMode), NoError);
    f.Close();
    EXPECT_EQ(kftest::ReadFile(file), "") << "mode 2 empties the file";
    EXPECT_EQ(f.Open(IO::File::OpenMode(6)), APIERR_BADPARS);
    char c;
    EXPECT_EQ(f.ReadBin(&c, 1), IO::NotOpen);

    IO::File folderAsFile(Loc(Dir()), IO::File::Fail);
    EXPECT_NE(folderAsFile.GetStatus(), NoError);
    IO::File noParent(Loc(Dir() / "no" / "such.txt"), IO::File::Create);
    EXPECT_EQ(noParent.GetStatus(), IO::FileNotFound);
    host.Faults().Fail(kfhost::FileOp::Create, "*/b.txt", IO::DiskFull);
    IO::File failed(Loc(Dir() / "b.txt"), IO::File::Create);
    EXPECT_EQ(failed.GetStatus(), IO::DiskFull);
    EXPECT_FALSE(fs::exists(Dir() / "b.txt")) << "a failed creation creates nothing";
}

bool Collect(const IO::Folder&, const IO::Name& name, bool isFolder, void* data)
{
    auto* seen = static_cast<std::vector<std::string>*>(data);
    seen->push_back(name.ToUniString().ToUTF8() + (isFolder ? "/" : ""));
    return seen->size() < 3;
}

TEST_F(IOTest, FoldersAreOpenedListedInNameOrderAndEntriesDeleted)
{
    const fs::path root = Dir() / "root";
    IO::Folder missing(Loc(root), IO::Folder::Fail);
    EXPECT_EQ(missing.GetStatus(), IO::FileNotFound);
    IO::Folder folder(Loc(root), IO::Folder::Create);
    ASSERT_EQ(folder.GetStatus(), NoError);
    kftest::WriteFile(root / "b.txt", "b");
    kftest::WriteFile(root / "a.txt", "a");
    kftest::WriteFile(root / "sub" / "c.txt", "c");
    kftest::WriteFile(root / "z.txt", "z");

    std::vector<std::string> seen;
    EXPECT_EQ(folder.Enumerate(Collect, &seen), APIERR_CANCEL) << "the callback ended it";
    EXPECT_EQ(seen, (std::vector<std::string>{"a.txt", "b.txt", "sub/"}));

    IO::Folder::EntryType type;
    ASSERT_EQ(folder.GetType(IO::Name(U("sub")), &type), NoError);
    EXPECT_EQ(type, IO::Folder::Directory);
    ASSERT_EQ(folder.GetType(IO::Name(U("a.txt")), &type), NoError);
    EXPECT_EQ(type, IO::Folder::File);
    EXPECT_EQ(folder.GetType(IO::Name(U("nothing")), &type), IO::NameNotFound);

    EXPECT_EQ(folder.Delete(IO::Name(U("sub"))), NoError);
    EXPECT_EQ(folder.Delete(IO::Name(U("a.txt"))), NoError);
    EXPECT_EQ(folder.Delete(IO::Name(U("a.txt"))), IO::NameNotFound);
    seen.clear();
    EXPECT_EQ(folder.Enumerate(Collect, &seen), NoError);
    EXPECT_EQ(seen, (std::vector<std::string>{"b.txt", "z.txt"}));

    IO::Folder fileAsFolder(Loc(root / "b.txt"), IO::Folder::Fail);
    EXPECT_EQ(fileAsFolder.GetStatus(), IO::NotAFolder);
    EXPECT_EQ(fileAsFolder.GetType(IO::Name(U("x")), &type), IO::NotAFolder) << "a failed folder answers its status";
}

TEST(FileErrors, SystemErrorsMapToTheHostsFileCodes)
{
    using kfhost::FileErrorFromErrno;
    EXPECT_EQ(FileErrorFromErrno(EACCES), IO::AccessDenied);
    EXPECT_EQ(FileErrorFromErrno(EROFS), IO::AccessDenied);
    EXPECT_EQ(FileErrorFromErrno(ENOENT), IO::FileNotFound);
    EXPECT_EQ(FileErrorFromErrno(ENOSPC), IO::DiskFull);
    EXPECT_EQ(FileErrorFromErrno(EIO), IO::Error);
    EXPECT_EQ(IO::Error, HostErrCode(0x81000100u));
    EXPECT_EQ(IO::FileNotFound, HostErrCode(0x81010100u));
    EXPECT_EQ(IO::AccessDenied, HostErrCode(0x81010102u));
    EXPECT_EQ(IO::DiskFull, HostErrCode(0x81010103u));
}

TEST_F(IOTest, MoveOverReplacesTheTargetInOneStep)
{
    kftest::WriteFile(Dir() / "new.tmp", "new");
    kftest::WriteFile(Dir() / "settings.cfg", "old");
    host.Faults().Fail(kfhost::FileOp::Move, "*.cfg", IO::DiskFull);
    EXPECT_EQ(IO::FileSystem::MoveOver(Loc(Dir() / "new.tmp"), Loc(Dir() / "settings.cfg")), IO::DiskFull);
    EXPECT_EQ(kftest::ReadFile(Dir() / "settings.cfg"), "old");
    ASSERT_EQ(IO::FileSystem::MoveOver(Loc(Dir() / "new.tmp"), Loc(Dir() / "settings.cfg")), NoError);
    EXPECT_EQ(kftest::ReadFile(Dir() / "settings.cfg"), "new");
    EXPECT_FALSE(fs::exists(Dir() / "new.tmp"));
    EXPECT_EQ(IO::FileSystem::MoveOver(Loc(Dir() / "new.tmp"), Loc(Dir() / "settings.cfg")), IO::FileNotFound);
    EXPECT_EQ(IO::FileSystem::MoveOver(IO::Location(), Loc(Dir() / "settings.cfg")), IO::BadLocation);
}

} // namespace
