#include "GSUniString.hpp"

#include "kfsdk/Utf8.hpp"

#include <algorithm>
#include <cstring>

namespace GS {

UniString::UniString() : units_(1, uchar_t(0)) {}

UniString::UniString(const uchar_t* units) : units_(1, uchar_t(0))
{
    if (units != nullptr) {
        USize n = 0;
        while (units[n] != 0) {
            ++n;
        }
        Append(units, n);
    }
}

UniString::UniString(const uchar_t* units, USize count) : units_(1, uchar_t(0))
{
    if (units != nullptr) {
        Append(units, count);
    }
}

UniString::UniString(UniString&& other) : units_(1, uchar_t(0))
{
    units_.swap(other.units_);
}

UniString& UniString::operator=(UniString&& other)
{
    if (this != &other) {
        std::vector<uchar_t> fresh(1, uchar_t(0));  // allocate before anything is given up
        units_.swap(other.units_);
        other.units_.swap(fresh);
    }
    return *this;
}

UniString& UniString::Append(const UniString& other)
{
    if (&other == this) {
        UniString const copy(other);
        return Append(copy.ToUStr(), copy.GetLength());
    }
    return Append(other.ToUStr(), other.GetLength());
}

UniString& UniString::Append(const uchar_t* units, USize count)
{
    if (units == nullptr || count == 0) {
        return *this;
    }
    units_.pop_back();
    units_.insert(units_.end(), units, units + count);
    units_.push_back(0);
    return *this;
}

UniString& UniString::Append(uchar_t unit)
{
    units_.back() = unit;
    units_.push_back(0);
    return *this;
}

UniString UniString::operator+(const UniString& other) const
{
    UniString result(*this);
    result.Append(other);
    return result;
}

void UniString::Clear()
{
    units_.assign(1, uchar_t(0));
}

std::strong_ordering UniString::operator<=>(const UniString& other) const
{
    return std::lexicographical_compare_three_way(units_.begin(), units_.end() - 1, other.units_.begin(),
                                                  other.units_.end() - 1);
}

std::size_t UniString::Hash() const
{
    // FNV-1a over the units.
    std::size_t h = 1469598103934665603ull;
    for (USize i = 0, n = GetLength(); i < n; ++i) {
        h = (h ^ units_[i]) * 1099511628211ull;
    }
    return h;
}

namespace {

constexpr uchar_t kReplacement = 0xFFFD;

// Length of the well-formed sequence that starts at p (1 to 4), or 0 when the bytes there are not
// the start of one; bad tells how many bytes make up the maximal ill-formed subpart.
int DecodeOne(const unsigned char* p, const unsigned char* end, char32_t& cp, int& bad)
{
    unsigned char const b0 = p[0];
    bad = 1;
    if (b0 < 0x80) {
        cp = b0;
        return 1;
    }
    int need = 0;
    unsigned char lo = 0x80;
    unsigned char hi = 0xBF;
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        need = 1;
        cp = b0 & 0x1F;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        need = 2;
        cp = b0 & 0x0F;
        if (b0 == 0xE0) {
            lo = 0xA0;
        } else if (b0 == 0xED) {
            hi = 0x9F;
        }
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        need = 3;
        cp = b0 & 0x07;
        if (b0 == 0xF0) {
            lo = 0x90;
        } else if (b0 == 0xF4) {
            hi = 0x8F;
        }
    } else {
        return 0;
    }
    for (int i = 1; i <= need; ++i) {
        if (p + i >= end) {
            return 0;
        }
        unsigned char const b = p[i];
        if (b < lo || b > hi) {
            return 0;
        }
        lo = 0x80;
        hi = 0xBF;
        cp = (cp << 6) | (b & 0x3F);
        bad = i + 1;
    }
    return need + 1;
}

} // namespace

UniString UniString::FromUTF8(std::string_view utf8)
{
    UniString result;
    result.units_.clear();
    result.units_.reserve(utf8.size() + 1);
    auto const* p = reinterpret_cast<const unsigned char*>(utf8.data());
    auto const* const end = p + utf8.size();
    while (p < end) {
        char32_t cp = 0;
        int bad = 1;
        int const n = DecodeOne(p, end, cp, bad);
        if (n == 0) {
            result.units_.push_back(kReplacement);
            p += bad;
            continue;
        }
        if (cp >= 0x10000) {
            cp -= 0x10000;
            result.units_.push_back(uchar_t(0xD800 + (cp >> 10)));
            result.units_.push_back(uchar_t(0xDC00 + (cp & 0x3FF)));
        } else {
            result.units_.push_back(uchar_t(cp));
        }
        p += n;
    }
    result.units_.push_back(0);
    return result;
}

std::string UniString::ToUTF8() const
{
    return kfsdk::UTF16ToUTF8(units_.data(), GetLength());
}

} // namespace GS
