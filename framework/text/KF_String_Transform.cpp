// KF_String: trimming, replacing, repeating and splitting.
#include "KF/KF_String.hpp"

#include <cstring>
#include <new>
#include <utility>

namespace {

inline bool IsBlank(unsigned short unit, bool tabs)
{
    return unit == ' ' || (tabs && unit == '\t');
}

// Pieces start from the null string, so an empty piece stays null.
inline void AddPiece(KF_List<KF_String>& out, const unsigned short* units, unsigned int count)
{
    out.AddData(KF_String(units, count), -1);
}

// Adds the pieces between separators (a null string gives one null piece). separatorAt(i) is the
// length of the separator at i, 0 for none; keepSeparators leaves each on the piece it ends.
template <typename SeparatorAt>
void AddPieces(KF_List<KF_String>& out, const unsigned short* units, unsigned int length, bool keepSeparators,
               SeparatorAt separatorAt)
{
    if (units == nullptr) {
        out.AddData(KF_String(), -1);
        return;
    }
    unsigned int start = 0;
    unsigned int i = 0;
    while (i < length) {
        const unsigned int separator = separatorAt(i);
        if (separator == 0) {
            ++i;
            continue;
        }
        AddPiece(out, units + start, (keepSeparators ? i + separator : i) - start);
        i += separator;
        start = i;
    }
    AddPiece(out, units + start, length - start);
}

} // namespace

KF_String KF_String::THIS_Trim(bool left, bool right, bool tabs) const
{
    if (buffer == nullptr) {
        return KF_String();
    }
    unsigned int first = 0;
    unsigned int last = length;
    if (left) {
        while (first < last && IsBlank(buffer[first], tabs)) {
            ++first;
        }
    }
    if (right) {
        while (last > first && IsBlank(buffer[last - 1], tabs)) {
            --last;
        }
    }
    return MakeCopy(buffer + first, last - first);
}

KF_String KF_String::Replace(char what, char with) const
{
    KF_String result(*this);
    const unsigned short from = CharToKF_Char(what, Enc_System);
    const unsigned short to = CharToKF_Char(with, Enc_System);
    if (from == 0 || (to == 0 && with != 0)) {
        return result;
    }
    for (unsigned int i = 0; i < result.length; ++i) {
        if (result.buffer[i] == from) {
            result.buffer[i] = to;
        }
    }
    return result;
}

KF_String KF_String::Replace(const KF_String& what, const KF_String& with) const
{
    if (buffer == nullptr || what.buffer == nullptr || with.buffer == nullptr) {
        return KF_String();
    }
    if (what.length == 0) {
        return *this;
    }
    // Count first so that the result is allocated once.
    unsigned long long hits = 0;
    for (unsigned int i = IndexOf(what, 0); i != NotFound;) {
        ++hits;
        const unsigned int next = i + what.length;
        i = next < length ? IndexOf(what, next) : NotFound;
    }
    const unsigned long long size = length + hits * with.length - hits * what.length;
    if (size >= 0xFFFFFFFFull) {
        throw std::bad_alloc();
    }
    KF_String result;
    result.THIS_Alloc(static_cast<unsigned int>(size + 1), false);
    unsigned int at = 0;
    for (unsigned int i = IndexOf(what, 0); i != NotFound;) {
        result.THIS_Append(buffer + at, i - at);
        result.THIS_Append(with.buffer, with.length);
        at = i + what.length;
        i = at < length ? IndexOf(what, at) : NotFound;
    }
    result.THIS_Append(buffer + at, length - at);
    return result;
}

KF_String KF_String::Replace(const char* what, const char* with) const
{
    return Replace(KF_String(what, Enc_System), KF_String(with, Enc_System));
}

void KF_String::Replace(unsigned int first, unsigned int last, const KF_String& with)
{
    if (first == 0 || first > length || last < first) {
        return;
    }
    if (last > length) {
        last = length;
    }
    const unsigned int start = first - 1;
    const unsigned int removed = last - start;
    const unsigned long long size = static_cast<unsigned long long>(length) - removed + with.length;
    if (size >= 0xFFFFFFFFull) {
        throw std::bad_alloc();
    }
    KF_String result;
    result.THIS_Alloc(static_cast<unsigned int>(size + 1), false);
    result.THIS_Append(buffer, start);
    result.THIS_Append(with.buffer, with.length);
    result.THIS_Append(buffer + last, length - last);
    *this = std::move(result);
}

KF_String KF_String::RepeatedSequence(const KF_String& unit, long times)
{
    if (unit.buffer == nullptr || times < 0) {
        return KF_String();
    }
    const unsigned long long size =
        static_cast<unsigned long long>(unit.length) * static_cast<unsigned long long>(times);
    if (unit.length != 0 && (static_cast<unsigned long long>(times) >= 0xFFFFFFFFull || size >= 0xFFFFFFFFull)) {
        return KF_String(); // would not fit any string
    }
    KF_String result;
    result.THIS_Alloc(static_cast<unsigned int>(unit.length == 0 ? 1 : size + 1), false);
    if (unit.length != 0) {
        for (long i = 0; i < times; ++i) {
            result.THIS_Append(unit.buffer, unit.length);
        }
    }
    return result;
}

void KF_String::Split(KF_List<KF_String>& out, char separator) const
{
    out.Reset();
    const unsigned short cut = CharToKF_Char(separator, Enc_System);
    const bool usable = cut != 0 || separator == 0;
    AddPieces(out, buffer, length, false, [&](unsigned int i) { return usable && buffer[i] == cut ? 1u : 0u; });
}

void KF_String::SplitBySpaces(KF_List<KF_String>& out) const
{
    out.Reset();
    AddPieces(out, buffer, length, false, [&](unsigned int i) {
        unsigned int end = i;
        while (end < length && IsBlank(buffer[end], true)) {
            ++end;
        }
        return end - i;
    });
}

void KF_String::SplitLines(KF_List<KF_String>& out, bool stripLineEnds, bool resetList) const
{
    if (resetList) {
        out.Reset();
    }
    AddPieces(out, buffer, length, !stripLineEnds, [&](unsigned int i) {
        unsigned short const unit = buffer[i];
        if (unit != '\n' && unit != '\r') {
            return 0u;
        }
        return (unit == '\r' && i + 1 < length && buffer[i + 1] == '\n') ? 2u : 1u;
    });
}
