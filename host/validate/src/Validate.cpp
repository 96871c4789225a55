// The command line of `kfhost validate` and the parent's side: which checks run on which bundle,
// each in a forked child, and what becomes of what they report. A call that crashes or hangs is
// found once: the check starts again without it, and later checks leave it out.
#include "kfhost/validate/Validate.hpp"

#include "ChildProcess.hpp"
#include "Report.hpp"
#include "Validation.hpp"

#include "KFKit/VersionLine.hpp"

#include <CLI/CLI.hpp>

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <random>

namespace kfhost::validate {

namespace fs = std::filesystem;

namespace {

// A check starts again at most this often, each time without one more call that crashed or hung.
constexpr int kMaxAttempts = 32;

struct Options {
    std::vector<std::string> bundles;
    int strictness = 5;
    std::uint64_t seed = 0;
    int repeat = 1;
    bool randomise = false;
    double callSeconds = 5;
    double callBudget = 0;
    std::vector<std::string> only, skip;
    std::string junit, json;
    bool keepGoing = false;
    bool list = false;
    bool verbose = false;
};

class ScratchFolder {
public:
    ScratchFolder()
    {
        std::string pattern = (fs::temp_directory_path() / "kfvalidate-XXXXXX").string();
        if (::mkdtemp(pattern.data()))
            path_ = pattern;
    }
    ~ScratchFolder()
    {
        std::error_code ec;
        if (!path_.empty()) {
            // A folder the add-on made read-only must not stay behind.
            for (fs::recursive_directory_iterator it(path_, ec), end; !ec && it != end; it.increment(ec))
                if (it->is_directory(ec))
                    fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
            fs::remove_all(path_, ec);
        }
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    const fs::path& Path() const { return path_; }

private:
    fs::path path_;
};

// What the checks of one bundle share within a round.
struct BundleRun {
    std::map<std::string, std::string> knownBad; // call -> why it is left out
    std::map<std::string, std::string> foundBy;  // finding's key -> the check that reported it
};

struct CheckRequest {
    const CheckInfo* check = nullptr;
    std::string bundle;
    std::uint64_t seed = 0;
    const Options* options = nullptr;
};

// The child's side of one check: runs it and reports to fd.
int RunInChild(const CheckRequest& request, const fs::path& scratch, const BundleRun& run, int fd)
{
    Reporter report(fd);
    CheckContext ctx{fs::path(request.bundle), scratch, request.options->strictness, request.seed, report};
    ctx.knownBad = run.knownBad;
    ctx.callSeconds = request.options->callSeconds;
    ctx.callBudget = request.options->callBudget;
    request.check->run(ctx);
    report.Done();
    return 0;
}

CheckResult RunCheck(const CheckRequest& request, BundleRun& run)
{
    const std::string name(request.check->name);
    CheckResult result;
    result.bundle = request.bundle;
    result.check = name;
    std::string stoppedBy;
    Attempt last;
    auto add = [&](const Finding& finding) {
        const auto [it, fresh] = run.foundBy.emplace(finding.key, name);
        if (fresh)
            result.failures.push_back(finding.text);
        return fresh || it->second == name;
    };
    for (int attempt = 1;; ++attempt) {
        const ScratchFolder scratch;
        const ChildOutcome outcome = RunChild([&](int fd) { return RunInChild(request, scratch.Path(), run, fd); },
                                              {request.options->callSeconds});
        last = ParseAttempt(outcome, request.options->callSeconds);
        result.seconds += last.seconds;
        if (!last.addOn.empty())
            result.addOn = last.addOn;
        for (const Finding& finding : last.failures)
            add(finding);
        for (const auto& [call, why] : last.leaveOut)
            run.knownBad.emplace(call, why + " (" + name + ")");
        if (last.abnormal.empty())
            break;
        const bool ours = add({last.abnormalKey, last.abnormal});
        if (ours && result.output.empty())
            result.output = last.output;
        // A call the user makes can be left out; the validator's own steps cannot.
        const bool userCall = last.callKind == 'U' || last.callKind == 'T';
        if (userCall && !run.knownBad.contains(last.callKey) && attempt < kMaxAttempts) {
            run.knownBad[last.callKey] = last.abnormal + " (" + run.foundBy[last.abnormalKey] + ")";
            continue;
        }
        if (!ours)
            stoppedBy = last.abnormal + " (found by " + run.foundBy[last.abnormalKey] + ")";
        break;
    }
    result.warnings = last.warnings;
    result.notes = last.notes;
    result.times = last.times;
    if (!result.failures.empty()) {
        result.status = CheckResult::Status::Fail;
    } else if (!stoppedBy.empty()) {
        result.status = CheckResult::Status::Skip;
        result.notes.insert(result.notes.begin(), "could not go on: " + stoppedBy);
    } else if (!last.skips.empty()) {
        result.status = CheckResult::Status::Skip;
        result.notes.insert(result.notes.begin(), last.skips.begin(), last.skips.end());
    }
    if (result.status != CheckResult::Status::Fail)
        result.output.clear();
    return result;
}

CheckResult Skipped(const std::string& bundle, const CheckInfo& check, std::string why)
{
    CheckResult result;
    result.bundle = bundle;
    result.check = std::string(check.name);
    result.status = CheckResult::Status::Skip;
    result.notes.push_back(std::move(why));
    return result;
}

void ListChecks()
{
    for (const CheckInfo& check : Checks())
        std::printf("%-13s strictness %2d  %s\n", std::string(check.name).c_str(), check.level,
                    std::string(check.what).c_str());
}

bool Chosen(const Options& options, const std::string& name)
{
    const bool only =
        options.only.empty() || std::find(options.only.begin(), options.only.end(), name) != options.only.end();
    return only && std::find(options.skip.begin(), options.skip.end(), name) == options.skip.end();
}

int RunAll(const Options& options)
{
    for (const auto& name : options.only)
        if (!FindCheck(name)) {
            std::cerr << "kfhost validate: no check is called \"" << name << "\" (see --list)\n";
            return 2;
        }
    RunInfo info{options.strictness, options.seed, options.repeat, options.callSeconds, options.callBudget};
    std::vector<CheckResult> results;
    for (int round = 1; round <= options.repeat; ++round) {
        const std::uint64_t seed = options.seed + std::uint64_t(round - 1);
        std::vector<const CheckInfo*> order;
        for (const CheckInfo& check : Checks())
            order.push_back(&check);
        // The bundle and its loading stay first: the others need a bundle that loads.
        if (options.randomise) {
            std::mt19937_64 rng(seed);
            std::shuffle(order.begin() + 2, order.end(), rng);
        }
        for (const std::string& bundle : options.bundles) {
            BundleRun run;
            bool loads = true;
            for (const CheckInfo* check : order) {
                const std::string name(check->name);
                if (!Chosen(options, name))
                    continue;
                CheckResult result;
                if (check->level > options.strictness) {
                    result = Skipped(bundle, *check, "from strictness " + std::to_string(check->level));
                } else if (!loads && !options.keepGoing) {
                    result = Skipped(bundle, *check, "the bundle does not load (--keep-going runs it anyway)");
                } else {
                    result = RunCheck({check, bundle, seed, &options}, run);
                    // Only a load check that never saw the add-on's name stops the others.
                    if (name == "load" && result.addOn.empty())
                        loads = false;
                }
                result.round = round;
                results.push_back(std::move(result));
            }
        }
    }
    WriteSummary(std::cout, info, results, options.verbose);
    bool written = true;
    if (!options.json.empty() && !WriteJson(options.json, info, results)) {
        std::cerr << "kfhost validate: cannot write " << options.json << "\n";
        written = false;
    }
    if (!options.junit.empty() && !WriteJUnit(options.junit, info, results)) {
        std::cerr << "kfhost validate: cannot write " << options.junit << "\n";
        written = false;
    }
    const bool allPassed = std::none_of(results.begin(), results.end(),
                                        [](const CheckResult& r) { return r.status == CheckResult::Status::Fail; });
    return allPassed && written ? 0 : 1;
}

} // namespace

int Main(int argc, char** argv)
{
    CLI::App app{"kfhost validate: puts add-on bundles through what a host may do to them, each check in a "
                 "process of its own"};
    app.name("kfhost validate");
    Options options;
    app.add_option("bundles", options.bundles, "the <Name>.bundle folders to validate");
    app.add_option("--strictness", options.strictness, "1 to 10: higher levels add more and slower checks")
        ->check(CLI::Range(1, 10))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "seed of the random orders and of the monkey (default: a new one, printed)");
    app.add_option("--repeat", options.repeat, "run everything this many times, the seed one higher each time")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_flag("--randomise,--randomize", options.randomise, "run the checks in a seeded random order");
    app.add_option("--timeout", options.callSeconds,
                   "seconds one call into the add-on may take before it counts as hanging (the call is then left "
                   "out and the check goes on without it)")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--call-budget", options.callBudget,
                   "seconds a call may take before it fails the check (default: times are only reported)")
        ->check(CLI::PositiveNumber);
    app.add_option("--only", options.only, "run only this check (repeatable)")->allow_extra_args(false);
    app.add_option("--skip", options.skip, "do not run this check (repeatable)")->allow_extra_args(false);
    app.add_option("--junit", options.junit, "write a JUnit XML report to this file");
    app.add_option("--json", options.json, "write a JSON report to this file");
    std::string versionLine;
    app.add_option("--version-line", versionLine,
                   "the add-on's own versions-file line (CODE a.b.c.d (HVn) DD/MM/YYYY), so that the update "
                   "check can offer it a newer and an older release");
    app.add_flag("--keep-going", options.keepGoing, "run every check even when the bundle does not load");
    app.add_flag("--list", options.list, "list the checks with the strictness that runs them, and exit");
    app.add_flag("-v,--verbose", options.verbose, "show what each check measured");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2;
    }
    if (!versionLine.empty()) {
        if (!kfkit::IsVersionLine(versionLine)) {
            std::cerr << "kfhost validate: --version-line \"" << Printable(versionLine)
                      << "\" is not of the form " KF_VERSION_LINE_FORM "\n";
            return 2;
        }
        ::setenv("KF_VALIDATE_VERSION_LINE", versionLine.c_str(), 1); // the checks read it
    }
    if (options.list) {
        ListChecks();
        return 0;
    }
    if (options.bundles.empty()) {
        std::cerr << "kfhost validate: name at least one bundle (or --list)\n";
        return 2;
    }
    if (app.count("--seed") == 0)
        options.seed = std::random_device{}() % 1000000;
    return RunAll(options);
}

bool RunCheckHere(std::string_view check, std::string_view bundle, std::string_view scratchFolder, int strictness,
                  std::uint64_t seed, int reportFd)
{
    const CheckInfo* info = FindCheck(check);
    if (!info)
        return false;
    Reporter report(reportFd);
    CheckContext ctx{fs::path(bundle), fs::path(scratchFolder), strictness, seed, report};
    info->run(ctx);
    return !report.Failed();
}

bool RunCheckIsolated(std::string_view check, std::string_view bundle, int strictness, std::uint64_t seed)
{
    const CheckInfo* info = FindCheck(check);
    if (!info)
        return false;
    Options options;
    options.strictness = strictness;
    BundleRun run;
    const CheckResult result = RunCheck({info, std::string(bundle), seed, &options}, run);
    return result.status != CheckResult::Status::Fail;
}

} // namespace kfhost::validate
