// What an exception caught at the host boundary says, and the error code it becomes: shared by
// the host and the add-on side so that both report it alike. Call only inside a catch block.
#pragma once

#include "kfsdk/HostTable.h"

#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <new>
#include <string>
#include <typeinfo>

namespace kfsdk {

inline std::string DescribeCurrentException() noexcept
{
    try {
        try {
            throw;
        } catch (const std::exception& e) {
            return e.what();
        } catch (...) {
            const std::type_info* type = abi::__cxa_current_exception_type();
            if (!type)
                return "an exception of unknown type";
            int status = 0;
            char* readable = abi::__cxa_demangle(type->name(), nullptr, nullptr, &status);
            std::string text = "an exception of type " + std::string(readable ? readable : type->name());
            std::free(readable);
            return text;
        }
    } catch (...) {
        return "an exception (not described: out of memory)";
    }
}

inline KF_Err ErrorOfCurrentException() noexcept
{
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return KF_APIERR_MEMFULL;
    } catch (...) {
        return KF_APIERR_GENERAL;
    }
}

} // namespace kfsdk
