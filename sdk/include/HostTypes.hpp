// Basic types of the host interface, shared by every sdk header.
#pragma once

#include "kfsdk/Codes.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>

using Int8 = std::int8_t;
using UInt8 = std::uint8_t;
using Int16 = std::int16_t;
using UInt16 = std::uint16_t;
using Int32 = std::int32_t;
using UInt32 = std::uint32_t;
using Int64 = std::int64_t;
using UInt64 = std::uint64_t;
using USize = std::size_t;

using HostErrCode = Int32; // 0 is success; host errors are negative 32-bit values
using HostFourCC = UInt32; // four-character code, first character in the high byte
using HostFlags = UInt32;
using HostSize = Int64;
using HostPtr = char*;
using HostConstPtr = const char*;
using HostResModule = Int32; // identifies one bundle's resource module inside the host

constexpr HostErrCode NoError = 0;

namespace Base {
using IntPtr = long long;
using uchar_t = unsigned short; // one UTF-16 code unit

// 'ABCD' spelled as a constexpr so that no multi-character literal is needed.
constexpr HostFourCC FourCC(const char (&code)[5])
{
    return kfsdk::FourCharCode(std::string_view(code, 4));
}
} // namespace Base

// Host error codes handed to add-ons (negative 32-bit values, compared exactly).
constexpr HostErrCode HostErr(UInt32 code)
{
    return static_cast<HostErrCode>(code);
}
constexpr HostErrCode APIERR_GENERAL = HostErr(0x81060001u);           // also: the host table has not arrived
constexpr HostErrCode APIERR_BADPARS = HostErr(0x81060002u);           // a null or malformed argument
constexpr HostErrCode APIERR_BADID = HostErr(0x81060003u);             // unknown resource, menu, dialog or item
constexpr HostErrCode APIERR_MODULNOTINSTALLED = HostErr(0x81060004u); // no add-on serves that module command
constexpr HostErrCode APIERR_MODULCMDNOTSUPPORTED = HostErr(0x81060005u);
constexpr HostErrCode APIERR_NOTSUPPORTED = HostErr(0x81060006u); // a host service this host does not offer
constexpr HostErrCode APIERR_CANCEL = HostErr(0x81060007u);
constexpr HostErrCode APIERR_MEMFULL = HostErr(0x81060008u);  // out of memory (an escaping std::bad_alloc)
constexpr HostErrCode APIERR_MISSINGDEF = HostErrCode(-7003); // library part known by name, definition missing
