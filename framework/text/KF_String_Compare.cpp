// KF_String: comparison, case mapping and search.
#include "KF/KF_String.hpp"

#include <clocale>
#include <cwctype>
#include <locale.h>
#include <wctype.h>

namespace {

// Case mapping must not change when the host process switches its locale, so it uses a fixed
// Unicode-aware C locale of its own (plain ASCII if the system has none).
locale_t CaseLocale()
{
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t(nullptr));
    return locale;
}

inline unsigned short Lower(unsigned short unit)
{
    if (unit < 0x80) {
        return (unit >= 'A' && unit <= 'Z') ? static_cast<unsigned short>(unit + 32) : unit;
    }
    return KF_CharToLowerCase(unit);
}

inline int Sign(long long v)
{
    return v < 0 ? -1 : (v > 0 ? 1 : 0);
}

template <typename Map>
int CompareUnits(const KF_String& a, unsigned int fromA, const KF_String& b, unsigned int fromB, unsigned int count,
                 Map map)
{
    if (a.IsNull()) {
        return b.IsNull() ? 0 : -1;
    }
    if (b.IsNull()) {
        return 1;
    }
    unsigned int la = fromA < a.GetLength() ? a.GetLength() - fromA : 0;
    unsigned int lb = fromB < b.GetLength() ? b.GetLength() - fromB : 0;
    if (count != 0) {
        la = la < count ? la : count;
        lb = lb < count ? lb : count;
    }
    const unsigned short* pa = a.Units() + (la > 0 ? fromA : 0);
    const unsigned short* pb = b.Units() + (lb > 0 ? fromB : 0);
    const unsigned int n = la < lb ? la : lb;
    for (unsigned int i = 0; i < n; ++i) {
        const unsigned short ua = map(pa[i]);
        const unsigned short ub = map(pb[i]);
        if (ua != ub) {
            return ua < ub ? -1 : 1;
        }
    }
    return Sign(static_cast<long long>(la) - static_cast<long long>(lb));
}

inline unsigned short Same(unsigned short unit)
{
    return unit;
}

inline int LowerByte(char c)
{
    const unsigned char u = static_cast<unsigned char>(c);
    return static_cast<signed char>((u >= 'A' && u <= 'Z') ? u + 32 : u);
}

inline int PlainByte(char c)
{
    return static_cast<signed char>(c);
}

// Compares at most count bytes (count 0: no limit) as signed values.
template <typename Map>
int CompareBytes(const char* a, const char* b, unsigned long long count, Map map)
{
    for (unsigned long long i = 0; count == 0 || i < count; ++i) {
        const int ca = map(a[i]);
        const int cb = map(b[i]);
        if (ca != cb) {
            return ca < cb ? -1 : 1;
        }
        if (ca == 0) {
            break;
        }
    }
    return 0;
}

template <typename Map>
unsigned int Find(const KF_String& hay, const KF_String& needle, unsigned int from, Map map)
{
    if (hay.IsNull() || needle.IsNullOrEmpty() || from >= hay.GetLength()) {
        return KF_String::NotFound;
    }
    const unsigned int n = needle.GetLength();
    const unsigned int len = hay.GetLength();
    if (n > len) {
        return KF_String::NotFound;
    }
    const unsigned short* h = hay.Units();
    const unsigned short* k = needle.Units();
    const unsigned short first = map(k[0]);
    for (unsigned int i = from; i <= len - n; ++i) {
        if (map(h[i]) != first) {
            continue;
        }
        unsigned int j = 1;
        while (j < n && map(h[i + j]) == map(k[j])) {
            ++j;
        }
        if (j == n) {
            return i;
        }
    }
    return KF_String::NotFound;
}

} // namespace

unsigned short KF_CharToLowerCase(unsigned short unit)
{
    const locale_t locale = CaseLocale();
    if (locale == locale_t(nullptr)) {
        return (unit >= 'A' && unit <= 'Z') ? static_cast<unsigned short>(unit + 32) : unit;
    }
    const wint_t mapped = towlower_l(wint_t(unit), locale);
    return mapped <= 0xFFFF ? static_cast<unsigned short>(mapped) : unit;
}

unsigned short KF_CharToUpperCase(unsigned short unit)
{
    const locale_t locale = CaseLocale();
    if (locale == locale_t(nullptr)) {
        return (unit >= 'a' && unit <= 'z') ? static_cast<unsigned short>(unit - 32) : unit;
    }
    const wint_t mapped = towupper_l(wint_t(unit), locale);
    return mapped <= 0xFFFF ? static_cast<unsigned short>(mapped) : unit;
}

int KF_String::Compare(const KF_String& a, unsigned int fromA, const KF_String& b, unsigned int fromB,
                       unsigned int count)
{
    return CompareUnits(a, fromA, b, fromB, count, Same);
}

int KF_String::CompareIgnoreCase(const KF_String& a, unsigned int fromA, const KF_String& b, unsigned int fromB,
                                 unsigned int count)
{
    return CompareUnits(a, fromA, b, fromB, count, Lower);
}

bool KF_String::operator<(const KF_String& other) const
{
    return Compare(*this, 0, other, 0, 0) < 0;
}

bool KF_String::operator>(const KF_String& other) const
{
    return Compare(*this, 0, other, 0, 0) > 0;
}

bool KF_String::operator<=(const KF_String& other) const
{
    return Compare(*this, 0, other, 0, 0) <= 0;
}

bool KF_String::operator>=(const KF_String& other) const
{
    return Compare(*this, 0, other, 0, 0) >= 0;
}

bool KF_String::operator==(const KF_String& other) const
{
    return Compare(*this, 0, other, 0, 0) == 0;
}

bool KF_String::Equals(const char* a, const char* b)
{
    return a != nullptr && b != nullptr && CompareBytes(a, b, 0, PlainByte) == 0;
}

bool KF_String::Equals(const char* a, const char* b, unsigned int count)
{
    return a != nullptr && b != nullptr && CompareBytes(a, b, count, PlainByte) == 0;
}

bool KF_String::EqualsIgnoreCase(const char* a, const char* b)
{
    return a != nullptr && b != nullptr && CompareBytes(a, b, 0, LowerByte) == 0;
}

bool KF_String::EqualsIgnoreCase(const char* a, const char* b, unsigned int count)
{
    return a != nullptr && b != nullptr && count != 0 && CompareBytes(a, b, count, LowerByte) == 0;
}

int KF_String::Compare(const char* a, const char* b)
{
    return (a == nullptr || b == nullptr) ? -10 : CompareBytes(a, b, 0, PlainByte);
}

int KF_String::CompareIgnoreCase(const char* a, const char* b)
{
    return (a == nullptr || b == nullptr) ? -10 : CompareBytes(a, b, 0, LowerByte);
}

KF_String KF_String::ToLowerCase() const
{
    KF_String result(*this);
    for (unsigned int i = 0; i < result.length; ++i) {
        result.buffer[i] = KF_CharToLowerCase(result.buffer[i]);
    }
    return result;
}

KF_String KF_String::ToUpperCase() const
{
    KF_String result(*this);
    for (unsigned int i = 0; i < result.length; ++i) {
        result.buffer[i] = KF_CharToUpperCase(result.buffer[i]);
    }
    return result;
}

unsigned int KF_String::IndexOf(const KF_String& needle, unsigned int from) const
{
    return Find(*this, needle, from, Same);
}

unsigned int KF_String::IndexOfIgnoreCase(const KF_String& needle, unsigned int from) const
{
    return Find(*this, needle, from, Lower);
}

unsigned int KF_String::LastIndexOf(const KF_String& needle, unsigned int from) const
{
    if (buffer == nullptr || needle.IsNullOrEmpty() || from >= length || needle.length > length) {
        return NotFound;
    }
    const unsigned int n = needle.length;
    unsigned int start = length - n;
    if (from < start) {
        start = from;
    }
    for (unsigned int i = start + 1; i-- > 0;) {
        unsigned int j = 0;
        while (j < n && buffer[i + j] == needle.buffer[j]) {
            ++j;
        }
        if (j == n) {
            return i;
        }
    }
    return NotFound;
}

unsigned int KF_String::LastIndexOf(const KF_String& needle) const
{
    return length == 0 ? NotFound : LastIndexOf(needle, length - 1);
}

unsigned int KF_String::IndexOf(char c, unsigned int from) const
{
    const unsigned short unit = CharToKF_Char(c, Enc_System);
    if (buffer == nullptr || unit == 0 || from >= length) {
        return NotFound;
    }
    for (unsigned int i = from; i < length; ++i) {
        if (buffer[i] == unit) {
            return i;
        }
    }
    return NotFound;
}

unsigned int KF_String::LastIndexOf(char c, unsigned int from) const
{
    const unsigned short unit = CharToKF_Char(c, Enc_System);
    if (buffer == nullptr || unit == 0 || from >= length) {
        return NotFound;
    }
    for (unsigned int i = from + 1; i-- > 0;) {
        if (buffer[i] == unit) {
            return i;
        }
    }
    return NotFound;
}

unsigned int KF_String::LastIndexOf(char c) const
{
    return length == 0 ? NotFound : LastIndexOf(c, length - 1);
}

bool KF_String::StartsWith(const KF_String& prefix, unsigned int at) const
{
    if (buffer == nullptr || prefix.IsNullOrEmpty() || (at != 0 && at >= length)) {
        return false;
    }
    if (static_cast<unsigned long long>(at) + prefix.length > length) {
        return false;
    }
    for (unsigned int i = 0; i < prefix.length; ++i) {
        if (buffer[at + i] != prefix.buffer[i]) {
            return false;
        }
    }
    return true;
}

bool KF_String::EndsWith(const KF_String& suffix) const
{
    if (buffer == nullptr || suffix.IsNullOrEmpty() || suffix.length > length) {
        return false;
    }
    const unsigned short* tail = buffer + (length - suffix.length);
    for (unsigned int i = 0; i < suffix.length; ++i) {
        if (tail[i] != suffix.buffer[i]) {
            return false;
        }
    }
    return true;
}
