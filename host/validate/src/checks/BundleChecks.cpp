// The bundle as it lies on disk, its entry points, and loading it again and again.
#include "ResourceCheck.hpp"
#include "StageResources.hpp"
#include "Validation.hpp"
#include "kfhost/Text.hpp"

#include <dlfcn.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <set>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define KF_VALIDATE_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KF_VALIDATE_ASAN 1
#endif
#endif
#ifdef KF_VALIDATE_ASAN
// The sanitizer's allocator keeps its own books (its header is not installed with every compiler).
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace kfhost::validate {

namespace fs = std::filesystem;

namespace {

// The bundle's resources through the checks kfresources makes at build time; what concerns topic is
// reported, named at the source file's line when the bundle says where it was built from.
void ReportResources(CheckContext& ctx, ResourceFinding::Topic topic)
{
    const fs::path resources = ctx.bundle / "Resources";
    ResourceModule module;
    try {
        module = LoadResourceFolder(resources);
    } catch (const ResourceError& e) {
        if (topic == ResourceFinding::Topic::Layout)
            ctx.report.Fail("malformed resources: " + Shown(ctx, e.File()) + ":" + std::to_string(e.Line()) + ":" +
                            std::to_string(e.Column()) + ": " + e.Message());
        return;
    }
    ResourceCheckOptions options;
    options.frameworkPack = resources / kFrameworkPackFolder;
    std::error_code ec;
    for (fs::recursive_directory_iterator it(resources, ec), end; !ec && it != end; it.increment(ec))
        if (it->path().filename() == kSameTextsFile)
            ReadSameTexts(it->path(), options.sameTexts);
    for (ResourceFinding& finding : CheckResources(module, options)) {
        if (finding.topic != topic)
            continue;
        finding.file = finding.file.empty() ? std::string() : Shown(ctx, finding.file);
        if (finding.error)
            ctx.report.Fail(finding.Located());
        else
            ctx.report.Warn(finding.Located());
    }
    if (topic == ResourceFinding::Topic::Layout) {
        if (module.menus.empty() && !module.moduleID)
            ctx.report.Warn("the bundle has neither menus nor a module identifier: nothing can reach it");
        ctx.report.Note(std::to_string(module.strings.size()) + " string lists, " +
                        std::to_string(module.dialogs.size()) + " dialogs, " + std::to_string(module.menus.size()) +
                        " menus, " + std::to_string(module.icons.size()) + " icons");
    } else {
        ctx.report.Note(std::to_string(FindLanguageSets(module).bases.size()) + " seven-language sets");
    }
}

std::size_t HeapInUse()
{
#ifdef KF_VALIDATE_ASAN
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

// What each open descriptor of this process refers to.
std::multiset<std::string> OpenDescriptors()
{
    std::multiset<std::string> open;
    std::error_code ec;
    for (fs::directory_iterator it("/proc/self/fd", ec), end; !ec && it != end; it.increment(ec)) {
        std::error_code linkError;
        const fs::path target = fs::read_symlink(it->path(), linkError);
        if (!linkError && target != "/proc/self/fd" && target.string().rfind("/proc/", 0) != 0)
            open.insert(target.string());
    }
    return open;
}

// Host file handles the add-on did not close before it was unloaded (then closed by the host).
void ReportHostFilesLeft(Host& host, CheckContext& ctx, std::set<std::string>& seen)
{
    for (const std::string& path : host.OpenFilePaths())
        if (seen.insert(path).second)
            ctx.report.Fail("left " + Shown(ctx, path) + " open at unload");
    host.CloseOpenFiles();
}

} // namespace

void CheckBundle(CheckContext& ctx)
{
    Reporter& report = ctx.report;
    const fs::path bundle = ctx.bundle;
    std::error_code ec;
    if (bundle.extension() != ".bundle" || !fs::is_directory(bundle, ec)) {
        report.Fail(bundle.string() + " is not a bundle folder (<Name>.bundle)");
        return;
    }
    const std::string name = bundle.stem().string();
    if (!fs::is_regular_file(bundle / (name + ".so"), ec))
        report.Fail("the bundle lacks its shared library " + name + ".so");
    if (!fs::is_directory(bundle / "Resources", ec)) {
        report.Fail("the bundle has no Resources folder");
        return;
    }
    ReportResources(ctx, ResourceFinding::Topic::Layout);
}

// Every seven-language set compared as written, whatever a run asks for: the same indexes in all
// seven, no empty text, the same placeholders; the framework's own pack is not the add-on's to fix.
void CheckTranslations(CheckContext& ctx)
{
    ReportResources(ctx, ResourceFinding::Topic::Translation);
}

void CheckLoad(CheckContext& ctx)
{
    Reporter& report = ctx.report;
    const fs::path library = ctx.bundle / (ctx.bundle.stem().string() + ".so");
    {
        report.Calling("dlopen " + library.string());
        void* handle = ::dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!handle) {
            const char* error = ::dlerror();
            report.Fail(std::string("the library does not load: ") + (error ? error : "unknown error"));
            return;
        }
        // The record's layout is known only within this host's major version; the loader says why
        // it refuses any other.
        const auto* record = static_cast<const KF_AddOnEntry*>(::dlsym(handle, KF_ADDON_ENTRY_SYMBOL));
        KF_AddOnEntry entry{};
        bool complete = false;
        if (!record)
            report.Fail("the library does not export " KF_ADDON_ENTRY_SYMBOL);
        else if (record->version.major == KF_HOST_TABLE_MAJOR && record->size >= sizeof(KF_AddOnEntry)) {
            entry = *record;
            complete = entry.setHostTable && entry.checkEnvironment && entry.registerInterface && entry.initialize &&
                       entry.freeData;
            if (!complete)
                report.Fail("its " KF_ADDON_ENTRY_SYMBOL " lacks an entry point");
        }
        // Before the host table arrives an add-on must refuse everything, and call nothing.
        if (complete) {
            KF_EnvirRecord envir{};
            envir.serverInfo.mainVersion = 17;
            report.Calling("CheckEnvironment before the host table");
            if (const std::int32_t type = entry.checkEnvironment(&envir); type != 0)
                report.Fail("CheckEnvironment answers " + std::to_string(type) + " before the host table arrived");
            report.Calling("RegisterInterface before the host table");
            if (entry.registerInterface() == KF_NOERROR)
                report.Fail("RegisterInterface succeeds before the host table arrived");
            report.Calling("Initialize before the host table");
            if (entry.initialize(nullptr) == KF_NOERROR)
                report.Fail("Initialize succeeds before the host table arrived");
            report.Calling("FreeData before the host table");
            if (entry.freeData() == KF_NOERROR)
                report.Fail("FreeData succeeds before the host table arrived");
        }
        ::dlclose(handle);
    }

    Host host(ConfigFor(ctx.scratch));
    const auto start = std::chrono::steady_clock::now();
    AddOn* addOn = LoadFor(host, ctx);
    const auto loaded = std::chrono::steady_clock::now();
    if (!addOn)
        return;
    if (addOn->name.empty())
        report.Fail("CheckEnvironment gives no name");
    UnloadFor(host, ctx);
    const auto unloaded = std::chrono::steady_clock::now();
    std::set<std::string> seen;
    ReportHostFilesLeft(host, ctx, seen);
    ReportTime(ctx, "load", std::chrono::duration<double>(loaded - start).count());
    ReportTime(ctx, "unload", std::chrono::duration<double>(unloaded - loaded).count());
}

void CheckCycles(CheckContext& ctx)
{
    Reporter& report = ctx.report;
    const int cycles = 2 + ctx.strictness / 2;
    Host host(ConfigFor(ctx.scratch));
    std::set<std::string> seen;
    auto cycle = [&](int number) {
        report.Calling("load/unload cycle " + std::to_string(number));
        if (!LoadFor(host, ctx))
            return false;
        UnloadFor(host, ctx);
        host.Log().Clear();
        ReportHostFilesLeft(host, ctx, seen);
        return true;
    };
    // Two rounds first: what the first use creates, and pools the allocator keeps, are no leak.
    if (!cycle(1) || !cycle(2))
        return;
    const std::multiset<std::string> fdsBefore = OpenDescriptors();
    // The median growth of a cycle: a one-time allocation (a cache filled late) is no leak, a leak
    // shows in every cycle.
    std::vector<long long> growth;
    const std::size_t heapBefore = HeapInUse();
    std::size_t heap = heapBefore;
    for (int i = 0; i < cycles; ++i) {
        if (!cycle(3 + i))
            return;
        const std::size_t now = HeapInUse();
        growth.push_back(static_cast<long long>(now) - static_cast<long long>(heap));
        heap = now;
    }
    const std::multiset<std::string> fdsAfter = OpenDescriptors();
    std::nth_element(growth.begin(), growth.begin() + cycles / 2, growth.end());
    const long long median = growth[std::size_t(cycles / 2)];

    // The loader itself keeps a few hundred bytes per dlopen for a while; a leak of the add-on is more.
    constexpr long long kTolerancePerCycle = 4096;
    report.Note("heap in use " + std::to_string(heapBefore) + " -> " + std::to_string(heap) + " bytes over " +
                std::to_string(cycles) + " load/unload cycles, " + std::to_string(median) + " per cycle (median)");
    if (median > kTolerancePerCycle)
        report.Fail("memory grows by " + std::to_string(median) + " bytes with each load/unload cycle (median of " +
                    std::to_string(cycles) + " cycles)");
    std::multiset<std::string> left;
    std::set_difference(fdsAfter.begin(), fdsAfter.end(), fdsBefore.begin(), fdsBefore.end(),
                        std::inserter(left, left.end()));
    if (!left.empty()) {
        std::string list;
        for (const auto& path : std::set<std::string>(left.begin(), left.end()))
            list += (list.empty() ? "" : ", ") + path;
        report.Fail(std::to_string(left.size()) + " files stay open after " + std::to_string(cycles) +
                    " load/unload cycles: " + list);
    }
}

} // namespace kfhost::validate
