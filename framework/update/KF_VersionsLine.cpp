// One head line of the versions file: its classification and its split into a record.
#include "KF_VersionsFile.hpp"

#include "KF/KF_Language.hpp"

namespace kf::detail {
namespace {

// Digit tests look at the narrow form of a piece and accept only the bytes "0" to "9".
class Narrow {
public:
    explicit Narrow(const KF_String& s) : c_(s.ToCStr(KF_String::Enc_System)) {}
    // Byte i, or 0 at and beyond the terminator.
    char At(unsigned int i) const
    {
        if (c_.bytes == nullptr)
            return 0;
        for (unsigned int k = 0; k < i; ++k)
            if (c_.bytes[k] == 0)
                return 0;
        return c_.bytes[i];
    }
    bool AllDigits() const
    {
        if (c_.bytes == nullptr)
            return true;
        for (const char* p = c_.bytes; *p != 0; ++p)
            if (!IsDigit(*p))
                return false;
        return true;
    }
    static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
    static bool IsDateSeparator(char c) { return c == '-' || c == '/'; }

private:
    KF_CString c_;
};

// "DD?MM?YYYY" at the start of the piece, "?" being "-" or "/"; what follows is not looked at.
bool LooksLikeDate(const KF_String& piece)
{
    const Narrow n(piece);
    if (!Narrow::IsDateSeparator(n.At(2)) || !Narrow::IsDateSeparator(n.At(5)))
        return false;
    for (unsigned int i : {0u, 1u, 3u, 4u, 6u, 7u, 8u, 9u})
        if (!Narrow::IsDigit(n.At(i)))
            return false;
    return true;
}

long ToLong(const KF_String& s)
{
    const KF_CString c = s.ToCStr(KF_String::Enc_System);
    return KF_String::ToLong(c.bytes);
}

// Numbers beyond 16 bits keep their low 16 bits.
unsigned short Low16(long value)
{
    return static_cast<unsigned short>(static_cast<unsigned long>(value) & 0xFFFFu);
}

const KF_String& Token(const KF_List<KF_String>& tokens, long i)
{
    return tokens[i];
}

} // namespace

KF_String KF_AddonUpdate_FormatDate(KF_String& date)
{
    return date.Substring(6, 4) + date.Substring(3, 2) + date.Substring(0, 2);
}

short KF_AddonUpdate_CheckVersionFormat(KF_List<KF_String>& tokens)
{
    if (tokens.GetCount() < 2)
        return 0;
    const KF_String& second = Token(tokens, 1);
    if (second.GetLength() == 10 && LooksLikeDate(second))
        return 2;
    if (tokens.GetCount() < 4)
        return 0;

    KF_List<KF_String> parts;
    second.Split(parts, '.');
    if (parts.GetCount() < 4)
        return 0;
    for (long i = 0; i < 4; ++i)
        if (!Narrow(parts[i]).AllDigits())
            return 0;

    const KF_String& host = Token(tokens, 2);
    if (!host.StartsWith(KF_String("(HV")) || host.GetLength() < 4 || host.UCharAt(host.GetLength() - 1) != ')')
        return 0;
    if (!Narrow(host.Substring(3, host.GetLength() - 4)).AllDigits())
        return 0;

    if (!LooksLikeDate(Token(tokens, 3)))
        return 0;
    return 1;
}

void KF_AddonUpdate_SplitAddonVersion(KF_String line, KF_AddonUpdate_Addon& out)
{
    if (line.IsNullOrEmpty()) {
        out = KF_AddonUpdate_Addon();
        return;
    }
    KF_List<KF_String> tokens;
    line.SplitBySpaces(tokens);
    const long n = tokens.GetCount();
    out.code = n > 0 ? tokens[0] : KF_String();
    out.versionText = n > 1 ? tokens[1] : KF_String();

    KF_List<KF_String> parts;
    out.versionText.Split(parts, '.');
    for (long i = 0; i < 4; ++i)
        out.version[i] = i < parts.GetCount() ? Low16(ToLong(parts[i])) : 0;

    // The stored host version drops the last digit of "(HVn)": "(HV160)" is 16.
    out.hostVersion = 0;
    if (n > 2) {
        const KF_String& host = tokens[2];
        if (host.GetLength() > 5)
            out.hostVersion = Low16(ToLong(host.Substring(3, host.GetLength() - 5)));
    }

    if (n > 3) {
        out.date = KF_AddonUpdate_FormatDate(tokens[3]);
        out.dateText = tokens[3];
    }

    out.languages.Reset();
    for (long i = 4; i < n; ++i) {
        for (short lang = 0; lang < 7; ++lang) {
            if (KF_String::CompareIgnoreCase(tokens[i], 0, gKF_Languages_Suffixes[lang], 0, 0) == 0) {
                out.languages.AddData(lang, -1);
                break;
            }
        }
    }
}

void KF_AddonUpdate_SplitLibVersion(KF_String line, KF_AddonUpdate_Library& out)
{
    KF_List<KF_String> tokens;
    line.SplitBySpaces(tokens);
    if (tokens.GetCount() > 0)
        out.name = tokens[0];
    if (tokens.GetCount() > 1) {
        out.date = KF_AddonUpdate_FormatDate(tokens[1]);
        out.dateText = tokens[1];
    }
}

} // namespace kf::detail

KF_AddonUpdate_Message::KF_AddonUpdate_Message() : firstDate(""), secondDate(""), text(""), url("") {}

KF_AddonUpdate_Library::KF_AddonUpdate_Library() : name(""), date(""), dateText(""), text("") {}

KF_AddonUpdate_Addon::KF_AddonUpdate_Addon()
    : code(""), versionText(""), version{0, 0, 0, 0}, hostVersion(0), date(""), dateText(""), text("")
{}
