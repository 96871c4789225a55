// The bounded whole-file read and the atomic replacement under the settings and communication
// files, on their own: the limit at its edge and every failing host step. Temporary files beside a
// target carry their writer: the next writer of the same target removes what processes that no
// longer run left behind, and never a file a live process is writing, even one stopped in the
// middle of its save.
#include "kftest/Text.hpp"
#include "KF_FileDetail.hpp"
#include "KF_WriterTag.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace fs = std::filesystem;
using kf::detail::KF_WriterID;
using kfhost::FileOp;

namespace {

class WholeFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        host.Attach();
        fs::create_directories(Folder());
    }
    fs::path Folder() const { return host.TempDir() / "files"; }
    fs::path Path(const std::string& name) const { return Folder() / name; }
    KF_Location At(const std::string& name) const { return KF_Location(kftest::S(Path(name).string())); }
    std::size_t Entries() const { return std::size_t(std::distance(fs::directory_iterator(Folder()), {})); }
    // Names of the temporary files of target, in name order.
    std::vector<std::string> Temporaries(const std::string& target) const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(Folder())) {
            const std::string name = entry.path().filename().string();
            if (name.rfind(target + ".", 0) == 0 && entry.path().extension() == ".kftmp")
                names.push_back(name);
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    // A child process that replaces target by content and stops (SIGSTOP) once its temporary file
    // exists, before a byte is written; the child's pid, stopped.
    pid_t StoppedWriter(const std::string& target, const std::string& content)
    {
        const pid_t pid = ::fork();
        if (pid == 0) {
            host.Faults().Before(kfhost::FileOp::Write, "*/" + target + ".*.kftmp", [] { ::raise(SIGSTOP); });
            ::_exit(kf::detail::KF_File_ReplaceWhole(At(target), content.data(), content.size()) == 0 ? 0 : 1);
        }
        int status = 0;
        EXPECT_EQ(::waitpid(pid, &status, WUNTRACED), pid);
        EXPECT_TRUE(WIFSTOPPED(status));
        return pid;
    }
    static void Kill(pid_t pid)
    {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
    static bool Replace(const KF_Location& at, const std::string& content)
    {
        return kf::detail::KF_File_ReplaceWhole(at, content.data(), content.size()) == 0;
    }

    kftest::InProcessHost host;
};
using TemporaryFiles = WholeFiles;

// A host operation failing with a host code, and the result number that must come out.
struct FailingStep {
    FileOp op;
    HostErrCode code;
    std::int32_t result;
    int count = 1; // operations that fail; -1: all
};

std::string Hex(std::uint32_t value)
{
    char text[9];
    std::snprintf(text, sizeof text, "%08x", value);
    return text;
}

std::string Tag(const KF_WriterID& w, std::uint32_t random = 0xfeedf00d)
{
    return std::to_string(w.pid) + "-" + std::to_string(w.start) + "-" + Hex(w.boot) + "-" + Hex(w.place) + "-" +
           Hex(random);
}

} // namespace

TEST_F(WholeFiles, ReadsBelowTheLimitAndRefusesAtIt)
{
    constexpr std::size_t kLimit = 1000;
    struct Case {
        std::size_t size;
        std::int32_t result;
    };
    for (const Case c :
         {Case{0, 0}, Case{kLimit - 1, 0}, Case{kLimit, KF_File_TooLarge}, Case{kLimit + 1, KF_File_TooLarge}}) {
        std::string const content(c.size, 'q');
        kftest::WriteFile(Path("f"), content);
        std::string out = "stale";
        bool exists = false;
        EXPECT_EQ(kf::detail::KF_File_ReadWhole(At("f"), kLimit, out, exists), c.result) << c.size;
        EXPECT_TRUE(exists) << c.size;
        EXPECT_EQ(out, c.result == 0 ? content : std::string()) << c.size;
    }
    std::string out = "stale";
    bool exists = true;
    EXPECT_EQ(kf::detail::KF_File_ReadWhole(At("missing"), kLimit, out, exists), 0);
    EXPECT_FALSE(exists);
    EXPECT_TRUE(out.empty());
}

TEST_F(WholeFiles, EveryFailingReadStepIsReportedAndLeavesNothing)
{
    kftest::WriteFile(Path("f"), "content");
    for (const FailingStep c : {FailingStep{FileOp::Open, IO::AccessDenied, 2},
                                {FileOp::Length, IO::Error, 5},
                                {FileOp::Read, IO::DiskFull, 4},
                                {FileOp::Read, IO::EndOfFile, 6},
                                {FileOp::Close, IO::FileNotFound, 3}}) {
        host.Faults().Fail(c.op, "*", c.code);
        std::string out = "stale";
        bool exists = false;
        EXPECT_EQ(kf::detail::KF_File_ReadWhole(At("f"), 100, out, exists), c.result) << kfhost::FileOpName(c.op);
        EXPECT_TRUE(out.empty()) << kfhost::FileOpName(c.op);
        host.Faults().Clear();
    }
}

TEST_F(WholeFiles, ReplacementIsAllOrNothing)
{
    EXPECT_EQ(kf::detail::KF_File_ReplaceWhole(At("f"), "first", 5), 0);
    EXPECT_EQ(kf::detail::KF_File_ReplaceWhole(At("f"), "2nd", 3), 0);
    EXPECT_EQ(kftest::ReadFile(Path("f")), "2nd") << "replaced, not overwritten in place";
    EXPECT_EQ(Entries(), 1u);

    // Faults hit the temporary file beside the target, except the final move, which names the target.
    // A refused open is taken for a clash and retried under other names, so it fails every time.
    for (const FailingStep c : {FailingStep{FileOp::Create, IO::AccessDenied, 2},
                                {FileOp::Open, IO::FileNotFound, 3, -1},
                                {FileOp::Write, IO::DiskFull, 4},
                                {FileOp::Close, IO::Error, 5},
                                {FileOp::Close, 7, 6},
                                {FileOp::Move, IO::DiskFull, 4}}) {
        host.Faults().Fail(c.op, c.op == FileOp::Move ? "*/f" : "*/f.*.kftmp", c.code, c.count);
        EXPECT_EQ(kf::detail::KF_File_ReplaceWhole(At("f"), "third", 5), c.result) << kfhost::FileOpName(c.op);
        EXPECT_EQ(kftest::ReadFile(Path("f")), "2nd") << kfhost::FileOpName(c.op);
        EXPECT_EQ(Entries(), 1u) << "the temporary file is removed: " << kfhost::FileOpName(c.op);
        host.Faults().Clear();
    }
    // Fifteen names that cannot be had do not stop the save; sixteen do.
    host.Faults().Fail(FileOp::Open, "*/f.*.kftmp", IO::FileNotFound, 16);
    EXPECT_EQ(kf::detail::KF_File_ReplaceWhole(At("f"), "fourth", 6), 3);
    host.Faults().Clear();
    host.Faults().Fail(FileOp::Open, "*/f.*.kftmp", IO::FileNotFound, 15);
    EXPECT_EQ(kf::detail::KF_File_ReplaceWhole(At("f"), "fourth", 6), 0);
    EXPECT_EQ(kftest::ReadFile(Path("f")), "fourth");
    EXPECT_EQ(Entries(), 1u);
    host.Faults().Clear();
    EXPECT_EQ(kf::detail::KF_File_ReplaceWhole(At("f"), nullptr, 0), 0);
    EXPECT_EQ(fs::file_size(Path("f")), 0u);
    EXPECT_EQ(kf::detail::KF_File_ReplaceWhole(At("f"), nullptr, 1), 6);
    EXPECT_EQ(kf::detail::KF_File_ReplaceWhole(KF_Location(), "x", 1), 6);
}

TEST_F(TemporaryFiles, AWriterStoppedInTheMiddleKeepsItsFileAndFinishesItsSave)
{
    ASSERT_TRUE(Replace(At("f"), "first"));
    const pid_t stopped = StoppedWriter("f", "from the stopped writer");
    ASSERT_EQ(Temporaries("f").size(), 1u);

    // Another writer saves meanwhile, and its save is whole; the stopped writer's file stays.
    ASSERT_TRUE(Replace(At("f"), "from the other writer"));
    EXPECT_EQ(kftest::ReadFile(Path("f")), "from the other writer");
    EXPECT_EQ(Temporaries("f").size(), 1u);

    ::kill(stopped, SIGCONT);
    int status = 0;
    ASSERT_EQ(::waitpid(stopped, &status, 0), stopped);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "its save went through";
    EXPECT_EQ(kftest::ReadFile(Path("f")), "from the stopped writer");
    EXPECT_TRUE(Temporaries("f").empty());
}

TEST_F(TemporaryFiles, WhatWritersThatNoLongerRunLeftGoesWithTheNextWriteOfTheTarget)
{
    Kill(StoppedWriter("f", "killed"));
    Kill(StoppedWriter("g", "killed too"));
    ASSERT_EQ(Temporaries("f").size(), 1u);
    ASSERT_EQ(Temporaries("g").size(), 1u);

    const KF_WriterID self = kf::detail::KF_Writer_This();
    ASSERT_NE(self.start, 0u) << "the system tells no process start times";
    KF_WriterID reused = self; // this process's number, held by a process started at another time
    reused.start += 1;
    KF_WriterID earlierBoot = self;
    earlierBoot.boot ^= 1;
    KF_WriterID elsewhere = self;
    elsewhere.place ^= 1;
    elsewhere.pid = reused.pid = 999999;
    const std::vector<std::string> gone = {"f." + Tag(reused) + ".kftmp", "f." + Tag(earlierBoot) + ".kftmp"};
    const std::vector<std::string> kept = {
        "f." + Tag(self) + ".kftmp",        // a live writer: this process
        "f." + Tag(elsewhere) + ".kftmp",   // a writer of another machine may still run
        "f.0123456789ab.kftmp",             // not a tag of ours
        "f." + Tag(reused, 1) + "-x.kftmp", // nor this
        "ff." + Tag(reused) + ".kftmp",     // another target
    };
    for (const std::string& name : gone)
        kftest::WriteFile(Folder() / name, "left");
    for (const std::string& name : kept)
        kftest::WriteFile(Folder() / name, "left");
    const fs::path folder = Folder() / ("f." + Tag(reused, 2) + ".kftmp");
    fs::create_directories(folder / "sub");

    ASSERT_TRUE(Replace(At("f"), "next"));
    for (const std::string& name : gone)
        EXPECT_FALSE(fs::exists(Folder() / name)) << name;
    for (const std::string& name : kept)
        EXPECT_TRUE(fs::exists(Folder() / name)) << name;
    EXPECT_TRUE(fs::is_directory(folder / "sub")) << "a folder is never removed";
    EXPECT_EQ(Temporaries("f").size(), 5u) << "the killed writer's file went; four files and the folder stay";
    EXPECT_EQ(Temporaries("g").size(), 1u) << "another target's files wait for its own next writer";
    ASSERT_TRUE(Replace(At("g"), "next"));
    EXPECT_TRUE(Temporaries("g").empty());
}
