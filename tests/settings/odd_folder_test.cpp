// Framework folders that are hard to name: bytes that are not UTF-8, a path near PATH_MAX, a folder
// the user cannot write. The stores end up in that very folder, or fail cleanly without a stray
// file anywhere else.
#include "kftest/InProcessHost.hpp"
#include "kftest/Text.hpp"
#include "KF_SettingsState.hpp"
#include "KF/KF_AddonSettings.hpp"
#include "KF/KF_Comm.hpp"

#include <gtest/gtest.h>

#include <climits>

namespace fs = std::filesystem;
using namespace kftest;

namespace {

constexpr auto kShared = KF_AddonSettings_AllAddons;

class OddFolder : public ::testing::Test {
protected:
    void Use(const fs::path& folder)
    {
        kf::detail::KF_AddonSettings_Forget(kShared);
        host.reset();
        kfhost::HostConfig config;
        config.frameworkFolder = folder;
        host = std::make_unique<kftest::InProcessHost>(config);
        host->Attach();
    }
    void TearDown() override { kf::detail::KF_AddonSettings_Forget(kShared); }
    // Every file under root, relative to it.
    std::vector<std::string> FilesUnder(const fs::path& root) const
    {
        std::vector<std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(root))
            if (!entry.is_directory())
                files.push_back(fs::relative(entry.path(), root).string());
        std::sort(files.begin(), files.end());
        return files;
    }

    kftest::TempFolder scratch;
    std::unique_ptr<kftest::InProcessHost> host;
};

} // namespace

TEST_F(OddFolder, AFolderNamedWithBytesThatAreNotUtf8HoldsTheStores)
{
    const fs::path folder = scratch.Path() / "caf\xe9 \xff\xfe" / "fw";
    fs::create_directories(folder);
    Use(folder);
    ASSERT_TRUE(KF_AddonSettings_LoadSetSave(kShared, S("k"), S("v"), true));
    ASSERT_TRUE(KF_Comm::AddOnFileWrite(true));
    kf::detail::KF_AddonSettings_Forget(kShared);
    ASSERT_TRUE(KF_AddonSettings_Load(kShared, false));
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(kShared, S("k"), false)), "v");
    EXPECT_TRUE(KF_Comm::AddOnFileRead());
    EXPECT_EQ(FilesUnder(scratch.Path()),
              (std::vector<std::string>{"caf\xe9 \xff\xfe/fw/Quadrelle.cfg", "caf\xe9 \xff\xfe/fw/TestAddOn_17.sui"}));
}

// Folders whose paths leave room for the store's name but not for its temporary file's, or for
// neither, or for both: each save works and reads back, or fails and leaves nothing.
TEST_F(OddFolder, AFolderPathNearPathMaxSavesOrFailsCleanly)
{
    fs::path deep = scratch.Path();
    while (deep.string().size() + 201 < PATH_MAX - 200)
        deep /= std::string(200, 'd');
    int saves = 0;
    for (const std::size_t room : {150, 60, 20, 14, 5}) {
        // The folder's path leaves room bytes below PATH_MAX, its terminator counted.
        const fs::path folder = deep / std::string(PATH_MAX - 1 - room - deep.string().size() - 1, 'e');
        fs::create_directories(folder);
        ASSERT_EQ(folder.string().size(), PATH_MAX - 1 - room);
        Use(folder);
        const bool saved = KF_AddonSettings_LoadSetSave(kShared, S("k"), S("v"), true);
        saves += saved ? 1 : 0;
        kf::detail::KF_AddonSettings_Forget(kShared);
        EXPECT_TRUE(KF_AddonSettings_Load(kShared, false)) << room;
        EXPECT_EQ(Utf8(KF_AddonSettings_Get(kShared, S("k"), false)), saved ? "v" : "") << room;
        EXPECT_EQ(FilesUnder(folder), saved ? std::vector<std::string>{"Quadrelle.cfg"} : std::vector<std::string>{})
            << room;
        fs::remove_all(folder);
    }
    EXPECT_GE(saves, 1) << "a folder with room for the temporary file's name holds the store";
}
