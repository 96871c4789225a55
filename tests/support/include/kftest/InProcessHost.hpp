// A host running inside the test program: a temporary framework folder, release 17, the headless
// dialog backend, and the sdk of the test program linked to it. Framework code without entry
// points is hosted with Attach(); an add-on whose entry points are linked into the test (with
// kf_sdk_linkage) is loaded with Load(LinkedEntryPoints()).
//
// One in-process host at a time: the sdk of a program keeps one host table.
#pragma once

#include "kfhost/Host.hpp"
#include "kftest/Files.hpp"
#include "kftest/Patience.hpp"
#include "kfhost/script/Runner.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

extern "C" const KF_AddOnEntry KFAddOn_Entry;

namespace kftest {

// The exported wrappers linked into this program (needs kf_sdk_linkage and the add-on's entry
// points; only programs that call it need them).
inline const KF_AddOnEntry& LinkedEntryPoints()
{
    return KFAddOn_Entry;
}

class InProcessHost {
public:
    // config.frameworkFolder empty: a fresh temporary folder (removed at the end).
    explicit InProcessHost(kfhost::HostConfig config = {});
    ~InProcessHost();
    InProcessHost(const InProcessHost&) = delete;
    InProcessHost& operator=(const InProcessHost&) = delete;

    kfhost::Host& Host() { return *host_; }
    kfhost::ScriptRunner& Script() { return *script_; }
    // Scratch folder of this host, removed at the end; the framework folder is inside it unless given.
    const std::filesystem::path& TempDir() const { return temp_.Path(); }
    const std::filesystem::path& FrameworkFolder() const { return host_->Config().frameworkFolder; }
    // Where the add-on believes it lives: TempDir()/Add-Ons/<name>.bundle (created).
    std::filesystem::path BundlePath(const std::string& name = "Test") const;

    // ---- resources of the in-process add-on (before Attach or Load) ----
    // Throws kfhost::ResourceError on malformed text.
    void AddResourceText(std::string_view text, const std::string& fileName = "test.res");
    void AddResourceFolder(const std::filesystem::path& folder);

    // ---- bringing the add-on in ----
    // Installs the table in this program's sdk without calling any entry point.
    kfhost::AddOn& Attach(const std::string& bundleName = "Test");
    // Runs the load sequence on the wrappers linked into this program.
    kfhost::LoadResult Load(const KF_AddOnEntry& entry, const std::string& bundleName = "Test");
    kfhost::AddOn* AddOn() { return addOn_; }
    // FreeData and forget the add-on (also done at the end).
    void Unload();

    // ---- driving it ----
    std::int32_t Menu(std::int16_t menuResID, std::int32_t itemIndex, bool requireRegistered = true);
    std::int32_t Command(std::uint32_t cmd, std::int32_t version, std::optional<kfhost::ModuleID> target = {},
                         void* params = nullptr, char* resultData = nullptr, bool silent = false);
    // Lines that modal dialogs (and alerts, system dialogs) consume when they come up.
    void Queue(std::string_view lines);
    // Runs lines now, as kfhost --script does; answers whether none of them failed.
    bool Run(std::string_view lines);
    std::size_t PendingLines() const { return script_->PendingCount(); }
    bool ScriptOk() const { return script_->Ok(); }
    const std::vector<std::string>& Failures() const { return script_->Failures(); }
    std::string FailureText() const; // one failure a line
    // Runs the loop for up to seconds; it returns earlier once nothing waits in it.
    void RunLoop(double seconds) { host_->Loop().RunFor(seconds); }
    // Runs the loop until nothing waits in it (no timer, no watch): whatever was started has ended.
    // Whether that happened within patience.
    bool RunUntilIdle(double patience = kPatienceSeconds);
    // Runs the loop in short slices until pred holds or patience runs out; whether it held.
    bool RunUntil(const std::function<bool()>& pred, double patience = kPatienceSeconds);

    // ---- reading what happened ----
    kfhost::Dialog* CurrentDialog() { return host_->Dialogs().Current(); }
    const std::vector<std::string>& Transcript() const { return host_->Log().Lines(); }
    std::string TranscriptText() const { return host_->Log().Text(); }
    void ClearTranscript() { host_->Log().Clear(); }
    const std::vector<std::vector<std::string>>& Launched() const { return host_->Launched(); }
    kfhost::FileFaults& Faults() { return host_->Faults(); }

private:
    TempFolder temp_; // declared first so that it goes last, once the host has let go of it
    std::unique_ptr<kfhost::Host> host_;
    std::unique_ptr<kfhost::ScriptRunner> script_;
    kfhost::ResourceModule resources_;
    kfhost::AddOn* addOn_ = nullptr;
    bool loaded_ = false;
};

} // namespace kftest
