#include "kfhost/Host.hpp"

#include "TableEntries.hpp"
#include "kfhost/Calls.hpp"
#include "kfhost/Text.hpp"
#include "kfsdk/Codes.hpp"

#include <dlfcn.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <cstdio>
#include <cstdlib>

extern char** environ;

namespace kfhost {

namespace fs = std::filesystem;

namespace {

std::string VersionText(unsigned major, unsigned minor)
{
    return std::to_string(major) + "." + std::to_string(minor);
}
std::string HostVersionText()
{
    return VersionText(KF_HOST_TABLE_MAJOR, KF_HOST_TABLE_MINOR);
}

// The record as far as this host knows it; fields the add-on's version lacks stay null.
KF_AddOnEntry CopyEntry(const KF_AddOnEntry& record)
{
    KF_AddOnEntry entry{};
    std::memcpy(&entry, &record, offsetof(KF_AddOnEntry, required)); // size and version: in every major
    if (entry.version.major == KF_HOST_TABLE_MAJOR)
        std::memcpy(&entry, &record, std::min<std::size_t>(entry.size, sizeof entry));
    return entry;
}

// Why the host cannot run an add-on of this record, or nothing.
std::string RefusedVersion(const KF_AddOnEntry& entry)
{
    const std::string theirs = VersionText(entry.version.major, entry.version.minor);
    if (entry.version.major != KF_HOST_TABLE_MAJOR)
        return "it was built for host table " + theirs + ", and this host offers table " + HostVersionText() +
               ", of another major version: rebuild it against this host's sdk";
    std::string missing;
    for (std::int32_t i = 0; entry.required && i < entry.requiredCount; ++i)
        if (entry.required[i].end > sizeof(KF_HostTable))
            missing +=
                (missing.empty() ? "" : ", ") + std::string(entry.required[i].name ? entry.required[i].name : "?");
    if (!missing.empty())
        return "it was built against host table " + theirs + " and needs " + missing + ", which this host's table " +
               HostVersionText() + " does not have";
    if (!entry.setHostTable || !entry.checkEnvironment || !entry.registerInterface || !entry.initialize ||
        !entry.freeData)
        return "its " KF_ADDON_ENTRY_SYMBOL " lacks an entry point";
    return {};
}

} // namespace

std::string AddOn::Label() const
{
    return name.empty() ? bundlePath.filename().string() : name;
}

bool AddOn::Serves(std::uint32_t cmd, std::int32_t version) const
{
    return std::find(services.begin(), services.end(), std::make_pair(cmd, version)) != services.end();
}

namespace {

// The backend of a host nobody watches: a modal dialog closes at once as its close box would, an
// alert takes its first button, a file or folder dialog is cancelled.
class UnattendedBackend final : public DialogBackend {
public:
    explicit UnattendedBackend(DialogManager& dialogs) : dialogs_(dialogs) {}
    void Shown(Dialog&) override {}
    void RunModal(Dialog& dialog) override { dialogs_.CloseBox(dialog); }
    void Closed(Dialog&) override {}
    std::int16_t Alert(const AlertRequest&) override { return 1; }
    std::optional<FileAnswer> ChooseFile(const FileRequest&) override { return std::nullopt; }
    std::optional<std::u16string> ChooseFolder(const FolderRequest&) override { return std::nullopt; }

private:
    DialogManager& dialogs_;
};

} // namespace

Host::Host(HostConfig config) : config_(std::move(config)), loop_(std::make_unique<PollRunLoop>())
{
    AdoptHostThread();
    HostUmask();
    SetDialogBackend(nullptr);
    if (config_.frameworkFolder.empty()) {
        FrameworkFolderChoice choice = DefaultFrameworkFolder();
        config_.frameworkFolder = std::move(choice.folder);
        if (!choice.refusal.empty())
            Warn("warning: " + choice.refusal);
    }
    MakePathsAbsolute(config_);
}

void Host::SetFrameworkFolder(std::filesystem::path folder)
{
    config_.frameworkFolder = std::move(folder);
    MakePathsAbsolute(config_);
}

void Host::SetProject(std::filesystem::path project)
{
    config_.project = std::move(project);
    MakePathsAbsolute(config_);
}

KF_ServerInfo Host::ServerInfo() const
{
    return KF_ServerInfo{config_.serverApplication, config_.release, 0, kBuildNumber, kPlatform};
}

Host::~Host()
{
    UnloadAll();
    entryStates_.clear(); // open files close while the host is whole
    // Reap launched programs that have ended; the others go on without us.
    while (::waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

void Host::SetDialogBackend(std::unique_ptr<DialogBackend> backend)
{
    backend_ = backend ? std::move(backend) : std::make_unique<UnattendedBackend>(dialogs_);
    dialogs_.SetBackend(backend_.get());
}

void Host::Warn(std::string line)
{
    transcript_.Add(line);
    warnings_.push_back(std::move(line));
}

const std::vector<std::string>& Host::Warnings()
{
    CollectOffThreadWarnings(*this);
    return warnings_;
}

void Host::RegisterMenu(RegisteredMenu menu)
{
    if (RegisteredMenu* existing = FindMenu(menu.resID, menu.owner))
        *existing = std::move(menu);
    else
        menus_.push_back(std::move(menu));
}

std::uint32_t Host::RegisterFileType(RegisteredFileType type)
{
    for (std::size_t i = 0; i < fileTypes_.size(); ++i)
        if (fileTypes_[i].description == type.description && fileTypes_[i].extension == type.extension &&
            fileTypes_[i].creator == type.creator && fileTypes_[i].macType == type.macType)
            return std::uint32_t(i + 1);
    fileTypes_.push_back(std::move(type));
    return std::uint32_t(fileTypes_.size());
}

void Host::AddBuiltInLibrary(AddOn& addOn)
{
    if (std::find(builtInLibraries_.begin(), builtInLibraries_.end(), &addOn) == builtInLibraries_.end())
        builtInLibraries_.push_back(&addOn);
}

void Host::SetRunLoop(std::unique_ptr<RunLoop> loop)
{
    loop_ = std::move(loop);
}

void Host::FillTable(AddOn& addOn)
{
    KF_HostTable& t = addOn.table;
    t = KF_HostTable{};
    t.size = sizeof(KF_HostTable);
    t.version = KF_Version{KF_HOST_TABLE_MAJOR, KF_HOST_TABLE_MINOR};
    t.context = reinterpret_cast<KF_HostContext*>(&addOn);
    detail::FillGuardedEntries(t);
}

AddOn* Host::FromContext(KF_HostContext* context)
{
    for (auto& a : addOns_)
        if (reinterpret_cast<KF_HostContext*>(a.get()) == context)
            return a.get();
    return nullptr;
}

AddOn* Host::FindAddOn(const std::string& name)
{
    for (auto& a : addOns_)
        if (a->name == name)
            return a.get();
    return nullptr;
}

AddOn* Host::ModuleOwner(std::int32_t resModule)
{
    for (auto& a : addOns_)
        if (a->resModule == resModule)
            return a.get();
    return nullptr;
}

RegisteredMenu* Host::FindMenu(std::int16_t resID, const AddOn* owner)
{
    for (auto& m : menus_)
        if (m.resID == resID && (!owner || m.owner == owner))
            return &m;
    return nullptr;
}

void Host::Forget(AddOn& addOn)
{
    std::erase_if(menus_, [&](const RegisteredMenu& m) { return m.owner == &addOn; });
    std::erase_if(modelessWindows_, [&](const auto& entry) { return entry.second == &addOn; });
    std::erase(builtInLibraries_, &addOn);
    addOn.menuHandlers.clear();
    addOn.commandHandlers.clear();
    addOn.services.clear();
    for (const auto timer : addOn.timers)
        loop_->RemoveTimer(timer);
    for (const auto watch : addOn.watches)
        loop_->RemoveWatch(watch);
    addOn.timers.clear();
    addOn.watches.clear();
    if (currentResModule_ == addOn.resModule)
        currentResModule_ = 0;
}

LoadResult Host::Load(std::unique_ptr<AddOn> owned, const fs::path& named)
{
    AddOn& a = *owned;
    a.host = this;
    a.resModule = nextResModule_++;
    a.moduleID = a.resources.moduleID.value_or(ModuleID{});
    FillTable(a);
    addOns_.push_back(std::move(owned));
    TrackAddOn(a);
    const fs::path path = a.bundlePath;

    auto refuse = [&](const std::string& reason) {
        ForgetAddOn(a);
        Forget(a);
        dialogs_.CloseAllOf(a);
        if (a.library)
            ::dlclose(a.library);
        std::erase_if(addOns_, [&](const std::unique_ptr<AddOn>& p) { return p.get() == &a; });
        transcript_.Add("refused " + named.string() + ": " + reason);
        return LoadResult{path, nullptr, reason};
    };
    const KF_AddOnEntry& entry = a.entryRecord;
    if (const std::string why = RefusedVersion(entry); !why.empty())
        return refuse(why);

    if (const KF_Err err = CallAddOnForCode(a, *this, "SetHostTable", [&] { return entry.setHostTable(&a.table); });
        err != 0)
        return refuse("it refused host table " + VersionText(KF_HOST_TABLE_MAJOR, KF_HOST_TABLE_MINOR) + " (" +
                      ErrorText(err) + ")");
    KF_EnvirRecord envir{};
    envir.serverInfo = ServerInfo();
    const std::int32_t type =
        CallAddOn(a, *this, "CheckEnvironment", std::int32_t(0), [&] { return entry.checkEnvironment(&envir); });
    a.name = ToUTF8(std::u16string_view(reinterpret_cast<const char16_t*>(envir.name),
                                        std::size_t(std::clamp(envir.nameLength, 0, KF_ENVIR_NAME_MAX))));
    a.description =
        ToUTF8(std::u16string_view(reinterpret_cast<const char16_t*>(envir.description),
                                   std::size_t(std::clamp(envir.descriptionLength, 0, KF_ENVIR_DESCRIPTION_MAX))));
    if (type == 0)
        return refuse("its environment check answered 0 (it does not register in this host)");
    if (const KF_Err err = CallAddOnForCode(a, *this, "RegisterInterface", [&] { return entry.registerInterface(); });
        err != 0)
        return refuse("RegisterInterface answered " + ErrorText(err));
    if (const KF_Err err = CallAddOnForCode(a, *this, "Initialize", [&] { return entry.initialize(&a); }); err != 0) {
        CallAddOnForCode(a, *this, "FreeData", [&] { return entry.freeData(); });
        return refuse("Initialize answered " + ErrorText(err));
    }
    a.initialized = true;
    transcript_.Add("loaded " + Quote(a.name) + " from " + named.string());
    return LoadResult{path, &a, {}};
}

namespace {

// A bundle named "A.bundle/" is named as "A.bundle".
fs::path AsNamed(const fs::path& bundle)
{
    fs::path named = bundle.lexically_normal();
    return named.filename().empty() ? named.parent_path() : named;
}

// Made absolute before any add-on runs: an add-on's chdir cannot move the bundles loaded after it.
fs::path Absolute(const fs::path& bundle)
{
    std::error_code ec;
    fs::path path = fs::absolute(bundle, ec).lexically_normal();
    return path.filename().empty() ? path.parent_path() : path;
}

} // namespace

LoadResult Host::LoadBundle(const fs::path& bundle)
{
    return LoadBundleAt(Absolute(bundle), AsNamed(bundle));
}

LoadResult Host::LoadBundleAt(const fs::path& absolute, const fs::path& named)
{
    auto refuse = [&](const std::string& reason) {
        transcript_.Add("refused " + named.string() + ": " + reason);
        return LoadResult{named, nullptr, reason};
    };
    std::error_code ec;
    if (!fs::exists(absolute, ec))
        return refuse("no such folder");
    if (absolute.extension() != ".bundle" || !fs::is_directory(absolute, ec))
        return refuse("not a bundle folder (<Name>.bundle)");
    auto addOn = std::make_unique<AddOn>();
    addOn->bundlePath = absolute;
    const std::string name = absolute.stem().string();
    addOn->libraryPath = absolute / (name + ".so");
    if (!fs::is_regular_file(addOn->libraryPath, ec))
        return refuse("no shared library " + name + ".so in the bundle");
    if (const std::string foreign = ForeignLibrary(addOn->libraryPath); !foreign.empty())
        return refuse("cannot be loaded: " + foreign);
    try {
        addOn->resources = LoadResourceFolder(absolute / "Resources");
    } catch (const ResourceError& e) {
        return refuse(std::string("malformed resources: ") + e.what());
    }
    addOn->library = ::dlopen(addOn->libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!addOn->library) {
        const char* error = ::dlerror();
        return refuse(std::string("cannot be loaded: ") + (error ? error : "unknown error"));
    }
    const void* record = ::dlsym(addOn->library, KF_ADDON_ENTRY_SYMBOL);
    if (!record) {
        // The loose entry points of table 1 had no version of their own to check.
        const bool tableOne = ::dlsym(addOn->library, "KFAddOn_SetHostTable") != nullptr;
        ::dlclose(addOn->library);
        const std::string rebuild = "rebuild it against this host's sdk (host table " + HostVersionText() +
                                    ") with kf_add_addon(), which exports " KF_ADDON_ENTRY_SYMBOL;
        return refuse(tableOne ? "it was built for host table 1 (five loose entry symbols, no " KF_ADDON_ENTRY_SYMBOL
                                 "): " +
                                     rebuild
                               : "it exports no " KF_ADDON_ENTRY_SYMBOL ": " + rebuild);
    }
    addOn->entryRecord = CopyEntry(*static_cast<const KF_AddOnEntry*>(record));
    return Load(std::move(addOn), named);
}

std::vector<LoadResult> Host::LoadBundles(std::vector<fs::path> bundles)
{
    // "A.bundle/" and "A.bundle" name the same bundle.
    auto name = [](const fs::path& p) { return AsNamed(p).filename(); };
    std::sort(bundles.begin(), bundles.end(),
              [&](const fs::path& a, const fs::path& b) { return name(a) < name(b) || (name(a) == name(b) && a < b); });
    std::vector<fs::path> absolute;
    for (const auto& bundle : bundles)
        absolute.push_back(Absolute(bundle));
    std::vector<LoadResult> results;
    for (std::size_t i = 0; i < bundles.size(); ++i)
        results.push_back(LoadBundleAt(absolute[i], AsNamed(bundles[i])));
    return results;
}

std::vector<LoadResult> Host::LoadAddOnsFolder(const fs::path& folder)
{
    std::vector<fs::path> bundles;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
        if (it->path().extension() == ".bundle" && it->is_directory())
            bundles.push_back(it->path());
    if (ec) {
        transcript_.Add("refused " + folder.string() + ": cannot list the add-ons folder: " + ec.message());
        return {LoadResult{folder, nullptr, "cannot list the add-ons folder: " + ec.message()}};
    }
    return LoadBundles(std::move(bundles));
}

LoadResult Host::LoadInProcess(const KF_AddOnEntry& entry, ResourceModule resources, const fs::path& bundlePath)
{
    auto addOn = std::make_unique<AddOn>();
    addOn->bundlePath = bundlePath;
    addOn->entryRecord = CopyEntry(entry);
    addOn->resources = std::move(resources);
    return Load(std::move(addOn), bundlePath);
}

AddOn& Host::Attach(ResourceModule resources, const fs::path& bundlePath)
{
    auto addOn = std::make_unique<AddOn>();
    addOn->host = this;
    addOn->bundlePath = bundlePath;
    addOn->resources = std::move(resources);
    addOn->resModule = nextResModule_++;
    addOn->moduleID = addOn->resources.moduleID.value_or(ModuleID{});
    addOn->initialized = true;
    FillTable(*addOn);
    addOns_.push_back(std::move(addOn));
    return *addOns_.back();
}

void Host::Unload(AddOn& a)
{
    dialogs_.CloseAllOf(a);
    if (a.initialized && a.entryRecord.freeData)
        CallAddOnForCode(a, *this, "FreeData", [&] { return a.entryRecord.freeData(); });
    Forget(a);
    ForgetAddOn(a);
    if (a.library)
        ::dlclose(a.library);
    std::erase_if(addOns_, [&](const std::unique_ptr<AddOn>& p) { return p.get() == &a; });
}

void Host::UnloadAll()
{
    while (!addOns_.empty())
        Unload(*addOns_.back());
}

std::vector<LoadResult> Host::ReloadBundles()
{
    std::vector<fs::path> bundles;
    for (auto it = addOns_.rbegin(); it != addOns_.rend();) {
        AddOn& a = **it++;
        if (!a.library)
            continue;
        bundles.push_back(a.bundlePath);
        Unload(a); // the erase leaves the reverse iterator on the next older add-on
    }
    transcript_.Add("reloading " + std::to_string(bundles.size()) + " bundle(s)");
    return LoadBundles(std::move(bundles));
}

CommandOutcome Host::MenuCommand(std::int16_t menuResID, std::int32_t itemIndex, AddOn* only, MenuCheck check)
{
    auto refuse = [&](std::string reason) { return CommandOutcome{KF_APIERR_BADID, std::move(reason)}; };
    const bool registered = check == MenuCheck::Registered;
    const RegisteredMenu* menu = FindMenu(menuResID, only);
    AddOn* target = only;
    if (menu) {
        if (registered && (itemIndex < 1 || itemIndex > std::int32_t(menu->items.size())))
            return refuse("menu " + std::to_string(menuResID) + " has no item " + std::to_string(itemIndex));
        if (registered && (menu->items[std::size_t(itemIndex - 1)].flags & kMenuItemDisabled))
            return refuse("item " + std::to_string(itemIndex) + " of menu " + std::to_string(menuResID) +
                          " is disabled");
        target = menu->owner;
    } else if (registered) {
        return refuse("menu " + std::to_string(menuResID) + " is not registered");
    }
    const MenuHandler* handler = nullptr;
    AddOn* owner = nullptr;
    for (auto& a : addOns_) {
        if (!a->initialized || (target && a.get() != target))
            continue;
        if (const auto it = a->menuHandlers.find(menuResID); it != a->menuHandlers.end()) {
            handler = &it->second;
            owner = a.get();
            break;
        }
    }
    if (!handler)
        return refuse("no handler is installed for menu " + std::to_string(menuResID));
    const MenuHandler call = *handler; // the handler may install others meanwhile
    return {CallAddOnForCode(*owner, *this,
                             "menu handler " + std::to_string(menuResID) + " item " + std::to_string(itemIndex),
                             [&] { return call.proc(call.cookie, menuResID, itemIndex); }),
            {}};
}

CommandOutcome Host::ModuleCommand(const ModuleCommandCall& command)
{
    bool known = command.target == nullptr;
    for (auto& a : addOns_) {
        if (!a->initialized || (command.target && !(a->moduleID == *command.target)))
            continue;
        known = true;
        if (!a->Serves(command.cmd, command.version))
            continue;
        const auto it = a->commandHandlers.find({command.cmd, command.version});
        if (it == a->commandHandlers.end())
            continue;
        const CommandHandler call = it->second;
        return {CallAddOnForCode(
                    *a, *this,
                    "module command " + Quote(FourCCText(command.cmd)) + " version " + std::to_string(command.version),
                    [&] { return call.proc(call.cookie, command.params, command.resultData, command.silent ? 1 : 0); }),
                {}};
    }
    if (!known)
        return {KF_APIERR_MODULNOTINSTALLED, "no loaded add-on has that module identifier"};
    return {KF_APIERR_MODULCMDNOTSUPPORTED, "no loaded add-on serves the command " + Quote(FourCCText(command.cmd)) +
                                                " version " + std::to_string(command.version)};
}

std::int32_t Host::Spawn(const std::vector<std::string>& argv)
{
    if (argv.empty() || argv[0].empty())
        return KF_APIERR_BADPARS;
    launched_.push_back(argv);
    std::string line = "launched";
    for (const auto& a : argv)
        line += " " + Quote(a);
    transcript_.Add(std::move(line));
    if (!config_.launch)
        return KF_NOERROR;
    while (::waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    std::vector<char*> args;
    for (const auto& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    posix_spawnattr_t attr;
    ::posix_spawnattr_init(&attr);
    ::posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSID);
    pid_t pid = 0;
    const int error = ::posix_spawnp(&pid, args[0], nullptr, &attr, args.data(), environ);
    ::posix_spawnattr_destroy(&attr);
    return error == 0 ? KF_NOERROR : FileErrorFromErrno(error);
}

} // namespace kfhost
