// The resource checks that the build and the validator share: each fault found, named at the line
// that holds it, and nothing reported that the developer cannot or need not change.
#include "ResourceCheck.hpp"

#include <gtest/gtest.h>

#include <algorithm>

using namespace kfhost;

namespace {

// Seven lists 32530 + language whose index 1 reads text[language], from "strings.res" (line 1 + 4
// per list); further lines follow.
std::string Lists(const std::array<const char*, 7>& texts, const std::string& more = {})
{
    std::string out;
    for (int language = 0; language < 7; ++language)
        if (texts[std::size_t(language)])
            out += "strings " + std::to_string(32530 + language) + "\n  1 \"" + texts[std::size_t(language)] +
                   "\"\n  2 \"" + std::string(kLanguageSuffixes[language]) + "\"\nend\n";
    return out + more;
}

std::vector<std::string> Check(const std::string& text, const ResourceCheckOptions& options = {},
                               const std::string& file = "strings.res")
{
    ResourceModule module;
    ParseResourceText(text, file, module);
    std::vector<std::string> found;
    for (const ResourceFinding& f : CheckResources(module, options))
        found.push_back((f.error ? "error " : "warning ") + f.Located());
    return found;
}

constexpr std::array<const char*, 7> kWell{"Ciao %s", "Hello %s",      "Bonjour %s", "Hallo %s",
                                           "Hola %s", "Konnichiwa %s", "Privet %s"};

TEST(ResourceCheck, SevenLanguagesThatAgreePass)
{
    EXPECT_EQ(Check(Lists(kWell)), std::vector<std::string>{});
}

TEST(ResourceCheck, EveryTranslationFaultAtItsLine)
{
    auto texts = kWell;
    texts[3] = "Hallo";    // ger: no placeholder
    texts[5] = "";         // jap: empty
    texts[2] = "Hello %s"; // fra: the English text
    std::string lists = Lists(texts);
    // rus without its index 2: the list lacks what the others have.
    lists.replace(lists.find("  2 \"rus\"\n"), 10, "");
    EXPECT_EQ(Check(lists),
              (std::vector<std::string>{
                  "error strings.res:25: string list 32536 (rus) lacks index 2, which 32531 (int) has",
                  "warning strings.res:10: string list 32532 (fra) index 1 is the English text \"Hello %s\" "
                  "(translate it, or list it in untranslated.txt when it stays the same in every language)",
                  "error strings.res:14: string list 32533 (ger) index 1 carries the placeholders none "
                  "where English carries %s",
                  "error strings.res:22: string list 32535 (jap) index 1 is empty"}));
}

TEST(ResourceCheck, TextsThatStayTheSameAreNoWarning)
{
    for (const char* same : {"OK", "Name:", "Internet", "1:100", "%s %ld", "ADDONNAME"}) {
        SCOPED_TRACE(same);
        std::array<const char*, 7> texts{};
        texts.fill(same);
        EXPECT_EQ(Check(Lists(texts)), std::vector<std::string>{});
    }
    // A text the developer lists may stay as it is, and so may the framework's pack; any other is a
    // warning in every language.
    std::array<const char*, 7> brand{};
    brand.fill("Orvella Forge");
    EXPECT_EQ(Check(Lists(brand), {}, "own/strings.res").size(), 6u);
    ResourceCheckOptions options;
    options.frameworkPack = "pack";
    EXPECT_EQ(Check(Lists(brand), options, "pack/strings/framework.res"), std::vector<std::string>{});
    options.sameTexts.insert(u"Orvella Forge");
    EXPECT_EQ(Check(Lists(brand), options), std::vector<std::string>{});
}

TEST(ResourceCheck, RunsThatAreNoWholeSetsOfSeven)
{
    // Six lists in a row: a set that lacks a language, most likely.
    std::array<const char*, 7> six = kWell;
    six[6] = nullptr;
    EXPECT_EQ(Check(Lists(six)),
              std::vector<std::string>{"warning strings.res:1: string lists from 32530 on look like a set of seven "
                                       "languages that lacks a language (base + 0 ita, 1 int, 2 fra, 3 ger, 4 spa, "
                                       "5 jap, 6 rus)"});
    // Eight: a set and one more, or two sets cut short.
    EXPECT_EQ(Check(Lists(kWell, "strings 32537\n  1 \"x\"\nend\n")),
              std::vector<std::string>{"error strings.res:1: string lists from 32530 on are not whole sets of seven "
                                       "languages (base + 0 ita, 1 int, 2 fra, 3 ger, 4 spa, 5 jap, 6 rus)"});
    // Lists of their own, even side by side, are no set at all.
    EXPECT_EQ(Check("strings 100\n  1 \"x\"\nend\nstrings 101\n  1 \"y\"\nend\n"), std::vector<std::string>{});
}

TEST(ResourceCheck, DialogAndMenuFaultsAtTheItemsOwnLine)
{
    const std::string text = "dialog 32500 \"D\" size 100 50\n"
                             "  1 button 10 10 40 20 \"OK\"\n"
                             "  2 static 80 10 40 20 \"wide\"\n"
                             "  3 icon 0 0 16 16 32000\n"
                             "end\n"
                             "menu 32501 \"M\"\n"
                             "  \"One\"\n"
                             "  \"\"\n"
                             "end\n";
    EXPECT_EQ(Check(text, {}, "ui.res"),
              (std::vector<std::string>{
                  "error ui.res:3: dialog 32500 item 2 (80 10 40 20) lies outside the dialog's 100 x 50",
                  "error ui.res:4: dialog 32500 item 3 shows icon 32000, which the bundle lacks",
                  "error ui.res:8: menu 32501 item 2 has no text"}));
}

} // namespace
