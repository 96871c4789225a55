// The add-on's string lists as the host reads them: every string that the add-on or the framework
// asks for exists in all seven languages, and each language has its own texts.
#include "AddOnHarness.hpp"

#include <gtest/gtest.h>

#include <set>

namespace kftest {
namespace {

TEST(Resources, EveryUsedStringExistsInEveryLanguage)
{
    const int addOn[] = {2, 5, 6, 7, 8, 9, 10, 17};
    const int framework[] = {5, 13, 33, 34, 35, 37, 64, 65, 79, 80, 81, 82, 83, 84, 85};
    for (int language = 0; language < 7; ++language) {
        for (int index : addOn)
            EXPECT_FALSE(BundleString(kForge, 32530 + language, index).empty()) << 32530 + language << "/" << index;
        for (int index : framework)
            EXPECT_FALSE(BundleString(kForge, 32710 + language, index).empty()) << 32710 + language << "/" << index;
        EXPECT_NE(BundleString(kForge, 32710 + language, 80).find("ADDONNAME"), std::string::npos);
        EXPECT_NE(BundleString(kForge, 32710 + language, 81).find("ADDONNAME"), std::string::npos);
        EXPECT_NE(BundleString(kForge, 32710 + language, 82).find("ADDONLIBNAME"), std::string::npos);
        EXPECT_NE(BundleString(kForge, 32710 + language, 83).find("ADDONLIBNAME"), std::string::npos);
    }
    // Translated, not copied: the explanatory texts differ between any two languages.
    for (int index : {5, 6, 7}) {
        std::set<std::string> seen;
        for (int language = 0; language < 7; ++language)
            seen.insert(BundleString(kForge, 32530 + language, index));
        EXPECT_EQ(seen.size(), 7u) << "string " << index;
    }
}

} // namespace
} // namespace kftest
