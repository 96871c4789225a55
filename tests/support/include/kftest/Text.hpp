// Between the framework's strings and UTF-8 in tests.
#pragma once

#include "KF/KF_String.hpp"

#include <string>

namespace kftest {

inline KF_String S(const std::string& utf8)
{
    return utf8.empty() ? KF_String("", KF_String::Enc_System)
                        : KF_String(utf8.data(), unsigned(utf8.size()), KF_String::Enc_UTF8);
}

inline std::string Utf8(const KF_String& text)
{
    const KF_CString bytes = text.ToCStr(KF_String::Enc_UTF8);
    std::string out = bytes.bytes != nullptr ? std::string(bytes.bytes, bytes.length) : std::string();
    while (!out.empty() && out.back() == '\0') {
        out.pop_back();
    }
    return out;
}

} // namespace kftest
