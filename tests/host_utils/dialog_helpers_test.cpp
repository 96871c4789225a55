// Alerts and the open-file dialog as the host's dialog manager receives them.
#include "kftest/Text.hpp"
#include "kftest/InProcessHost.hpp"
#include "KF/KF_Dialog.hpp"
#include "KF/KF_Language.hpp"

#include <gtest/gtest.h>

using namespace kftest;

namespace {

// Keeps every request; the n-th file dialog takes the n-th answer, if there is one (else: cancel).
class RecordingBackend final : public kfhost::DialogBackend {
public:
    std::vector<kfhost::AlertRequest> alerts;
    std::vector<kfhost::FileRequest> files;
    std::vector<kfhost::FileAnswer> answers;

    void Shown(kfhost::Dialog&) override {}
    void RunModal(kfhost::Dialog&) override {}
    void Closed(kfhost::Dialog&) override {}
    std::int16_t Alert(const kfhost::AlertRequest& request) override
    {
        alerts.push_back(request);
        return 1;
    }
    std::optional<kfhost::FileAnswer> ChooseFile(const kfhost::FileRequest& request) override
    {
        files.push_back(request);
        return answers.size() >= files.size() ? std::optional(answers[files.size() - 1]) : std::nullopt;
    }
    std::optional<std::u16string> ChooseFolder(const kfhost::FolderRequest&) override { return std::nullopt; }
};

class DialogHelpers : public ::testing::Test {
protected:
    void SetUp() override
    {
        host.AddResourceText("strings 32711\n 64 \"OK\"\nend\nstrings 32712\n 64 \"D'accord\"\nend\n");
        host.Attach();
        auto owned = std::make_unique<RecordingBackend>();
        backend = owned.get();
        host.Host().SetDialogBackend(std::move(owned));
        host.Host().SetCurrentResModule(0); // the helpers switch to the add-on's module and back
    }
    void TearDown() override
    {
        EXPECT_EQ(host.Host().CurrentResModule(), 0);
        gKF_Language = KF_Language_Int;
    }

    kftest::InProcessHost host;
    RecordingBackend* backend = nullptr;
};

} // namespace

TEST_F(DialogHelpers, AlertShowsTheTextsWithTheLocalizedButtonOnly)
{
    gKF_Language = KF_Language_Fra;
    KF_Dialog::ShowAlert(-1, KF_String(), S("Le fichier manque."), S("détail"));
    gKF_Language = KF_Language_Int;
    KF_Dialog::ShowAlert(2, S(""), S(""), KF_String());
    ASSERT_EQ(backend->alerts.size(), 2u);
    const auto& first = backend->alerts[0].texts;
    EXPECT_EQ(backend->alerts[0].type, -1);
    EXPECT_EQ(std::vector<std::u16string>(first, first + 6),
              (std::vector<std::u16string>{u"", u"Le fichier manque.", u"détail", u"D'accord", u"", u""}));
    const auto& second = backend->alerts[1].texts;
    EXPECT_EQ(std::vector<std::u16string>(second, second + 6),
              (std::vector<std::u16string>{u"", u"", u"", u"OK", u"", u""}));
}

TEST_F(DialogHelpers, OpenFileFiltersInListOrderAndAnswersTheChoice)
{
    KF_List<FTM::GeneralID> types;
    for (FTM::GeneralID id : {7u, 3u, 5u}) {
        types.AddData(id, -1);
    }
    const KF_Location start(S("/start/here"));
    backend->answers.push_back(kfhost::FileAnswer{u"/chosen/plan ü.part", 2});
    KF_Location chosen;
    long filter = -1;
    ASSERT_TRUE(KF_Dialog::OpenFile(chosen, &start, S("Choose a plan"), &types, &filter));
    EXPECT_EQ(Utf8(chosen.path), "/chosen/plan ü.part");
    EXPECT_EQ(filter, 2);
    EXPECT_EQ(backend->files[0].type, 0);
    EXPECT_EQ(backend->files[0].title, u"Choose a plan");
    EXPECT_EQ(backend->files[0].folder, u"/start/here");
    EXPECT_EQ(backend->files[0].filters, (std::vector<std::uint32_t>{7, 3, 5}));

    // Cancelled, unfiltered, with the host's own title: the location keeps its value.
    EXPECT_FALSE(KF_Dialog::OpenFile(chosen, nullptr, S(""), nullptr, &filter));
    EXPECT_EQ(Utf8(chosen.path), "/chosen/plan ü.part");
    EXPECT_EQ(filter, 2);
    EXPECT_TRUE(backend->files[1].filters.empty());
    EXPECT_EQ(backend->files[1].title, u"");
    EXPECT_EQ(backend->files[1].folder, u"");
}

TEST_F(DialogHelpers, OneTypeDescribedOnTheSpotIsRegisteredOnceAndIsTheOnlyFilter)
{
    for (int i = 0; i < 2; ++i) {
        backend->answers.push_back(kfhost::FileAnswer{u"/lib/part.part", 0});
        KF_Location chosen;
        ASSERT_TRUE(KF_Dialog::OpenFile(chosen, "Library part", "part", 0x4C49424Cl, S("Pick"), nullptr));
        EXPECT_EQ(Utf8(chosen.path), "/lib/part.part");
        EXPECT_EQ(backend->files[std::size_t(i)].filters, (std::vector<std::uint32_t>{1}));
    }
    ASSERT_EQ(host.Host().FileTypes().size(), 1u);
    const kfhost::RegisteredFileType& type = host.Host().FileTypes().front();
    EXPECT_EQ(type.manager, u"Module");
    EXPECT_EQ(type.description, u"Library part");
    EXPECT_EQ(type.extension, u"part");
    EXPECT_EQ(type.creator, Base::FourCC("HOST"));
    EXPECT_EQ(type.macType, 0x4C49424Cu);
    EXPECT_EQ(type.iconID, 145);
    EXPECT_TRUE(type.visible);
}
