#include "KF/KF_Text_Scanner.hpp"

#include <cstring>

namespace {

inline bool IsBlank(unsigned short unit)
{
    return unit == '\t' || unit == '\n' || unit == '\r' || unit == ' ';
}

inline bool IsInlineBlank(unsigned short unit)
{
    return unit == '\t' || unit == ' ';
}

} // namespace

KF_Text_Scanner::KF_Text_Scanner(const KF_Text_Scanner& other) : length(other.length), position(other.position)
{
    if (other.text != nullptr) {
        text = new unsigned short[other.length + 1];
        std::memcpy(text, other.text, (other.length + 1) * sizeof(unsigned short));
    }
}

KF_Text_Scanner& KF_Text_Scanner::operator=(const KF_Text_Scanner& other)
{
    if (this != &other) {
        KF_Text_Scanner copy(other);
        std::swap(text, copy.text);
        std::swap(length, copy.length);
        std::swap(position, copy.position);
    }
    return *this;
}

KF_Text_Scanner::~KF_Text_Scanner()
{
    delete[] text;
}

void KF_Text_Scanner::Set(const KF_String& source)
{
    delete[] text;
    text = nullptr;
    length = 0;
    position = 0;
    if (source.IsNull()) {
        return;
    }
    std::uint64_t const n = source.GetLength();
    text = new unsigned short[n + 1];
    std::memcpy(text, source.Units(), n * sizeof(unsigned short));
    text[n] = 0;
    length = n;
}

KF_String KF_Text_Scanner::ReadLine(bool keepLineEnd, bool advance)
{
    if (text == nullptr || position >= length) {
        return KF_String();
    }
    std::uint64_t end = position;
    while (end < length && text[end] != '\n' && text[end] != '\r') {
        ++end;
    }
    std::uint64_t next = end;
    if (end < length) {
        next = end + ((text[end] == '\r' && end + 1 < length && text[end + 1] == '\n') ? 2 : 1);
    }
    std::uint64_t const stop = keepLineEnd ? next : end;
    KF_String line(text + position, static_cast<unsigned int>(stop - position));
    if (advance) {
        position = next;
    }
    return line;
}

std::uint64_t KF_Text_Scanner::SkipFrom(std::uint64_t at, short skipMode)
{
    switch (skipMode) {
    case 1:
        while (at < length && IsInlineBlank(text[at])) {
            ++at;
        }
        return at;
    case 2:
        while (at < length && IsBlank(text[at])) {
            ++at;
        }
        return at;
    case 3: {
        std::uint64_t const saved = position;
        position = at;
        std::uint64_t const reached = SkipSpacesTabsEOLsComments(false);
        position = saved;
        return reached;
    }
    default:
        return at;
    }
}

KF_String KF_Text_Scanner::ReadToken(short skipMode, bool advance)
{
    if (text == nullptr) {
        return KF_String();
    }
    std::uint64_t const start = SkipFrom(position, skipMode);
    std::uint64_t end = start;
    while (end < length && !IsBlank(text[end])) {
        ++end;
    }
    KF_String token(text + start, static_cast<unsigned int>(end - start));
    if (advance) {
        position = end;
    }
    return token;
}

bool KF_Text_Scanner::IsInteger(KF_String& token)
{
    const unsigned int n = token.GetLength();
    for (unsigned int i = 0; i < n; ++i) {
        const char c = token.CharAt(i);
        if (i == 0 && c == '-') {
            continue;
        }
        if (c < '0' || c > '9') {
            return false;
        }
    }
    return true;
}

bool KF_Text_Scanner::ReadLong(long& value, short skipMode, bool advance)
{
    if (text == nullptr) {
        // Nothing to read is the empty token, which counts as the integer 0.
        value = 0;
        return true;
    }
    std::uint64_t const before = position;
    position = SkipFrom(position, skipMode);
    std::uint64_t const afterSkip = position;
    KF_String token = ReadToken(0, true);
    if (IsInteger(token)) {
        const KF_CString bytes = token.ToCStr(KF_String::Enc_System);
        value = KF_String::ToLong(bytes.bytes);
        if (!advance) {
            position = before;
        }
        return true;
    }
    position = advance ? afterSkip : before;
    return false;
}

bool KF_Text_Scanner::ReadDoubleQuotedString(KF_String& value, short skipMode, bool advance)
{
    if (text == nullptr) {
        return false;
    }
    std::uint64_t const open = SkipFrom(position, skipMode);
    if (advance) {
        position = open;
    }
    if (open >= length || text[open] != '"') {
        return false;
    }
    const KF_String quote("\"", KF_String::Enc_System);
    std::uint64_t close = FindUnits(quote, open + 1);
    while (close != NotFound && text[close - 1] == '\\') {
        close = FindUnits(quote, close + 1);
    }
    if (close == NotFound) {
        return false;
    }
    value = KF_String(text + open + 1, static_cast<unsigned int>(close - open - 1));
    if (advance) {
        position = close + 1;
    }
    return true;
}

std::uint64_t KF_Text_Scanner::SkipSpacesTabsEOLsComments(bool advance)
{
    if (text == nullptr) {
        return position;
    }
    const KF_String closing("*/", KF_String::Enc_System);
    std::uint64_t at = position;
    bool restarted = false;
    while (at < length && text[at] <= '/') {
        if (IsBlank(text[at])) {
            ++at;
            continue;
        }
        if (text[at] != '/' || at + 1 >= length || text[at + 1] != '*') {
            break;
        }
        std::uint64_t const end = FindUnits(closing, at + 2);
        if (end != NotFound) {
            at = end + 2;
        } else if (!restarted) {
            // An unclosed comment sends the scan back to the second unit of the text.
            restarted = true;
            at = 1;
        } else {
            // Met an unclosed comment again: going back once more would never end.
            at = length;
        }
    }
    if (at > length) {
        at = length;
    }
    if (advance) {
        position = at;
    }
    return at;
}

std::uint64_t KF_Text_Scanner::FindUnits(const KF_String& needle, std::uint64_t from) const
{
    std::uint64_t const n = needle.GetLength();
    if (text == nullptr || n == 0 || from >= length || n > length) {
        return NotFound;
    }
    const unsigned short* k = needle.Units();
    for (std::uint64_t i = from; i + n <= length; ++i) {
        if (text[i] == k[0] && std::memcmp(text + i, k, n * sizeof(unsigned short)) == 0) {
            return i;
        }
    }
    return NotFound;
}

std::uint64_t KF_Text_Scanner::FindText(const char* what, unsigned long from, bool advance, KF_String::Encoding enc)
{
    if (what == nullptr || *what == 0 || from >= length) {
        return NotFound;
    }
    const KF_String needle(what, enc);
    if (needle.IsNullOrEmpty()) {
        return NotFound;
    }
    std::uint64_t const found = FindUnits(needle, from);
    if (found == NotFound) {
        if (advance) {
            position = length;
        }
        return NotFound;
    }
    if (advance) {
        // Moves by the byte length of the text, not by its units; never past the end.
        std::uint64_t const next = found + std::strlen(what);
        position = next < length ? next : length;
    }
    return found;
}
