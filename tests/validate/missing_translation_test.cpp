// A string that one language lacks is an error whichever of the seven languages it is, the first
// and the last included.
#include "ResourceCheck.hpp"

#include <gtest/gtest.h>

using namespace kfhost;

TEST(MissingTranslation, AnIndexMissingInAnyOneLanguageIsAnError)
{
    for (int missing = 0; missing < 7; ++missing) {
        const std::string list = std::to_string(32530 + missing);
        SCOPED_TRACE(list);
        std::string text;
        for (int language = 0; language < 7; ++language) {
            const std::string suffix(kLanguageSuffixes[language]);
            text += "strings " + std::to_string(32530 + language) + "\n  1 \"%s " + suffix + "\"\n";
            if (language != missing)
                text += "  2 \"" + suffix + " %ld\"\n";
            text += "end\n";
        }
        ResourceModule module;
        ParseResourceText(text, "strings.res", module);
        const std::vector<ResourceFinding> found = CheckResources(module, {});
        ASSERT_EQ(found.size(), 1u);
        EXPECT_TRUE(found[0].error);
        EXPECT_NE(found[0].Located().find("string list " + list + " (" + std::string(kLanguageSuffixes[missing]) +
                                          ") lacks index 2"),
                  std::string::npos)
            << found[0].Located();
    }
}
