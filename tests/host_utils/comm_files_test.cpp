// Communication files of two host releases sharing one framework folder; whether the suite is
// loaded is asked of real bundles through kfhost (tests/addon).
#include "kftest/SettingsFiles.hpp"
#include "kftest/Text.hpp"
#include "kftest/InProcessHost.hpp"
#include "kftest/Processes.hpp"
#include "KF/KF_Comm.hpp"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <set>

namespace fs = std::filesystem;
using namespace kftest;

namespace {

class Comm : public ::testing::Test {
protected:
    // A host of that release on the shared folder; the previous one goes first.
    void Release(std::int32_t release)
    {
        host.reset();
        kfhost::HostConfig config;
        config.release = release;
        config.frameworkFolder = folder.Path();
        host = std::make_unique<kftest::InProcessHost>(config);
        host->Attach();
    }
    fs::path File(const char* name) const { return folder.Path() / name; }
    std::set<std::string> Names() const
    {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder.Path())) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

    kftest::TempFolder folder;
    std::unique_ptr<kftest::InProcessHost> host;
};

using NameSet = std::set<std::string>;

} // namespace

TEST_F(Comm, EachReleaseWritesAndReadsItsOwnFile)
{
    Release(16);
    KF_Location suite;
    ASSERT_TRUE(KF_Comm::SuiteFileLocation(17, suite));
    EXPECT_EQ(Utf8(suite.path), File("Tavolo_HV17.sui").string());
    ASSERT_TRUE(KF_Comm::AddOnFileWrite(true));
    EXPECT_EQ(kftest::ReadFile(File("TestAddOn_16.sui")), Scrambled("$Tavolo Loaded: TRUE\n"));
    EXPECT_TRUE(KF_Comm::AddOnFileRead());

    Release(17);
    EXPECT_FALSE(KF_Comm::AddOnFileRead());
    ASSERT_TRUE(KF_Comm::AddOnFileWrite(false));
    EXPECT_EQ(kftest::ReadFile(File("TestAddOn_17.sui")), Scrambled("$Tavolo Loaded: FALSE\n"));
    EXPECT_FALSE(KF_Comm::AddOnFileRead());

    // A failed rewrite keeps the previous message whole and leaves nothing beside it.
    host->Faults().Fail(kfhost::FileOp::Write, "*", IO::DiskFull);
    EXPECT_FALSE(KF_Comm::AddOnFileWrite(true));
    EXPECT_EQ(kftest::ReadFile(File("TestAddOn_17.sui")), Scrambled("$Tavolo Loaded: FALSE\n"));
    EXPECT_EQ(Names(), (NameSet{"TestAddOn_16.sui", "TestAddOn_17.sui"}));

    Release(16);
    EXPECT_TRUE(KF_Comm::AddOnFileRead());
    // Which messages say TRUE is the message reader's fuzz target's; at file level, a message not
    // scrambled or past the size limit does not.
    kftest::WriteFile(File("TestAddOn_16.sui"), "$Tavolo Loaded: TRUE\n");
    EXPECT_FALSE(KF_Comm::AddOnFileRead());
    kftest::WriteFile(File("TestAddOn_16.sui"), Scrambled("$Tavolo Loaded: TRUE\n" + std::string(100000, '#')));
    EXPECT_FALSE(KF_Comm::AddOnFileRead());
}

TEST_F(Comm, SweepDeletesEveryAddOnsFileOfTheRunningReleaseOnly)
{
    for (const char* name : {"TestAddOn_17.sui", "Other_17.sui", "TestAddOn_16.sui", "Tavolo_HV17.sui",
                             "notes_17.sui.txt", "x_170.sui", "nested/Deep_17.sui"}) {
        kftest::WriteFile(folder.Path() / name, "x");
    }
    Release(17);
    KF_Comm::AddOnsFileDelete();
    EXPECT_EQ(Names(), (NameSet{"TestAddOn_16.sui", "Tavolo_HV17.sui", "notes_17.sui.txt", "x_170.sui", "nested"}));
    EXPECT_TRUE(fs::exists(File("nested/Deep_17.sui")));
}

TEST(CommModuleIds, TwentySixDistinctFamilyRowsAndSpacesOutside)
{
    EXPECT_EQ(KF_Comm::GetMDID(static_cast<KF_Comm_AddOnsCode>(-4)), 0x2020202020202020ull);
    EXPECT_EQ(KF_Comm::GetMDID(static_cast<KF_Comm_AddOnsCode>(23)), 0x2020202020202020ull);
    EXPECT_EQ(KF_Comm::GetMDID(KF_Comm_Tavolo), 0x537357361BBAAC53ull);
    std::set<KF_Comm_MDID> ids;
    for (int code = -3; code <= 22; ++code) {
        ids.insert(KF_Comm::GetMDID(static_cast<KF_Comm_AddOnsCode>(code)));
    }
    EXPECT_EQ(ids.size(), 26u);
    EXPECT_EQ(ids.count(KF_Comm::UnknownMDID), 0u);
}

// Another process rewrites the file in place, byte by byte, with everything but a whole message
// saying TRUE (truncations of it, garbage, a large file, a FIFO or a device in its place) while
// this one reads: every read answers at once and never says TRUE.
TEST_F(Comm, AHostileWriterBesideAReaderNeverMakesItSayTrue)
{
    Release(17);
    const fs::path file = File("TestAddOn_17.sui");
    std::string const message = Scrambled("$Tavolo Loaded: TRUE\n");
    std::vector<std::string> contents = {Scrambled("$Tavolo Loaded: FALSE\n"), std::string(300000, '\x42'),
                                         std::string("\0\xff\xfe", 3), ""};
    for (std::size_t cut = 1; cut < message.size(); cut += 3)
        contents.push_back(message.substr(0, cut));
    const pid_t writer = ::fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
        for (int round = 0;; ++round) {
            for (const std::string& content : contents) {
                std::ofstream out(file, std::ios::binary | std::ios::trunc);
                for (std::size_t at = 0; at < content.size(); at += 7) {
                    out.write(content.data() + at, std::streamsize(std::min<std::size_t>(7, content.size() - at)));
                    out.flush();
                }
            }
            const fs::path odd = folder.Path() / "odd";
            fs::remove(odd);
            if (round % 2 == 0)
                ::mkfifo(odd.c_str(), 0600);
            else
                fs::create_symlink("/dev/zero", odd);
            fs::rename(odd, file);
        }
    }
    int trues = 0;
    for (int read = 0; read < 3000; ++read)
        trues += KF_Comm::AddOnFileRead() ? 1 : 0;
    ::kill(writer, SIGKILL);
    ::waitpid(writer, nullptr, 0);
    EXPECT_EQ(trues, 0);
}

// Two processes of one add-on write the file of one release at once while a third reads it: every
// write succeeds, every read finds a whole message, and nothing is left beside the file.
TEST_F(Comm, TwoProcessesWritingAtOnceNeverLeaveAHalfFile)
{
    Release(17);
    const std::set<std::string> whole = {Scrambled("$Tavolo Loaded: TRUE\n"), Scrambled("$Tavolo Loaded: FALSE\n")};
    int reads = 0;
    int torn = 0;
    EXPECT_TRUE(kftest::WhileProcessesWrite(
        2, 400, [](int w, int i) { return KF_Comm::AddOnFileWrite((i + w) % 2 == 0); },
        [&] {
            if (fs::exists(File("TestAddOn_17.sui"))) {
                ++reads;
                torn += whole.count(kftest::ReadFile(File("TestAddOn_17.sui"))) == 1 ? 0 : 1;
            }
        }))
        << "every write of both succeeded";
    EXPECT_GT(reads, 0);
    EXPECT_EQ(torn, 0) << "of " << reads << " reads";
    EXPECT_EQ(Names(), (NameSet{"TestAddOn_17.sui"}));
}
