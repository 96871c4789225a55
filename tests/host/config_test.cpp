// The host's configuration: settings given by name are checked and held to a sane range, and the
// default framework folder is one no other user can have put in place first.
#include "kfhost/Host.hpp"
#include "kftest/Files.hpp"
#include "kftest/Scoped.hpp"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>

namespace {

namespace fs = std::filesystem;

TEST(Config, TheDownloadLimitIsAPositiveNumberHeldToASaneRange)
{
    struct Case {
        const char* text;
        std::optional<double> seconds; // nothing: refused
    };
    const Case cases[] = {
        {"2.5", 2.5}, {"86400", 86400}, {"1e300", 86400}, {"0.001", 0.001}, {"1e-9", 0.001}, {"inf", {}}, {"-inf", {}},
        {"nan", {}},  {"-1", {}},       {"0", {}},        {"abc", {}},      {"3 s", {}},     {"", {}},    {"0x10", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        kfhost::HostConfig config;
        const std::string why = kfhost::ApplySetting(config, "download-limit", c.text);
        EXPECT_EQ(config.downloadLimit, c.seconds);
        if (c.seconds)
            EXPECT_EQ(why, "");
        else
            EXPECT_EQ(why, "the setting download-limit wants a positive number of seconds, not \"" +
                               std::string(c.text) + "\"");
    }
    kfhost::HostConfig config;
    EXPECT_EQ(kfhost::ApplySetting(config, "update-server", "127.0.0.1:8080"), "");
    EXPECT_EQ(config.updateServer, "127.0.0.1:8080");
    EXPECT_EQ(kfhost::ApplySetting(config, "download-limits", "3"),
              "unknown host setting \"download-limits\" (known: update-server, download-limit)");
}

TEST(Config, WithoutAHomeTheFrameworkFolderIsOneNoOtherUserCanMakeFirst)
{
    kftest::TempFolder temp;
    const fs::path runtime = temp.Path() / "runtime", tmp = temp.Path() / "tmp";
    fs::create_directories(runtime);
    fs::create_directories(tmp);
    ::chmod(runtime.c_str(), 0700);
    const fs::path own = tmp / ("kfhost-" + std::to_string(::getuid()));

    // Each guard puts back what was there; in between the test changes the variables at will.
    const kftest::ScopedEnv data("XDG_DATA_HOME", (temp.Path() / "data").string()),
        home("HOME", (temp.Path() / "home").string()), tmpdir("TMPDIR", tmp.string()),
        xdgRuntime("XDG_RUNTIME_DIR", runtime.string());
    EXPECT_EQ(kfhost::DefaultFrameworkFolder().folder, temp.Path() / "data" / "kfhost" / "framework");
    ::unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(kfhost::DefaultFrameworkFolder().folder, temp.Path() / "home" / ".local/share/kfhost/framework");
    ::unsetenv("HOME");
    EXPECT_EQ(kfhost::DefaultFrameworkFolder().folder, runtime / "kfhost" / "framework");

    // A runtime folder open to others is passed over for one of our own in the temporary folder.
    ::chmod(runtime.c_str(), 0755);
    kfhost::FrameworkFolderChoice choice = kfhost::DefaultFrameworkFolder();
    EXPECT_EQ(choice.folder, own / "framework") << choice.refusal;
    struct stat st {};
    ASSERT_EQ(::lstat(own.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);

    // What another user could have planted there is refused, and the host says why.
    ::unsetenv("XDG_RUNTIME_DIR");
    ::chmod(own.c_str(), 0777);
    choice = kfhost::DefaultFrameworkFolder();
    EXPECT_EQ(choice.folder, fs::path());
    EXPECT_EQ(choice.refusal, "no framework folder: neither HOME nor XDG_DATA_HOME is set, and " + own.string() +
                                  " is open to other users (mode 0777); give one with --framework-folder");
    fs::remove(own);
    fs::create_directory_symlink(runtime, own);
    EXPECT_NE(kfhost::DefaultFrameworkFolder().refusal.find(own.string() + " is not a folder"), std::string::npos);

    kfhost::Host host;
    EXPECT_EQ(host.Config().frameworkFolder, fs::path());
    ASSERT_EQ(host.Warnings().size(), 1u);
    EXPECT_TRUE(host.Warnings()[0].starts_with("warning: no framework folder: ")) << host.Warnings()[0];
}

} // namespace
