// Communication files between the maker's add-ons across two host versions sharing one framework
// folder, and the suite's presence.
#include "kftest/InProcessHost.hpp"
#include "KF/KF_Comm.hpp"
#include "KF/KF_File.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <set>
#include <string>

namespace fs = std::filesystem;

namespace {

std::string Utf8(KF_String const& text)
{
    KF_CString const bytes = text.ToCStr(KF_String::Enc_UTF8);
    std::string out = bytes.bytes != nullptr ? std::string(bytes.bytes, bytes.length) : std::string();
    while (!out.empty() && out.back() == '\0') {
        out.pop_back();
    }
    return out;
}

std::string Scrambled(std::string bytes)
{
    for (char& c : bytes) {
        auto const b = static_cast<unsigned char>(c);
        c = static_cast<char>(static_cast<unsigned char>((b << 4) | (b >> 4)));
    }
    return bytes;
}

// One framework folder that outlives the hosts of several releases.
class CommFiles : public ::testing::Test {
protected:
    // Starts a host of that release on the shared folder (the previous one goes first).
    kftest::InProcessHost& Release(std::int32_t release)
    {
        host.reset();
        kfhost::HostConfig config;
        config.release = release;
        config.frameworkFolder = folder.Path();
        host = std::make_unique<kftest::InProcessHost>(config);
        host->Attach();
        return *host;
    }

    fs::path File(char const* name) const { return folder.Path() / name; }

    std::set<std::string> Names() const
    {
        std::set<std::string> names;
        for (auto const& entry : fs::directory_iterator(folder.Path())) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

    kftest::TempFolder folder;
    std::unique_ptr<kftest::InProcessHost> host;
};

using CommLocations = CommFiles;
using CommMessages = CommFiles;
using CommSweep = CommFiles;
using SuitePresence = CommFiles;

} // namespace

TEST_F(CommLocations, NamesCarryTheVersionAskedFor)
{
    Release(17);
    KF_Location own;
    KF_Location suite;
    ASSERT_TRUE(KF_Comm::AddOnFileLocation(16, own));
    ASSERT_TRUE(KF_Comm::SuiteFileLocation(17, suite));
    EXPECT_EQ(Utf8(own.path), File("TestAddOn_16.sui").string());
    EXPECT_EQ(Utf8(suite.path), File("Tavolo_AC17.sui").string());
}

TEST_F(CommMessages, EachReleaseWritesAndReadsItsOwnFile)
{
    Release(16);
    ASSERT_TRUE(KF_Comm::AddOnFileWrite(true));
    EXPECT_EQ(kftest::ReadFile(File("TestAddOn_16.sui")), Scrambled("$Tavolo Loaded: TRUE\n"));
    EXPECT_TRUE(KF_Comm::AddOnFileRead());

    Release(17);
    EXPECT_FALSE(KF_Comm::AddOnFileRead());
    ASSERT_TRUE(KF_Comm::AddOnFileWrite(false));
    EXPECT_EQ(kftest::ReadFile(File("TestAddOn_17.sui")), Scrambled("$Tavolo Loaded: FALSE\n"));
    EXPECT_FALSE(KF_Comm::AddOnFileRead());

    // The file of release 16 is untouched by release 17.
    Release(16);
    EXPECT_TRUE(KF_Comm::AddOnFileRead());
    EXPECT_EQ(Names(), (std::set<std::string>{"TestAddOn_16.sui", "TestAddOn_17.sui"}));
}

TEST_F(CommMessages, RewritingReplacesTheWholeFile)
{
    Release(17);
    kftest::WriteFile(File("TestAddOn_17.sui"), Scrambled("$Tavolo Loaded: TRUE\n$left: over from before\n"));
    ASSERT_TRUE(KF_Comm::AddOnFileWrite(true));
    EXPECT_EQ(kftest::ReadFile(File("TestAddOn_17.sui")), Scrambled("$Tavolo Loaded: TRUE\n"));
}

TEST_F(CommMessages, OnlyOneCompleteEntryWithTrueReadsTrue)
{
    Release(17);
    struct Case {
        char const* plain;
        bool expected;
    };
    for (Case const c : {Case{"$Tavolo Loaded: TRUE\n", true}, Case{"$Tavolo Loaded: TRUE", false},
                         Case{"$Tavolo Loaded: true\n", false}, Case{"$Tavolo Loaded: TRUE \n", false},
                         Case{"$Anything: TRUE\n", true}, Case{"$Tavolo Loaded: TRUE\n$x: TRUE\n", false},
                         Case{"$Tavolo Loaded: TRUE\r\n", true}, Case{"Tavolo Loaded: TRUE\n", false},
                         Case{"", false}}) {
        kftest::WriteFile(File("TestAddOn_17.sui"), Scrambled(c.plain));
        EXPECT_EQ(KF_Comm::AddOnFileRead(), c.expected) << c.plain;
    }
    // Unscrambled text is not a message.
    kftest::WriteFile(File("TestAddOn_17.sui"), "$Tavolo Loaded: TRUE\n");
    EXPECT_FALSE(KF_Comm::AddOnFileRead());
}

TEST_F(CommMessages, OversizedOrUnreadableFilesReadFalse)
{
    Release(17);
    kftest::WriteFile(File("TestAddOn_17.sui"), Scrambled("$Tavolo Loaded: TRUE\n" + std::string(100000, '#')));
    EXPECT_FALSE(KF_Comm::AddOnFileRead());

    kftest::WriteFile(File("TestAddOn_17.sui"), Scrambled("$Tavolo Loaded: TRUE\n"));
    host->Faults().Fail(kfhost::FileOp::Read, "*", IO::Error);
    EXPECT_FALSE(KF_Comm::AddOnFileRead());
}

TEST_F(CommMessages, FailedWriteKeepsThePreviousMessage)
{
    Release(17);
    ASSERT_TRUE(KF_Comm::AddOnFileWrite(true));
    std::string const before = kftest::ReadFile(File("TestAddOn_17.sui"));
    host->Faults().Fail(kfhost::FileOp::Write, "*", IO::DiskFull);
    EXPECT_FALSE(KF_Comm::AddOnFileWrite(false));
    EXPECT_EQ(kftest::ReadFile(File("TestAddOn_17.sui")), before);
    EXPECT_EQ(Names(), (std::set<std::string>{"TestAddOn_17.sui"}));
    EXPECT_TRUE(KF_Comm::AddOnFileRead());
}

TEST_F(CommSweep, DeletesEveryAddOnsFileOfTheRunningReleaseOnly)
{
    for (char const* name : {"TestAddOn_17.sui", "Other_17.sui", "Third_17.sui", "TestAddOn_16.sui",
                             "Tavolo_AC17.sui", "notes_17.sui.txt", "x_170.sui"}) {
        kftest::WriteFile(File(name), "x");
    }
    kftest::WriteFile(folder.Path() / "nested" / "Deep_17.sui", "x");
    Release(17);
    KF_Comm::AddOnsFileDelete();
    EXPECT_EQ(Names(), (std::set<std::string>{"TestAddOn_16.sui", "Tavolo_AC17.sui", "notes_17.sui.txt",
                                              "x_170.sui", "nested"}));
    EXPECT_TRUE(fs::exists(folder.Path() / "nested" / "Deep_17.sui"));

    Release(16);
    KF_Comm::AddOnsFileDelete();
    EXPECT_FALSE(fs::exists(File("TestAddOn_16.sui")));
}

TEST_F(CommSweep, StaleFileOfTheRunningReleaseIsDeletedAtTheEnvironmentCheck)
{
    // What an add-on does at its environment check: its own file of this release goes.
    kftest::WriteFile(File("TestAddOn_17.sui"), Scrambled("$Tavolo Loaded: TRUE\n"));
    kftest::WriteFile(File("TestAddOn_16.sui"), Scrambled("$Tavolo Loaded: TRUE\n"));
    Release(17);
    KF_Location stale;
    ASSERT_TRUE(KF_Comm::AddOnFileLocation(17, stale));
    EXPECT_TRUE(KF_File::Delete(stale));
    EXPECT_FALSE(KF_Comm::AddOnFileRead());
    EXPECT_EQ(Names(), (std::set<std::string>{"TestAddOn_16.sui"}));
}

TEST_F(SuitePresence, AbsentSuiteWithoutFileIsNotLoaded)
{
    Release(17);
    bool answered = true;
    EXPECT_FALSE(KF_Comm::SuiteIsLoaded(answered));
    EXPECT_FALSE(answered);
}

TEST_F(SuitePresence, SuiteFileOfTheRunningReleaseCountsWithoutAnAnswer)
{
    kftest::WriteFile(File("Tavolo_AC16.sui"), "");
    Release(17);
    bool answered = true;
    EXPECT_FALSE(KF_Comm::SuiteIsLoaded(answered));
    EXPECT_FALSE(answered);

    Release(16);
    answered = true;
    EXPECT_TRUE(KF_Comm::SuiteIsLoaded(answered));
    EXPECT_FALSE(answered);
}

TEST_F(SuitePresence, SuiteAnsweringItsCommandIsLoaded)
{
    Release(17);
    // A stand-in suite: loaded, with the suite's module identifier, serving "SUIT" version 0.
    kfhost::ResourceModule resources;
    resources.moduleID = kfhost::ModuleID{KF_Comm::SuiteDeveloperID, KF_Comm::SuiteLocalID};
    kfhost::AddOn& suite = host->Host().Attach(resources, host->BundlePath("Tavolo"));
    suite.moduleID = *resources.moduleID;
    suite.initialized = true;
    suite.services.emplace_back(KF_Comm::SuiteCommand, 0);

    bool answered = false;
    EXPECT_TRUE(KF_Comm::SuiteIsLoaded(answered));
    EXPECT_TRUE(answered);

    // Another version of the command is not the suite's answer.
    suite.services.front().second = 1;
    EXPECT_FALSE(KF_Comm::SuiteIsLoaded(answered));
    EXPECT_FALSE(answered);
}

TEST(CommModuleIds, FamilyTableHasTwentySixDistinctRowsAndSpacesOutside)
{
    EXPECT_EQ(KF_Comm::GetMDID(static_cast<KF_Comm_AddOnsCode>(-4)), 0x2020202020202020ull);
    EXPECT_EQ(KF_Comm::GetMDID(static_cast<KF_Comm_AddOnsCode>(23)), 0x2020202020202020ull);
    EXPECT_EQ(KF_Comm::GetMDID(KF_Comm_Tavolo), 0x537357361BBAAC53ull);
    std::set<KF_Comm_MDID> ids;
    for (int code = -3; code <= 22; ++code) {
        KF_Comm_MDID const id = KF_Comm::GetMDID(static_cast<KF_Comm_AddOnsCode>(code));
        EXPECT_NE(id, KF_Comm::UnknownMDID) << code;
        EXPECT_EQ(id >> 32, KF_Comm::SuiteDeveloperID) << code;
        ids.insert(id);
    }
    EXPECT_EQ(ids.size(), 26u);
}
