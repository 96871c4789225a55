// Bytes in an 8-bit or UTF-8 encoding to a string and back without losing a byte: what the
// framework reads from its own files must come back unchanged when it writes them again.
// Framework-internal.
#pragma once

#include "KF/KF_String.hpp"

#include <string>
#include <string_view>

namespace kf::detail {

// A byte that is not (part of) a character of the encoding becomes the unit kEscapeBase + byte,
// a lone low surrogate, which no valid text holds; zero bytes stay zero units.
constexpr unsigned short kEscapeBase = 0xDC00;

// Decodes bytes in enc (Enc_System follows the application's encoding); never fails for UTF-8 and
// the single-byte encodings, which are the encodings it serves (others convert as usual).
KF_String KF_Text_BytesToString(std::string_view bytes, KF_String::Encoding enc);

// Encodes text in enc; a character the encoding cannot hold becomes "?". An escape unit becomes
// its byte where KF_Text_BytesToString reads that byte back as the same unit, else "?" (code can
// put escape units anywhere, and C3 A9 written for U+DCC3 U+DCA9 would read back as U+00E9). No
// terminator is added.
std::string KF_Text_StringToBytes(const KF_String& text, KF_String::Encoding enc);

} // namespace kf::detail
