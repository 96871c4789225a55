// The stand-in host: loads add-on bundles (or an add-on linked into the same program), hands each
// its host table, and serves menus, module commands, resources, dialogs, files and the run loop.
// The kfhost program is a thin command line around this class; tests run it in-process.
#pragma once

#include "kfhost/Dialogs.hpp"
#include "kfhost/FileFaults.hpp"
#include "kfhost/Resources.hpp"
#include "kfhost/RunLoop.hpp"
#include "kfhost/Transcript.hpp"
#include "kfsdk/HostTable.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <string>
#include <type_traits>
#include <typeindex>
#include <utility>
#include <vector>

namespace kfhost {

// What the host tells an add-on about itself in the environment record.
inline constexpr std::int32_t kDefaultRelease = 17;
inline constexpr std::int32_t kBuildNumber = 3006;
inline constexpr std::int32_t kPlatform = 1; // the code of the platform add-ons run on

// Flags of a registered menu item.
inline constexpr std::uint32_t kMenuItemDisabled = 1;
inline constexpr std::uint32_t kMenuItemChecked = 2;

// Seconds one download may take, as far as the host lets a setting go.
inline constexpr std::pair<double, double> kDownloadLimitRange{0.001, 86400.0};

struct HostConfig {
    std::int32_t release = kDefaultRelease;
    std::filesystem::path frameworkFolder;       // special location 13; empty: DefaultFrameworkFolder()
    std::int32_t textEncoding = KF_TEXTENC_UTF8; // or KF_TEXTENC_MACROMAN
    std::int32_t serverApplication = 0;
    std::vector<std::filesystem::path> libraries;
    std::filesystem::path embeddedLibrary; // the open project's own library folder; empty: none
    std::filesystem::path project;
    // Menu texts (UTF-8) of the rendering engines; nothing: three of the host's own.
    std::optional<std::vector<std::string>> renderingEngines;
    std::optional<std::int32_t> currentEngine; // 1-based, 0: none; nothing: the first
    std::string updateServer;                  // empty: the host names none
    std::optional<double> downloadLimit;       // seconds; nothing: the host sets no limit of its own
    bool launch = false;                       // really start what add-ons ask to launch
};

// Sets the host setting key (as --set KEY=VALUE names it) from its text; answers why it refuses
// (naming the setting), or nothing. download-limit takes a positive number of seconds, held to
// kDownloadLimitRange.
std::string ApplySetting(HostConfig& config, std::string_view key, std::string_view value);
// Makes every path of config absolute, so that no add-on's change of the working folder moves it.
void MakePathsAbsolute(HostConfig& config);
// The same for one path (unchanged when it is empty or cannot be made absolute).
void MakeAbsolute(std::filesystem::path& path);

// The per-user default of the framework folder: $XDG_DATA_HOME/kfhost/framework, else under
// $HOME/.local/share. Without either, a folder no other user can have made first (under
// $XDG_RUNTIME_DIR, else a kfhost-<uid> folder of mode 0700 in the temporary folder whose owner
// and mode are checked); when none can be had, no folder and why.
struct FrameworkFolderChoice {
    std::filesystem::path folder;
    std::string refusal;
};
FrameworkFolderChoice DefaultFrameworkFolder();

// The file mode creation mask of the host, read before any add-on runs: the host's files and
// folders get their modes from it, whatever an add-on's umask says.
unsigned HostUmask();
// Creates folder and its missing parents with the host's modes.
std::error_code CreateFolders(const std::filesystem::path& folder);

struct MenuHandler {
    KF_MenuProc proc = nullptr;
    void* cookie = nullptr;
};

struct CommandHandler {
    KF_ModulCommandProc proc = nullptr;
    void* cookie = nullptr;
};

class Host;

// One add-on known to the host. Its address is the context of its host table.
class AddOn {
public:
    Host* host = nullptr;
    std::string name; // from the environment check (UTF-8)
    std::string description;
    std::filesystem::path bundlePath; // /A/B/Name.bundle
    std::filesystem::path libraryPath;
    void* library = nullptr;     // dlopen handle; null in-process
    KF_AddOnEntry entryRecord{}; // the bundle's exported record, as far as this host knows its fields
    ResourceModule resources;
    std::int32_t resModule = 0;
    ModuleID moduleID;
    bool keepInMemory = false;
    bool initialized = false;
    // The module commands it announced (HostAPI_Register_SupportedService): command, version.
    std::vector<std::pair<std::uint32_t, std::int32_t>> services;
    std::map<std::int16_t, MenuHandler> menuHandlers;
    std::map<std::pair<std::uint32_t, std::int32_t>, CommandHandler> commandHandlers;
    std::set<std::int64_t> timers; // run-loop entries to drop when the add-on goes
    std::set<std::int64_t> watches;
    // (resID, index) of every string looked up in this add-on's resources, found or not.
    std::set<std::pair<std::int16_t, std::int16_t>> stringsAsked;
    KF_HostTable table{};

    bool Serves(std::uint32_t cmd, std::int32_t version) const;
    // Its name, or its bundle's folder name before its environment check has told the name.
    std::string Label() const;
};

struct LoadResult {
    std::filesystem::path path;
    AddOn* addOn = nullptr; // null when refused
    std::string reason;     // why it was refused
    bool Loaded() const { return addOn != nullptr; }
};

// What became of a menu or module command the host was asked to send.
struct CommandOutcome {
    std::int32_t code = 0; // the handler's answer; when it was not delivered, the host's code for why
    std::string refusal;   // why the host could not deliver it; empty when the handler ran
    bool Delivered() const { return refusal.empty(); }
};

enum class MenuCheck { Registered, HandlerOnly };

// A module command: target null is the first loaded add-on that serves it. params and resultData
// belong to the sender and live during the call only (see KF_ModulCommandProc).
struct ModuleCommandCall {
    std::uint32_t cmd = 0;
    std::int32_t version = 0;
    const ModuleID* target = nullptr;
    void* params = nullptr;
    char* resultData = nullptr;
    bool silent = false;
};

struct MenuItemState {
    std::u16string text;
    std::uint32_t flags = 0; // kMenuItemDisabled, kMenuItemChecked
};

struct RegisteredMenu {
    std::int16_t resID = 0;
    std::int16_t promptResID = 0;
    std::int32_t posCode = 0;
    std::uint32_t flags = 0;
    AddOn* owner = nullptr;
    std::u16string title;
    std::vector<MenuItemState> items;
};

struct RegisteredFileType {
    std::u16string manager;
    std::u16string description;
    std::u16string extension;
    std::uint32_t creator = 0;
    std::uint32_t macType = 0;
    std::int16_t iconID = 0;
    bool visible = true;
};

// What the table entries of one kind (open files, libraries, rendering engines) keep for the
// lifetime of a host.
class TableEntryState {
public:
    virtual ~TableEntryState() = default;
};

class Host {
public:
    explicit Host(HostConfig config = {});
    ~Host(); // unloads every add-on
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    const HostConfig& Config() const { return config_; }
    // What the host tells an add-on about itself.
    KF_ServerInfo ServerInfo() const;
    // The open project file (the user opens another project).
    void SetProject(std::filesystem::path project);
    // Empty: the host has no framework folder (special location 13 is not found).
    void SetFrameworkFolder(std::filesystem::path folder);

    // ---- loading: table, CheckEnvironment, RegisterInterface, Initialize ----
    LoadResult LoadBundle(const std::filesystem::path& bundle);
    // Every *.bundle of folder, in name order.
    std::vector<LoadResult> LoadAddOnsFolder(const std::filesystem::path& folder);
    // Bundles in name order (of their folder names).
    std::vector<LoadResult> LoadBundles(std::vector<std::filesystem::path> bundles);
    // An add-on linked into this program; bundlePath is what it sees as its own location.
    LoadResult LoadInProcess(const KF_AddOnEntry& entry, ResourceModule resources,
                             const std::filesystem::path& bundlePath);
    // Registers an add-on record without entry points: its table can be installed by hand
    // (kfsdk::InstallHostTable) to host framework code that has no entry points.
    AddOn& Attach(ResourceModule resources, const std::filesystem::path& bundlePath);
    // FreeData then dlclose, in reverse load order.
    void UnloadAll();
    // Unloads every bundle (FreeData, dlclose) and loads it again from disk; add-ons linked into
    // this program stay. Answers the new loads.
    std::vector<LoadResult> ReloadBundles();
    const std::vector<std::unique_ptr<AddOn>>& AddOns() const { return addOns_; }
    AddOn* FindAddOn(const std::string& name);
    AddOn* FromContext(KF_HostContext* context);

    // ---- menus and module commands ----
    // Sends a menu command as a user's choice. Menus are per add-on: target picks the add-on (null:
    // the first whose menu or handler fits). With MenuCheck::Registered the menu must have been
    // registered and the item must exist and be enabled; HandlerOnly needs only a handler.
    CommandOutcome MenuCommand(std::int16_t menuResID, std::int32_t itemIndex, AddOn* target = nullptr,
                               MenuCheck check = MenuCheck::Registered);
    // A module command as another add-on would send it.
    CommandOutcome ModuleCommand(const ModuleCommandCall& call);
    const std::vector<RegisteredMenu>& Menus() const { return menus_; }
    // Adds a menu, or replaces the one of the same number its owner registered before.
    void RegisterMenu(RegisteredMenu menu);
    // owner null: the first registered menu of that number.
    RegisteredMenu* FindMenu(std::int16_t resID, const AddOn* owner = nullptr);

    // ---- resource modules ----
    std::int32_t CurrentResModule() const { return currentResModule_; }
    void SetCurrentResModule(std::int32_t module) { currentResModule_ = module; }
    AddOn* ModuleOwner(std::int32_t resModule);

    // ---- parts ----
    DialogManager& Dialogs() { return dialogs_; }
    // Who presents dialogs; null: none, modal dialogs close at once as their close box would.
    void SetDialogBackend(std::unique_ptr<DialogBackend> backend);
    RunLoop& Loop() { return *loop_; }
    void SetRunLoop(std::unique_ptr<RunLoop> loop);
    FileFaults& Faults() { return faults_; }
    Transcript& Log() { return transcript_; }
    // Something an add-on asked for that the host could not give, or did that it should not; logged
    // and kept (a failure under --strict).
    void Warn(std::string line);
    // Also those made on other threads so far.
    const std::vector<std::string>& Warnings();

    // The state those table entries keep in this host, made on first use.
    template <class State>
    State& EntryState()
    {
        static_assert(std::is_base_of_v<TableEntryState, State>);
        std::unique_ptr<TableEntryState>& slot = entryStates_[std::type_index(typeid(State))];
        if (!slot)
            slot = std::make_unique<State>();
        return static_cast<State&>(*slot);
    }

    // Paths of the host file handles still open, and closing them all: what an add-on left open.
    std::vector<std::string> OpenFilePaths();
    void CloseOpenFiles();

    // ---- operating-system services ----
    const std::vector<std::vector<std::string>>& Launched() const { return launched_; }
    std::int32_t Spawn(const std::vector<std::string>& argv);

    // ---- what add-ons registered ----
    const std::map<std::int32_t, AddOn*>& ModelessWindows() const { return modelessWindows_; } // by reference id
    void RegisterModelessWindow(std::int32_t referenceID, AddOn& owner) { modelessWindows_[referenceID] = &owner; }
    bool UnregisterModelessWindow(std::int32_t referenceID) { return modelessWindows_.erase(referenceID) != 0; }
    const std::vector<RegisteredFileType>& FileTypes() const { return fileTypes_; } // id = position + 1
    // Answers the type's id; the same type registered again keeps its id.
    std::uint32_t RegisterFileType(RegisteredFileType type);
    const std::vector<AddOn*>& BuiltInLibraries() const { return builtInLibraries_; }
    void AddBuiltInLibrary(AddOn& addOn);

    // Fills an add-on's table (done at load; exposed for the in-process case).
    void FillTable(AddOn& addOn);

private:
    // The transcript names the bundle as the caller did (named), the add-on sees its absolute path.
    LoadResult Load(std::unique_ptr<AddOn> addOn, const std::filesystem::path& named);
    LoadResult LoadBundleAt(const std::filesystem::path& absolute, const std::filesystem::path& named);
    void Forget(AddOn& addOn); // drops what the add-on registered
    void Unload(AddOn& addOn); // FreeData, Forget, dlclose; the record goes too

    HostConfig config_;
    std::vector<std::unique_ptr<AddOn>> addOns_;
    std::vector<RegisteredMenu> menus_;
    std::int32_t currentResModule_ = 0;
    std::int32_t nextResModule_ = 1;
    std::unique_ptr<RunLoop> loop_;
    DialogManager dialogs_;
    std::unique_ptr<DialogBackend> backend_;
    FileFaults faults_;
    Transcript transcript_;
    std::vector<std::string> warnings_;
    std::vector<std::vector<std::string>> launched_;
    std::map<std::int32_t, AddOn*> modelessWindows_;
    std::vector<RegisteredFileType> fileTypes_;
    std::vector<AddOn*> builtInLibraries_;
    std::map<std::type_index, std::unique_ptr<TableEntryState>> entryStates_;
};

// Why the shared library at path cannot be loaded on this machine (built for another processor or
// word size, or no ELF file at all), or nothing when it may be.
std::string ForeignLibrary(const std::filesystem::path& path);

// The host's file error code (KF_IOERR_...) for a system error number.
std::int32_t FileErrorFromErrno(int error);

} // namespace kfhost
