// Shared by the text fuzz targets: reading choices from the input, and a check that stops the
// run with the input that broke it.
#pragma once

#include "KF/KF_String.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace textfuzz {

// Every encoding value a caller can pass, including ones that are not valid for conversion and
// one that is not in the table at all (treated as the system encoding).
inline constexpr KF_String::Encoding kEncodings[] = {
    KF_String::Enc_UTF7,      KF_String::Enc_UTF8,       KF_String::Enc_UTF16LE, KF_String::Enc_UTF16BE,
    KF_String::Enc_UTF32LE,   KF_String::Enc_UTF32BE,    KF_String::Enc_ASCII,   KF_String::Enc_MacRoman,
    KF_String::Enc_WinLatin1, KF_String::Enc_ISOLatin1,  KF_String::Enc_System,  KF_String::Encoding(57),
    KF_String::Enc_None,      KF_String::Enc_Unsupported};
inline constexpr std::size_t kEncodingCount = sizeof kEncodings / sizeof kEncodings[0];

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    std::uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }
    KF_String::Encoding Encoding() { return kEncodings[Byte() % kEncodingCount]; }
    const std::uint8_t* Rest() const { return data_ + pos_; }
    std::size_t RestSize() const { return size_ - pos_; }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

[[noreturn]] inline void Fail(const char* what)
{
    std::fprintf(stderr, "text fuzz check failed: %s\n", what);
    std::abort();
}

inline void Check(bool ok, const char* what)
{
    if (!ok) {
        Fail(what);
    }
}

} // namespace textfuzz
