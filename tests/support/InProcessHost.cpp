#include "kftest/InProcessHost.hpp"

#include "kfsdk/HostLink.hpp"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace kftest {

namespace fs = std::filesystem;

InProcessHost::InProcessHost(kfhost::HostConfig config)
{
    if (config.frameworkFolder.empty())
        config.frameworkFolder = temp_.Path() / "Framework";
    fs::create_directories(config.frameworkFolder);
    host_ = std::make_unique<kfhost::Host>(std::move(config));
    script_ = std::make_unique<kfhost::ScriptRunner>(*host_);
}

InProcessHost::~InProcessHost()
{
    Unload();
    script_.reset();
    host_.reset();
}

fs::path InProcessHost::BundlePath(const std::string& name) const
{
    return temp_.Path() / "Add-Ons" / (name + ".bundle");
}

void InProcessHost::AddResourceText(std::string_view text, const std::string& fileName)
{
    kfhost::ParseResourceText(text, fileName, resources_);
}

void InProcessHost::AddResourceFolder(const fs::path& folder)
{
    // File by file into what is there: what is defined twice is refused as the host's own loader does.
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const auto& file : files)
        kfhost::ReadResourceFile(file, resources_);
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

std::string InProcessHost::FailureText() const
{
    std::string all;
    for (const auto& f : script_->Failures())
        all += f + "\n";
    return all;
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

} // namespace kftest
