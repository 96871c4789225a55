// The add-on's resources as the host reads them: every string that any dialog or alert asks for
// exists in all seven languages, and each language has its own texts.
#include "ShellHarness.hpp"

#include "kfhost/Resources.hpp"

#include <gtest/gtest.h>

#include <set>

namespace shelltest {
namespace {

TEST(Resources, EveryUsedStringExistsInEveryLanguage)
{
    const BundleStrings strings(ForgeBundle());
    const int addOn[] = {2, 5, 6, 7, 8, 9, 10, 17};
    const int framework[] = {5, 13, 33, 34, 35, 37, 64, 65, 79, 80, 81, 82, 83, 84, 85};
    for (int language = 0; language < 7; ++language) {
        for (int index : addOn)
            EXPECT_FALSE(strings.Get(32530 + language, index).empty()) << 32530 + language << "/" << index;
        for (int index : framework)
            EXPECT_FALSE(strings.Get(32710 + language, index).empty()) << 32710 + language << "/" << index;
        EXPECT_NE(strings.Get(32710 + language, 80).find("ADDONNAME"), std::string::npos);
        EXPECT_NE(strings.Get(32710 + language, 81).find("ADDONNAME"), std::string::npos);
        EXPECT_NE(strings.Get(32710 + language, 82).find("ADDONLIBNAME"), std::string::npos);
        EXPECT_NE(strings.Get(32710 + language, 83).find("ADDONLIBNAME"), std::string::npos);
    }
    // Translated, not copied: the explanatory texts differ between any two languages.
    for (int index : {5, 6, 7}) {
        std::set<std::string> seen;
        for (int language = 0; language < 7; ++language)
            seen.insert(strings.Get(32530 + language, index));
        EXPECT_EQ(seen.size(), 7u) << "string " << index;
    }
}

TEST(Resources, DialogsMenusAndIconsAreThoseTheCodeAddresses)
{
    const kfhost::ResourceModule module = kfhost::LoadResourceFolder(ForgeBundle() / "Resources");
    struct Expected {
        int resID, width, height;
        std::vector<kfhost::ItemKind> kinds; // items 1..n
    };
    using K = kfhost::ItemKind;
    const Expected dialogs[] = {
        {32500, 356, 500, {K::Icon, K::Button, K::StaticText, K::StaticText, K::StaticText, K::StaticText,
                           K::StaticText, K::StaticText, K::StaticText, K::StaticText, K::StaticText, K::Button}},
        {32734, 483, 282, {K::Button, K::Button, K::ListBox, K::Icon, K::StaticText, K::StaticText}},
        {32755, 655, 172, {K::Button, K::Button, K::StaticText, K::StaticText, K::Button, K::StaticText, K::Button}},
    };
    for (const Expected& e : dialogs) {
        const kfhost::DialogTemplate* d = module.Dialog(std::int16_t(e.resID));
        ASSERT_NE(d, nullptr) << e.resID;
        EXPECT_EQ(d->width, e.width);
        EXPECT_EQ(d->height, e.height);
        ASSERT_EQ(d->items.size(), e.kinds.size()) << e.resID;
        for (std::size_t i = 0; i < e.kinds.size(); ++i)
            EXPECT_EQ(d->items[i].kind, e.kinds[i]) << e.resID << " item " << i + 1;
        EXPECT_EQ(d->cancelItem, 2) << e.resID;
    }
    for (int menu = 32500; menu <= 32504; ++menu) {
        ASSERT_NE(module.Menu(std::int16_t(menu)), nullptr) << menu;
        EXPECT_EQ(module.Menu(std::int16_t(menu))->items.size(), 1u);
    }
    for (int icon = 32758; icon <= 32764; ++icon)
        EXPECT_EQ(module.icons.count(std::int16_t(icon)), 1u) << icon;
    ASSERT_TRUE(module.moduleID.has_value());
    EXPECT_EQ(module.moduleID->developerID, 0x53735736u);
}

} // namespace
} // namespace shelltest
