// The language dialog driven through the headless dialog manager: what it shows, the live preview,
// and what cancelling and accepting leave in memory and on disk.
#include "LanguageResources.hpp"
#include "SettingsTestSupport.hpp"

#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Language.hpp"
#include "kfhost/Script.hpp"

#include <cstring>
#include <memory>
#include <optional>
#include <vector>

using namespace kftest_settings;

namespace {

// The headless backend, plus a copy of every dialog as it is first shown.
class SnapshotBackend final : public kfhost::DialogBackend {
public:
    explicit SnapshotBackend(kfhost::Host& host, std::vector<kfhost::Dialog>& shown) : inner_(host), shown_(shown) {}
    void Shown(kfhost::Dialog& dialog) override
    {
        shown_.push_back(dialog);
        inner_.Shown(dialog);
    }
    void RunModal(kfhost::Dialog& dialog) override { inner_.RunModal(dialog); }
    void Closed(kfhost::Dialog& dialog) override { inner_.Closed(dialog); }
    std::int16_t Alert(kfhost::AlertRequest const& request) override { return inner_.Alert(request); }
    std::optional<kfhost::FileAnswer> ChooseFile(kfhost::FileRequest const& request) override
    {
        return inner_.ChooseFile(request);
    }
    std::optional<std::u16string> ChooseFolder(kfhost::FolderRequest const& request) override
    {
        return inner_.ChooseFolder(request);
    }

private:
    kfhost::HeadlessBackend inner_;
    std::vector<kfhost::Dialog>& shown_;
};

class LanguageDialog : public ::testing::Test {
protected:
    void SetUp() override
    {
        host.AddResourceText(kLanguageTestResources);
        host.Attach();
        host.Host().SetDialogBackend(std::make_unique<SnapshotBackend>(host.Host(), shown));
        detail::KF_AddonSettings_Forget(KF_AddonSettings_AllAddons);
        detail::KF_AddonSettings_Forget(KF_AddonSettings_ThisAddon);
        std::memcpy(savedShowed_, sett_ADDON_SHOWED_LANGUAGES, sizeof savedShowed_);
        std::memcpy(savedExtra_, sett_ADDON_SUPP_EXTRA_LANGUAGES, sizeof savedExtra_);
        gKF_Language = KF_Language_Int;
    }
    void TearDown() override
    {
        std::memcpy(sett_ADDON_SHOWED_LANGUAGES, savedShowed_, sizeof savedShowed_);
        std::memcpy(sett_ADDON_SUPP_EXTRA_LANGUAGES, savedExtra_, sizeof savedExtra_);
        gKF_Language = KF_Language_Int;
        detail::KF_AddonSettings_Forget(KF_AddonSettings_AllAddons);
        detail::KF_AddonSettings_Forget(KF_AddonSettings_ThisAddon);
    }

    std::filesystem::path SharedFile() const { return host.FrameworkFolder() / "Quadrelle.cfg"; }

    // Stores a language as another run left it and reads it as the shell does.
    void Stored(std::string const& plain)
    {
        kftest::WriteFile(SharedFile(), Scrambled(plain));
        KF_Language_Read(true);
    }

    // Runs the dialog on the script lines; every line must be used and every expectation hold.
    bool Run(std::string const& lines)
    {
        host.Queue(lines.substr(0, lines.find_last_not_of(" \n") + 1));
        bool const accepted = KF_Dlg_Language(S("Version: test"));
        EXPECT_EQ(host.PendingLines(), 0u);
        EXPECT_TRUE(host.ScriptOk()) << ::testing::PrintToString(host.Failures());
        return accepted;
    }

    kftest::InProcessHost host;
    std::vector<kfhost::Dialog> shown;

private:
    char savedShowed_[64] = {};
    char savedExtra_[64] = {};
};

} // namespace

TEST_F(LanguageDialog, OpensWithTheAddOnsNameTheCurrentLanguagesTextsAndEveryLanguage)
{
    Stored("$Language_str: fra\n");
    ASSERT_EQ(gKF_Language, KF_Language_Fra);
    EXPECT_FALSE(Run(R"(
        expect dialog 32734
        expect title "Test Add-On"
        expect text 1 "D'accord"
        expect text 2 "Annuler"
        expect text 6 "Choisissez la langue"
        expect rows 3 7
        expect selected 3 3
        click 2
    )"));

    ASSERT_EQ(shown.size(), 1u);
    kfhost::Dialog const& dialog = shown.front();
    EXPECT_EQ(dialog.width, 483);
    EXPECT_EQ(dialog.height, 282);
    kfhost::DialogItem const& list = *dialog.Item(3);
    ASSERT_EQ(list.rows.size(), 7u);
    for (std::size_t row = 0; row < list.rows.size(); ++row) {
        EXPECT_EQ(list.rows[row].iconResID, 32758 + short(row));
        EXPECT_EQ(list.RowText(short(row + 1), 1), u"");
    }
    EXPECT_EQ(list.rowHeight, 30);
    ASSERT_EQ(list.tabs.size(), 1u);
    EXPECT_EQ(list.tabs[0].begPos, 5);
    EXPECT_EQ(list.tabs[0].endPos, 285);
    EXPECT_EQ(list.tabs[0].truncation, 4096);
    EXPECT_EQ(dialog.focus, -1);
}

TEST_F(LanguageDialog, ChoosingARowPreviewsItsTextsButNotTheAcceptButton)
{
    EXPECT_FALSE(Run(R"(
        select 3 3
        expect text 2 "Annuler"
        expect text 6 "Choisissez la langue"
        expect text 1 "OK"
        select 3 4
        expect text 2 "Abbrechen"
        expect text 6 "Choose the language"
        click 2
    )"));
}

TEST_F(LanguageDialog, CancelAfterBrowsingRestoresTheLanguageAndWritesNothing)
{
    Stored("$Language_str: ita\n$tail: unterminated");
    std::string const before = kftest::ReadFile(SharedFile());
    EXPECT_FALSE(Run(R"(
        select 3 3
        select 3 6
        click 2
    )"));
    EXPECT_EQ(gKF_Language, KF_Language_Ita);
    EXPECT_EQ(kftest::ReadFile(SharedFile()), before);
}

TEST_F(LanguageDialog, CloseBoxAfterBrowsingRestoresTheLanguageToo)
{
    EXPECT_FALSE(Run(R"(
        select 3 4
        close
    )"));
    EXPECT_EQ(gKF_Language, KF_Language_Int);
    EXPECT_FALSE(std::filesystem::exists(SharedFile()));
}

TEST_F(LanguageDialog, AcceptingTheLanguageAtOpeningWritesNothing)
{
    // A rewrite would drop the unterminated last line, so any save shows in the bytes.
    Stored("$Language_str: ger\n$tail: unterminated");
    std::string const before = kftest::ReadFile(SharedFile());
    EXPECT_TRUE(Run(R"(
        select 3 2
        select 3 4
        click 1
    )"));
    EXPECT_EQ(gKF_Language, KF_Language_Ger);
    EXPECT_EQ(kftest::ReadFile(SharedFile()), before);
}

TEST_F(LanguageDialog, AcceptingAnotherLanguageStoresItAtOnceKeepingTheRest)
{
    Stored("$AutoUpdate: 1\n$Language_str: ita\n");
    EXPECT_TRUE(Run(R"(
        select 3 5
        click 1
    )"));
    EXPECT_EQ(gKF_Language, KF_Language_Spa);
    EXPECT_EQ(Scrambled(kftest::ReadFile(SharedFile())), "$AutoUpdate: 1\n$Language_str: spa\n");
}

TEST_F(LanguageDialog, FirstChoiceCreatesTheSharedStore)
{
    EXPECT_TRUE(Run(R"(
        expect selected 3 2
        select 3 1
        click 1
    )"));
    EXPECT_EQ(Scrambled(kftest::ReadFile(SharedFile())), "$Language_str: ita\n");
    EXPECT_TRUE(KF_Language_Exists());
}

TEST_F(LanguageDialog, UnsupportedExtraLanguageIsStoredButTheAddOnFallsBack)
{
    std::strcpy(sett_ADDON_SUPP_EXTRA_LANGUAGES, "rus");
    EXPECT_TRUE(Run(R"(
        select 3 6
        click 1
    )"));
    EXPECT_EQ(Scrambled(kftest::ReadFile(SharedFile())), "$Language_str: jap\n");
    EXPECT_EQ(gKF_Language, KF_Language_Int);
}

TEST_F(LanguageDialog, ShowedLanguagesLimitTheRowsAndAcceptUsesTheRowTable)
{
    std::strcpy(sett_ADDON_SHOWED_LANGUAGES, "FRA ger");
    gKF_Language = KF_Language_Ita;
    EXPECT_TRUE(Run(R"(
        expect rows 3 2
        select 3 2
        click 1
    )"));
    ASSERT_EQ(shown.size(), 1u);
    kfhost::DialogItem const& list = *shown.front().Item(3);
    ASSERT_EQ(list.rows.size(), 2u);
    EXPECT_EQ(list.rows[0].iconResID, 32758 + KF_Language_Fra);
    EXPECT_EQ(list.rows[1].iconResID, 32758 + KF_Language_Ger);
    EXPECT_EQ(Scrambled(kftest::ReadFile(SharedFile())), "$Language_str: ger\n");
    EXPECT_EQ(gKF_Language, KF_Language_Ger);
}

TEST_F(LanguageDialog, LeavesTheCurrentResourceModuleAsItFoundIt)
{
    host.Host().SetCurrentResModule(0);
    EXPECT_FALSE(Run("click 2\n"));
    EXPECT_EQ(host.Host().CurrentResModule(), 0);
}
