// The stores against a hostile framework folder: special files and planted symlinks, files the
// reader refuses, bytes that are no text, and writers killed in the middle of a save.
#include "SettingsTestSupport.hpp"

#include "KF/KF_Language.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <future>
#include <random>
#include <thread>

namespace fs = std::filesystem;
using namespace kftest;

namespace {

constexpr auto kShared = KF_AddonSettings_AllAddons;

// Runs call and gives it the tests' patience: a call blocked in opening fifo is let go by a helper thread
// that opens the other end, so that a failing test ends instead of hanging. The call itself runs on
// this thread, the host's main thread, as every call into the host must.
bool EndsPromptly(const std::function<void()>& call, const fs::path& fifo)
{
    std::promise<void> finished;
    auto watcher = std::async(std::launch::async, [&fifo, done = finished.get_future()] {
        if (done.wait_for(std::chrono::duration<double>(kftest::kPatienceSeconds)) == std::future_status::ready)
            return true;
        for (int flags : {O_WRONLY | O_NONBLOCK, O_RDONLY | O_NONBLOCK}) {
            const int fd = ::open(fifo.c_str(), flags);
            if (fd >= 0)
                ::close(fd);
        }
        return false;
    });
    call();
    finished.set_value();
    return watcher.get();
}

} // namespace

// A FIFO or a device at the store's name is unreadable, not an empty store: the load fails at once,
// and the first save keeps it aside before the store becomes a file of its own. A symlink there is
// kept aside the same way and never written through.
TEST_F(HostedStores, SpecialFilesAreUnreadableKeptAsideAndNeverWritten)
{
    fs::path const fifo = host.TempDir() / "planted.fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    fs::path const victim = host.TempDir() / "victim.txt";
    kftest::WriteFile(victim, "mine");
    enum Kind { kFifo, kLinkToFifo, kLinkToDevice, kLinkToFile, kDevice };
    for (Kind kind : {kFifo, kLinkToFifo, kLinkToDevice, kLinkToFile, kDevice}) {
        Forget();
        fs::remove(SharedFile());
        fs::remove(SharedFile().string() + ".unreadable");
        if (kind == kFifo)
            ASSERT_EQ(::mkfifo(SharedFile().c_str(), 0600), 0);
        else if (kind != kDevice)
            fs::create_symlink(kind == kLinkToFifo ? fifo : kind == kLinkToFile ? victim : "/dev/null", SharedFile());
        else if (::mknod(SharedFile().c_str(), S_IFCHR | 0600, ::makedev(1, 3)) != 0)
            continue; // making a device needs privileges
        const fs::file_type type = fs::symlink_status(SharedFile()).type();
        bool loaded = true;
        EXPECT_TRUE(EndsPromptly([&] { loaded = KF_AddonSettings_Load(kShared, false); }, SharedFile())) << kind;
        EXPECT_FALSE(loaded) << kind << ": an empty store would load";
        bool saved = false;
        EXPECT_TRUE(
            EndsPromptly([&] { saved = KF_AddonSettings_LoadSetSave(kShared, S("k"), S("v"), true); }, SharedFile()));
        EXPECT_TRUE(saved) << kind;
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(SharedFile()))) << kind;
        EXPECT_EQ(ReadPlain(SharedFile()), "$k: v\n") << kind;
        EXPECT_EQ(fs::symlink_status(SharedFile().string() + ".unreadable").type(), type) << kind << ": kept aside";
        EXPECT_TRUE(fs::is_fifo(fs::status(fifo)));
        EXPECT_EQ(kftest::ReadFile(victim), "mine");
    }
    // An empty file is an empty store, and nothing is kept aside.
    Forget();
    kftest::WriteFile(SharedFile(), "");
    fs::remove(SharedFile().string() + ".unreadable");
    EXPECT_TRUE(KF_AddonSettings_Load(kShared, false));
    EXPECT_TRUE(KF_AddonSettings_LoadSetSave(kShared, S("k"), S("v"), true));
    EXPECT_FALSE(fs::exists(fs::symlink_status(SharedFile().string() + ".unreadable")));
}

// A store that the reader refuses is kept aside, byte for byte, before the first save replaces it.
TEST_F(HostedStores, AStoreThatFailsToLoadIsKeptBesideTheNewOne)
{
    // A file too large or no text at all: the store fuzz target's seeds. Here one malformed line,
    // whose entries before it stay in the store.
    std::string const malformed = Scrambled("$Keep: precious\n$no colon\n");
    kftest::WriteFile(SharedFile(), malformed);
    EXPECT_FALSE(KF_Language_Read(true));
    gKF_Language = 3;
    KF_Language_Write();
    EXPECT_EQ(ReadPlain(SharedFile()), "$Keep: precious\n$Language_str: ger\n");
    EXPECT_EQ(kftest::ReadFile(SharedFile().string() + ".unreadable"), malformed);
    // A read refused by the system counts the same: a read error, not an empty store, tried again
    // by the next Get with load.
    Forget();
    std::string const before = Scrambled("$Keep: precious\n");
    kftest::WriteFile(SharedFile(), before);
    host.Faults().Fail(kfhost::FileOp::Read, "*Quadrelle.cfg", IO::AccessDenied);
    EXPECT_FALSE(KF_AddonSettings_Load(kShared, true));
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(kShared, S("Keep"), true)), "precious");
    Forget();
    host.Faults().Fail(kfhost::FileOp::Read, "*Quadrelle.cfg", IO::AccessDenied);
    EXPECT_TRUE(KF_AddonSettings_LoadSetSave(kShared, S("Language_str"), S("ger"), true));
    EXPECT_EQ(kftest::ReadFile(SharedFile().string() + ".unreadable"), before);
    gKF_Language = 1;
}

// Whatever bytes a store holds, entries nobody edited come back byte-identical through a load and
// a save.
TEST_F(HostedStores, EveryByteSurvivesALoadAndASave)
{
    for (const std::string& plain :
         {std::string("$\xff\xfeName: v\n$next: 1\n"), std::string("$Ke\0y: pre\0cious\n$next: 1\n", 26),
          std::string("$k: \xff\xfe\xc3\n$next: 1\n"), std::string("$k: a\n#\n#b\n$c: \r\n#\r\n"),
          std::string("$k: caf\xc3\xa9 \xe6\x97\xa5\n")}) {
        Forget();
        WritePlain(SharedFile(), plain);
        ASSERT_TRUE(KF_AddonSettings_Load(kShared, false));
        ASSERT_TRUE(KF_AddonSettings_Save(kShared));
        EXPECT_EQ(ReadPlain(SharedFile()), plain);
    }
}

// kill -9 at random moments of a writer's saves: the store is whole after every kill, and the next
// save removes every temporary file a killed writer left. One writer is killed while stopped in the
// middle of a save, so that at least one file is left. KF_TEST_KILLS sets the number of kills.
TEST_F(HostedStores, KilledWritersLeaveAWholeStoreAndTheNextSaveTidiesUp)
{
    const char* runs = std::getenv("KF_TEST_KILLS");
    const int kills = runs != nullptr ? std::atoi(runs) : 30;
    std::string const big(20000, 'v');
    ASSERT_TRUE(KF_AddonSettings_LoadSetSave(kShared, S("who"), S("start"), true));
    auto temporaries = [&] {
        std::size_t count = 0;
        for (const auto& entry : fs::directory_iterator(host.FrameworkFolder()))
            count += entry.path().extension() == ".kftmp" ? 1 : 0;
        return count;
    };
    std::mt19937 random(7);
    int killsThatLeftAFile = 0;
    for (int k = 0; k <= kills; ++k) {
        const bool stopInSave = k == kills;
        const pid_t writer = ::fork();
        ASSERT_GE(writer, 0);
        if (writer == 0) {
            if (stopInSave)
                host.Faults().Before(kfhost::FileOp::Write, "*Quadrelle.cfg.*.kftmp", [] { ::raise(SIGSTOP); });
            for (int i = 0;; ++i)
                KF_AddonSettings_LoadSetSave(kShared, S("who"), S(std::to_string(k) + " " + std::to_string(i) + big),
                                             true);
        }
        if (stopInSave)
            ASSERT_EQ(::waitpid(writer, nullptr, WUNTRACED), writer);
        else
            std::this_thread::sleep_for(std::chrono::microseconds(2000 + random() % 20000));
        ::kill(writer, SIGKILL);
        ::waitpid(writer, nullptr, 0);
        std::string const plain = ReadPlain(SharedFile());
        EXPECT_TRUE(plain.rfind("$who: ", 0) == 0 && plain.back() == '\n') << "after kill " << k;
        // The next writer (the next child) tidies up what this one left.
        killsThatLeftAFile += temporaries() > 0 ? 1 : 0;
    }
    std::size_t const left = temporaries();
    EXPECT_GE(left, 1u);
    RecordProperty("kills_that_left_a_file", killsThatLeftAFile);
    Forget();
    ASSERT_TRUE(KF_AddonSettings_LoadSetSave(kShared, S("who"), S("after"), true));
    EXPECT_EQ(temporaries(), 0u) << left << " were left by " << kills + 1 << " kills";
    EXPECT_EQ(ReadPlain(SharedFile()), "$who: after\n");
}
