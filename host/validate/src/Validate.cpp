// The command line of `kfhost validate` and the parent's side: which checks run on which bundle,
// each in a child process, and what becomes of what they report.
#include "kfhost/validate/Validate.hpp"

#include "ChildProcess.hpp"
#include "Report.hpp"
#include "Validation.hpp"

#include <CLI/CLI.hpp>

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <random>
#include <set>

namespace kfhost::validate {

namespace fs = std::filesystem;

namespace {

struct Options {
    std::vector<std::string> bundles;
    int strictness = 5;
    std::uint64_t seed = 0;
    bool seedGiven = false;
    int repeat = 1;
    bool randomise = false;
    double timeout = 60;
    std::vector<std::string> only, skip;
    std::string junit, json;
    bool keepGoing = false;
    bool list = false;
    bool verbose = false;
    // the child's side
    std::string child;
    std::string scratch;
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
        if (!path_.empty())
            fs::remove_all(path_, ec);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    const fs::path& Path() const { return path_; }

private:
    fs::path path_;
};

CheckResult Skipped(const std::string& bundle, const CheckInfo& check, std::string why)
{
    CheckResult result;
    result.bundle = bundle;
    result.check = std::string(check.name);
    result.status = CheckResult::Status::Skip;
    result.notes.push_back(std::move(why));
    return result;
}

int RunAsChild(const Options& options)
{
    const CheckInfo* check = FindCheck(options.child);
    if (!check || options.bundles.size() != 1)
        return 2;
    Reporter report(3);
    CheckContext ctx{fs::path(options.bundles.front()), fs::path(options.scratch), options.strictness, options.seed,
                     report};
    check->run(ctx);
    report.Done();
    std::fflush(nullptr);
    // No static destruction and no leak report at exit: what the add-on left is the checks' finding.
    ::_exit(0);
}

void ListChecks()
{
    for (const CheckInfo& check : Checks())
        std::printf("%-13s strictness %2d  %s\n", std::string(check.name).c_str(), check.level,
                    std::string(check.what).c_str());
}

int RunAll(const Options& options)
{
    const std::string self = SelfPath();
    for (const auto& name : options.only)
        if (!FindCheck(name)) {
            std::cerr << "kfhost validate: no check is called \"" << name << "\" (see --list)\n";
            return 2;
        }
    RunInfo info{options.strictness, options.seed, options.repeat};
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
            bool loads = true;
            for (const CheckInfo* check : order) {
                CheckResult result;
                const std::string name(check->name);
                const bool chosen = options.only.empty() ||
                                    std::find(options.only.begin(), options.only.end(), name) != options.only.end();
                if (!chosen || std::find(options.skip.begin(), options.skip.end(), name) != options.skip.end())
                    continue;
                if (check->level > options.strictness) {
                    result = Skipped(bundle, *check, "from strictness " + std::to_string(check->level));
                } else if (!loads && !options.keepGoing) {
                    result = Skipped(bundle, *check, "the bundle does not load (--keep-going runs it anyway)");
                } else {
                    ScratchFolder scratch;
                    const std::vector<std::string> argv{self,           "validate",
                                                        "--child",      name,
                                                        "--scratch",    scratch.Path().string(),
                                                        "--strictness", std::to_string(options.strictness),
                                                        "--seed",       std::to_string(seed),
                                                        bundle};
                    result = ResultOf(bundle, name, RunChild(argv, options.timeout), options.timeout);
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
    app.add_option("--timeout", options.timeout, "seconds one check may take before it counts as hanging")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
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
    app.add_option("--child", options.child)->group("");
    app.add_option("--scratch", options.scratch)->group("");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2;
    }
    if (!versionLine.empty())
        ::setenv("KF_VALIDATE_VERSION_LINE", versionLine.c_str(), 1); // the children read it
    if (!options.child.empty())
        return RunAsChild(options);
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

} // namespace kfhost::validate
