// Locations: the stored path form and folder listings over a real tree through the host.
#include "kftest/Text.hpp"
#include "kftest/InProcessHost.hpp"
#include "KF/KF_Location.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace fs = std::filesystem;
using namespace kftest;

namespace {

class Locations : public ::testing::Test {
protected:
    void SetUp() override { host.Attach(); }
    KF_Location At(const std::string& relative) const { return KF_Location(S((root / relative).string())); }
    void Touch(const std::string& relative) { kftest::WriteFile(root / relative, "x"); }
    std::vector<std::string> Relative(const KF_List<KF_Location>& list) const
    {
        std::vector<std::string> names;
        for (long i = 0; i < list.count; ++i) {
            names.push_back(fs::path(Utf8(list[i].path)).lexically_relative(root).string());
        }
        return names;
    }

    kftest::InProcessHost host;
    fs::path const root = host.TempDir() / "tree";
};

using Strings = std::vector<std::string>;

} // namespace

TEST_F(Locations, PathsKeepNoTrailingSlashAndNullMeansNone)
{
    EXPECT_EQ(Utf8(KF_Location(S("/Users/x/")).path), "/Users/x");
    EXPECT_EQ(Utf8(KF_Location(S("/Users/x//")).path), "/Users/x/");
    EXPECT_TRUE(KF_Location(KF_String()).path.IsNull());
    KF_Location location;
    location.Set(IO::Location(Base::UniString::FromUTF8("/")));
    EXPECT_FALSE(location.path.IsNull());
    EXPECT_EQ(location.path.GetLength(), 0u);
    location.Set(IO::Location()); // the host gives no path
    EXPECT_TRUE(location.path.IsNull());

    // Around the first buffer of 256 bytes, terminator included, and well past it.
    for (std::size_t const bytes : {254u, 255u, 256u, 257u, 300u}) {
        std::string const path = "/tmp/Ünï €/" + std::string(bytes - 15, 'n');
        EXPECT_EQ(Utf8(KF_Location(S(path)).GetPOSIXPath()), path) << bytes;
    }
    EXPECT_EQ(Utf8(KF_Location::AddOnLocation(false).path), host.BundlePath().string());
    EXPECT_EQ(Utf8(KF_Location::AddOnLocation(true).path), host.BundlePath().parent_path().string());
}

TEST_F(Locations, IsFolderAsksTheParentAboutTheLastName)
{
    fs::create_directories(root / "dir");
    Touch("file");
    EXPECT_TRUE(At("dir").IsFolder());
    EXPECT_FALSE(At("file").IsFolder());
    EXPECT_FALSE(At("missing/deeper").IsFolder());
    EXPECT_FALSE(KF_Location(S("bare")).IsFolder());
    host.Faults().Fail(kfhost::FileOp::Type, "*", IO::Error);
    EXPECT_FALSE(At("dir").IsFolder());
}

TEST_F(Locations, ExtensionFilterIgnoresCaseAndNeedsARealExtension)
{
    for (const char* name : {"x.Txt", "y.cfg", "z.", "plain", "dir.d/file", "dir.d/deep.TXT"}) {
        Touch(name);
    }
    KF_List<KF_String> filter;
    filter.AddData(S("cfg"), -1);
    filter.AddData(S("txt"), -1);
    KF_List<KF_Location> files;
    ASSERT_TRUE(At("").GetFilesInFolder(&filter, true, &files));
    EXPECT_EQ(Relative(files), (Strings{"dir.d/deep.TXT", "x.Txt", "y.cfg"}));

    KF_List<KF_Location> all;
    ASSERT_TRUE(At("").GetFilesInFolder(nullptr, false, &all));
    EXPECT_EQ(Relative(all), (Strings{"plain", "x.Txt", "y.cfg", "z."}));

    KF_List<KF_String> none; // an empty filter admits nothing, unlike no filter
    KF_List<KF_Location> nothing;
    ASSERT_TRUE(At("").GetFilesInFolder(&none, true, &nothing));
    EXPECT_EQ(nothing.count, 0);
}

TEST_F(Locations, SubFoldersComeBeforeTheirContentsBehindWhatTheListHeld)
{
    fs::create_directories(root / "A/B/C");
    fs::create_directories(root / "A/D");
    Touch("A/file");
    KF_List<KF_Location> folders;
    folders.AddData(At("kept"), -1);
    ASSERT_TRUE(At("A").GetSubFolders(true, &folders));
    EXPECT_EQ(Relative(folders), (Strings{"kept", "A/B", "A/B/C", "A/D"}));
    KF_List<KF_Location> flat;
    ASSERT_TRUE(At("A").GetSubFolders(false, &flat));
    EXPECT_EQ(Relative(flat), (Strings{"A/B", "A/D"}));
}

TEST_F(Locations, ListingStopsAtAFolderThatCannotBeOpened)
{
    KF_List<KF_Location> files;
    EXPECT_FALSE(At("missing").GetFilesInFolder(nullptr, false, &files));
    Touch("a.txt");
    Touch("b/inner.txt");
    Touch("c.txt");
    host.Faults().Fail(kfhost::FileOp::Folder, (root / "b").string(), IO::AccessDenied);
    EXPECT_FALSE(At("").GetFilesInFolder(nullptr, true, &files));
    EXPECT_EQ(Relative(files), (Strings{"a.txt"}));
}
