// The kfhost program as its users meet it: the command line and its mistakes, a script typed line
// by line on standard input, the watch of a rebuilt bundle, and what a headless run maps.
#include "kftest/Files.hpp"
#include "kftest/Program.hpp"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
const fs::path kProbeA = fs::path(KF_TEST_ADDONS) / "ProbeA.bundle";

using kftest::Finished;

// kfhost's command line: the program (kfhost unless another copy is named) and its arguments.
std::vector<std::string> Kfhost(std::vector<std::string> args, const std::string& program = KF_TEST_KFHOST)
{
    args.insert(args.begin(), program);
    return args;
}

Finished RunKfhost(std::vector<std::string> args, const std::vector<std::string>& env = {},
                   const std::string& program = KF_TEST_KFHOST)
{
    return kftest::RunProgram(Kfhost(std::move(args), program), env);
}

TEST(KfhostCommandLine, VersionSubcommandAndMistakesAreNamed)
{
    const Finished version = RunKfhost({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_TRUE(std::regex_match(version.output, std::regex("kfhost [0-9]+\\.[0-9]+\\.[0-9]+ \\(host table "
                                                            "[0-9]+\\.[0-9]+\\)\n")))
        << version.output;

    const Finished help = RunKfhost({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(std::regex_search(help.output, std::regex("\n  validate +put bundles through"))) << help.output;

    const std::pair<std::vector<std::string>, std::string> mistakes[] = {
        {{"--scirpt", "x.kfs"}, "kfhost: unknown option --scirpt (did you mean --script?)\n"},
        {{"--framework-foldr=/tmp"},
         "kfhost: unknown option --framework-foldr=/tmp (did you mean --framework-folder?)\n"},
        {{"validat"}, "kfhost: unknown argument validat (did you mean validate?)\n"},
        {{"--zzzzzzzz"}, "kfhost: unknown option --zzzzzzzz\n"},
        {{"--release", "seventeen"},
         "kfhost: --release wants a whole number from -2147483648 to 2147483647, not \"seventeen\"\n"},
        {{"--timeout=-1"}, "kfhost: --timeout wants a whole number from 0 to 4294967295, not \"-1\"\n"},
        {{"--text-encoding", "latin1"}, "kfhost: --text-encoding is one of utf-8|macroman, not \"latin1\"\n"},
        {{"--headless", "--script"}, "kfhost: --script needs a value (FILE)\n"},
        {{"--strict=yes"}, "kfhost: --strict takes no value\n"},
        {{"--gui", "--headless"}, "kfhost: --gui and --headless exclude each other\n"},
        {{"--strict", "validate"}, "kfhost: validate comes first and takes its own options: kfhost validate --help\n"},
        {{"--headless"},
         "kfhost: nothing to do: give bundles (--addon, --addons) and a --script, or see kfhost --help\n"},
    };
    for (const auto& [args, says] : mistakes) {
        SCOPED_TRACE(args.front());
        const Finished run = RunKfhost(args);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.output.substr(0, run.output.find("kfhost: kfhost --help lists")), says);
    }
}

TEST(KfhostCommandLine, AScriptWhoseBundlesDidNotLoadDoesNotRun)
{
    kftest::TempFolder temp;
    kftest::WriteFile(temp.Path() / "s.kfs", "menu 32500 3\nexpect alert \"Probe alert text\"\n");
    const fs::path gone = temp.Path() / "Gone.bundle";
    const Finished run =
        RunKfhost({"--headless", "--framework-folder", (temp.Path() / "fw").string(), "--addon", kProbeA.string(),
                   "--addon", gone.string(), "--script", (temp.Path() / "s.kfs").string()});
    EXPECT_EQ(run.status, 2) << run.output;
    EXPECT_NE(run.output.find("kfhost: cannot load " + gone.string() + ": no such folder\n"), std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find("kfhost: the script does not run: its bundles did not load\n"), std::string::npos);
    EXPECT_EQ(run.output.find("> menu"), std::string::npos) << "no line ran:\n" << run.output;

    // Bundles and nothing to run: loaded, unloaded, and told so.
    const Finished alone =
        RunKfhost({"--headless", "--framework-folder", (temp.Path() / "fw").string(), "--addon", kProbeA.string()});
    EXPECT_EQ(alone.status, 0) << alone.output;
    EXPECT_NE(alone.output.find("loaded \"Probe A\""), std::string::npos) << alone.output;
    EXPECT_NE(alone.output.find("kfhost: loaded and unloaded; nothing else to run"), std::string::npos);
}

TEST(KfhostStandardInput, EachLineRunsAsItArrives)
{
    kftest::TempFolder temp;
    kftest::Program kfhost(Kfhost({"--headless", "--framework-folder", (temp.Path() / "fw").string(), "--addon",
                                   kProbeA.string(), "--strict", "--script", "-"}));
    // Each answer is awaited before the next line is written: a host that waited for the end of
    // its input would never answer.
    kfhost.Write("menu 32500 3\n");
    ASSERT_TRUE(kfhost.WaitFor("alert \"Probe\" \"Probe alert text\" \"small\" buttons \"OK\"")) << kfhost.output;
    kfhost.Write("expect alert \"Probe alert text\"\nmenu 32500 1\n");
    ASSERT_TRUE(kfhost.WaitFor("dialog 32600 title \"Probe dialog\"")) << kfhost.output;
    kfhost.Write("click 2\n");
    ASSERT_TRUE(kfhost.WaitFor("closed 32600 with 2")) << kfhost.output;
    kfhost.Write("reload\n");
    ASSERT_TRUE(kfhost.WaitFor("loaded \"Probe A\"", 2)) << kfhost.output;
    kfhost.Write("expect no-dialog"); // the last line needs no line feed
    EXPECT_EQ(kfhost.Wait(), 0) << kfhost.output;
}

TEST(KfhostStandardInput, WatchReloadsWhenTheLibraryIsWrittenAgain)
{
    kftest::TempFolder temp;
    const fs::path bundle = temp.Path() / "ProbeA.bundle";
    fs::copy(kProbeA, bundle, fs::copy_options::recursive);
    const fs::path library = bundle / "ProbeA.so";
    const std::string bytes = kftest::ReadFile(library);

    kftest::Program kfhost(Kfhost({"--headless", "--framework-folder", (temp.Path() / "fw").string(), "--addon",
                                   bundle.string(), "--watch", "--script", "-"}));
    kfhost.Write("print\n");
    ASSERT_TRUE(kfhost.WaitFor("no dialog")) << kfhost.output;
    // As a linker writes it: the old file removed, a new one written.
    fs::remove(library);
    kftest::WriteFile(library, bytes);
    ASSERT_TRUE(kfhost.WaitFor("loaded \"Probe A\"", 2)) << kfhost.output;
    EXPECT_NE(kfhost.output.find("> reload\nreloading 1 bundle(s)"), std::string::npos) << kfhost.output;
    // A change while a modal dialog waits for its lines reloads only once the dialog is closed.
    kfhost.Write("menu 32500 1\n");
    ASSERT_TRUE(kfhost.WaitFor("dialog 32600 title")) << kfhost.output;
    fs::remove(library);
    kftest::WriteFile(library, bytes);
    // Time for the change to settle while the dialog waits (shorter only makes the test weaker).
    ::usleep(600'000);
    kfhost.Write("expect dialog 32600\nclick 2\n");
    ASSERT_TRUE(kfhost.WaitFor("loaded \"Probe A\"", 3)) << kfhost.output;
    EXPECT_NE(kfhost.output.find("closed 32600 with 2\n> reload\n"), std::string::npos) << kfhost.output;
    EXPECT_EQ(kfhost.Wait(), 0) << kfhost.output;
}

// The libraries a run loaded, as the dynamic loader reports them.
std::vector<std::string> Loaded(const std::string& output)
{
    std::vector<std::string> files;
    const std::regex opened("file=([^ ]+) +\\[0\\]; +needed by|file=([^ ]+) +\\[0\\]; +dynamically loaded by");
    for (std::sregex_iterator it(output.begin(), output.end(), opened), end; it != end; ++it)
        files.push_back((*it)[1].matched ? (*it)[1].str() : (*it)[2].str());
    return files;
}

bool AnyWindowLibrary(const std::vector<std::string>& files)
{
    for (const std::string& file : files)
        for (const char* name : {"libQt", "libX11", "libxcb", "libGL", "libEGL", "libfontconfig", "libfreetype"})
            if (file.find(name) != std::string::npos)
                return true;
    return false;
}

TEST(KfhostWindows, AHeadlessRunMapsNoWindowLibrary)
{
    kftest::TempFolder temp;
    kftest::WriteFile(temp.Path() / "s.kfs", "menu 32500 1\nexpect dialog 32600\nclick 2\n");
    const std::vector<std::string> args{"--addon",
                                        kProbeA.string(),
                                        "--framework-folder",
                                        (temp.Path() / "fw").string(),
                                        "--script",
                                        (temp.Path() / "s.kfs").string()};
    // A display is there, but a script without --gui runs headless.
    const Finished run = RunKfhost(args, {"LD_DEBUG=files", "DISPLAY=:0"});
    EXPECT_EQ(run.status, 0) << run.output;
    const std::vector<std::string> files = Loaded(run.output);
    EXPECT_FALSE(files.empty()) << "the loader's report is read:\n" << run.output;
    EXPECT_FALSE(AnyWindowLibrary(files)) << run.output;
#if KF_TEST_WITH_QT
    // The same reading sees the window libraries of a windowed run.
    std::vector<std::string> windowed = args;
    windowed.insert(windowed.end(), {"--gui", "--screenshot", (temp.Path() / "pictures").string()});
    const Finished gui = RunKfhost(windowed, {"LD_DEBUG=files", "QT_QPA_PLATFORM=offscreen"});
    EXPECT_EQ(gui.status, 0) << gui.output;
    EXPECT_TRUE(AnyWindowLibrary(Loaded(gui.output))) << gui.output;
#endif
}

TEST(KfhostModules, WithoutThemGuiAndValidateSaySoInOneLine)
{
    // A kfhost with no module beside it or where the package puts them.
    kftest::TempFolder temp;
    const fs::path lonely = temp.Path() / "bin" / "kfhost";
    fs::create_directories(lonely.parent_path());
    fs::copy_file(KF_TEST_KFHOST, lonely);
    const Finished gui = RunKfhost({"--gui"}, {}, lonely.string());
    EXPECT_EQ(gui.status, 2);
    EXPECT_TRUE(std::regex_match(gui.output, std::regex("kfhost: no windows: [^\n]+\n"))) << gui.output;
    const Finished validate = RunKfhost({"validate", kProbeA.string()}, {}, lonely.string());
    EXPECT_EQ(validate.status, 2);
    EXPECT_TRUE(std::regex_match(validate.output,
                                 std::regex("kfhost: no validator: the module kfhost-validate.so is not installed "
                                            "[^\n]+\n")))
        << validate.output;
    // Where they are, they are found.
    EXPECT_EQ(RunKfhost({"validate", "--help"}).status, 0);
}

} // namespace
