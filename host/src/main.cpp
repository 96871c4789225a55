// kfhost: loads add-on bundles and runs them headless from a script, or with real windows.
#include "kfhost/Calls.hpp"
#include "kfhost/Host.hpp"
#include "kfhost/script/Runner.hpp"
#include "kfhost/validate/Validate.hpp"

#include <CLI/CLI.hpp>
#ifdef KFHOST_WITH_QT
#include "kfhost/qt/Gui.hpp"
#endif

#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>

int main(int argc, char** argv)
{
    if (argc > 1 && std::string_view(argv[1]) == "validate")
        return kfhost::validate::Main(argc - 1, argv + 1);
    kfhost::SuperviseThisProcess(); // from here on in a child: see kfhost/Calls.hpp
    CLI::App app{"kfhost: the stand-in host for add-on bundles"};
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
    app.add_option("--script", script, "run this script headless (- for standard input)");
    bool strict = false;
    app.add_flag("--strict", strict,
                 "also fail on an empty script, no expect, unused answer and fail lines, unchecked alerts "
                 "and host warnings");
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
    std::string embeddedLibrary;
    app.add_option("--embedded-library", embeddedLibrary, "the open project's own library folder");
    app.add_option("--engine", engines, "a rendering engine's menu text (repeatable; replaces the defaults)");
    app.add_option("--current-engine", config.currentEngine, "the current rendering engine, 1-based (0: none)");
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
                   "60 with --script headless, none with windows)");
    app.add_flag("-v,--verbose", verbose, "print each call into an add-on on stderr as it is made");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2; // --help is no error; every bad command line is 2
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
            return 2;
        }
        if (const std::string why = kfhost::ApplySetting(config, s.substr(0, eq), s.substr(eq + 1)); !why.empty()) {
            std::cerr << "kfhost: --set " << s << ": " << why << "\n";
            return 2;
        }
    }
    if (!engines.empty())
        config.renderingEngines = engines;
    config.embeddedLibrary = embeddedLibrary;

#ifdef KFHOST_WITH_QT
    const bool windows = gui || !screenshotDir.empty() || (!headless && script.empty() && kfhost::qt::DisplayPresent());
#else
    if (gui || !screenshotDir.empty()) {
        std::cerr << "kfhost: built without Qt 6 Widgets, so there are no windows (--gui, --screenshot)\n";
        return 2;
    }
#endif
    if (!screenshotDir.empty() && script.empty()) {
        std::cerr << "kfhost: --screenshot takes its pictures while a --script plays\n";
        return 2;
    }

    std::string scriptText;
    if (!script.empty()) {
        if (script == "-") {
            scriptText.assign(std::istreambuf_iterator<char>(std::cin), {});
        } else {
            std::ifstream in(script, std::ios::binary);
            if (!in) {
                std::cerr << "kfhost: cannot read the script " << script << "\n";
                return 2;
            }
            scriptText.assign(std::istreambuf_iterator<char>(in), {});
        }
    }

#ifndef KFHOST_WITH_QT
    const bool windows = false;
#endif
    const bool timeoutGiven = app.count("--timeout") > 0;
    kfhost::InstallCallReports();
    kfhost::SetCallWatch({timeoutGiven ? timeout : (!windows && !script.empty() ? 60u : 0u), verbose});

    kfhost::Host host(config);
    host.Log().Echo(&std::cout);
    kfhost::ScriptRunner runner(host);
    runner.SetStrict(strict);
#ifdef KFHOST_WITH_QT
    // Before loading: what the add-ons schedule at load already runs on Qt's loop.
    std::unique_ptr<kfhost::qt::GuiSession> session;
    if (windows)
        session = std::make_unique<kfhost::qt::GuiSession>(
            host, runner, kfhost::qt::GuiOptions{screenshotDir, !screenshotDir.empty(), true});
#endif
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

#ifdef KFHOST_WITH_QT
    const std::string source = script == "-" ? std::string("-") : script;
    auto finish = [&] {
        const bool ok = runner.Finish();
        for (const auto& failure : runner.Failures())
            std::cerr << "kfhost: " << failure << "\n";
        if (!ok)
            status = 1;
    };
    if (session) {
        session->Run(scriptText, source);
        finish();
        session.reset();
    } else
#endif
        if (!script.empty()) {
        runner.Append(scriptText, source);
        runner.RunAll();
        finish();
    }
    host.UnloadAll();
    return status;
}
