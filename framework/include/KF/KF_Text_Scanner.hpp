// KF_Text_Scanner: walks its own copy of a text with a cursor and hands out lines, blank-separated
// tokens, integers and double-quoted strings; knows block comments ("/*" ... "*/").
//
// Skip modes (applied from the cursor before reading): 0 nothing, 1 spaces and tabs, 2 spaces,
// tabs, CR and LF, 3 those and block comments. With advance false the cursor stays put.
#pragma once

#include "KF/KF_String.hpp"

#include <cstdint>

class KF_Text_Scanner {
public:
    static constexpr std::uint64_t NotFound = ~std::uint64_t(0);

    unsigned short* text = nullptr; // own copy, followed by a zero unit; null before the first Set
    std::uint64_t length = 0;       // units in text
    std::uint64_t position = 0;     // cursor, 0 to length

    KF_Text_Scanner() = default;
    KF_Text_Scanner(const KF_Text_Scanner& other);
    KF_Text_Scanner& operator=(const KF_Text_Scanner& other);
    ~KF_Text_Scanner();

    void Set(const KF_String& source);
    // keepLineEnd set keeps the CR, LF or CR LF in the line; an empty line is the null string.
    KF_String ReadLine(bool keepLineEnd, bool advance);
    KF_String ReadToken(short skipMode, bool advance);
    bool ReadLong(long& value, short skipMode, bool advance);
    bool ReadDoubleQuotedString(KF_String& value, short skipMode, bool advance);
    // "-" and the empty token count as integers.
    bool IsInteger(KF_String& token);
    std::uint64_t SkipSpacesTabsEOLsComments(bool advance);
    // The cursor moves (with advance) to the match plus the byte length of text; NotFound when
    // nothing matches.
    std::uint64_t FindText(const char* text, unsigned long from, bool advance,
                           KF_String::Encoding enc = KF_String::Enc_System);

private:
    std::uint64_t SkipFrom(std::uint64_t at, short skipMode);
    std::uint64_t FindUnits(const KF_String& needle, std::uint64_t from) const;
};
