// Four-character codes and host result codes as text, header-only so that the host, the sdk and
// add-ons spell them one way.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace kfsdk {

// "ABCD" as 0x41424344: the first character in the high byte. Only the first four bytes count;
// callers check the length where a shorter text is an error.
constexpr std::uint32_t FourCharCode(std::string_view code)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = (value << 8) | (i < code.size() ? std::uint8_t(code[i]) : 0u);
    return value;
}

// A host result code as the transcript and alerts print it: 0x81060003.
inline std::string HexCode(std::int32_t code)
{
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%08X", static_cast<unsigned>(code));
    return buf;
}

} // namespace kfsdk
