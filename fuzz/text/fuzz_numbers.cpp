// The number readers and tests over arbitrary byte texts: no fault, no undefined arithmetic, and
// the answers that must agree do.
#include "FuzzSupport.hpp"

#include <cmath>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const text(reinterpret_cast<char const*>(data), size);  // terminated, cut at a zero byte
    char const* const c = text.c_str();

    long const asLong = KF_String::ToLong(c);
    unsigned long const asULong = KF_String::ToULong(c);
    double const asDouble = KF_String::ToDouble(c);
    bool const integer = KF_String::IsIntegerNumber(c);
    int const number = KF_String::IsNumber(c);
    textfuzz::Check(number >= 0 && number <= 2, "IsNumber answers 0, 1 or 2");
    textfuzz::Check(!integer || number == 1, "an integer is a number without separator");

    // The same grammar over the string form (Latin-1 turns every byte into one unit).
    KF_String const s(c, KF_String::Enc_ISOLatin1);
    textfuzz::Check(KF_String::IsIntegerNumber(s) == integer, "integer test: bytes and string agree");
    textfuzz::Check(KF_String::IsNumber(s) == number, "number test: bytes and string agree");

    // Formatting and reading back give the same integer.
    unsigned int const width = size > 0 ? data[0] % 40 : 0;
    KF_String const formatted = KF_String::LongToString(asLong, width);
    KF_CString const back = formatted.ToCStr(KF_String::Enc_System);
    textfuzz::Check(back.bytes != nullptr && KF_String::ToLong(back.bytes) == asLong, "LongToString reads back");
    textfuzz::Check(formatted.GetLength() >= width, "the field is at least width wide");

    if (std::isfinite(asDouble)) {
        KF_String const general = KF_String::DoubleToString(asDouble, 0u, 0u);
        KF_String const fixed = KF_String::DoubleToString(asDouble, int(size % 8));
        textfuzz::Check(!general.IsNullOrEmpty() && !fixed.IsNullOrEmpty(), "a finite double formats");
    }
    (void)asULong;
    return 0;
}
