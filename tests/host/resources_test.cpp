// The resource text format: what a good file gives, and how a malformed one is refused.
#include "kfhost/Resources.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

namespace {

using kfhost::ItemKind;
using kfhost::ParseResourceText;
using kfhost::ResourceError;
using kfhost::ResourceModule;

TEST(Resources, ReadsEveryKindOfResource)
{
    ResourceModule m;
    ParseResourceText(R"(# a comment
module 0x4B460001 42
strings 32530   # trailing comment
  1 "Chiudi"
  17 "Lingua \"it\" \\ ü"
end
dialog 32500 "Main" size 356 500 cancel 2
  1 button 10 460 100 24 "OK"
  2 static -5 0 300 20 "" hidden disabled
  3 list 10 40 300 200
  4 icon 1 2 32 32 32758
  5 checkbox 1 2 3 4 "Check" checked
  6 edit 1 2 3 4 "x"
end
menu 32501 "Tools"
  "First"
  "Second" checked disabled
end
)",
                      "main.res", m);
    ASSERT_TRUE(m.moduleID);
    EXPECT_EQ(m.moduleID->developerID, 0x4B460001u);
    EXPECT_EQ(m.moduleID->localID, 42u);
    ASSERT_NE(m.String(32530, 17), nullptr);
    EXPECT_EQ(*m.String(32530, 17), u"Lingua \"it\" \\ ü");
    EXPECT_EQ(m.String(32530, 2), nullptr);
    EXPECT_EQ(m.String(32531, 1), nullptr);

    const kfhost::DialogTemplate* d = m.Dialog(32500);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->title, u"Main");
    EXPECT_EQ(d->width, 356);
    EXPECT_EQ(d->cancelItem, 2);
    ASSERT_EQ(d->items.size(), 6u);
    EXPECT_EQ(d->items[0].kind, ItemKind::Button);
    EXPECT_EQ(d->items[1].rect.left, -5);
    EXPECT_TRUE(d->items[1].hidden && d->items[1].disabled);
    EXPECT_EQ(d->items[2].kind, ItemKind::ListBox);
    EXPECT_EQ(d->items[3].iconResID, 32758);
    EXPECT_TRUE(d->items[4].checked);

    const kfhost::MenuTemplate* menu = m.Menu(32501);
    ASSERT_NE(menu, nullptr);
    ASSERT_EQ(menu->items.size(), 2u);
    EXPECT_TRUE(menu->items[1].checked && menu->items[1].disabled);
    EXPECT_FALSE(menu->items[0].checked);
}

struct Malformed {
    const char* text;
    int line;
    int column;
    const char* message; // a part of the message
};

TEST(Resources, RefusesMalformedTextWithItsPosition)
{
    const Malformed cases[] = {
        {"strings 32530\n  1 \"open\n", 2, 5, "unterminated string"},
        {"strings 32530\n  1 \"a\"\n  1 \"b\"\nend\n", 3, 3, "defined twice"},
        {"strings 32530\n  1 \"a\"\n", 2, 1, "missing 'end' of strings 32530 opened at line 1"},
        {"dialog 1 \"T\" size 10 10\n  1 buton 0 0 1 1\nend\n", 2, 5, "unknown item kind 'buton'"},
        {"dialog 1 \"T\" size 10 10\n  1 button 0 0 1 1\n  3 button 0 0 1 1\nend\n", 3, 3, "expected item 2"},
        {"dialog 1 \"T\" size 10 10 cancel 3\n  1 button 0 0 1 1\nend\n", 3, 1, "cancel item 3"},
        {"dialog 1 \"T\" 10 10\nend\n", 1, 14, "expected 'size'"},
        {"strings 40000\nend\n", 1, 9, "out of range"},
        {"strings 0x\nend\n", 1, 9, "malformed number"},
        {"menu 5 \"M\"\n  Item\nend\n", 2, 3, "in double quotes"},
        {"end\n", 1, 1, "'end' without an open block"},
        {"bitmap 3\n", 1, 1, "unknown resource kind 'bitmap'"},
        {"strings 1\n  1 \"\xC3\x28\"\nend\n", 2, 6, "invalid UTF-8"},
        {"strings 1\n  1 \"a\" \"b\"\nend\n", 2, 9, "unexpected"},
        {"strings 1\n  1 \"a\\q\"\nend\n", 2, 7, "unknown escape"},
        {"module 1\n", 1, 9, "expected a local id"},
        {"menu 1 \"é\"  bogus\nend\n", 1, 13, ""}, // columns count characters, not bytes
    };
    for (const Malformed& c : cases) {
        SCOPED_TRACE(c.text);
        ResourceModule m;
        try {
            ParseResourceText(c.text, "bad.res", m);
            ADD_FAILURE() << "accepted";
        } catch (const ResourceError& e) {
            EXPECT_EQ(e.Line(), c.line) << e.what();
            EXPECT_EQ(e.Column(), c.column) << e.what();
            EXPECT_NE(e.Message().find(c.message), std::string::npos) << e.what();
            EXPECT_EQ(std::string(e.what()).rfind(
                          "bad.res:" + std::to_string(c.line) + ":" + std::to_string(c.column) + ": ", 0),
                      0u);
        }
    }
}

// Files of the folder and its subfolders are merged, icons are PNG files named by number (one that
// is no PNG: Stage.MistakesNameTheSourceFileLineAndColumn), and what cannot be merged is refused.
TEST(Resources, FolderMergesFilesAndIconsAndRefusesDuplicatesAcrossThem)
{
    kftest::TempFolder temp;
    const auto probeIcon = std::filesystem::path(KF_PROBE_RESOURCES) / "common" / "icons" / "32758.png";
    kftest::WriteFile(temp.Path() / "a.res", "strings 1\n  1 \"one\"\nend\n");
    kftest::WriteFile(temp.Path() / "lang" / "b.res", "strings 2\n  1 \"two\"\nend\n");
    kftest::WriteFile(temp.Path() / "notes.txt", "not a resource");
    kftest::WriteFile(temp.Path() / "icons" / "145.png", kftest::ReadFile(probeIcon));
    ResourceModule m = kfhost::LoadResourceFolder(temp.Path());
    EXPECT_NE(m.String(1, 1), nullptr);
    EXPECT_NE(m.String(2, 1), nullptr);
    ASSERT_EQ(m.icons.count(145), 1u);
    EXPECT_EQ(std::pair(m.icons[145].width, m.icons[145].height), std::pair(16u, 16u));

    kftest::WriteFile(temp.Path() / "icons" / "logo.png", kftest::ReadFile(probeIcon));
    try {
        kfhost::LoadResourceFolder(temp.Path());
        ADD_FAILURE() << "an icon without a number accepted";
    } catch (const ResourceError& e) {
        EXPECT_NE(e.Message().find("resource number"), std::string::npos);
    }
    std::filesystem::remove(temp.Path() / "icons" / "logo.png");

    kftest::WriteFile(temp.Path() / "c.res", "\n\nstrings 1\nend\n");
    try {
        kfhost::LoadResourceFolder(temp.Path());
        FAIL();
    } catch (const ResourceError& e) {
        EXPECT_EQ(e.File(), (temp.Path() / "c.res").string());
        EXPECT_EQ(e.Line(), 3);
        EXPECT_NE(e.Message().find("first at " + (temp.Path() / "a.res").string() + ":1"), std::string::npos);
    }
}

} // namespace

// The reader decides an icon's size for every backend: a header that claims more than an icon can
// be, in either direction, is refused where it is read, with the file and the position of the size;
// exactly the limit is an icon.
TEST(Resources, IconsOfAnInsaneSizeAreRefusedByTheReader)
{
    kftest::TempFolder temp;
    std::string png = kftest::ReadFile(std::filesystem::path(KF_PROBE_RESOURCES) / "common" / "icons" / "32758.png");
    const auto withSize = [&](std::uint32_t width, std::uint32_t height) {
        std::string copy = png;
        for (const auto& [field, side] : {std::pair{16, width}, std::pair{20, height}})
            for (int i = 0; i < 4; ++i)
                copy[std::size_t(field + i)] = char((side >> (24 - 8 * i)) & 0xFF);
        return copy;
    };
    constexpr std::uint32_t limit = kfhost::kMaxIconSide;
    static_assert(limit == 1024);
    const std::pair<std::uint32_t, std::uint32_t> refused[] = {
        {limit + 1, 16}, {16, limit + 1}, {limit + 1, limit + 1}, {20000, 20000}, {4294967295u, 16}, {0, 16}, {16, 0}};
    for (const auto& [width, height] : refused) {
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
        kftest::WriteFile(temp.Path() / "7.png", withSize(width, height));
        try {
            kfhost::LoadResourceFolder(temp.Path());
            ADD_FAILURE() << "accepted";
        } catch (const ResourceError& e) {
            EXPECT_NE(std::string(e.what()).find("7.png:1:17:"), std::string::npos) << e.what();
        }
    }
    for (const auto& [width, height] : {std::pair{limit, 16u}, std::pair{16u, limit}, std::pair{limit, limit}}) {
        kftest::WriteFile(temp.Path() / "7.png", withSize(width, height));
        const kfhost::IconResource icon = kfhost::LoadResourceFolder(temp.Path()).icons.at(7);
        EXPECT_EQ(std::pair(icon.width, icon.height), std::pair(width, height));
    }
}
