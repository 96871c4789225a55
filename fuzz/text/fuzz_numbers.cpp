// The number readers and tests over arbitrary byte texts: no fault, no undefined arithmetic, and
// the answers that must agree do.
#include "FuzzSupport.hpp"

#include <cmath>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string const text(reinterpret_cast<const char*>(data), size); // terminated, cut at a zero byte
    const char* const c = text.c_str();

    const long asLong = KF_String::ToLong(c);
    const unsigned long asULong = KF_String::ToULong(c);
    const double asDouble = KF_String::ToDouble(c);
    const bool integer = KF_String::IsIntegerNumber(c);
    const int number = KF_String::IsNumber(c);
    textfuzz::Check(number >= 0 && number <= 2, "IsNumber answers 0, 1 or 2");
    textfuzz::Check(!integer || number == 1, "an integer is a number without separator");

    // The same grammar over the string form (Latin-1 turns every byte into one unit).
    const KF_String s(c, KF_String::Enc_ISOLatin1);
    textfuzz::Check(KF_String::IsIntegerNumber(s) == integer, "integer test: bytes and string agree");
    textfuzz::Check(KF_String::IsNumber(s) == number, "number test: bytes and string agree");

    // Formatting and reading back give the same integer.
    const unsigned int width = size > 0 ? data[0] % 40 : 0;
    const KF_String formatted = KF_String::LongToString(asLong, width);
    const KF_CString back = formatted.ToCStr(KF_String::Enc_System);
    textfuzz::Check(back.bytes != nullptr && KF_String::ToLong(back.bytes) == asLong, "LongToString reads back");
    textfuzz::Check(formatted.GetLength() >= width, "the field is at least width wide");

    if (std::isfinite(asDouble)) {
        const KF_String general = KF_String::DoubleToString(asDouble, 0u, 0u);
        const KF_String fixed = KF_String::DoubleToString(asDouble, int(size % 8));
        textfuzz::Check(!general.IsNullOrEmpty() && !fixed.IsNullOrEmpty(), "a finite double formats");
    }
    (void)asULong;
    return 0;
}
