// Communication files of two host releases sharing one framework folder, and the suite's presence.
#include "kftest/SettingsFiles.hpp"
#include "kftest/Text.hpp"
#include "kftest/InProcessHost.hpp"
#include "KF/KF_Comm.hpp"

#include <gtest/gtest.h>

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
}

TEST_F(Comm, OnlyOneCompleteEntrySayingTrueReadsTrue)
{
    Release(17);
    for (const auto& [plain, expected] : {std::pair{"$Tavolo Loaded: TRUE\n", true},
                                          {"$Anything: TRUE\r\n", true},
                                          {"$Tavolo Loaded: TRUE", false},
                                          {"$Tavolo Loaded: true\n", false},
                                          {"$Tavolo Loaded: TRUE\n$x: TRUE\n", false},
                                          {"TRUE\n", false}}) {
        kftest::WriteFile(File("TestAddOn_17.sui"), Scrambled(plain));
        EXPECT_EQ(KF_Comm::AddOnFileRead(), expected) << plain;
    }
    kftest::WriteFile(File("TestAddOn_17.sui"), "$Tavolo Loaded: TRUE\n"); // not scrambled
    EXPECT_FALSE(KF_Comm::AddOnFileRead());
    kftest::WriteFile(File("TestAddOn_17.sui"), Scrambled("$Tavolo Loaded: TRUE\n" + std::string(100000, '#')));
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

TEST_F(Comm, SuiteIsLoadedWhenItAnswersOrItsFileOfThisReleaseExists)
{
    Release(17);
    bool answered = true;
    EXPECT_FALSE(KF_Comm::SuiteIsLoaded(answered));
    EXPECT_FALSE(answered);
    kftest::WriteFile(File("Tavolo_HV16.sui"), "");
    EXPECT_FALSE(KF_Comm::SuiteIsLoaded(answered));
    kftest::WriteFile(File("Tavolo_HV17.sui"), "");
    EXPECT_TRUE(KF_Comm::SuiteIsLoaded(answered));
    EXPECT_FALSE(answered);

    fs::remove(File("Tavolo_HV17.sui"));
    kfhost::AddOn& suite = host->Host().Attach(kfhost::ResourceModule{}, host->BundlePath("Tavolo"));
    suite.moduleID = kfhost::ModuleID{KF_Comm::SuiteDeveloperID, KF_Comm::SuiteLocalID};
    suite.initialized = true;
    suite.services.emplace_back(KF_Comm::SuiteCommand, 0);
    EXPECT_TRUE(KF_Comm::SuiteIsLoaded(answered));
    EXPECT_TRUE(answered);
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
