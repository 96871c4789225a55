// kfhost: loads add-on bundles and runs them headless from a script, or with real windows (a
// module opened only then: a headless run maps no window system library).
#include "kfhost/Calls.hpp"
#include "kfhost/Host.hpp"
#include "kfhost/Modules.hpp"
#include "kfhost/qt/Module.hpp"
#include "kfhost/script/InputLines.hpp"
#include "kfhost/script/Runner.hpp"

#include "CommandLine.hpp"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>

namespace {

constexpr int kBadCommandLine = 2;

// `kfhost validate ...`, in its module (docs/validate.md).
int Validate(int argc, char** argv)
{
    std::string why;
    using MainFn = int (*)(int, char**);
    const auto validate =
        reinterpret_cast<MainFn>(kfhost::ModuleSymbol("kfhost-validate.so", "kfhost_validate_main", &why));
    if (!validate) {
        std::cerr << "kfhost: no validator: " << why << "\n";
        return kBadCommandLine;
    }
    return validate(argc, argv);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::string_view(argv[1]) == "validate")
        return Validate(argc - 1, argv + 1);
    kfhost::cli::CommandLine app("kfhost", "the stand-in host for add-on bundles");
    app.Version("kfhost " KF_VERSION " (host table " + std::to_string(KF_HOST_TABLE_MAJOR) + "." +
                std::to_string(KF_HOST_TABLE_MINOR) + ")");
    // Dispatched above, before anything else is set up; listed so that --help tells of it.
    app.Subcommand("validate", "put bundles through what a host may do to them, each check in a process of its own "
                               "(kfhost validate --help)");
    kfhost::HostConfig config;
    std::string addOnsFolder;
    std::vector<std::string> addOns;
    std::string script;
    std::string encoding = "utf-8";
    std::vector<std::string> sets;
    std::vector<std::string> libraries;
    std::string project;
    std::string frameworkFolder;

    app.Value("--addons", "DIR", "load every <Name>.bundle of this folder", addOnsFolder);
    app.Values("--addon", "BUNDLE", "load this bundle", addOns);
    app.Value("--script", "FILE",
              "run this script headless (- for standard input, run line by line as the lines arrive)", script);
    bool strict = false;
    app.Flag("--strict",
             "also fail on an empty script, no expect, unused answer and fail lines, unchecked alerts and host "
             "warnings",
             strict);
    bool watch = false;
    app.Flag("--watch", "with --script -: reload the bundles whenever one's library is rebuilt", watch);
    app.Number("--release", "N", "the host's release number", config.release);
    app.Value("--framework-folder", "DIR", "special location 13 (default: a per-user data folder)", frameworkFolder);
    app.Choice("--text-encoding", {"utf-8", "macroman"}, "application text encoding", encoding);
    app.Number("--server-app", "N", "kind of server application (0: the main one)", config.serverApplication);
    app.Values("--library", "DIR", "a library folder", libraries);
    app.Value("--project", "FILE", "the open project file", project);
    std::vector<std::string> engines;
    std::int32_t currentEngine = 0;
    std::string embeddedLibrary;
    app.Value("--embedded-library", "DIR", "the open project's own library folder", embeddedLibrary);
    app.Values("--engine", "TEXT", "a rendering engine's menu text (replaces the defaults)", engines);
    app.Number("--current-engine", "N", "the current rendering engine, 1-based (0: none)", currentEngine);
    app.Value("--update-server", "URL", "the update server's address", config.updateServer);
    app.Flag("--launch", "really start the programs add-ons launch", config.launch);
    app.Values("--set", "KEY=VALUE", "a host setting", sets);
    bool gui = false;
    bool headless = false;
    std::string screenshotDir;
    app.Flag("--gui",
             kfhost::qt::WindowsBuilt()
                 ? "real windows (the default when a display is present and no --script is given)"
                 : "real windows: not in this kfhost, which was built without Qt",
             gui);
    app.Flag("--headless", "no windows, even with a display", headless);
    app.Value("--screenshot", "DIR",
              "with --gui: play --script against the windows, save a PNG of each dialog it passes in this folder, "
              "then exit",
              screenshotDir);
    app.Excludes("--gui", "--headless");
    app.Excludes("--screenshot", "--headless");
    unsigned timeout = 0;
    bool verbose = false;
    app.Number("--timeout", "SECONDS",
               "end kfhost when a call into an add-on has not returned within SECONDS (0: never; default 60 with "
               "--script headless, none with windows or lines typed at a terminal)",
               timeout);
    app.Flag("-v,--verbose", "print each call into an add-on on stderr as it is made", verbose);
    switch (app.Parse(argc, argv)) {
    case kfhost::cli::CommandLine::Outcome::Done:
        return 0;
    case kfhost::cli::CommandLine::Outcome::Bad:
        return kBadCommandLine;
    case kfhost::cli::CommandLine::Outcome::Run:
        break;
    }
    kfhost::SuperviseThisProcess(); // from here on in a child: see kfhost/Calls.hpp

    config.textEncoding = encoding == "macroman" ? KF_TEXTENC_MACROMAN : KF_TEXTENC_UTF8;
    config.frameworkFolder = frameworkFolder;
    config.project = project;
    for (const auto& l : libraries)
        config.libraries.emplace_back(l);
    for (const auto& s : sets) {
        const auto eq = s.find('=');
        if (eq == std::string::npos || eq == 0) {
            std::cerr << "kfhost: --set wants KEY=VALUE, not \"" << s << "\"\n";
            return kBadCommandLine;
        }
        if (const std::string why = kfhost::ApplySetting(config, s.substr(0, eq), s.substr(eq + 1)); !why.empty()) {
            std::cerr << "kfhost: --set " << s << ": " << why << "\n";
            return kBadCommandLine;
        }
    }
    if (!engines.empty())
        config.renderingEngines = engines;
    config.embeddedLibrary = embeddedLibrary;
    if (app.Given("--current-engine"))
        config.currentEngine = currentEngine;

    const bool windows = gui || !screenshotDir.empty() || (!headless && script.empty() && kfhost::qt::DisplayPresent());
    const kfhost::qt::WindowsModule* module = nullptr;
    if (windows) {
        std::string why;
        if (!(module = kfhost::qt::OpenModule(&why))) {
            std::cerr << "kfhost: " << why << "\n";
            return kBadCommandLine;
        }
    }
    if (!screenshotDir.empty()) {
        // Before an add-on can change the working folder under the pictures.
        std::filesystem::path pictures(screenshotDir);
        kfhost::MakeAbsolute(pictures);
        screenshotDir = pictures.string();
    }
    if (!screenshotDir.empty() && script.empty()) {
        std::cerr << "kfhost: --screenshot takes its pictures while a --script plays\n";
        return kBadCommandLine;
    }
    const bool streamed = script == "-" && !windows;
    if (watch && !streamed) {
        std::cerr << "kfhost: --watch reloads between the lines of a headless --script - (standard input)\n";
        return kBadCommandLine;
    }

    std::string scriptText;
    if (!script.empty() && !streamed) {
        if (script == "-") {
            scriptText.assign(std::istreambuf_iterator<char>(std::cin), {});
        } else {
            std::ifstream in(script, std::ios::binary);
            if (!in) {
                std::cerr << "kfhost: cannot read the script " << script << "\n";
                return kBadCommandLine;
            }
            scriptText.assign(std::istreambuf_iterator<char>(in), {});
        }
    }

    // Lines typed at a terminal wait for a person, not for the add-on: no default timeout.
    std::unique_ptr<kfhost::InputLines> input;
    if (streamed)
        input = std::make_unique<kfhost::InputLines>(STDIN_FILENO, "-");
    const bool typed = input && input->Interactive();
    const bool timeoutGiven = app.Given("--timeout");
    kfhost::InstallCallReports();
    kfhost::SetCallWatch({timeoutGiven ? timeout : (!windows && !script.empty() && !typed ? 60u : 0u), verbose});

    kfhost::Host host(config);
    host.Log().Echo(&std::cout);
    kfhost::ScriptRunner runner(host);
    runner.SetStrict(strict);
    // Before loading: what the add-ons schedule at load already runs on Qt's loop.
    std::unique_ptr<kfhost::qt::WindowedRun> session;
    if (module)
        session = module->open(host, runner, kfhost::qt::GuiOptions{screenshotDir, !screenshotDir.empty(), true});
    std::vector<std::filesystem::path> bundles(addOns.begin(), addOns.end());
    std::vector<kfhost::LoadResult> results;
    if (!addOnsFolder.empty())
        for (auto& r : host.LoadAddOnsFolder(addOnsFolder))
            results.push_back(std::move(r));
    for (auto& r : host.LoadBundles(bundles))
        results.push_back(std::move(r));

    int status = 0;
    for (const auto& r : results)
        if (!r.Loaded()) {
            std::cerr << "kfhost: cannot load " << r.path.string() << ": " << r.reason << "\n";
            status = 1;
        }
    // Every line of a script would fail against add-ons that are not there.
    if (status != 0 && !script.empty()) {
        std::cerr << "kfhost: the script does not run: its bundles did not load\n";
        session.reset();
        host.UnloadAll();
        return kBadCommandLine;
    }

    auto finish = [&] {
        const bool ok = runner.Finish();
        for (const auto& failure : runner.Failures())
            std::cerr << "kfhost: " << failure << "\n";
        if (!ok)
            status = 1;
    };
    if (session) {
        session->Run(scriptText, script);
        finish();
        session.reset();
    } else if (!script.empty()) {
        if (input) {
            if (watch) {
                std::vector<std::filesystem::path> watched;
                for (const auto& addOn : host.AddOns())
                    if (!addOn->libraryPath.empty())
                        watched.push_back(addOn->libraryPath);
                if (std::string why; !input->Watch(watched, &why)) {
                    std::cerr << "kfhost: --watch: " << why << "\n";
                    host.UnloadAll();
                    return kBadCommandLine;
                }
                // Not while an add-on's call is on the stack (a modal dialog waits for its lines).
                input->SetReloadAllowed([] { return kfhost::CurrentCall().first.empty(); });
            }
            runner.SetSource(input.get());
        }
        runner.Append(scriptText, script);
        runner.RunAll();
        runner.SetSource(nullptr);
        finish();
    } else if (results.empty()) {
        std::cerr << "kfhost: nothing to do: give bundles (--addon, --addons) and a --script, or see kfhost --help\n";
        status = kBadCommandLine;
    } else if (status == 0) {
        std::cerr << "kfhost: loaded and unloaded; nothing else to run (--script FILE plays a script, --script - "
                     "runs lines as you type them, --gui opens windows)\n";
    }
    host.UnloadAll();
    return status;
}
