// Small helpers shared by the text tests.
#pragma once

#include "KF/KF_String.hpp"

#include "HostTextEncoding.hpp"

#include <string>
#include <vector>

namespace kftest {

// The units of s; the null string and the empty string both give "" (test IsNull separately).
inline std::u16string U(const KF_String& s)
{
    std::u16string out;
    for (unsigned int i = 0; i < s.GetLength(); ++i) {
        out.push_back(char16_t(s.Units()[i]));
    }
    return out;
}

inline KF_String FromU16(const std::u16string& text)
{
    std::vector<unsigned short> units(text.begin(), text.end());
    units.push_back(0);
    return KF_String(units.data(), static_cast<unsigned int>(text.size()));
}

inline KF_String Utf8(const char* text)
{
    return KF_String(text, KF_String::Enc_UTF8);
}

inline std::string Bytes(const char* p, long n)
{
    return n > 0 ? std::string(p, std::size_t(n)) : std::string();
}

inline std::vector<std::u16string> Pieces(const KF_List<KF_String>& list, std::vector<bool>* nulls = nullptr)
{
    std::vector<std::u16string> out;
    for (long i = 0; i < list.count; ++i) {
        out.push_back(U(list[i]));
        if (nulls != nullptr) {
            nulls->push_back(list[i].IsNull());
        }
    }
    return out;
}

// Sets the application encoding for one test and puts the default back afterwards.
class ScopedAppEncoding {
public:
    explicit ScopedAppEncoding(Base::AppTextEncoding enc) : saved_(Base::GetApplicationTextEncoding())
    {
        Base::SetApplicationTextEncoding(enc);
    }
    ~ScopedAppEncoding() { Base::SetApplicationTextEncoding(saved_); }
    ScopedAppEncoding(const ScopedAppEncoding&) = delete;
    ScopedAppEncoding& operator=(const ScopedAppEncoding&) = delete;

private:
    Base::AppTextEncoding saved_;
};

} // namespace kftest
