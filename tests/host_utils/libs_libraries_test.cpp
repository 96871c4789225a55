// The loaded libraries, loading the suite library beside the add-on, asking the user for one, and
// the look-ups that tell the user when a part cannot be had.
#include "LibsFixture.hpp"

#include "BM.hpp"
#include "BMTesting.hpp"
#include "KF/KF_General.hpp"
#include "KF/KF_LibPart.hpp"

using namespace kftest;

namespace {

std::vector<std::string> Paths(const KF_List<KF_Location>& list)
{
    std::vector<std::string> paths;
    for (const KF_Location& l : list)
        paths.push_back(Utf8(l.path));
    return paths;
}

std::vector<std::string> Loaded()
{
    KF_List<KF_Location> list;
    EXPECT_TRUE(KF_Library::Libraries(list));
    return Paths(list);
}

using LibrariesTest = HostTest;

TEST_F(LibrariesTest, TheLibraryTheHostNamesComesFirst)
{
    fs::path const a = Library("A", {}), b = Library("B", {}), c = Library("C", {});
    kfhost::HostConfig config;
    config.libraries = {a, b};
    config.embeddedLibrary = c; // position 2 of A, B, C
    Start(config);
    const long handles = BMTesting::LiveHandleCount();
    EXPECT_EQ(Loaded(), (std::vector<std::string>{c.string(), a.string(), b.string()}));
    EXPECT_EQ(BMTesting::LiveHandleCount(), handles);

    // Added libraries follow in the order they came.
    fs::path const d = Library("D", {});
    IO::Location folder(Base::UniString::FromUTF8(d.string()));
    ASSERT_EQ(HostAPI_Environment(HostEnv_AddLibraries, &folder), NoError);
    EXPECT_EQ(Loaded(), (std::vector<std::string>{c.string(), a.string(), b.string(), d.string()}));
}

TEST_F(LibrariesTest, ASuiteLibraryLoadedAnywhereIsRecognisedByItsLastName)
{
    fs::path const elsewhere = Library("x/TAVOLO_LIBRARY", {});
    kfhost::HostConfig config;
    config.libraries = {Library("A", {}), elsewhere};
    Start(config);
    Library(SuiteFolder(), {{"Chair.part", "Object"}});
    EXPECT_TRUE(KF_Library::Load(true));
    EXPECT_EQ(Loaded().size(), 2u);
    ASSERT_TRUE(Host().Run("answer cancel"));
    EXPECT_EQ(KF_LibPart::IndexFullLib(S("Chair"), API_ObjectID), -1);
    EXPECT_FALSE(TranscriptHas("library added"));
    // Without the check the folder beside the add-on is loaded.
    EXPECT_GT(KF_LibPart::IndexFullLibNoCheckLibs(S("Chair"), API_ObjectID), 0);
    EXPECT_EQ(Loaded().back(), SuiteFolder().string());
}

TEST_F(LibrariesTest, APartMissingEverywhereIsLookedForBesideTheAddOnThenAskedFor)
{
    Start();
    EXPECT_TRUE(KF_Library::Load(false)) << "a missing suite folder is no error";
    EXPECT_TRUE(Loaded().empty());
    fs::path const picked = Library("Picked", {{"Stool.part", "Object"}});
    Library(SuiteFolder(), {{"Chair.part", "Object"}});

    long index = 0;
    EXPECT_TRUE(KF_General::GetLPIdxFullLib(S("Chair"), index, true, S(""), API_ObjectID));
    EXPECT_GT(index, 0);
    EXPECT_FALSE(TranscriptHas("folder dialog"));

    ASSERT_TRUE(Host().Run("answer folder \"" + picked.string() + "/\""));
    EXPECT_GT(KF_LibPart::IndexFullLib(S("Stool"), API_ObjectID), 0);
    EXPECT_TRUE(TranscriptHas("folder dialog \"Test Add-On: Pick the library folder\" -> "));
    EXPECT_EQ(Loaded().back(), picked.string());

    // Cancelled, a folder without the part, a folder that is not there: still not found.
    ASSERT_TRUE(Host().Run("answer cancel\nanswer folder \"" + picked.string() + "\"\nanswer folder \"/no/such\""));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(KF_LibPart::IndexFullLib(S("Sofa"), API_ObjectID), -1);
    EXPECT_EQ(Host().PendingLines(), 0u);
    EXPECT_TRUE(Host().ScriptOk());
}

TEST_F(LibrariesTest, TheAlertTellsWhatCannotBeFound)
{
    Start();
    ASSERT_TRUE(Host().Run("answer cancel\nanswer cancel\nanswer cancel\nanswer cancel"));
    long index = 0;
    EXPECT_FALSE(KF_General::GetLPIdxFullLib(S("Sofa"), index, false, S(""), API_ObjectID));
    EXPECT_EQ(index, -1);
    EXPECT_FALSE(TranscriptHas("alert"));
    EXPECT_FALSE(KF_General::GetLPIdxFullLib(S("Sofa"), index, true, S(""), API_ObjectID));
    EXPECT_FALSE(KF_General::GetLPIdxFullLibNoCheckLibs(S("Sofa"), index, true, S("Sofa is gone"), API_ObjectID));
    // A null text is not the empty text: it is shown as it is.
    EXPECT_FALSE(KF_General::GetLPIdxFullLib(S("Sofa"), index, true, KF_String(), API_ObjectID));
    EXPECT_TRUE(Host().Run("expect alert \"No such part\"\nexpect alert \"Sofa is gone\"\nexpect alert \"\""));
    EXPECT_TRUE(TranscriptHas("alert \"\" \"No such part\" \"\" buttons \"OK\""));
}

} // namespace
