#include "Runner.hpp"

#include "ChildProcess.hpp"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>

namespace kfhost::validate {

namespace fs = std::filesystem;

namespace {

// A check starts again at most this often, each time without one more call that crashed or hung.
constexpr int kMaxAttempts = 32;

// Where scratch folders go: $TMPDIR when it is set, else memory (/dev/shm) when there is one: the
// framework syncs every settings file it replaces, and a check writes many of them.
fs::path ScratchBase()
{
    const char* tmpdir = std::getenv("TMPDIR");
    std::error_code ec;
    if ((!tmpdir || !*tmpdir) && fs::is_directory("/dev/shm", ec) && ::access("/dev/shm", W_OK | X_OK) == 0)
        return "/dev/shm";
    return fs::temp_directory_path(ec);
}

class ScratchFolder {
public:
    ScratchFolder()
    {
        static const fs::path base = ScratchBase();
        std::string pattern = (base / "kfvalidate-XXXXXX").string();
        if (::mkdtemp(pattern.data()))
            path_ = pattern;
    }
    ~ScratchFolder()
    {
        std::error_code ec;
        if (path_.empty())
            return;
        // A folder the add-on made read-only must not stay behind.
        for (fs::recursive_directory_iterator it(path_, ec), end; !ec && it != end; it.increment(ec))
            if (it->is_directory(ec))
                fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
        fs::remove_all(path_, ec);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    const fs::path& Path() const { return path_; }

private:
    fs::path path_;
};

// One check of one bundle, through as many processes as it takes.
class CheckRun {
public:
    CheckRun(const CheckInfo& check, const std::string& bundle, std::uint64_t seed, const RunOptions& options,
             BundleRun& run)
        : check_(check), bundle_(bundle), seed_(seed), options_(options), run_(run)
    {}

    // Forks a process for the next attempt: it knows every call found bad so far.
    void Start()
    {
        known_.clear();
        for (const auto& [key, why] : run_.knownBad)
            known_.insert(key);
        child_.reset();
        scratch_ = std::make_unique<ScratchFolder>();
        child_ = std::make_unique<Child>([this](int fd) { return RunHere(fd); }, ChildLimits{options_.callSeconds});
    }

    Child* Running() const { return child_.get(); }

    // After the process ended: answers whether the check goes on (another process started).
    bool Ended()
    {
        attempts_.push_back(ParseAttempt(child_->Outcome(), options_.callSeconds));
        child_.reset();
        scratch_.reset();
        const Attempt& last = attempts_.back();
        for (const auto& [key, why] : last.leaveOut)
            run_.knownBad.emplace(key, why + " (" + std::string(check_.name) + ")");
        // A call the user makes can be left out; the validator's own steps cannot.
        const bool userCall = last.callKind == 'U' || last.callKind == 'T';
        if (last.abnormal.empty() || !userCall || known_.contains(last.callKey) ||
            int(attempts_.size()) >= kMaxAttempts)
            return false;
        run_.knownBad.emplace(last.callKey, last.abnormalWhy + " (" + std::string(check_.name) + ")");
        Start();
        return true;
    }

    // The result, its findings taken in the checks' order: one reported before is not again.
    CheckResult Result()
    {
        const std::string name(check_.name);
        CheckResult result;
        result.bundle = bundle_;
        result.check = name;
        auto add = [&](const std::string& key, const std::string& text) {
            const auto [it, fresh] = run_.foundBy.emplace(key, name);
            if (fresh)
                result.failures.push_back(text);
            return it->second == name;
        };
        std::string stoppedBy;
        for (const Attempt& attempt : attempts_) {
            result.seconds += attempt.seconds;
            if (!attempt.addOn.empty())
                result.addOn = attempt.addOn;
            for (const Finding& finding : attempt.failures)
                add(finding.key, finding.text);
            if (attempt.abnormal.empty())
                continue;
            const bool ours = add(attempt.abnormalKey, attempt.abnormal);
            if (ours && result.output.empty())
                result.output = attempt.output;
            if (!ours && &attempt == &attempts_.back())
                stoppedBy = attempt.abnormal + " (found by " + run_.foundBy[attempt.abnormalKey] + ")";
        }
        const Attempt& last = attempts_.back();
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

private:
    // The child's side: runs the check and reports to fd.
    int RunHere(int fd)
    {
        Reporter report(fd);
        CheckContext ctx{fs::path(bundle_), scratch_->Path(), options_.strictness, seed_, report};
        ctx.knownBad = run_.knownBad;
        ctx.callSeconds = options_.callSeconds;
        ctx.callBudget = options_.callBudget;
        check_.run(ctx);
        report.Done();
        return 0;
    }

    const CheckInfo& check_;
    const std::string& bundle_;
    std::uint64_t seed_;
    const RunOptions& options_;
    BundleRun& run_;
    std::set<std::string> known_; // the calls the running attempt leaves out
    std::unique_ptr<ScratchFolder> scratch_;
    std::unique_ptr<Child> child_;
    std::vector<Attempt> attempts_;
};

} // namespace

std::vector<CheckResult> RunChecks(const std::string& bundle, std::span<const CheckInfo* const> checks,
                                   std::uint64_t seed, const RunOptions& options, BundleRun& run)
{
    std::vector<std::unique_ptr<CheckRun>> runs;
    for (const CheckInfo* check : checks)
        runs.push_back(std::make_unique<CheckRun>(*check, bundle, seed, options, run));
    std::vector<CheckRun*> running;
    std::size_t next = 0;
    const std::size_t jobs = std::size_t(std::max(1, options.jobs));
    while (next < runs.size() || !running.empty()) {
        while (running.size() < jobs && next < runs.size()) {
            runs[next]->Start();
            running.push_back(runs[next++].get());
        }
        std::vector<Child*> children;
        for (auto it = running.begin(); it != running.end();) {
            CheckRun& check = **it;
            if (check.Running()->Step() && !check.Ended()) {
                it = running.erase(it);
                continue;
            }
            children.push_back(check.Running());
            ++it;
        }
        if (!children.empty() && (running.size() == jobs || next == runs.size()))
            WaitForAny(children);
    }
    std::vector<CheckResult> results;
    for (const auto& check : runs)
        results.push_back(check->Result());
    return results;
}

} // namespace kfhost::validate
