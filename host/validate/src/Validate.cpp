// The command line of `kfhost validate`: which checks run on which bundle (Runner.hpp runs them),
// and the reports.
#include "kfhost/validate/Validate.hpp"

#include "Report.hpp"
#include "Runner.hpp"
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

struct Options {
    std::vector<std::string> bundles;
    int strictness = 5;
    std::uint64_t seed = 0;
    int repeat = 1;
    bool randomise = false;
    double callSeconds = 5;
    double callBudget = 0;
    int jobs = 0; // 0: one per processor
    std::vector<std::string> only, skip;
    std::string junit, json;
    bool keepGoing = false;
    bool list = false;
    bool verbose = false;
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
    const long processors = ::sysconf(_SC_NPROCESSORS_ONLN);
    const RunOptions run{options.strictness, options.callSeconds, options.callBudget,
                         options.jobs > 0 ? options.jobs : int(std::clamp(processors, 1L, 16L))};
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
            BundleRun shared;
            std::vector<CheckResult> mine;
            for (const bool first : {true, false}) {
                bool loads = true;
                for (const CheckResult& r : mine)
                    if (r.check == "load" && r.addOn.empty() && r.status != CheckResult::Status::Skip)
                        loads = false; // only a load check that never saw the add-on's name stops the others
                std::vector<const CheckInfo*> wave;
                for (std::size_t i = first ? 0 : 2; i < (first ? 2 : order.size()); ++i) {
                    const CheckInfo* check = order[i];
                    const std::string name(check->name);
                    if (!Chosen(options, name))
                        continue;
                    if (check->level > options.strictness)
                        mine.push_back(Skipped(bundle, *check, "from strictness " + std::to_string(check->level)));
                    else if (!loads && !options.keepGoing)
                        mine.push_back(
                            Skipped(bundle, *check, "the bundle does not load (--keep-going runs it anyway)"));
                    else
                        wave.push_back(check);
                }
                for (CheckResult& r : RunChecks(bundle, wave, seed, run, shared))
                    mine.push_back(std::move(r));
            }
            // In the checks' order, as listed.
            std::stable_sort(mine.begin(), mine.end(), [&](const CheckResult& a, const CheckResult& b) {
                auto at = [&](const std::string& name) {
                    return std::find_if(order.begin(), order.end(),
                                        [&](const CheckInfo* c) { return c->name == name; });
                };
                return at(a.check) < at(b.check);
            });
            for (CheckResult& r : mine) {
                r.round = round;
                results.push_back(std::move(r));
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
    app.add_option("--jobs,-j", options.jobs, "checks run at a time (default: one per processor)")
        ->check(CLI::Range(1, 64));
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
    RunOptions options;
    options.strictness = strictness;
    BundleRun run;
    const CheckInfo* const checks[] = {info};
    const std::vector<CheckResult> results = RunChecks(std::string(bundle), checks, seed, options, run);
    return results.front().status != CheckResult::Status::Fail;
}

} // namespace kfhost::validate
