// kfresources' staging of a bundle's resources: the add-on's own files are checked where they
// are written, and the framework's pack fills in only what the add-on does not define.
#include "StageResources.hpp"
#include "kfhost/Resources.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

class Stage : public ::testing::Test {
protected:
    Stage()
    {
        // The pack: one resource per file, as the framework ships it.
        Write(Pack() / "strings/32711-int.res", "strings 32711\n  5 \"Cancel (pack)\"\nend\n");
        Write(Pack() / "strings/32712-fra.res", "strings 32712\n  5 \"Annuler (pack)\"\nend\n");
        Write(Pack() / "dialogs/32734-language.res", "dialog 32734 \"L\" size 10 10\n  1 button 0 0 5 5 \"\"\nend\n");
    }
    fs::path Pack() const { return temp.Path() / "pack"; }
    fs::path Own(const char* name) const { return temp.Path() / name; }
    fs::path Out() const { return temp.Path() / "Out.bundle/Resources"; }
    static void Write(const fs::path& file, std::string_view text)
    {
        fs::create_directories(file.parent_path());
        kftest::WriteFile(file, text);
    }
    kfhost::StageResult Run(std::vector<fs::path> sources)
    {
        return kfhost::StageResources({std::move(sources), Pack(), Out()});
    }
    std::u16string StringOf(std::int16_t list, std::int16_t index) const
    {
        const kfhost::ResourceModule module = kfhost::LoadResourceFolder(Out());
        const std::u16string* text = module.String(list, index);
        return text == nullptr ? u"(none)" : *text;
    }

    kftest::TempFolder temp;
};

TEST_F(Stage, OwnListsReplaceThePacksAndLaterFoldersTheEarlierOnes)
{
    Write(Own("res") / "strings.res", "strings 32711\n  5 \"Cancel (own)\"\nend\nstrings 32531\n  1 \"Hi\"\nend\n");
    // A later folder replaces a file of the same name; a file left from an earlier staging goes.
    Write(Own("variant") / "texts.res", "strings 32532\n  1 \"variant\"\nend\n");
    Write(Own("res") / "texts.res", "strings 32532\n  1 \"common\"\nend\n");
    Write(Out() / "stale.res", "strings 32533\n  1 \"stale\"\nend\n");
    const auto result = Run({Own("res"), Own("variant")});
    EXPECT_EQ(StringOf(32711, 5), u"Cancel (own)");
    EXPECT_EQ(StringOf(32712, 5), u"Annuler (pack)");
    EXPECT_EQ(StringOf(32531, 1), u"Hi");
    EXPECT_EQ(StringOf(32532, 1), u"variant");
    EXPECT_FALSE(fs::exists(Out() / "stale.res"));
    EXPECT_TRUE(fs::exists(Out() / kfhost::kFrameworkPackFolder / "dialogs/32734-language.res"));
    EXPECT_EQ(result.packSkipped, std::vector<std::string>{"strings 32711"});
    // Every source file and folder read is listed, so that the build sees any change.
    const auto& read = result.read;
    EXPECT_NE(std::find(read.begin(), read.end(), Own("res") / "strings.res"), read.end());
    EXPECT_NE(std::find(read.begin(), read.end(), Pack() / "strings"), read.end());
}

TEST_F(Stage, MistakesNameTheSourceFileLineAndColumn)
{
    struct Case {
        const char* what;
        const char* file;
        const char* text;
        int line;
        int column;
    };
    const Case cases[] = {
        {"syntax", "a.res", "strings 32532\n  1 \"open\nend\n", 2, 5},
        {"defined twice", "b.res", "strings 32531\n  1 \"x\"\nend\n", 1, 1},
        {"an icon that is no PNG", "7.png", "not a picture", 1, 1},
    };
    for (const Case& c : cases) {
        fs::remove_all(Own("res"));
        Write(Own("res") / "a-first.res", "strings 32531\n  1 \"first\"\nend\n");
        Write(Own("res") / c.file, c.text);
        try {
            Run({Own("res")});
            ADD_FAILURE() << c.what << ": no error";
        } catch (const kfhost::ResourceError& e) {
            EXPECT_EQ(e.File(), (Own("res") / c.file).string()) << c.what;
            EXPECT_EQ(e.Line(), c.line) << c.what << ": " << e.what();
            EXPECT_EQ(e.Column(), c.column) << c.what << ": " << e.what();
        }
    }
}

} // namespace
