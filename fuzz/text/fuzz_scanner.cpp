// The scanner over arbitrary text, driven by an arbitrary sequence of its operations: the cursor
// stays within the text, reads without advance leave it alone, and every call ends.
#include "FuzzSupport.hpp"

#include "KF/KF_Text_Scanner.hpp"

#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    textfuzz::Input in(data, size);
    std::size_t const opCount = in.Byte() % 64;
    std::vector<std::uint8_t> ops;
    for (std::size_t i = 0; i < opCount; ++i) {
        ops.push_back(in.Byte());
        ops.push_back(in.Byte());
    }
    // Latin-1 makes every byte one unit; the last byte of the ops picks UTF-16 units instead.
    // A terminated copy: a length of 0 means "up to the terminator" to the constructor below.
    std::string const restText(reinterpret_cast<const char*>(in.Rest()), in.RestSize());
    const char* rest = restText.c_str();
    const unsigned int restSize = unsigned(restText.size());
    KF_String text;
    if (!ops.empty() && (ops.back() & 1) != 0) {
        std::vector<unsigned short> units(restSize / 2);
        for (std::size_t i = 0; i < units.size(); ++i) {
            units[i] = static_cast<unsigned short>(std::uint8_t(rest[2 * i]) | (std::uint8_t(rest[2 * i + 1]) << 8));
        }
        text = KF_String(units.data(), unsigned(units.size()));
    } else {
        text = KF_String(rest, restSize, KF_String::Enc_ISOLatin1);
    }

    static const char* const needles[] = {"*/", "\"", "/*", "\xC3\xA9", "a", "\r\n", " "};
    KF_Text_Scanner scanner;
    scanner.Set(text);
    textfuzz::Check(scanner.length == text.GetLength(), "the scanner copies the whole text");
    for (std::size_t k = 0; k + 1 < ops.size(); k += 2) {
        std::uint8_t const op = ops[k];
        std::uint8_t const arg = ops[k + 1];
        const bool advance = (op & 0x80) != 0;
        const short mode = short(arg % 5);
        std::uint64_t const before = scanner.position;
        switch (op % 9) {
        case 0:
            scanner.ReadLine((arg & 1) != 0, advance);
            break;
        case 1:
            scanner.ReadToken(mode, advance);
            break;
        case 2: {
            long value = 0;
            scanner.ReadLong(value, mode, advance);
            break;
        }
        case 3: {
            KF_String value;
            scanner.ReadDoubleQuotedString(value, mode, advance);
            break;
        }
        case 4: {
            KF_String token = scanner.ReadToken(mode, false);
            scanner.IsInteger(token);
            break;
        }
        case 5: {
            std::uint64_t const reached = scanner.SkipSpacesTabsEOLsComments(advance);
            textfuzz::Check(reached <= scanner.length, "the skip ends inside the text");
            break;
        }
        case 6: {
            const unsigned long from = (arg & 1) != 0 ? static_cast<unsigned long>(scanner.position) : arg;
            KF_String::Encoding const enc = (arg & 2) != 0 ? KF_String::Enc_UTF8 : KF_String::Enc_ISOLatin1;
            std::uint64_t const found = scanner.FindText(needles[(arg >> 2) % 7], from, advance, enc);
            textfuzz::Check(found == KF_Text_Scanner::NotFound || found < scanner.length, "a match lies inside");
            break;
        }
        case 7:
            scanner.position = scanner.length > 0 ? arg % (scanner.length + 1) : 0;
            break;
        default:
            scanner.Set(scanner.ReadLine(true, false));
            break;
        }
        textfuzz::Check(scanner.position <= scanner.length, "the cursor stays within the text");
        if (!advance && op % 9 <= 6) {
            textfuzz::Check(scanner.position == before, "a read without advance leaves the cursor");
        }
    }
    return 0;
}
