// The stores against a hostile framework folder: special files, planted symlinks and folders,
// files the reader refuses, bytes that are no text, and two processes saving at once.
#include "SettingsTestSupport.hpp"

#include "KF/KF_Language.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <future>

namespace fs = std::filesystem;
using namespace kftest;

namespace {

constexpr auto kShared = KF_AddonSettings_AllAddons;

// Runs call on a thread and waits for it with the tests' patience. A call blocked in opening fifo
// is let go by opening the other end, so that a failing test ends instead of hanging.
bool EndsPromptly(const std::function<void()>& call, const fs::path& fifo)
{
    auto done = std::async(std::launch::async, call);
    if (done.wait_for(std::chrono::duration<double>(kftest::kPatienceSeconds)) == std::future_status::ready)
        return true;
    for (int flags : {O_WRONLY | O_NONBLOCK, O_RDONLY | O_NONBLOCK}) {
        const int fd = ::open(fifo.c_str(), flags);
        if (fd >= 0)
            ::close(fd);
    }
    done.wait();
    return false;
}

std::string Plain(const fs::path& file)
{
    return Scrambled(kftest::ReadFile(file));
}

} // namespace

TEST_F(HostedStores, SpecialFilesAreRefusedAtOnceAndNeverWritten)
{
    fs::path const fifo = host.TempDir() / "planted.fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (bool viaLink : {false, true}) {
        Forget();
        fs::remove(SharedFile());
        if (viaLink)
            fs::create_symlink(fifo, SharedFile());
        else
            ASSERT_EQ(::mkfifo(SharedFile().c_str(), 0600), 0);
        bool read = true;
        EXPECT_TRUE(EndsPromptly([&] { read = KF_Language_Read(true); }, SharedFile())) << viaLink;
        EXPECT_FALSE(read) << "nothing can be read from it";
        bool saved = false;
        EXPECT_TRUE(
            EndsPromptly([&] { saved = KF_AddonSettings_LoadSetSave(kShared, S("k"), S("v"), true); }, SharedFile()));
        EXPECT_TRUE(saved);
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(SharedFile()))) << "the store is a file of its own now";
        EXPECT_EQ(Plain(SharedFile()), "$k: v\n");
        EXPECT_TRUE(fs::is_fifo(fs::status(fifo)));
        fs::remove(SharedFile().string() + ".unreadable");
    }
}

// A store that the reader refuses is kept aside, byte for byte, before the first save replaces it.
TEST_F(HostedStores, AStoreThatFailsToLoadIsKeptBesideTheNewOne)
{
    struct Case {
        const char* what;
        std::string bytes;
    };
    std::string big = Scrambled("$Keep: precious\n");
    big.resize(10u << 20, 'x');
    const Case cases[] = {
        {"too large", big},
        {"one malformed line", Scrambled("$Keep: precious\n$no colon\n")},
        {"garbage", std::string("\x00\x01\xff garbage", 12)},
    };
    for (const Case& c : cases) {
        Forget();
        fs::remove(SharedFile().string() + ".unreadable");
        kftest::WriteFile(SharedFile(), c.bytes);
        EXPECT_FALSE(KF_Language_Read(true)) << c.what;
        gKF_Language = 3;
        KF_Language_Write();
        EXPECT_EQ(Plain(SharedFile()), c.what == std::string("one malformed line")
                                           ? "$Keep: precious\n$Language_str: ger\n"
                                           : "$Language_str: ger\n")
            << c.what;
        EXPECT_EQ(kftest::ReadFile(SharedFile().string() + ".unreadable"), c.bytes) << c.what;
    }
    // A read refused by the system counts the same.
    Forget();
    std::string const before = Scrambled("$Keep: precious\n");
    kftest::WriteFile(SharedFile(), before);
    host.Faults().Fail(kfhost::FileOp::Read, "*Quadrelle.cfg", IO::AccessDenied);
    EXPECT_TRUE(KF_AddonSettings_LoadSetSave(kShared, S("Language_str"), S("ger"), true));
    EXPECT_EQ(kftest::ReadFile(SharedFile().string() + ".unreadable"), before);
    gKF_Language = 1;
}

// Whatever bytes a store holds, entries nobody edited come back byte-identical through a load and
// a save; entries the format cannot hold exactly leave their neighbours intact.
TEST_F(HostedStores, EveryByteSurvivesALoadAndASave)
{
    for (std::string const plain :
         {std::string("$\xff\xfeName: v\n$next: 1\n"), std::string("$Ke\0y: pre\0cious\n$next: 1\n", 26),
          std::string("$k: \xff\xfe\xc3\n$next: 1\n"), std::string("$k: a\n#\n#b\n$c: \r\n#\r\n"),
          std::string("$k: caf\xc3\xa9 \xe6\x97\xa5\n")}) {
        Forget();
        WritePlain(SharedFile(), plain);
        ASSERT_TRUE(KF_AddonSettings_Load(kShared, false));
        ASSERT_TRUE(KF_AddonSettings_Save(kShared));
        EXPECT_EQ(Plain(SharedFile()), plain);
    }
    // Values set by code: read back as set, or as close as the format allows.
    struct Case {
        const char* value;
        const char* readBack;
    };
    const Case cases[] = {{"a\n\nb", "a\n\nb"},
                          {"a\r\n\r\nb", "a\r\n\r\nb"},
                          {"x\n", "x"},
                          {"x\r", "x"},
                          {"x\r\n", "x\r\n"},
                          {"\n\n", "\n\n"},
                          {"\n", ""}};
    for (const Case& c : cases) {
        Forget();
        ASSERT_TRUE(KF_AddonSettings_Load(kShared, false));
        KF_AddonSettings_Clear(kShared);
        KF_AddonSettings_Set(kShared, S("k"), S(c.value), true);
        KF_AddonSettings_Set(kShared, S("next"), S("1"), true);
        ASSERT_TRUE(KF_AddonSettings_Save(kShared));
        Forget();
        ASSERT_TRUE(KF_AddonSettings_Load(kShared, false)) << c.value;
        EXPECT_EQ(Utf8(KF_AddonSettings_Get(kShared, S("k"), false)), c.readBack);
        EXPECT_EQ(Utf8(KF_AddonSettings_Get(kShared, S("next"), false)), "1");
    }
}

TEST_F(HostedStores, PlantedEntriesBesideTheStoreAreNeitherFollowedNorRemoved)
{
    fs::path const victim = host.TempDir() / "victim.txt";
    kftest::WriteFile(victim, "mine");
    fs::path const planted = SharedFile().string() + ".kftmp";
    // A folder with the old temporary name, a symlink there, and a symlink as the store itself.
    fs::create_directories(planted / "sub");
    kftest::WriteFile(planted / "sub" / "important.dwg", "drawing");
    EXPECT_TRUE(KF_AddonSettings_LoadSetSave(kShared, S("Language_str"), S("ger"), true));
    EXPECT_EQ(kftest::ReadFile(planted / "sub" / "important.dwg"), "drawing");
    fs::remove_all(planted);

    fs::create_symlink(victim, planted);
    EXPECT_TRUE(KF_AddonSettings_LoadSetSave(kShared, S("Language_str"), S("fra"), true));
    fs::remove(SharedFile());
    fs::create_symlink(victim, SharedFile());
    Forget();
    EXPECT_TRUE(KF_AddonSettings_LoadSetSave(kShared, S("Language_str"), S("ita"), true));
    EXPECT_EQ(kftest::ReadFile(victim), "mine");
    EXPECT_EQ(Plain(SharedFile()), "$Language_str: ita\n");
    EXPECT_TRUE(fs::is_symlink(planted)) << "only what the save created is removed";
    // Nothing of the saves is left behind.
    std::size_t entries = 0;
    for (const auto& entry : fs::directory_iterator(host.FrameworkFolder()))
        entries += entry.path().filename().string().find("kftmp") != std::string::npos ? 1 : 0;
    EXPECT_EQ(entries, 1u);
}

// Two processes save the same store while a third reads it: every read finds a whole file.
TEST_F(HostedStores, TwoWritersAndAReaderNeverMeetAHalfFile)
{
    constexpr int kSaves = 1500;
    ASSERT_TRUE(KF_AddonSettings_LoadSetSave(kShared, S("who"), S("start"), true));
    pid_t writers[2];
    for (int w = 0; w < 2; ++w) {
        writers[w] = ::fork();
        ASSERT_GE(writers[w], 0);
        if (writers[w] == 0) {
            bool ok = true;
            for (int i = 0; i < kSaves; ++i)
                ok = KF_AddonSettings_LoadSetSave(
                         kShared, S("who"), S(std::string(w == 0 ? "first " : "second ") + std::to_string(i)), true) &&
                     ok;
            ::_exit(ok ? 0 : 1);
        }
    }
    int reads = 0;
    int bad = 0;
    auto writing = [&] {
        for (pid_t pid : writers)
            if (::waitpid(pid, nullptr, WNOHANG) == 0)
                return true;
        return false;
    };
    int statuses[2] = {0, 0};
    while (writing()) {
        std::string const plain = Plain(SharedFile());
        ++reads;
        bad += plain.rfind("$who: ", 0) == 0 && plain.back() == '\n' ? 0 : 1;
    }
    // waitpid above may have reaped them; collect what is left.
    for (int w = 0; w < 2; ++w)
        ::waitpid(writers[w], &statuses[w], 0);
    EXPECT_GT(reads, 100);
    EXPECT_EQ(bad, 0) << "of " << reads << " reads";
    std::size_t leftovers = 0;
    for (const auto& entry : fs::directory_iterator(host.FrameworkFolder()))
        leftovers += entry.path().filename().string().find("kftmp") != std::string::npos ? 1 : 0;
    EXPECT_EQ(leftovers, 0u);
}
