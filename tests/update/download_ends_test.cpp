// How each download ends when something goes wrong on this side: a target file that cannot be
// made, and writes that fail (which are skipped, block by block, without ending the download).
#include "DownloadHarness.hpp"

using namespace kftest;

namespace {

constexpr std::size_t kBlock = 16384;

std::string Pattern(std::size_t size)
{
    std::string s(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        s[i] = static_cast<char>('a' + i % 23); // the server's /test/bytes pattern
    return s;
}

class DownloadEnds : public DownloadTest {};

} // namespace

TEST_F(DownloadEnds, ATargetThatCannotBeCreatedEndsInFailed)
{
    ServedFile("v.txt", "content");
    Recorder& missingFolder = NewRecorder();
    ASSERT_TRUE(Fetch(Url("/v.txt"), missingFolder, "no such folder/v.txt"));
    Recorder& refused = NewRecorder();
    host_->Faults().Fail(kfhost::FileOp::Create, "*refused.txt.*.kftmp", IO::AccessDenied, -1);
    ASSERT_TRUE(Fetch(Url("/v.txt"), refused, "refused.txt"));
    EXPECT_TRUE(host_->RunUntilIdle());
    for (const Recorder* r : {&missingFolder, &refused}) {
        EXPECT_EQ(r->Story(), "Opened Failed") << r->target;
        EXPECT_EQ(r->events.back().progress, 0.0);
        EXPECT_FALSE(std::filesystem::exists(r->target));
    }
}

TEST_F(DownloadEnds, AFailedWriteLosesItsBlockOnlyAndTheDownloadGoesOn)
{
    // The first block of 16 KiB is refused by the disk: exactly those bytes are missing.
    constexpr std::size_t kSize = 3 * kBlock + 5;
    host_->Faults().Fail(kfhost::FileOp::Write, "*first.bin.*.kftmp", IO::DiskFull, 1);
    Recorder& first = NewRecorder();
    ASSERT_TRUE(Fetch(Url("/test/bytes/" + std::to_string(kSize)), first, "first.bin"));
    EXPECT_EQ(first.Story(), "Opened Data Done");
    EXPECT_EQ(kftest::ReadFile(first.target), Pattern(kSize).substr(kBlock));

    host_->Faults().Fail(kfhost::FileOp::Write, "*none.bin.*.kftmp", IO::DiskFull, -1);
    Recorder& none = NewRecorder();
    ASSERT_TRUE(Fetch(Url("/test/bytes/" + std::to_string(kBlock + 1)), none, "none.bin"));
    EXPECT_EQ(none.Story(), "Opened Data Done");
    EXPECT_GE(none.Count(KF_URL_Data), 2) << "one event per block, written or not";
    EXPECT_EQ(std::filesystem::file_size(none.target), 0u);
}

TEST_F(DownloadEnds, OnlyAnAnswerOfOneAtTheOpeningCancels)
{
    ServedFile("go.txt", "went on");
    for (const int answer : {2, -1}) {
        Recorder& r = NewRecorder(answer);
        ASSERT_TRUE(Fetch(Url("/go.txt"), r, "go" + std::to_string(answer) + ".txt")) << answer;
        EXPECT_EQ(r.Story(), "Opened Data Done") << answer;
        EXPECT_EQ(kftest::ReadFile(r.target), "went on") << answer;
    }
}
