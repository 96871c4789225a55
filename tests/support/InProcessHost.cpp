#include "kftest/InProcessHost.hpp"

#include "kfsdk/HostLink.hpp"

#include <chrono>
#include <stdexcept>

namespace kftest {

namespace fs = std::filesystem;

InProcessHost::InProcessHost(kfhost::HostConfig config) : temp_(MakeTempFolder())
{
    if (config.frameworkFolder.empty()) {
        config.frameworkFolder = temp_ / "Framework";
        ownsFramework_ = true;
    }
    fs::create_directories(config.frameworkFolder);
    host_ = std::make_unique<kfhost::Host>(std::move(config));
    script_ = std::make_unique<kfhost::ScriptRunner>(*host_);
}

InProcessHost::~InProcessHost()
{
    Unload();
    script_.reset();
    host_.reset();
    std::error_code ec;
    fs::remove_all(temp_, ec);
}

fs::path InProcessHost::BundlePath(const std::string& name) const
{
    return temp_ / "Add-Ons" / (name + ".bundle");
}

void InProcessHost::AddResourceText(std::string_view text, const std::string& fileName)
{
    kfhost::ParseResourceText(text, fileName, resources_);
}

void InProcessHost::AddResourceFolder(const fs::path& folder)
{
    kfhost::ResourceModule loaded = kfhost::LoadResourceFolder(folder);
    // Merge, refusing what is defined twice as the host's own loader does.
    for (auto& [key, origin] : loaded.origins)
        if (resources_.origins.count(key))
            throw kfhost::ResourceError(origin, 1, 1, key + " is defined twice");
    resources_.origins.merge(loaded.origins);
    if (loaded.moduleID)
        resources_.moduleID = loaded.moduleID;
    resources_.strings.merge(loaded.strings);
    resources_.dialogs.merge(loaded.dialogs);
    resources_.menus.merge(loaded.menus);
    resources_.icons.merge(loaded.icons);
}

kfhost::AddOn& InProcessHost::Attach(const std::string& bundleName)
{
    if (addOn_)
        throw std::logic_error("the in-process add-on is already there");
    const fs::path bundle = BundlePath(bundleName);
    fs::create_directories(bundle);
    addOn_ = &host_->Attach(resources_, bundle);
    if (kfsdk::InstallHostTable(&addOn_->table) != KF_NOERROR)
        throw std::logic_error("the sdk refused the host table");
    return *addOn_;
}

kfhost::LoadResult InProcessHost::Load(const KF_AddOnEntry& entry, const std::string& bundleName)
{
    if (addOn_)
        throw std::logic_error("the in-process add-on is already there");
    const fs::path bundle = BundlePath(bundleName);
    fs::create_directories(bundle);
    kfhost::LoadResult result = host_->LoadInProcess(entry, resources_, bundle);
    addOn_ = result.addOn;
    loaded_ = result.Loaded();
    if (!loaded_)
        kfsdk::InstallHostTable(nullptr);
    return result;
}

void InProcessHost::Unload()
{
    if (!addOn_)
        return;
    host_->UnloadAll();
    kfsdk::InstallHostTable(nullptr);
    addOn_ = nullptr;
    loaded_ = false;
}

std::int32_t InProcessHost::Menu(std::int16_t menuResID, std::int32_t itemIndex, bool requireRegistered)
{
    return host_
        ->MenuCommand(menuResID, itemIndex, nullptr,
                      requireRegistered ? kfhost::MenuCheck::Registered : kfhost::MenuCheck::HandlerOnly)
        .code;
}

std::int32_t InProcessHost::Command(std::uint32_t cmd, std::int32_t version, std::optional<kfhost::ModuleID> target,
                                    void* params, char* resultData, bool silent)
{
    return host_->ModuleCommand({cmd, version, target ? &*target : nullptr, params, resultData, silent}).code;
}

void InProcessHost::Queue(std::string_view lines)
{
    script_->Append(lines, "queued");
}

bool InProcessHost::Run(std::string_view lines)
{
    script_->Append(lines, "script");
    return script_->RunAll();
}

std::size_t InProcessHost::PendingLines() const
{
    return script_->PendingCount();
}
bool InProcessHost::ScriptOk() const
{
    return script_->Ok();
}
const std::vector<std::string>& InProcessHost::Failures() const
{
    return script_->Failures();
}

std::string InProcessHost::FailureText() const
{
    std::string all;
    for (const auto& f : script_->Failures())
        all += f + "\n";
    return all;
}
void InProcessHost::RunLoop(double seconds)
{
    host_->Loop().RunFor(seconds);
}

bool InProcessHost::RunUntilIdle(double patience)
{
    host_->Loop().RunFor(patience);
    return !host_->Loop().HasPending();
}

bool InProcessHost::RunUntil(const std::function<bool()>& pred, double patience)
{
    const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(patience);
    while (!pred()) {
        if (std::chrono::steady_clock::now() >= until)
            return false;
        RunLoop(0.02);
    }
    return true;
}
kfhost::Dialog* InProcessHost::CurrentDialog()
{
    return host_->Dialogs().Current();
}
const std::vector<std::string>& InProcessHost::Transcript() const
{
    return host_->Log().Lines();
}
std::string InProcessHost::TranscriptText() const
{
    return host_->Log().Text();
}
void InProcessHost::ClearTranscript()
{
    host_->Log().Clear();
}
const std::vector<std::vector<std::string>>& InProcessHost::Launched() const
{
    return host_->Launched();
}
kfhost::FileFaults& InProcessHost::Faults()
{
    return host_->Faults();
}

} // namespace kftest
