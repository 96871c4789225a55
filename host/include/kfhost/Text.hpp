// Text helpers of the host: the host keeps texts as UTF-16 (as add-ons hand them over) and prints
// UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kfhost {

// Ill-formed input is replaced by U+FFFD.
std::u16string FromUTF8(std::string_view utf8);
std::string ToUTF8(std::u16string_view utf16);
// Paths are bytes: a byte of an ill-formed part becomes the lone unit U+DC00 + byte (U+DC80 to
// U+DCFF), which PathBytes turns back into that byte, so that every path survives the trip.
std::u16string PathText(std::string_view bytes);
std::string PathBytes(std::u16string_view utf16);
// Byte offset (0-based) of the first ill-formed sequence, or nothing when the text is valid.
std::optional<std::size_t> FindInvalidUTF8(std::string_view utf8);
// "text" with \" and \\ escaped, as the transcript and scripts write strings.
std::string Quote(std::string_view utf8);
std::string Quote(std::u16string_view utf16);
// A host error code by its name and what it concerns ("APIERR_BADID (an identifier ... is not
// known)"); codes it does not know in hexadecimal.
std::string ErrorText(std::int32_t code);
// 'ABCD' as text; non-printable characters as \xNN.
std::string FourCCText(std::uint32_t code);

} // namespace kfhost
