// Locations: the stored path form, its meeting with the host's locations, and folder listings
// over a real folder tree.
#include "kftest/InProcessHost.hpp"
#include "KF/KF_Location.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

KF_String S(std::string const& text)
{
    return KF_String(text.c_str(), KF_String::Enc_System);
}

std::string Utf8(KF_String const& text)
{
    KF_CString const bytes = text.ToCStr(KF_String::Enc_UTF8);
    std::string out = bytes.bytes != nullptr ? std::string(bytes.bytes, bytes.length) : std::string();
    while (!out.empty() && out.back() == '\0') {
        out.pop_back();
    }
    return out;
}

KF_Location At(fs::path const& path)
{
    return KF_Location(S(path.string()));
}

class HostedLocations : public ::testing::Test {
protected:
    void SetUp() override { host.Attach(); }

    // Paths of the listed entries relative to root, in list order.
    std::vector<std::string> Relative(KF_List<KF_Location> const& list) const
    {
        std::vector<std::string> names;
        for (long i = 0; i < list.count; ++i) {
            names.push_back(fs::path(Utf8(list[i].path)).lexically_relative(root).string());
        }
        return names;
    }

    void Touch(fs::path const& relative) { kftest::WriteFile(root / relative, "x"); }

    kftest::InProcessHost host;
    fs::path const root = host.TempDir() / "tree";
};

using LocationPaths = HostedLocations;
using FolderListing = HostedLocations;

} // namespace

TEST(LocationPath, OneTrailingSlashIsDroppedAndNullMeansNoLocation)
{
    EXPECT_EQ(Utf8(KF_Location(S("/Users/x/")).path), "/Users/x");
    EXPECT_EQ(Utf8(KF_Location(S("/Users/x//")).path), "/Users/x/");
    EXPECT_EQ(Utf8(KF_Location(S("/Users/x")).path), "/Users/x");
    EXPECT_TRUE(KF_Location().path.IsNull());
    EXPECT_TRUE(KF_Location(KF_String()).path.IsNull());
    KF_Location const root(S("/"));
    EXPECT_FALSE(root.path.IsNull());
    EXPECT_EQ(root.path.GetLength(), 0u);
}

TEST_F(LocationPaths, HostLocationsComeBackWithoutTrailingSlash)
{
    KF_Location location;
    location.Set(IO::Location(GS::UniString::FromUTF8("/")));
    EXPECT_FALSE(location.path.IsNull());
    EXPECT_EQ(Utf8(location.path), "");

    location.Set(IO::Location(GS::UniString::FromUTF8("/A/B/")));
    EXPECT_EQ(Utf8(location.path), "/A/B");

    // A host location that has no path empties the location.
    location.Set(IO::Location());
    EXPECT_TRUE(location.path.IsNull());
}

TEST_F(LocationPaths, ConversionToTheHostKeepsEveryCharacter)
{
    std::string const path = "/tmp/Ünïcødé €/日本/файл.txt";
    IO::Location const host = At(path);
    GS::UniString text;
    ASSERT_EQ(host.ToPath(&text), NoError);
    EXPECT_EQ(text.ToUTF8(), path);

    KF_Location back;
    back.Set(host);
    EXPECT_EQ(Utf8(back.path), path);

    // The empty location becomes an empty host location.
    EXPECT_TRUE(static_cast<IO::Location>(KF_Location()).IsEmpty());
}

TEST_F(LocationPaths, PosixPathIsTheHostsUtf8PathEvenWhenLong)
{
    std::string const longName = "/tmp/" + std::string(300, 'n') + "/file";
    EXPECT_EQ(Utf8(At(longName).GetPOSIXPath()), longName);
    EXPECT_EQ(Utf8(At("/tmp/a b").GetPOSIXPath()), "/tmp/a b");
    KF_String const none = KF_Location().GetPOSIXPath();
    EXPECT_FALSE(none.IsNull());
    EXPECT_EQ(none.GetLength(), 0u);
}

TEST_F(LocationPaths, IsFolderAsksTheParentAboutTheLastName)
{
    fs::create_directories(root / "dir");
    Touch("file.txt");
    EXPECT_TRUE(At(root / "dir").IsFolder());
    EXPECT_FALSE(At(root / "file.txt").IsFolder());
    EXPECT_FALSE(At(root / "missing").IsFolder());
    EXPECT_FALSE(At(root / "missing" / "deeper").IsFolder());
    EXPECT_FALSE(KF_Location(S("bare")).IsFolder());
    EXPECT_FALSE(KF_Location().IsFolder());
    EXPECT_FALSE(KF_Location(S("/")).IsFolder());

    // The parent's type query is what counts.
    host.Faults().Fail(kfhost::FileOp::Type, "*", IO::Error);
    EXPECT_FALSE(At(root / "dir").IsFolder());
}

TEST_F(LocationPaths, AddOnLocationIsTheBundleOrItsFolder)
{
    fs::path const bundle = host.BundlePath();
    EXPECT_EQ(Utf8(KF_Location::AddOnLocation(false).path), bundle.string());
    EXPECT_EQ(Utf8(KF_Location::AddOnLocation(true).path), bundle.parent_path().string());
}

TEST_F(FolderListing, FilesOnlyWithoutFilterInNameOrder)
{
    Touch("b.txt");
    Touch("a.TXT");
    Touch("noext");
    fs::create_directories(root / "sub.d");
    Touch("sub.d/inner.txt");

    KF_List<KF_Location> files;
    ASSERT_TRUE(At(root).GetFilesInFolder(nullptr, false, &files));
    EXPECT_EQ(Relative(files), (std::vector<std::string>{"a.TXT", "b.txt", "noext"}));

    KF_List<KF_Location> all;
    ASSERT_TRUE(At(root).GetFilesInFolder(nullptr, true, &all));
    EXPECT_EQ(Relative(all), (std::vector<std::string>{"a.TXT", "b.txt", "noext", "sub.d/inner.txt"}));
}

TEST_F(FolderListing, ExtensionFilterIgnoresCaseAndNeedsARealExtension)
{
    Touch("x.Txt");
    Touch("y.cfg");
    Touch("z.");
    Touch("plain");
    fs::create_directories(root / "dir.d");
    Touch("dir.d/file");
    Touch("dir.d/deep.TXT");

    KF_List<KF_String> filter;
    filter.AddData(S("cfg"), -1);
    filter.AddData(S("txt"), -1);
    KF_List<KF_Location> files;
    ASSERT_TRUE(At(root).GetFilesInFolder(&filter, true, &files));
    EXPECT_EQ(Relative(files), (std::vector<std::string>{"dir.d/deep.TXT", "x.Txt", "y.cfg"}));

    // An empty filter list admits nothing, unlike no filter.
    KF_List<KF_String> none;
    KF_List<KF_Location> nothing;
    ASSERT_TRUE(At(root).GetFilesInFolder(&none, true, &nothing));
    EXPECT_EQ(nothing.count, 0);
}

TEST_F(FolderListing, SubFoldersComeBeforeTheirContents)
{
    fs::create_directories(root / "A" / "B" / "C");
    fs::create_directories(root / "A" / "D");
    Touch("A/file");

    KF_List<KF_Location> deep;
    ASSERT_TRUE(At(root / "A").GetSubFolders(true, &deep));
    EXPECT_EQ(Relative(deep), (std::vector<std::string>{"A/B", "A/B/C", "A/D"}));

    KF_List<KF_Location> flat;
    ASSERT_TRUE(At(root / "A").GetSubFolders(false, &flat));
    EXPECT_EQ(Relative(flat), (std::vector<std::string>{"A/B", "A/D"}));
}

TEST_F(FolderListing, ResultsAreAppendedBehindWhatTheListHolds)
{
    Touch("one/f1");
    Touch("two/f2");
    KF_List<KF_Location> files;
    files.AddData(At(root / "kept"), -1);
    ASSERT_TRUE(At(root / "one").GetFilesInFolder(nullptr, false, &files));
    ASSERT_TRUE(At(root / "two").GetFilesInFolder(nullptr, false, &files));
    EXPECT_EQ(Relative(files), (std::vector<std::string>{"kept", "one/f1", "two/f2"}));
}

TEST_F(FolderListing, FoldersThatCannotBeOpenedOrListedFail)
{
    KF_List<KF_Location> files;
    EXPECT_FALSE(At(root / "missing").GetFilesInFolder(nullptr, false, &files));
    EXPECT_FALSE(At(root / "missing").GetSubFolders(true, &files));
    EXPECT_EQ(files.count, 0);

    // A sub-folder failing half way: what was found before it stays.
    Touch("a.txt");
    Touch("b/inner.txt");
    Touch("c.txt");
    host.Faults().Fail(kfhost::FileOp::Folder, (root / "b").string(), IO::AccessDenied);
    EXPECT_FALSE(At(root).GetFilesInFolder(nullptr, true, &files));
    EXPECT_EQ(Relative(files), (std::vector<std::string>{"a.txt"}));
}
