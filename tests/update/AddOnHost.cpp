#include "AddOnHost.hpp"
#include "DownloadHarness.hpp"
#include "VersionsParse.hpp"

#include "KF/KF_String.hpp"

namespace kftest {
namespace fs = std::filesystem;

std::string ToUtf8(const std::u16string& text)
{
    return Utf8(
        KF_String(reinterpret_cast<const unsigned short*>(text.data()), static_cast<unsigned int>(text.size())));
}

std::string With(std::string text, const std::string& what, const std::string& by)
{
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
    return text;
}

AddOnHost::AddOnHost()
    : server_(StartLoopbackServer(served_.Path())), resources_(kfhost::LoadResourceFolder(KF_UPDATE_EXAMPLE_RESOURCES))
{}

AddOnHost::~AddOnHost()
{
    server_->Stop();
    if (host_)
        host_->RunLoop(2.0);
    host_.reset();
}

void AddOnHost::Load(const std::string& updateServer)
{
    kfhost::HostConfig config;
    config.updateServer = updateServer.empty() ? server_->BaseUrl() : updateServer;
    // Settings written before the load sit in the folder the host will use.
    config.frameworkFolder = framework_.Path();
    host_.reset();
    host_ = std::make_unique<kftest::InProcessHost>(config);
    // A bundle stays mapped after its unload (the C++ runtime's unique symbols pin it), so each
    // test loads a copy of its own: its statics start fresh.
    fs::path const copy = host_->TempDir() / "Add-Ons" / "OrvellaBeamTools.bundle";
    fs::create_directories(copy.parent_path());
    fs::copy(KF_UPDATE_EXAMPLE_BUNDLE, copy, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    kfhost::LoadResult const loaded = host_->Host().LoadBundle(copy);
    ASSERT_TRUE(loaded.Loaded()) << loaded.reason;
}

void AddOnHost::ServeVersions(const std::string& text)
{
    kftest::WriteFile(served_.Path() / "update_plugins" / "versions16.txt", text);
}

void AddOnHost::WriteOwnSettings(const SettingsEntries& entries)
{
    WriteSettingsFile(framework_.Path() / "Orvella Beam Tools_10.cfg", entries);
}

std::map<std::string, std::string> AddOnHost::OwnSettings() const
{
    const SettingsEntries entries = ReadSettingsFile(framework_.Path() / "Orvella Beam Tools_10.cfg");
    return {entries.begin(), entries.end()};
}

fs::path AddOnHost::VersionsCopy() const
{
    return framework_.Path() / "__updcf__.tmp";
}

bool AddOnHost::MenuChecked(short item)
{
    const kfhost::RegisteredMenu* menu = host_->Host().FindMenu(kMenu);
    return menu != nullptr && static_cast<std::size_t>(item) <= menu->items.size() &&
           (menu->items[static_cast<std::size_t>(item - 1)].flags & 2u) != 0;
}

kfhost::Dialog* AddOnHost::OpenResults(bool shownOnly)
{
    for (kfhost::Dialog* dialog : host_->Host().Dialogs().OpenDialogs())
        if (dialog->resID == 32755 && (dialog->visible || !shownOnly))
            return dialog;
    return nullptr;
}

std::string ExampleText(const kfhost::ResourceModule& resources, int index, int language)
{
    const std::u16string* text =
        resources.String(static_cast<std::int16_t>(32710 + language), static_cast<std::int16_t>(index));
    return text != nullptr ? ToUtf8(*text) : std::string("<missing>");
}

std::string ItemText(const kfhost::Dialog& dialog, short item)
{
    const kfhost::DialogItem* it = dialog.Item(item);
    return it != nullptr ? ToUtf8(it->text) : std::string("<no item>");
}

bool Visible(const kfhost::Dialog& d, short item)
{
    return d.Item(item) != nullptr && d.Item(item)->visible;
}
bool Enabled(const kfhost::Dialog& d, short item)
{
    return d.Item(item) != nullptr && d.Item(item)->enabled;
}

bool AddOnHost::AlertShown(const std::string& text)
{
    return host_->Run("expect alert \"" + text + "\"");
}

bool AddOnHost::NoAlert()
{
    return host_->Run("expect no-alert");
}

} // namespace kftest
