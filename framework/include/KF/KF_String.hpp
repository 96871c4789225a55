// KF_String: the framework's one text type, an owned buffer of UTF-16 code units, and KF_CString,
// an owned byte string with its encoding.
//
// A string has two empty states that callers can tell apart: the null string (no buffer) and the
// empty string (a buffer holding only the terminator). Whenever there is a buffer, the unit at
// GetLength() is 0. Every 8-bit text is read and written in Enc_System unless an encoding is given.
#pragma once

#include "HostUniString.hpp"
#include "KF/KF_List.hpp"

#include <cstdint>

struct KF_CString;

class KF_String {
public:
    // The numeric values travel between modules and files and are fixed. Any other value of 2 or
    // more is treated as Enc_System.
    enum Encoding : std::int32_t {
        Enc_None = 0,        // nothing detected; invalid for conversion
        Enc_Unsupported = 1, // a byte-order mark of an encoding that cannot be converted
        Enc_System = 2,      // the application's current 8-bit text encoding
        Enc_UTF7 = 10,
        Enc_UTF8 = 11,
        Enc_UTF16LE = 12, // the string's own in-memory form
        Enc_UTF16BE = 13,
        Enc_UTF32LE = 14,
        Enc_UTF32BE = 15,
        Enc_ASCII = 100,
        Enc_MacRoman = 101,
        Enc_WinLatin1 = 102, // Windows code page 1252
        Enc_ISOLatin1 = 103  // ISO 8859-1
    };

    // What the searches return when nothing is found (all bits set).
    static constexpr unsigned int NotFound = 0xFFFFFFFFu;

    // --- construction, assignment, lifetime -------------------------------------------------
    KF_String();
    // A null text gives the null string; a failed conversion too.
    KF_String(const char* text, Encoding enc = Enc_System); // NOLINT(google-explicit-constructor)
    // A length of 0 means: up to the terminator.
    KF_String(const char* text, unsigned int lengthBytes, Encoding enc);
    // Terminated UTF-16 units; a null pointer gives the null string.
    KF_String(const unsigned short* units); // NOLINT(google-explicit-constructor)
    // Exactly count units; a null pointer or a count of 0 gives the null string.
    KF_String(const unsigned short* units, unsigned int count);
    KF_String(const KF_String& other);
    // Takes over other's buffer and leaves other as the null string.
    explicit KF_String(KF_String* other);
    KF_String(KF_String&& other) noexcept;
    ~KF_String();

    KF_String& operator=(const char* text);
    KF_String& operator=(const KF_String& other);
    KF_String& operator=(KF_String&& other) noexcept;

    KF_String operator+(const char* text) const;
    KF_String operator+(const KF_String& other) const;
    friend KF_String operator+(const char* text, const KF_String& s);
    KF_String& operator+=(const char* text);
    KF_String& operator+=(const KF_String& other);

    // Replaces the content by the converted text; false (content unchanged) when conversion fails.
    bool Set(const char* text, unsigned int lengthBytes, Encoding enc);
    // Concatenation of up to three Enc_System texts, each cut at its terminator or its length
    // (0: the whole text); null pieces are skipped, all three null give the null string.
    void SetCat(const char* a, unsigned int lenA, const char* b, unsigned int lenB, const char* c, unsigned int lenC);
    void SetToNullString();
    void SetSize(unsigned int capacity, bool keep);
    // Byte length of a terminated byte text (0 for null).
    static unsigned int Length(const char* text);

    // --- state (beside the data model) -----------------------------------------------------
    // The units, terminated; null for the null string.
    const unsigned short* Units() const { return buffer; }
    unsigned int GetLength() const { return length; }
    unsigned int GetCapacity() const { return capacity; }
    bool IsNull() const { return buffer == nullptr; }
    // True for the null string and for the empty string.
    bool IsNullOrEmpty() const { return length == 0; }
    // The host's string of the same units; the null and the empty string both give an empty one.
    Base::UniString ToUniString() const
    {
        return IsNullOrEmpty() ? Base::UniString() : Base::UniString(buffer, length);
    }

    // --- access ----------------------------------------------------------------------------
    unsigned short UCharAt(unsigned int i) const;
    void SetUCharAt(unsigned int i, unsigned short unit);
    char CharAt(unsigned int i) const;
    void SetCharAt(unsigned int i, char c);
    KF_String Substring(unsigned int from) const;
    KF_String Substring(unsigned int from, unsigned int count) const;
    KF_String EndSubstring(unsigned int count, unsigned int skipFromEnd) const;

    // --- comparison (-1, 0, 1) ---------------------------------------------------------------
    static int Compare(const KF_String& a, unsigned int fromA, const KF_String& b, unsigned int fromB,
                       unsigned int count);
    static int CompareIgnoreCase(const KF_String& a, unsigned int fromA, const KF_String& b, unsigned int fromB,
                                 unsigned int count);
    bool operator<(const KF_String& other) const;
    bool operator>(const KF_String& other) const;
    bool operator<=(const KF_String& other) const;
    bool operator>=(const KF_String& other) const;
    // Whole-string equality; the null string equals only the null string.
    bool operator==(const KF_String& other) const;
    bool operator!=(const KF_String& other) const { return !(*this == other); }

    // Byte texts, compared as signed bytes.
    static bool Equals(const char* a, const char* b);
    static bool Equals(const char* a, const char* b, unsigned int count); // count 0: whole texts
    static bool EqualsIgnoreCase(const char* a, const char* b);
    static bool EqualsIgnoreCase(const char* a, const char* b, unsigned int count); // count 0: false
    static int Compare(const char* a, const char* b);                               // -10 when either is null
    static int CompareIgnoreCase(const char* a, const char* b);                     // -10 when either is null

    KF_String ToLowerCase() const;
    KF_String ToUpperCase() const;

    // --- search (NotFound when nothing is found) -------------------------------------------
    unsigned int IndexOf(const KF_String& needle, unsigned int from = 0) const;
    unsigned int IndexOfIgnoreCase(const KF_String& needle, unsigned int from = 0) const;
    unsigned int LastIndexOf(const KF_String& needle, unsigned int from) const;
    unsigned int LastIndexOf(const KF_String& needle) const;
    unsigned int IndexOf(char c, unsigned int from = 0) const;
    unsigned int LastIndexOf(char c, unsigned int from) const;
    unsigned int LastIndexOf(char c) const;
    bool StartsWith(const KF_String& prefix, unsigned int at = 0) const;
    bool EndsWith(const KF_String& suffix) const;

    // --- transformations -------------------------------------------------------------------
    KF_String THIS_Trim(bool left, bool right, bool tabs) const;
    KF_String Replace(char what, char with) const;
    // Null when this, what or with is null; an empty what changes nothing.
    KF_String Replace(const KF_String& what, const KF_String& with) const;
    KF_String Replace(const char* what, const char* with) const;
    // In place, 1-based inclusive positions (unlike every other index here).
    void Replace(unsigned int first, unsigned int last, const KF_String& with);
    static KF_String RepeatedSequence(const KF_String& unit, long times);
    // Pieces are built from the null string, so an empty piece is the null string.
    void Split(KF_List<KF_String>& out, char separator) const;
    void SplitBySpaces(KF_List<KF_String>& out) const;
    // stripLineEnds set: pieces exclude their line ends.
    void SplitLines(KF_List<KF_String>& out, bool stripLineEnds, bool resetList) const;

    // --- conversion ------------------------------------------------------------------------
    // Returns the bytes written or needed (terminator included when terminate is set), or
    // -1 conversion failed, -2 destination too small, -3 null source, -4 bad source encoding,
    // -5 bad destination encoding. The terminator must fit within dstBytes too (size dst with a
    // first call, dst null). After -1 or -2 the bytes of dst are unspecified. A srcBytes of 0 or
    // less reads the source up to its first zero unit.
    static long ConvertChangeEncoding(Encoding from, const char* src, long srcBytes, Encoding to, char* dst,
                                      long dstBytes, bool terminate, bool lossy);
    // 0 when the byte is not a character of enc.
    static unsigned short CharToKF_Char(char c, Encoding enc);
    // '?' when the unit has no single-byte form in enc.
    static char KF_CharToChar(unsigned short unit, Encoding enc);
    static bool CStringToKF_String(KF_String& dst, const char* src, unsigned int srcBytes, Encoding enc, bool append);
    // *out is an array-new block the caller releases with delete[]; outBytes counts the terminator.
    static bool KF_StringToCString(char** out, unsigned int& outBytes, Encoding enc, const KF_String& src,
                                   unsigned int from, unsigned int count);
    // Bytes without terminator, or -1.
    static long KF_StringToCStringLenBytes(Encoding enc, const KF_String& src, unsigned int from, unsigned int count);
    // The KF_CString's length counts the terminator; the null string gives null bytes, length 0.
    KF_CString ToCStr(Encoding enc = Enc_System) const;
    bool ToCStr(KF_CString& out, Encoding enc) const;

    static KF_CString GetBOM(Encoding enc);
    static unsigned int DetectBOM(const void* bytes, unsigned int size, Encoding& enc);
    static Encoding TextToString(KF_String& dst, const char* bytes, unsigned int size, bool detect, Encoding fallback);
    static bool IsUTF8(const char* text, bool needMultibyte);
    static bool IsUTF8(const char* text, unsigned int size, bool needMultibyte);

    // --- numbers ---------------------------------------------------------------------------
    static long ToLong(const char* text);
    static unsigned long ToULong(const char* text);
    static double ToDouble(const char* text);
    static bool IsIntegerNumber(const char* text);
    static bool IsIntegerNumber(const KF_String& text);
    // 0 no number, 1 integer, 2 number with a decimal separator.
    static int IsNumber(const KF_String& text);
    static int IsNumber(const char* text);
    static KF_String LongToString(const long& value, unsigned int width);
    static KF_String DoubleToString(double value, unsigned int width, unsigned int decimals);
    static KF_String DoubleToString(double value, int decimals);
    static KF_String Format(const char* format, ...) __attribute__((format(printf, 1, 2)));

private:
    unsigned short* buffer;
    unsigned int length;
    unsigned int capacity;

    void THIS_Alloc(unsigned int n, bool keep);
    void THIS_Append(const unsigned short* units, unsigned int count);
    void Release();
    static KF_String MakeEmpty();
    // A non-null string of exactly these units (the empty string for a count of 0).
    static KF_String MakeCopy(const unsigned short* units, unsigned int count);
};

KF_String operator+(const char* text, const KF_String& s);

unsigned short KF_CharToLowerCase(unsigned short unit);
unsigned short KF_CharToUpperCase(unsigned short unit);

// A converted byte string. Owns bytes (array new); copies are deep.
struct KF_CString {
    char* bytes = nullptr;
    unsigned int length = 0; // bytes, terminator included when it came from a conversion
    KF_String::Encoding encoding = KF_String::Enc_None;

    KF_CString() = default;
    KF_CString(const KF_CString& other);
    KF_CString(KF_CString&& other) noexcept;
    KF_CString& operator=(const KF_CString& other);
    KF_CString& operator=(KF_CString&& other) noexcept;
    ~KF_CString();

    void Release();
};
