// Bundles through the real dlopen path: load order, refusals with their reasons, menus and module
// commands between two loaded bundles.
#include "kfhost/Host.hpp"
#include "kfhost/script/Runner.hpp"
#include "kftest/InProcessHost.hpp"
#include "kftest/Scoped.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

namespace fs = std::filesystem;

const fs::path kAddOns = KF_TEST_ADDONS;
const fs::path kBroken = KF_BROKEN_ADDONS;

bool Has(const kfhost::Host& host, const std::string& line)
{
    const auto& lines = const_cast<kfhost::Host&>(host).Log().Lines();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

const std::string kTable = std::to_string(KF_HOST_TABLE_MAJOR) + "." + std::to_string(KF_HOST_TABLE_MINOR);

kfhost::HostConfig Config(const kftest::TempFolder& temp)
{
    kfhost::HostConfig config;
    config.frameworkFolder = temp.Path() / "fw";
    return config;
}

TEST(Bundles, LoadInNameOrderAndBrokenOnesAreRefusedWithTheirReasons)
{
    kftest::TempFolder temp;
    const fs::path bad = temp.Path() / "Bad.bundle"; // a good library, resources that do not parse
    fs::copy(kAddOns / "ProbeA.bundle", bad, fs::copy_options::recursive);
    fs::rename(bad / "ProbeA.so", bad / "Bad.so");
    kftest::WriteFile(bad / "Resources" / "zz.res", "strings 7\n  x \"no number\"\nend\n");
    kfhost::Host host(Config(temp));
    kfhost::ScriptRunner script(host);
    const auto results =
        host.LoadBundles({kAddOns / "ProbeB.bundle", kBroken / "OldTable.bundle", kAddOns / "ProbeA.bundle",
                          kBroken / "NoEntries.bundle", temp.Path() / "Missing.bundle", bad});
    ASSERT_EQ(results.size(), 6u);
    EXPECT_EQ(results[0].reason, "malformed resources: " + (bad / "Resources" / "zz.res").string() +
                                     ":2:3: expected a string index, found 'x'");
    EXPECT_EQ(results[1].path.filename(), "Missing.bundle");
    EXPECT_EQ(results[1].reason, "no such folder");
    EXPECT_EQ(results[2].path.filename(), "NoEntries.bundle");
    EXPECT_EQ(results[2].reason, "it exports no KFAddOn_Entry: rebuild it against this host's sdk (host table " +
                                     kTable + ") with kf_add_addon(), which exports KFAddOn_Entry");
    EXPECT_EQ(results[3].path.filename(), "OldTable.bundle");
    EXPECT_EQ(results[3].reason, "it was built for host table 1 (five loose entry symbols, no KFAddOn_Entry): rebuild "
                                 "it against this host's sdk (host table " +
                                     kTable + ") with kf_add_addon(), which exports KFAddOn_Entry");
    ASSERT_TRUE(results[4].Loaded());
    ASSERT_TRUE(results[5].Loaded());
    EXPECT_EQ(results[4].addOn->name, "Probe A");
    EXPECT_EQ(results[5].addOn->name, "Probe B");
    EXPECT_EQ(results[4].addOn->bundlePath, kAddOns / "ProbeA.bundle");
    ASSERT_EQ(host.AddOns().size(), 2u);
    EXPECT_TRUE(Has(host, "refused " + (kBroken / "NoEntries.bundle").string() + ": " + results[2].reason));
    EXPECT_TRUE(Has(host, "loaded \"Probe A\" from " + (kAddOns / "ProbeA.bundle").string()));
}

// The loader would say "No such file or directory" of a library it cannot run; the host reads the
// ELF header and says what the library is.
TEST(Bundles, ALibraryForAnotherMachineIsNamedAsSuch)
{
    kftest::TempFolder temp;
    // ELF identification, then e_type (shared object) and e_machine, little-endian.
    auto elf = [](unsigned char elfClass, unsigned machine) {
        std::string header = {'\x7f', 'E', 'L', 'F', char(elfClass), 1, 1, 0};
        header.resize(16);
        header += {3, 0, char(machine & 0xff), char(machine >> 8)};
        header.resize(64);
        return header;
    };
#if defined(__aarch64__)
    const unsigned other = 62; // x86-64
    const std::string otherName = "x86-64 (64-bit ELF)", own = "64-bit ARM (64-bit ELF)";
#else
    const unsigned other = 183; // 64-bit ARM
    const std::string otherName = "64-bit ARM (64-bit ELF)", own = "x86-64 (64-bit ELF)";
#endif
    const unsigned ownMachine = other == 62 ? 183 : 62;
    struct Case {
        std::string name, library, reason;
    };
    const Case cases[] = {
        {"Foreign", elf(2, other), "Foreign.so is built for " + otherName + ", and this host runs on " + own},
        {"ThirtyTwo", elf(1, ownMachine), "ThirtyTwo.so is built for "},
        {"Text", "not a library at all, just some text", "Text.so is not a shared library (no ELF header)"},
        {"Empty", "", "Empty.so is empty, not a shared library"},
    };
    kfhost::Host host(Config(temp));
    for (const Case& c : cases) {
        const fs::path bundle = temp.Path() / (c.name + ".bundle");
        fs::create_directories(bundle);
        kftest::WriteFile(bundle / (c.name + ".so"), c.library);
        const kfhost::LoadResult result = host.LoadBundle(bundle);
        EXPECT_FALSE(result.Loaded());
        EXPECT_TRUE(result.reason.starts_with("cannot be loaded: " + c.reason)) << result.reason;
    }
}

TEST(Bundles, AnAddOnThatDoesNotRegisterInThisHostIsNotLoaded)
{
    kftest::TempFolder temp;
    kfhost::HostConfig config = Config(temp);
    config.serverApplication = 2;
    kfhost::Host host(config);
    kfhost::ScriptRunner script(host);
    const auto result = host.LoadBundle(kAddOns / "ProbeA.bundle");
    EXPECT_FALSE(result.Loaded());
    EXPECT_NE(result.reason.find("environment check answered 0"), std::string::npos);
    EXPECT_TRUE(host.AddOns().empty());
    EXPECT_TRUE(host.Menus().empty()) << "nothing of a refused add-on stays registered";
}

TEST(Bundles, ModuleCommandsPassBetweenLoadedBundles)
{
    kftest::TempFolder temp;
    kfhost::Host host(Config(temp));
    kfhost::ScriptRunner script(host);
    host.LoadAddOnsFolder(kAddOns);
    ASSERT_EQ(host.AddOns().size(), 2u);

    // Probe A's menu item 10 tests and calls Probe B by its module identifier.
    EXPECT_EQ(host.MenuCommand(32500, 10).code, 0);
    EXPECT_TRUE(Has(host, "alert \"\" \"test: 0x00000000\" \"\" buttons \"OK\""));
    EXPECT_TRUE(Has(host, "alert \"\" \"call: 0x00000000 pong\" \"\" buttons \"OK\""));

    // That menus of the same number are per add-on: host.kfhost_script_passes ("Probe B").

    const kfhost::ModuleID nobody{0x50524F42, 99};
    EXPECT_EQ(host.ModuleCommand({0x50524245u, 1, &nobody}).code, KF_APIERR_MODULNOTINSTALLED);
    EXPECT_EQ(host.ModuleCommand({0x50524245u, 2}).code, KF_APIERR_MODULCMDNOTSUPPORTED);
}

TEST(Bundles, DisabledAndUnregisteredMenusAreNotDelivered)
{
    kftest::TempFolder temp;
    kfhost::Host host(Config(temp));
    kfhost::ScriptRunner script(host);
    host.LoadBundle(kAddOns / "ProbeA.bundle");
    struct Case {
        std::int16_t menu;
        std::int32_t item;
        kfhost::MenuCheck check;
        std::string refusal; // empty: delivered
    };
    const Case cases[] = {
        {32500, 11, kfhost::MenuCheck::Registered, "item 11 of menu 32500 is disabled"},
        {32500, 12, kfhost::MenuCheck::Registered, "menu 32500 has no item 12"},
        {32501, 1, kfhost::MenuCheck::Registered, "menu 32501 is not registered"},
        {32501, 1, kfhost::MenuCheck::HandlerOnly, ""}, // the handler is installed all the same
        {32502, 1, kfhost::MenuCheck::HandlerOnly, "no handler is installed for menu 32502"},
    };
    for (const Case& c : cases) {
        const kfhost::CommandOutcome sent = host.MenuCommand(c.menu, c.item, nullptr, c.check);
        EXPECT_EQ(sent.refusal, c.refusal);
        EXPECT_EQ(sent.code, c.refusal.empty() ? 0 : KF_APIERR_BADID) << c.refusal;
    }
}

} // namespace

namespace {

bool Mapped(const std::string& library)
{
    return kftest::ReadFile("/proc/self/maps").find(library) != std::string::npos;
}

// Unloading must really unload: the add-on's static objects are destroyed at unload, not at exit.
TEST(Bundles, UnloadingRemovesTheLibraryFromTheProcess)
{
    kftest::TempFolder temp;
    {
        kfhost::Host host(Config(temp));
        kfhost::ScriptRunner script(host);
        ASSERT_TRUE(host.LoadBundle(kAddOns / "ProbeB.bundle").Loaded());
        EXPECT_TRUE(Mapped("ProbeB.so"));
        host.UnloadAll();
        EXPECT_TRUE(host.AddOns().empty());
    }
    EXPECT_FALSE(Mapped("ProbeB.so"));
}

} // namespace

// A bundle named by a relative path is reported as it was named (tidied), so transcripts made in a
// build folder show no path of the machine; the add-on still learns where it really lives.
TEST(Bundles, ARelativeBundlePathIsReportedAsNamed)
{
    kftest::TempFolder temp;
    const fs::path folder = kAddOns.filename();
    kfhost::Host host(Config(temp));
    kfhost::LoadResult result;
    {
        kftest::ScopedCurrentPath const inBuild(kAddOns.parent_path());
        result = host.LoadBundle(fs::path(".") / folder / ".." / folder / "ProbeA.bundle");
    }
    ASSERT_TRUE(result.Loaded()) << result.reason;
    EXPECT_TRUE(Has(host, "loaded \"Probe A\" from " + (folder / "ProbeA.bundle").string()));
    EXPECT_EQ(result.addOn->bundlePath, kAddOns / "ProbeA.bundle");
}
