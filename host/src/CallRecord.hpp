// Internal: the record of the calls under way, read by signal handlers, by the watchdog thread and
// (through shared memory) by kfhost's supervising parent, so it holds only plain data and atomics.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace kfhost::detail {

inline constexpr int kMaxFrames = 64;
inline constexpr std::size_t kFrameText = 128;

enum class FrameKind : std::int32_t { AddOn, Host, User };

struct Frame {
    FrameKind kind;
    std::int64_t start;    // add-on frames: monotonic nanoseconds, moved on by the user waits inside
    const void* addOn;     // add-on frames: the add-on (compared, never followed)
    char who[kFrameText];  // add-on frames: the add-on's name
    char call[kFrameText]; // the call, or the host entry
};

struct CallRecord {
    std::atomic<std::uint32_t> sequence; // odd while the frames change
    std::atomic<std::int32_t> depth;     // may pass kMaxFrames: deeper frames are counted, not kept
    std::atomic<std::int32_t> reported;  // the process already said why it ends
    Frame frames[kMaxFrames];
};

// The record in use: a static one, or the page shared with the supervising parent.
CallRecord& Record();
// Makes the record a page that a forked child shares with its parent; false when it cannot.
bool ShareRecord();

// The innermost add-on frame below depth, or -1 (also when the host waits for a person above it).
int InnermostAddOnFrame(const CallRecord& record, int depth);

// Text written with write(2) only, usable in signal handlers and after fork.
class ReportLine {
public:
    ReportLine& operator<<(const char* text);
    ReportLine& operator<<(unsigned long value);
    void WriteTo(int fd) const;

private:
    char text_[640];
    std::size_t length_ = 0;
};

} // namespace kfhost::detail
