// The "$ name: value" line format of settings and communication files, on plain byte buffers so
// that it can be exercised without files. Framework-internal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "KF/KF_List.hpp"

struct KF_Setting;

namespace kf::detail {

// Settings files are handled in one buffer of this size; a file this long or longer is refused.
constexpr std::size_t kSettingsBufferSize = 100000;

// Swaps the two 4-bit halves of every byte; applying it twice gives the bytes back.
void KF_Settings_SwapHalves(char* bytes, std::size_t count);

// Receives one complete entry: the name bytes and the value bytes (continuations joined).
using KF_Settings_EntrySink = void (*)(std::string_view name, std::string_view value, void* context);

// Parses plain (unswapped) text. Every entry that ends with a line end is handed to sink in file
// order. Answers false at the first malformed entry (the entries before it have been handed on);
// true when the text was used up. Never reads outside [text, text + size).
bool KF_Settings_ParsePlain(const char* text, std::size_t size, KF_Settings_EntrySink sink, void* context);

// Appends one entry in plain form: "$", name, ": ", value with a "#" after each line break, LF,
// such that the parser gives name and value back. A name that is empty or holds ":" is not written
// (false); a value that ends in a line break is written without that last break.
bool KF_Settings_AppendPlain(std::string& out, std::string_view name, std::string_view value);

// Parses swapped file bytes into settings (names and values as 8-bit text in the application's
// encoding), appending to list. The bytes are not changed.
bool KF_Settings_ParseFile(const char* bytes, std::size_t size, KF_List<KF_Setting>& list);

// Builds the swapped file bytes of the entries of list, in list order.
std::string KF_Settings_BuildFile(const KF_List<KF_Setting>& list);

} // namespace kf::detail
