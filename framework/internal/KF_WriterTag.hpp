// Who writes a temporary file. Its name carries the writing process, told apart from every other
// process that ran or runs, so that the next writer of the same target can remove what a process
// that no longer runs left, and never what a live one is writing.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kf::detail {

struct KF_WriterID {
    long pid = 0;
    unsigned long long start = 0; // the process's start, in clock ticks after boot
    std::uint32_t boot = 0;       // this boot of the system
    std::uint32_t place = 0;      // the machine and the process-number space the pid belongs to
};

// This process. start is 0 where the system does not tell it.
KF_WriterID KF_Writer_This();
// "<pid>-<start>-<boot>-<place>-<random>": the writer and a part that differs between calls.
std::string KF_Writer_NewTag();
// The writer of a tag made by KF_Writer_NewTag; false for any other text.
bool KF_Writer_Parse(std::string_view tag, KF_WriterID& writer);
// True only when the writer certainly runs no more: a process of an earlier boot here, or one whose
// number is now free or held by a process started at another time. A writer of another machine,
// or one this system cannot tell about, counts as running.
bool KF_Writer_IsGone(const KF_WriterID& writer);

} // namespace kf::detail
