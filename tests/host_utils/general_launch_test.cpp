// Opening documents, folders and web addresses: what is handed to the desktop's opener, as one
// argument each; that the host starts it without a shell is the sdk's launch test.
#include "LibsFixture.hpp"

#include "KF/KF_General.hpp"

using namespace kftest;

namespace {

using Argv = std::vector<std::string>;

class LaunchTest : public HostTest {
protected:
    void SetUp() override
    {
        HostTest::SetUp();
        Start();
    }
    Argv Last() const { return host_->Launched().empty() ? Argv{} : host_->Launched().back(); }
};

TEST_F(LaunchTest, ADocumentIsOpenedByItsExactPathWithColonsAsSlashes)
{
    fs::path const doc = files_.Path() / "it's \"$(touch pwned)\"; rm -rf x.txt";
    kftest::WriteFile(doc, "text");
    EXPECT_TRUE(KF_General::LaunchDocByPath(S(doc.string())));
    EXPECT_EQ(Last(), (Argv{"xdg-open", doc.string()}));
    EXPECT_TRUE(KF_General::LaunchDocByLoc(KF_Location(S(doc.string()))));
    EXPECT_EQ(Last(), (Argv{"xdg-open", doc.string()}));
    EXPECT_EQ(Host().Launched().size(), 2u);
    // Colons in the path become slashes.
    kftest::WriteFile(files_.Path() / "Plans:Level 1.txt", "text");
    EXPECT_TRUE(KF_General::LaunchDocByPath(S((files_.Path() / "Plans:Level 1.txt").string())));
    EXPECT_EQ(Last(), (Argv{"xdg-open", (files_.Path() / "Plans" / "Level 1.txt").string()}));
}

TEST_F(LaunchTest, NothingThatIsNotThereIsLaunched)
{
    fs::path const folder = files_.Path() / "Folder";
    fs::create_directories(folder);
    kftest::WriteFile(folder / "file.txt", "text");
    EXPECT_FALSE(KF_General::LaunchDocByPath(S((folder / "missing.txt").string())));
    EXPECT_FALSE(KF_General::LaunchDocByLoc(KF_Location(S((folder / "missing.txt").string()))));
    KF_Location file(S((folder / "file.txt").string()));
    EXPECT_FALSE(KF_General::OpenFolderByLoc(file));
    EXPECT_TRUE(Host().Launched().empty());

    KF_Location shown(S(folder.string() + "/"));
    EXPECT_TRUE(KF_General::OpenFolderByLoc(shown));
    EXPECT_EQ(Last(), (Argv{"xdg-open", folder.string()}));
}

TEST_F(LaunchTest, AWebAddressIsCutAt255Bytes)
{
    std::string const address = "https://www.orvella.example/update_plugins/updates.htm?acver=17&lang=int";
    EXPECT_TRUE(KF_General::LaunchURLByPath(S(address)));
    EXPECT_EQ(Last(), (Argv{"xdg-open", address}));
    for (std::size_t const length : {254u, 255u, 256u, 300u}) {
        std::string const longAddress = "https://x.example/" + std::string(length - 18, 'q');
        EXPECT_TRUE(KF_General::LaunchURLByPath(S(longAddress)));
        EXPECT_EQ(Last(), (Argv{"xdg-open", longAddress.substr(0, 255)})) << length;
    }
    EXPECT_FALSE(KF_General::LaunchURLByPath(KF_String()));
    // Never an option of the opener.
    EXPECT_TRUE(KF_General::LaunchURLByPath(S("--manual")));
    EXPECT_EQ(Last(), (Argv{"xdg-open", "./--manual"}));
}

} // namespace
