// KF_String: storage, construction, assignment, concatenation and element access.
#include "KF/KF_String.hpp"

#include "HostUniString.hpp"

#include <cstring>
#include <new>
#include <utility>

KF_String::KF_String() : buffer(nullptr), length(0), capacity(0) {}

KF_String::KF_String(const char* text, Encoding enc) : KF_String()
{
    CStringToKF_String(*this, text, 0, enc, false);
}

KF_String::KF_String(const char* text, unsigned int lengthBytes, Encoding enc) : KF_String()
{
    CStringToKF_String(*this, text, lengthBytes, enc, false);
}

KF_String::KF_String(const unsigned short* units) : KF_String()
{
    if (units == nullptr) {
        return;
    }
    // Through the host's string, the add-on's boundary type.
    Base::UniString const boundary(units);
    THIS_Alloc(static_cast<unsigned int>(boundary.GetLength() + 1), false);
    THIS_Append(boundary.ToUStr(), static_cast<unsigned int>(boundary.GetLength()));
}

KF_String::KF_String(const unsigned short* units, unsigned int count) : KF_String()
{
    THIS_Append(units, count);
}

KF_String::KF_String(const KF_String& other) : KF_String()
{
    if (other.buffer != nullptr) {
        THIS_Alloc(other.length + 1, false);
        std::memcpy(buffer, other.buffer, (std::size_t(other.length) + 1) * sizeof(unsigned short));
        length = other.length;
    }
}

KF_String::KF_String(KF_String* other) : KF_String()
{
    if (other != nullptr && other != this) {
        std::swap(buffer, other->buffer);
        std::swap(length, other->length);
        std::swap(capacity, other->capacity);
    }
}

KF_String::KF_String(KF_String&& other) noexcept : buffer(other.buffer), length(other.length), capacity(other.capacity)
{
    other.buffer = nullptr;
    other.length = 0;
    other.capacity = 0;
}

KF_String::~KF_String()
{
    delete[] buffer;
}

void KF_String::Release()
{
    delete[] buffer;
    buffer = nullptr;
    length = 0;
    capacity = 0;
}

KF_String KF_String::MakeEmpty()
{
    KF_String s;
    s.THIS_Alloc(1, false);
    return s;
}

KF_String KF_String::MakeCopy(const unsigned short* units, unsigned int count)
{
    KF_String s;
    s.THIS_Alloc(count + 1, false);
    s.THIS_Append(units, count);
    return s;
}

KF_String& KF_String::operator=(const char* text)
{
    KF_String converted(text, Enc_System);
    return *this = std::move(converted);
}

KF_String& KF_String::operator=(const KF_String& other)
{
    if (this == &other) {
        return *this;
    }
    if (other.buffer == nullptr) {
        Release();
        return *this;
    }
    THIS_Alloc(other.length + 1, false);
    std::memcpy(buffer, other.buffer, (std::size_t(other.length) + 1) * sizeof(unsigned short));
    length = other.length;
    return *this;
}

KF_String& KF_String::operator=(KF_String&& other) noexcept
{
    if (this != &other) {
        delete[] buffer;
        buffer = other.buffer;
        length = other.length;
        capacity = other.capacity;
        other.buffer = nullptr;
        other.length = 0;
        other.capacity = 0;
    }
    return *this;
}

KF_String KF_String::operator+(const char* text) const
{
    KF_String result(*this);
    result += text;
    return result;
}

KF_String KF_String::operator+(const KF_String& other) const
{
    KF_String result(*this);
    result += other;
    return result;
}

KF_String operator+(const char* text, const KF_String& s)
{
    KF_String result(text, KF_String::Enc_System);
    result += s;
    return result;
}

KF_String& KF_String::operator+=(const char* text)
{
    const KF_String converted(text, Enc_System);
    THIS_Append(converted.buffer, converted.length);
    return *this;
}

KF_String& KF_String::operator+=(const KF_String& other)
{
    THIS_Append(other.buffer, other.length);
    return *this;
}

bool KF_String::Set(const char* text, unsigned int lengthBytes, Encoding enc)
{
    return CStringToKF_String(*this, text, lengthBytes, enc, false);
}

void KF_String::SetCat(const char* a, unsigned int lenA, const char* b, unsigned int lenB, const char* c,
                       unsigned int lenC)
{
    if (a == nullptr && b == nullptr && c == nullptr) {
        SetToNullString();
        return;
    }
    KF_String result = MakeEmpty();
    const char* const pieces[3] = {a, b, c};
    const unsigned int limits[3] = {lenA, lenB, lenC};
    for (int i = 0; i < 3; ++i) {
        const char* const piece = pieces[i];
        if (piece == nullptr) {
            continue;
        }
        unsigned int bytes = limits[i];
        if (bytes == 0) {
            bytes = Length(piece);
        } else if (const void* zero = std::memchr(piece, 0, bytes)) {
            bytes = static_cast<unsigned int>(static_cast<const char*>(zero) - piece);
        }
        if (bytes > 0) {
            // A piece that does not convert is left out.
            CStringToKF_String(result, piece, bytes, Enc_System, true);
        }
    }
    *this = std::move(result);
}

void KF_String::SetToNullString()
{
    Release();
}

unsigned int KF_String::Length(const char* text)
{
    return text == nullptr ? 0 : static_cast<unsigned int>(std::strlen(text));
}

void KF_String::THIS_Alloc(unsigned int n, bool keep)
{
    if (capacity >= n) {
        return;
    }
    auto* fresh = new unsigned short[n];
    if (keep && buffer != nullptr) {
        std::memcpy(fresh, buffer, (std::size_t(length) + 1) * sizeof(unsigned short));
    } else {
        length = 0;
        fresh[0] = 0;
    }
    delete[] buffer;
    buffer = fresh;
    capacity = n;
}

void KF_String::SetSize(unsigned int n, bool keep)
{
    // A buffer always holds at least its terminator, so a size of 0 gives the empty string.
    const unsigned int units = n > 0 ? n : 1;
    auto* fresh = new unsigned short[units];
    unsigned int kept = 0;
    if (keep && buffer != nullptr) {
        kept = length < units - 1 ? length : units - 1;
        std::memcpy(fresh, buffer, std::size_t(kept) * sizeof(unsigned short));
    }
    fresh[kept] = 0;
    delete[] buffer;
    buffer = fresh;
    length = kept;
    capacity = units;
}

void KF_String::THIS_Append(const unsigned short* units, unsigned int count)
{
    if (units == nullptr || count == 0) {
        return;
    }
    const unsigned long long total = static_cast<unsigned long long>(length) + count + 1;
    if (total > 0xFFFFFFFFull) {
        throw std::bad_alloc();
    }
    // The units may lie in this very buffer (s += s); find them again after a reallocation.
    const bool inside = buffer != nullptr && units >= buffer && units < buffer + capacity;
    std::size_t const offset = inside ? std::size_t(units - buffer) : 0;
    THIS_Alloc(static_cast<unsigned int>(total), true);
    if (inside) {
        units = buffer + offset;
    }
    std::memmove(buffer + length, units, std::size_t(count) * sizeof(unsigned short));
    length += count;
    buffer[length] = 0;
}

unsigned short KF_String::UCharAt(unsigned int i) const
{
    return (buffer != nullptr && i < length) ? buffer[i] : 0;
}

void KF_String::SetUCharAt(unsigned int i, unsigned short unit)
{
    if (buffer != nullptr && i < length) {
        buffer[i] = unit;
    }
}

char KF_String::CharAt(unsigned int i) const
{
    if (buffer == nullptr || i >= length) {
        return 0;
    }
    return KF_CharToChar(buffer[i], Enc_System);
}

void KF_String::SetCharAt(unsigned int i, char c)
{
    if (buffer == nullptr || i >= length) {
        return;
    }
    const unsigned short unit = CharToKF_Char(c, Enc_System);
    // A byte that is no character of the system encoding is not stored.
    if (unit != 0 || c == 0) {
        buffer[i] = unit;
    }
}

KF_String KF_String::Substring(unsigned int from) const
{
    if (buffer == nullptr || from > length) {
        return KF_String();
    }
    return Substring(from, length - from);
}

KF_String KF_String::Substring(unsigned int from, unsigned int count) const
{
    if (buffer == nullptr || from > length) {
        return KF_String();
    }
    const unsigned int avail = length - from;
    const unsigned int n = count < avail ? count : avail;
    return MakeCopy(buffer + from, n);
}

KF_String KF_String::EndSubstring(unsigned int count, unsigned int skipFromEnd) const
{
    if (buffer == nullptr || skipFromEnd > length || static_cast<unsigned long long>(count) + skipFromEnd > length) {
        return KF_String();
    }
    return MakeCopy(buffer + (length - skipFromEnd - count), count);
}
