// Entries that someone else put where the framework writes: a new file never takes over any of
// them, and a writer's clean-up removes only the temporary files of its own target.
#include "KF_FileDetail.hpp"
#include "KF_WriterTag.hpp"
#include "kftest/HostedFiles.hpp"

#include "IO.hpp"

#include <sys/stat.h>

#include <cstdio>

namespace fs = std::filesystem;
using kftest::HostedFiles;

namespace {

using PlantedEntries = HostedFiles;

// A tag of a writer that no longer runs: this machine and boot, a process number nobody holds.
std::string GoneWritersTag(const char* random = "0badf00d")
{
    kf::detail::KF_WriterID gone = kf::detail::KF_Writer_This();
    gone.pid = 999999;
    gone.start += 1;
    char text[96];
    std::snprintf(text, sizeof text, "%ld-%llu-%08x-%08x-%s", long(gone.pid), gone.start, unsigned(gone.boot),
                  unsigned(gone.place), random);
    return text;
}

} // namespace

TEST_F(PlantedEntries, ANewFileTakesNoEntryThatIsAlreadyAtItsName)
{
    kftest::WriteFile(Path("file"), "someone's");
    fs::create_symlink(Path("nowhere"), Path("dangling"));
    fs::create_symlink(Path("file"), Path("link"));
    fs::create_directory(Path("folder"));
    ASSERT_EQ(::mkfifo(Path("fifo").c_str(), 0600), 0);
    for (const char* name : {"file", "dangling", "link", "folder", "fifo"}) {
        IO::File file(static_cast<IO::Location>(At(name)), IO::File::LeaveToOpen);
        EXPECT_NE(file.Open(IO::File::CreateNewMode), NoError) << name;
        EXPECT_FALSE(file.IsOpen()) << name;
    }
    EXPECT_EQ(kftest::ReadFile(Path("file")), "someone's");
    EXPECT_FALSE(fs::exists(Path("nowhere"))) << "the dangling link was followed";

    IO::File fresh(static_cast<IO::Location>(At("fresh")), IO::File::LeaveToOpen);
    EXPECT_EQ(fresh.Open(IO::File::CreateNewMode), NoError);
}

TEST_F(PlantedEntries, OnlyTheTargetDotTagNamesAreItsTemporaryFiles)
{
    const std::string tag = GoneWritersTag();
    const std::string ours = "f." + tag + ".kftmp";
    const std::vector<std::string> others = {"f_" + tag + ".kftmp", "fx" + tag + ".kftmp", "g." + tag + ".kftmp",
                                             "f." + GoneWritersTag("badf00d") + ".kftmp"};
    kftest::WriteFile(Path(ours.c_str()), "left");
    for (const std::string& name : others)
        kftest::WriteFile(Path(name.c_str()), "someone's");

    const std::string content = "saved";
    ASSERT_EQ(kf::detail::KF_File_ReplaceWhole(At("f"), content.data(), content.size()), 0);
    EXPECT_FALSE(fs::exists(Path(ours.c_str()))) << "a file its writer left behind";
    for (const std::string& name : others)
        EXPECT_TRUE(fs::exists(Path(name.c_str()))) << name;
}
