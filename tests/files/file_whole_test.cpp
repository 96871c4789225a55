// The bounded whole-file read and the atomic replacement under the settings and communication
// files, on their own: the limit at its edge and every failing host step.
#include "kftest/Text.hpp"
#include "KF_FileDetail.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

namespace fs = std::filesystem;
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
    fs::path Path(const char* name) const { return Folder() / name; }
    KF_Location At(const char* name) const { return KF_Location(kftest::S(Path(name).string())); }
    std::size_t Entries() const { return std::size_t(std::distance(fs::directory_iterator(Folder()), {})); }

    kftest::InProcessHost host;
};

// A host operation failing with a host code, and the result number that must come out.
struct FailingStep {
    FileOp op;
    HostErrCode code;
    std::int32_t result;
    int count = 1; // operations that fail; -1: all
};

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
