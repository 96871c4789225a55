// Alerts and the open-file dialog as the host's dialog manager receives them.
#include "kftest/InProcessHost.hpp"
#include "KF/KF_Dialog.hpp"
#include "KF/KF_Language.hpp"

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace {

KF_String S(char const* text)
{
    return KF_String(text, KF_String::Enc_UTF8);
}

std::u16string U(char const* text)
{
    GS::UniString const uni = GS::UniString::FromUTF8(text);
    return std::u16string(reinterpret_cast<char16_t const*>(uni.ToUStr()), uni.GetLength());
}

// Keeps every request and answers file dialogs from a queue (empty: cancel).
struct Requests {
    std::vector<kfhost::AlertRequest> alerts;
    std::vector<kfhost::FileRequest> files;
    std::deque<std::optional<kfhost::FileAnswer>> answers;
};

class RecordingBackend final : public kfhost::DialogBackend {
public:
    explicit RecordingBackend(Requests& requests) : requests_(requests) {}
    void Shown(kfhost::Dialog&) override {}
    void RunModal(kfhost::Dialog&) override {}
    void Closed(kfhost::Dialog&) override {}
    std::int16_t Alert(kfhost::AlertRequest const& request) override
    {
        requests_.alerts.push_back(request);
        return 1;
    }
    std::optional<kfhost::FileAnswer> ChooseFile(kfhost::FileRequest const& request) override
    {
        requests_.files.push_back(request);
        if (requests_.answers.empty()) {
            return std::nullopt;
        }
        auto answer = requests_.answers.front();
        requests_.answers.pop_front();
        return answer;
    }
    std::optional<std::u16string> ChooseFolder(kfhost::FolderRequest const&) override { return std::nullopt; }

private:
    Requests& requests_;
};

class DialogHelpers : public ::testing::Test {
protected:
    void SetUp() override
    {
        host.AddResourceText(R"(
strings 32711
  64 "OK"
end
strings 32712
  64 "D'accord"
end
)");
        host.Attach();
        host.Host().SetDialogBackend(std::make_unique<RecordingBackend>(requests));
        gKF_Language = KF_Language_Int;
    }
    void TearDown() override { gKF_Language = KF_Language_Int; }

    kftest::InProcessHost host;
    Requests requests;
};

using Alerts = DialogHelpers;
using OpenFileDialog = DialogHelpers;

std::string Utf8(KF_String const& text)
{
    KF_CString const bytes = text.ToCStr(KF_String::Enc_UTF8);
    std::string out = bytes.bytes != nullptr ? std::string(bytes.bytes, bytes.length) : std::string();
    while (!out.empty() && out.back() == '\0') {
        out.pop_back();
    }
    return out;
}

} // namespace

TEST_F(Alerts, ShowsTheThreeTextsWithTheLocalizedButtonOnly)
{
    gKF_Language = KF_Language_Fra;
    KF_Dialog::ShowAlert(-1, S(""), S("Le fichier manque."), S("détail"));
    ASSERT_EQ(requests.alerts.size(), 1u);
    kfhost::AlertRequest const& alert = requests.alerts.front();
    EXPECT_EQ(alert.type, -1);
    EXPECT_EQ(alert.texts[0], u"");
    EXPECT_EQ(alert.texts[1], U("Le fichier manque."));
    EXPECT_EQ(alert.texts[2], U("détail"));
    EXPECT_EQ(alert.texts[3], U("D'accord"));
    EXPECT_EQ(alert.texts[4], u"");
    EXPECT_EQ(alert.texts[5], u"");
}

TEST_F(Alerts, EmptyAndNullTextsStillShowAnAlertWithItsButton)
{
    KF_Dialog::ShowAlert(2, KF_String(), S(""), KF_String());
    ASSERT_EQ(requests.alerts.size(), 1u);
    EXPECT_EQ(requests.alerts[0].type, 2);
    for (int i : {0, 1, 2, 4, 5}) {
        EXPECT_EQ(requests.alerts[0].texts[i], u"") << i;
    }
    EXPECT_EQ(requests.alerts[0].texts[3], u"OK");
}

TEST_F(OpenFileDialog, FiltersInListOrderAndTheChosenFileAndFilterComeBack)
{
    KF_List<FTM::GeneralID> types;
    types.AddData(7, -1);
    types.AddData(3, -1);
    types.AddData(5, -1);
    KF_Location const start(S("/start/here"));
    requests.answers.push_back(kfhost::FileAnswer{U("/chosen/plan ü.gsm"), 2});

    KF_Location chosen;
    long filter = -1;
    ASSERT_TRUE(KF_Dialog::OpenFile(chosen, &start, S("Choose a plan"), &types, &filter));
    EXPECT_EQ(Utf8(chosen.path), "/chosen/plan ü.gsm");
    EXPECT_EQ(filter, 2);

    ASSERT_EQ(requests.files.size(), 1u);
    kfhost::FileRequest const& request = requests.files.front();
    EXPECT_EQ(request.type, 0);
    EXPECT_EQ(request.title, u"Choose a plan");
    EXPECT_EQ(request.folder, u"/start/here");
    EXPECT_EQ(request.filters, (std::vector<std::uint32_t>{7, 3, 5}));
}

TEST_F(OpenFileDialog, NoTypesNoTitleNoFolderGiveTheHostsPlainDialog)
{
    requests.answers.push_back(kfhost::FileAnswer{U("/x"), 0});
    requests.answers.push_back(kfhost::FileAnswer{U("/y"), 0});
    KF_Location chosen;
    ASSERT_TRUE(KF_Dialog::OpenFile(chosen, nullptr, KF_String(), nullptr, nullptr));
    ASSERT_TRUE(KF_Dialog::OpenFile(chosen, nullptr, S(""), nullptr, nullptr));
    ASSERT_EQ(requests.files.size(), 2u);
    for (auto const& request : requests.files) {
        EXPECT_TRUE(request.filters.empty());
        EXPECT_EQ(request.title, u"");
        EXPECT_EQ(request.folder, u"");
    }
}

TEST_F(OpenFileDialog, CancelLeavesTheLocationAsItWasAndTheResourceModuleRestored)
{
    host.Host().SetCurrentResModule(0);
    KF_Location chosen(S("/before"));
    long filter = 9;
    EXPECT_FALSE(KF_Dialog::OpenFile(chosen, nullptr, S("t"), nullptr, &filter));
    EXPECT_EQ(Utf8(chosen.path), "/before");
    EXPECT_EQ(filter, 9);
    EXPECT_EQ(host.Host().CurrentResModule(), 0);

    requests.answers.push_back(kfhost::FileAnswer{U("/after"), 0});
    EXPECT_TRUE(KF_Dialog::OpenFile(chosen, nullptr, S("t"), nullptr, nullptr));
    EXPECT_EQ(host.Host().CurrentResModule(), 0);
}

TEST_F(OpenFileDialog, OneTypeDescribedOnTheSpotIsRegisteredAndUsedAsTheOnlyFilter)
{
    requests.answers.push_back(kfhost::FileAnswer{U("/lib/part.gsm"), 0});
    KF_Location chosen;
    KF_Location const start(S("/lib"));
    ASSERT_TRUE(KF_Dialog::OpenFile(chosen, "Library part", "gsm", 0x4C49424Cl, S("Pick"), &start));
    EXPECT_EQ(Utf8(chosen.path), "/lib/part.gsm");

    ASSERT_EQ(host.Host().fileTypes.size(), 1u);
    kfhost::RegisteredFileType const& type = host.Host().fileTypes.front();
    EXPECT_EQ(type.manager, u"Module");
    EXPECT_EQ(type.description, u"Library part");
    EXPECT_EQ(type.extension, u"gsm");
    EXPECT_EQ(type.creator, GS::FourCC("GSAC"));
    EXPECT_EQ(type.macType, 0x4C49424Cu);
    EXPECT_EQ(type.iconID, 145);
    EXPECT_TRUE(type.visible);

    ASSERT_EQ(requests.files.size(), 1u);
    EXPECT_EQ(requests.files[0].filters, (std::vector<std::uint32_t>{1}));
    EXPECT_EQ(requests.files[0].title, u"Pick");
    EXPECT_EQ(requests.files[0].folder, u"/lib");

    // The same type again is the same registration.
    requests.answers.push_back(kfhost::FileAnswer{U("/lib/other.gsm"), 0});
    ASSERT_TRUE(KF_Dialog::OpenFile(chosen, "Library part", "gsm", 0x4C49424Cl, S("Pick"), &start));
    EXPECT_EQ(host.Host().fileTypes.size(), 1u);
    EXPECT_EQ(requests.files[1].filters, (std::vector<std::uint32_t>{1}));
}
