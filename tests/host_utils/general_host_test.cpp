// The project's title and the rendering engine, as the host tells them. An untitled project and
// the host's own engines are the example add-on's kfhost runs (examples/OrvellaInteriors/scripts).
#include "LibsFixture.hpp"

#include "KF/KF_General.hpp"
#include "kfsdk/HostLink.hpp"

using namespace kftest;

namespace {

using ProjectTest = HostTest;

std::pair<std::string, bool> Title(bool expectOk = true)
{
    KF_String title(S("stale"));
    bool untitled = false;
    EXPECT_EQ(KF_General::HostProjectTitle(title, &untitled), expectOk);
    return {Utf8(title), untitled};
}

TEST_F(ProjectTest, TheTitleIsTheFileNameCutAt255Characters)
{
    kfhost::HostConfig config;
    config.project = "/projects/Office Tower.proj";
    Start(config);
    EXPECT_EQ(Title(), std::make_pair(std::string("Office Tower.proj"), false));
    KF_String title;
    EXPECT_TRUE(KF_General::HostProjectTitle(title, nullptr)) << "the untitled flag is optional";

    for (const auto& [length, expected] : {std::pair{254, 254}, {255, 255}, {256, 255}, {300, 255}}) {
        std::string name;
        for (int i = 0; i < length; ++i)
            name += char('a' + i % 26);
        Host().Host().SetProject("/p/" + name);
        EXPECT_EQ(Title().first, name.substr(0, std::size_t(expected))) << length;
    }
}

TEST_F(ProjectTest, WithoutTheHostNothingIsAnswered)
{
    kfsdk::InstallHostTable(nullptr);
    EXPECT_EQ(Title(false), std::make_pair(std::string(), true));
    EXPECT_EQ(KF_General::CheckCurrentRenderingEngine(S("x")), -1);
    EXPECT_FALSE(KF_General::SetRenderingEngine(S("x")));
}

class RenderingTest : public HostTest {
protected:
    void Start(std::vector<std::string> engines, std::int32_t current)
    {
        kfhost::HostConfig config;
        config.renderingEngines = std::move(engines);
        config.currentEngine = current;
        HostTest::Start(config);
    }
    size_t Changes() const
    {
        size_t count = 0;
        for (const std::string& line : host_->Transcript())
            count += line.rfind("rendering engine ", 0) == 0;
        return count;
    }
};

TEST_F(RenderingTest, EnginesMatchAnywhereInTheirMenuTextAndAChoiceIsSentOnlyWhenItChanges)
{
    Start({"Basic Shading", "Sketch Line Renderer", "SKETCH lines pro"}, 1);
    EXPECT_EQ(KF_General::CheckCurrentRenderingEngine(S("ASIC SHAD")), 1);
    EXPECT_EQ(KF_General::CheckCurrentRenderingEngine(S("sketch")), 0);
    // The lowest matching engine is chosen.
    EXPECT_TRUE(KF_General::SetRenderingEngine(S("sketch")));
    EXPECT_TRUE(TranscriptHas("rendering engine 2 \"Sketch Line Renderer\""));
    EXPECT_EQ(KF_General::CheckCurrentRenderingEngine(S("line renderer")), 1);
    EXPECT_TRUE(KF_General::SetRenderingEngine(S("SKETCH")));
    EXPECT_EQ(Changes(), 1u);
    EXPECT_TRUE(KF_General::SetRenderingEngine(S("pro")));
    EXPECT_EQ(Changes(), 2u);
    EXPECT_FALSE(KF_General::SetRenderingEngine(S("ray tracer")));
    EXPECT_EQ(Changes(), 2u);
}

} // namespace
