// KF_String: reading numbers from byte texts and writing them back.
//
// The readers are deliberately forgiving (they skip junk before the digits) and mark "no number"
// with the largest value of the type. Digits accumulate without overflow checks, with unsigned
// arithmetic so that an overlong number wraps instead of being undefined.
#include "KF/KF_String.hpp"

#include <cfloat>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

inline bool IsDigit(unsigned int c)
{
    return c >= '0' && c <= '9';
}

unsigned long Accumulate(const char* p)
{
    unsigned long value = 0;
    while (IsDigit(static_cast<unsigned char>(*p))) {
        value = value * 10u + static_cast<unsigned long>(*p - '0');
        ++p;
    }
    return value;
}

// The shared grammar of the number tests: spaces, at most one sign, spaces, digits, and (when
// allowed) one separator followed by digits. Returns 0 no number, 1 integer, 2 with separator.
template <typename Unit>
int Classify(const Unit* s, std::size_t n, bool allowSeparator)
{
    std::size_t i = 0;
    while (i < n && s[i] == ' ') {
        ++i;
    }
    if (i < n && (s[i] == '+' || s[i] == '-')) {
        ++i;
        while (i < n && s[i] == ' ') {
            ++i;
        }
    }
    std::size_t digits = 0;
    while (i < n && IsDigit(static_cast<unsigned int>(s[i]))) {
        ++i;
        ++digits;
    }
    int kind = 1;
    if (allowSeparator && i < n && (s[i] == '.' || s[i] == ',')) {
        ++i;
        std::size_t fraction = 0;
        while (i < n && IsDigit(static_cast<unsigned int>(s[i]))) {
            ++i;
            ++fraction;
        }
        if (fraction == 0) {
            return 0;
        }
        digits += fraction;
        kind = 2;
    }
    return (digits > 0 && i == n) ? kind : 0;
}

// Widths and precisions beyond this produce no text: formatting them would only burn time and
// memory on padding.
constexpr unsigned int kMaxField = 4096;

KF_String FromFormat(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const int size = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    KF_String result;
    // A width or precision beyond any sensible text gives the null string.
    if (size >= 0 && size < (1 << 26)) {
        std::string text(std::size_t(size) + 1, '\0');
        std::vsnprintf(text.data(), text.size(), format, again);
        result = KF_String(text.c_str(), KF_String::Enc_System);
    }
    va_end(again);
    return result;
}

} // namespace

long KF_String::ToLong(const char* text)
{
    if (text == nullptr || *text == 0) {
        return 0;
    }
    const char* p = text;
    bool negative = false;
    if (!IsDigit(static_cast<unsigned char>(*p))) {
        while (*p != 0 && !IsDigit(static_cast<unsigned char>(*p))) {
            if (*p == '-') {
                if (!IsDigit(static_cast<unsigned char>(p[1]))) {
                    return 0;
                }
                negative = true;
                ++p;
                break;
            }
            ++p;
        }
        if (*p == 0) {
            return LONG_MAX;
        }
    }
    const unsigned long magnitude = Accumulate(p);
    return static_cast<long>(negative ? 0ul - magnitude : magnitude);
}

unsigned long KF_String::ToULong(const char* text)
{
    if (text == nullptr || *text == 0) {
        return 0;
    }
    const char* p = text;
    while (*p != 0 && !IsDigit(static_cast<unsigned char>(*p))) {
        ++p;
    }
    if (*p == 0) {
        return ULONG_MAX;
    }
    return Accumulate(p);
}

double KF_String::ToDouble(const char* text)
{
    if (text == nullptr || *text == 0) {
        return 0;
    }
    const char* p = text;
    bool negative = false;
    while (*p != 0 && !IsDigit(static_cast<unsigned char>(*p)) && *p != '.' && *p != ',') {
        if (*p == '-') {
            negative = true;
            ++p;
            break;
        }
        ++p;
    }
    if (*p == 0 && !negative) {
        return DBL_MAX;
    }
    double value = 0;
    while (IsDigit(static_cast<unsigned char>(*p))) {
        value = value * 10 + (*p - '0');
        ++p;
    }
    if (*p == '.' || *p == ',') {
        ++p;
        if (!IsDigit(static_cast<unsigned char>(*p))) {
            return DBL_MAX;
        }
        double factor = 0.1;
        while (IsDigit(static_cast<unsigned char>(*p))) {
            value += (*p - '0') * factor;
            factor /= 10;
            ++p;
        }
    }
    if (p[0] == 'e' && (p[1] == '+' || p[1] == '-') && IsDigit(static_cast<unsigned char>(p[2]))) {
        const bool divide = p[1] == '-';
        const long steps = ToLong(p + 2);
        // Once the value is 0 or infinite, further steps cannot change it.
        for (long i = 0; i < steps && value != 0 && value <= DBL_MAX; ++i) {
            value = divide ? value / 10 : value * 10;
        }
    }
    return negative ? -value : value;
}

bool KF_String::IsIntegerNumber(const char* text)
{
    return text != nullptr && Classify(text, std::char_traits<char>::length(text), false) == 1;
}

bool KF_String::IsIntegerNumber(const KF_String& text)
{
    return !text.IsNull() && Classify(text.Units(), text.GetLength(), false) == 1;
}

int KF_String::IsNumber(const KF_String& text)
{
    return text.IsNull() ? 0 : Classify(text.Units(), text.GetLength(), true);
}

int KF_String::IsNumber(const char* text)
{
    return text == nullptr ? 0 : Classify(text, std::char_traits<char>::length(text), true);
}

KF_String KF_String::LongToString(const long& value, unsigned int width)
{
    if (width > kMaxField) {
        return KF_String();
    }
    std::string format = "%ld";
    if (width != 0) {
        format = "%" + std::to_string(width) + "ld";
    }
    return FromFormat(format.c_str(), value);
}

KF_String KF_String::DoubleToString(double value, unsigned int width, unsigned int decimals)
{
    if (width > kMaxField || decimals > kMaxField) {
        return KF_String();
    }
    std::string const widthPart = width != 0 ? std::to_string(width) : std::string();
    std::string const precisionPart = decimals != 0 ? "." + std::to_string(decimals) + "f" : std::string("g");
    std::string const format = "%" + widthPart + precisionPart;
    return FromFormat(format.c_str(), value);
}

KF_String KF_String::DoubleToString(double value, int decimals)
{
    if (decimals > int(kMaxField)) {
        return KF_String();
    }
    std::string const format = decimals < 0 ? std::string("%g") : "%." + std::to_string(decimals) + "f";
    return FromFormat(format.c_str(), value);
}

KF_String KF_String::Format(const char* format, ...)
{
    if (format == nullptr) {
        return KF_String();
    }
    char text[2048];
    va_list args;
    va_start(args, format);
    const int size = std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (size < 0) {
        return KF_String();
    }
    return KF_String(text, Enc_System);
}
