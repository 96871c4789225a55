#include "HostUniString.hpp"

#include "kfsdk/Utf8.hpp"

#include <algorithm>
#include <cstring>

namespace Base {

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
        std::vector<uchar_t> fresh(1, uchar_t(0)); // allocate before anything is given up
        units_.swap(other.units_);
        other.units_.swap(fresh);
    }
    return *this;
}

UniString& UniString::Append(const UniString& other)
{
    if (&other == this) {
        const UniString copy(other);
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

UniString UniString::FromUTF8(std::string_view utf8)
{
    UniString result;
    result.units_.clear();
    result.units_.reserve(utf8.size() + 1);
    kfsdk::AppendUTF8AsUTF16(utf8, result.units_);
    result.units_.push_back(0);
    return result;
}

std::string UniString::ToUTF8() const
{
    return kfsdk::UTF16ToUTF8(units_.data(), GetLength());
}

} // namespace Base
