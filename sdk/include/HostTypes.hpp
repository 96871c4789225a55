// Basic types of the host interface, shared by every sdk header.
#pragma once

#include "kfsdk/Codes.hpp"
#include "kfsdk/HostTable.h"

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

// Host error codes handed to add-ons (negative 32-bit values, compared exactly), named as the
// table header's list names them. APIERR_GENERAL is also the answer of every call made before the
// host table has arrived (or of an entry the host's table lacks).
#define KFSDK_ERROR_API(name, sdkName) constexpr HostErrCode sdkName = KF_APIERR_##name;
#define KFSDK_ERROR_IO(name, sdkName)
#define KFSDK_ERROR(family, name, value, sdkName, meaning) KFSDK_ERROR_##family(name, sdkName)
KF_HOST_ERRORS(KFSDK_ERROR)
#undef KFSDK_ERROR
#undef KFSDK_ERROR_IO
#undef KFSDK_ERROR_API
