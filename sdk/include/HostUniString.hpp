// The host's Unicode string: an owned sequence of UTF-16 code units, the boundary type through
// which add-ons and the host exchange text.
#pragma once

#include "HostTypes.hpp"

#include <compare>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Base {

class UniString {
public:
    UniString();
    // Terminated units; a null pointer gives the empty string.
    UniString(const uchar_t* units); // NOLINT(google-explicit-constructor): host signature
    UniString(const uchar_t* units, USize count);

    UniString(const UniString&) = default;
    UniString(UniString&& other); // leaves other empty (may allocate)
    UniString& operator=(const UniString&) = default;
    UniString& operator=(UniString&& other);
    ~UniString() = default;

    // Ill-formed UTF-8 is decoded with U+FFFD in place of each maximal bad subpart.
    static UniString FromUTF8(std::string_view utf8);
    // Unpaired surrogates are written as U+FFFD.
    std::string ToUTF8() const;

    USize GetLength() const { return units_.size() - 1; }
    bool IsEmpty() const { return units_.size() == 1; }
    // Always terminated, never null; valid until the string is next changed.
    const uchar_t* ToUStr() const { return units_.data(); }

    uchar_t& operator[](USize index) { return units_[index]; }
    const uchar_t& operator[](USize index) const { return units_[index]; }
    uchar_t GetAt(USize index) const { return index < GetLength() ? units_[index] : uchar_t(0); }

    UniString& Append(const UniString& other);
    UniString& Append(const uchar_t* units, USize count);
    UniString& Append(uchar_t unit);
    UniString& operator+=(const UniString& other) { return Append(other); }
    UniString operator+(const UniString& other) const;

    void Clear();

    bool operator==(const UniString& other) const { return units_ == other.units_; }
    bool operator!=(const UniString& other) const { return !(*this == other); }
    // Code-unit order, so that the string can key ordered containers.
    std::strong_ordering operator<=>(const UniString& other) const;

    std::size_t Hash() const;

private:
    std::vector<uchar_t> units_; // content followed by one zero unit
};

} // namespace Base

template <>
struct std::hash<Base::UniString> {
    std::size_t operator()(const Base::UniString& s) const noexcept { return s.Hash(); }
};
