// kfhost: loads add-on bundles and runs them headless from a script, or with real windows (a
// module opened only then: a headless run maps no window system library).
#include "kfhost/Calls.hpp"
#include "kfhost/Host.hpp"
#include "kfhost/Modules.hpp"
#include "kfhost/qt/Module.hpp"
#include "kfhost/script/InputLines.hpp"
#include "kfhost/script/Runner.hpp"

#include <CLI/CLI.hpp>

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

// Edits (insert, delete, replace) that turn a into b.
std::size_t Distance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

// The option or subcommand a mistyped argument most likely meant, "" when none is close.
std::string Nearest(const CLI::App& app, std::string given)
{
    given = given.substr(0, given.find('='));
    std::vector<std::string> names;
    if (given.starts_with("-")) {
        for (const CLI::Option* option : app.get_options()) {
            for (const std::string& name : option->get_lnames())
                names.push_back("--" + name);
            for (const std::string& name : option->get_snames())
                names.push_back("-" + name);
        }
    } else {
        for (const CLI::App* sub : app.get_subcommands({}))
            names.push_back(sub->get_name());
    }
    std::string best;
    std::size_t bestDistance = std::max<std::size_t>(2, given.size() / 3) + 1;
    for (const std::string& name : names)
        if (const std::size_t d = Distance(given, name); d < bestDistance) {
            best = name;
            bestDistance = d;
        }
    return best;
}

// The first argument not understood; what follows it is most likely its value.
int UnknownArgument(const CLI::App& app, const std::string& extra)
{
    std::cerr << "kfhost: unknown " << (extra.starts_with("-") ? "option " : "argument ") << extra;
    if (const std::string nearest = Nearest(app, extra); !nearest.empty())
        std::cerr << " (did you mean " << nearest << "?)";
    std::cerr << "\nkfhost: kfhost --help lists what it takes\n";
    return kBadCommandLine;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::string_view(argv[1]) == "validate")
        return Validate(argc - 1, argv + 1);
    CLI::App app{"kfhost: the stand-in host for add-on bundles"};
    app.set_version_flag("--version", "kfhost " KF_VERSION " (host table " + std::to_string(KF_HOST_TABLE_MAJOR) + "." +
                                          std::to_string(KF_HOST_TABLE_MINOR) + ")");
    // Dispatched above, before anything else is set up; listed here so that --help tells of it.
    app.add_subcommand("validate", "put bundles through what a host may do to them, each check in a process of its "
                                   "own (kfhost validate --help)")
        ->prefix_command();
    kfhost::HostConfig config;
    std::string addOnsFolder;
    std::vector<std::string> addOns;
    std::string script;
    std::string encoding = "utf-8";
    std::vector<std::string> sets;
    std::vector<std::string> libraries;
    std::string project;
    std::string frameworkFolder;

    app.add_option("--addons", addOnsFolder, "load every <Name>.bundle of this folder");
    app.add_option("--addon", addOns, "load this bundle (repeatable)");
    app.add_option("--script", script,
                   "run this script headless (- for standard input, run line by line as the lines arrive)");
    bool strict = false;
    app.add_flag("--strict", strict,
                 "also fail on an empty script, no expect, unused answer and fail lines, unchecked alerts "
                 "and host warnings");
    bool watch = false;
    app.add_flag("--watch", watch, "with --script -: reload the bundles whenever one's library is rebuilt");
    app.add_option("--release", config.release, "the host's release number")->capture_default_str();
    app.add_option("--framework-folder", frameworkFolder, "special location 13 (default: a per-user data folder)");
    app.add_option("--text-encoding", encoding, "application text encoding: utf-8 or macroman")
        ->check(CLI::IsMember({"utf-8", "macroman"}))
        ->capture_default_str();
    app.add_option("--server-app", config.serverApplication, "kind of server application (0: the main one)")
        ->capture_default_str();
    app.add_option("--library", libraries, "a library folder (repeatable)");
    app.add_option("--project", project, "the open project file");
    std::vector<std::string> engines;
    std::string currentEngine, embeddedLibrary;
    app.add_option("--embedded-library", embeddedLibrary, "the open project's own library folder");
    app.add_option("--engine", engines, "a rendering engine's menu text (repeatable; replaces the defaults)");
    app.add_option("--current-engine", currentEngine, "the current rendering engine, 1-based (0: none)");
    app.add_option("--update-server", config.updateServer, "the update server's address");
    app.add_flag("--launch", config.launch, "really start the programs add-ons launch");
    app.add_option("--set", sets, "a host setting KEY=VALUE (repeatable)");
    bool gui = false;
    bool headless = false;
    std::string screenshotDir;
    app.add_flag("--gui", gui, "real windows (the default when a display is present and no --script is given)");
    app.add_flag("--headless", headless, "no windows, even with a display")->excludes("--gui");
    app.add_option("--screenshot", screenshotDir,
                   "with --gui: play --script against the windows, save a PNG of each dialog it passes "
                   "in this folder, then exit")
        ->excludes("--headless");
    unsigned timeout = 0;
    bool verbose = false;
    app.add_option("--timeout", timeout,
                   "end kfhost when a call into an add-on has not returned within SECONDS (0: never; default "
                   "60 with --script headless, none with windows or lines typed at a terminal)");
    app.add_flag("-v,--verbose", verbose, "print each call into an add-on on stderr as it is made");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ExtrasError& e) {
        if (app.remaining().empty())
            return app.exit(e) == 0 ? 0 : kBadCommandLine;
        return UnknownArgument(app, app.remaining().front());
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : kBadCommandLine; // --help and --version are no error
    }
    if (app.got_subcommand("validate")) {
        std::cerr << "kfhost: validate comes first and takes its own options: kfhost validate --help\n";
        return kBadCommandLine;
    }

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
        config.settings[s.substr(0, eq)] = s.substr(eq + 1);
    }

    for (const auto& e : engines)
        config.settings["rendering-engines"] += e + "\n";
    if (!currentEngine.empty())
        config.settings["rendering-current"] = currentEngine;
    if (!embeddedLibrary.empty())
        config.settings["embedded-library"] = embeddedLibrary;

    const bool windows = gui || !screenshotDir.empty() || (!headless && script.empty() && kfhost::qt::DisplayPresent());
    const kfhost::qt::ModuleEntry* module = nullptr;
    if (windows) {
        std::string why;
        if (!(module = kfhost::qt::OpenModule(&why))) {
            std::cerr << "kfhost: " << why << "\n";
            return kBadCommandLine;
        }
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
    const bool timeoutGiven = app.count("--timeout") > 0;
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
                std::vector<std::filesystem::path> libraries;
                for (const auto& addOn : host.AddOns())
                    if (!addOn->libraryPath.empty())
                        libraries.push_back(addOn->libraryPath);
                if (std::string why; !input->Watch(libraries, &why)) {
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
