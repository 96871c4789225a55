// The host's catalog of library parts: which files are parts, the index file, and how names are
// matched and numbered.
#include "LibsFixture.hpp"

#include "LibrariesCatalog.hpp"

using namespace kftest;
using namespace kfhost::libraries;

namespace {

class CatalogTest : public ::testing::Test {
protected:
    fs::path Folder(const std::string& name) { return files_.Path() / name; }
    void Write(const std::string& file, const std::string& text) { kftest::WriteFile(files_.Path() / file, text); }
    std::string Find(const std::u16string& name, PartType type = AnyType, bool placeable = false) const
    {
        const Part* part = catalog_.Find(name, type, placeable);
        if (!part)
            return "-";
        return part->file.lexically_relative(files_.Path()).string() + (part->missingDef ? " (missing)" : "");
    }

    kftest::TempFolder files_;
    Catalog catalog_;
    std::vector<std::string> warnings_;
};

TEST_F(CatalogTest, OnlyFilesThatDeclareAKnownTypeOnTheirFirstLineAreParts)
{
    Write("L/Chair.part", "type Object\n...");
    Write("L/Door.part", "\xEF\xBB\xBFTYPE door\r\n...");
    Write("L/deep/er/Lamp", "  type\tLamp  ");
    Write("L/Notes.txt", "some notes\ntype Object\n");
    Write("L/Odd.part", "type Object and more\n");
    Write("L/Weird.part", "type Sofa\n");
    Write("L/.Hidden.part", "type Object\n");
    Write("L/.git/Inside.part", "type Object\n");
    ASSERT_EQ(catalog_.Add(Folder("L"), true, &warnings_), AddResult::Added);
    EXPECT_EQ(catalog_.PartCount(), 3u);
    EXPECT_EQ(Find(u"Chair", Object), "L/Chair.part");
    EXPECT_EQ(Find(u"Door", Door), "L/Door.part");
    EXPECT_EQ(Find(u"Lamp", Lamp), "L/deep/er/Lamp");
    EXPECT_EQ(Find(u"Chair", Door), "-");
    EXPECT_TRUE(warnings_.empty());
}

TEST_F(CatalogTest, TheIndexFileDeclaresPartsWhoseDefinitionIsMissing)
{
    Write("L/Chair.part", "type Object\n");
    Write("L/library.index",
          "# what the project uses\nObject Chair\n\nObject   Old Table \nSofa Couch\nLamp\nmacro Base\n");
    ASSERT_EQ(catalog_.Add(Folder("L"), true, &warnings_), AddResult::Added);
    EXPECT_EQ(Find(u"Chair"), "L/Chair.part");
    EXPECT_EQ(Find(u"old table", Object), "L/Old Table (missing)");
    EXPECT_EQ(Find(u"Base", Macro), "L/Base (missing)");
    EXPECT_EQ(Find(u"Base", Macro, true), "-");
    EXPECT_EQ(catalog_.PartCount(), 3u);
    ASSERT_EQ(warnings_.size(), 2u);
    EXPECT_EQ(warnings_[0], (Folder("L") / "library.index").string() + ":5: unknown part type \"Sofa\"");
    EXPECT_EQ(warnings_[1], (Folder("L") / "library.index").string() + ":6: no part name");
}

TEST_F(CatalogTest, NamesMatchBySimpleCaseFoldingOnly)
{
    Write("L/École Chair.part", "type Object\n");
    Write("L/Straße.part", "type Object\n");
    ASSERT_EQ(catalog_.Add(Folder("L"), true), AddResult::Added);
    EXPECT_EQ(Find(u"éCOLE CHAIR"), "L/École Chair.part");
    EXPECT_EQ(Find(u"STRASSE"), "-");
    EXPECT_EQ(Find(u"STRAẞE"), "L/Straße.part");
    EXPECT_EQ(Find(u" École Chair"), "-");
}

TEST_F(CatalogTest, TheFirstDefinitionWinsAndIndicesStay)
{
    Write("A/library.index", "Object Chair\n");
    Write("B/Chair.part", "type Object\n");
    Write("C/Chair.part", "type Object\n");
    Write("C/Table.part", "type Object\n");
    ASSERT_EQ(catalog_.Add(Folder("A"), true), AddResult::Added);
    ASSERT_EQ(catalog_.Add(Folder("B"), true), AddResult::Added);
    std::int32_t const chair = catalog_.Find(u"Chair", Object, false)->index;
    ASSERT_EQ(catalog_.Add(Folder("C"), true), AddResult::Added);
    EXPECT_EQ(Find(u"Chair"), "B/Chair.part");
    EXPECT_EQ(catalog_.Find(u"Chair", Object, false)->index, chair);
    ASSERT_NE(catalog_.Get(chair), nullptr);
    EXPECT_EQ(catalog_.Get(chair)->name, u"Chair");
    EXPECT_EQ(catalog_.Get(0), nullptr);
    EXPECT_EQ(catalog_.Get(std::int32_t(catalog_.PartCount()) + 1), nullptr);

    catalog_.Deactivate(Folder("B"));
    EXPECT_EQ(Find(u"Chair"), "C/Chair.part");
    EXPECT_EQ(catalog_.Get(chair), nullptr);
}

TEST_F(CatalogTest, FoldersAreLoadedOnce)
{
    Write("L/Chair.part", "type Object\n");
    Write("file.txt", "x");
    EXPECT_EQ(catalog_.Add(Folder("none"), true), AddResult::NotFound);
    EXPECT_EQ(catalog_.Add(Folder("file.txt"), true), AddResult::NotAFolder);
    EXPECT_EQ(catalog_.Add(Folder("L") / "", true), AddResult::Added);
    EXPECT_EQ(catalog_.Add(Folder("L") / ".." / "L", true), AddResult::AlreadyLoaded);
    EXPECT_EQ(catalog_.Libraries().size(), 1u);
    EXPECT_EQ(catalog_.Libraries()[0].folder, Folder("L"));
}

} // namespace
