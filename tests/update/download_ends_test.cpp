// How each download ends when something goes wrong on this side: a target file that cannot be
// made, and writes or a close that fail.
#include "DownloadHarness.hpp"

using namespace kftest;

namespace {

constexpr std::size_t kBlock = 16384;

class DownloadEnds : public DownloadTest {};

} // namespace

TEST_F(DownloadEnds, ATargetThatCannotBeCreatedEndsInFailed)
{
    ServedFile("v.txt", "content");
    Recorder& r = NewRecorder();
    ASSERT_TRUE(Fetch(Url("/v.txt"), r, "no such folder/v.txt"));
    EXPECT_TRUE(host_->RunUntilIdle());
    EXPECT_EQ(r.Story(), "Opened Failed");
    EXPECT_EQ(r.events.back().progress, 0.0);
    EXPECT_FALSE(std::filesystem::exists(r.target));
}

// A disk that refuses the file or its bytes ends the download: a document with a hole, or none at
// all, is never handed over as complete, and what the target held stays.
TEST_F(DownloadEnds, AFailedWriteOrCloseEndsTheDownloadAsFailed)
{
    constexpr std::size_t kSize = 3 * kBlock + 5;
    struct Case {
        const char* name;
        kfhost::FileOp op;
        int count;
        const char* story;
    };
    const Case cases[] = {
        {"create", kfhost::FileOp::Create, -1, "Opened Failed"},
        {"first", kfhost::FileOp::Write, 1, "Opened Failed"},
        {"every", kfhost::FileOp::Write, -1, "Opened Failed"},
        {"close", kfhost::FileOp::Close, 1, "Opened Data Failed"},
    };
    for (const Case& c : cases) {
        std::string const name = std::string(c.name) + ".bin";
        host_->Faults().Fail(c.op, "*" + name + ".*.kftmp", IO::DiskFull, c.count);
        kftest::WriteFile(Target(name), "kept");
        Recorder& r = NewRecorder();
        ASSERT_TRUE(Fetch(Url("/test/bytes/" + std::to_string(kSize)), r, name)) << c.name;
        EXPECT_EQ(r.Story(), c.story) << c.name;
        EXPECT_TRUE(kftest::ReadFile(r.target) == "kept") << c.name;
    }
    // A later block refused: the blocks before it were reported, then the failure.
    Recorder& later = NewRecorder();
    ASSERT_TRUE(Start(Url("/test/trickle?bytes=40&interval_ms=20"), later, "later.bin"));
    ASSERT_TRUE(RunUntil([&] { return later.Count(KF_URL_Data) > 0; }));
    host_->Faults().Fail(kfhost::FileOp::Write, "*later.bin.*.kftmp", IO::DiskFull, 1);
    ASSERT_TRUE(RunUntil([&] { return later.Ended(); }));
    EXPECT_EQ(later.Story(), "Opened Data Failed");
    EXPECT_LT(later.Count(KF_URL_Data), 40);
    EXPECT_FALSE(std::filesystem::exists(later.target));
    std::size_t leftovers = 0;
    for (const auto& entry : std::filesystem::directory_iterator(host_->TempDir()))
        leftovers += entry.path().extension() == ".kftmp" ? 1 : 0;
    EXPECT_EQ(leftovers, 0u);
}
