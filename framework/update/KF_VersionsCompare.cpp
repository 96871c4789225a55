// The update check's own pass over the versions file: the running add-on's line against the
// add-on lines of the server.
#include "KF_VersionsFile.hpp"

#include "KF_TextLossless.hpp"

namespace kf::detail {

namespace {

const KF_String& TokenOrEmpty(const KF_List<KF_String>& tokens, long i)
{
    static const KF_String empty("");
    return i < tokens.GetCount() ? tokens[i] : empty;
}

bool Same(const KF_String& a, const KF_String& b)
{
    return KF_String::Compare(a, 0, b, 0, 0) == 0;
}

} // namespace

KF_String KF_AddonUpdate_CheckText(const char* bytes, std::size_t size)
{
    return KF_Text_BytesToString(std::string_view(bytes != nullptr ? bytes : "", bytes != nullptr ? size : 0),
                                 KF_String::Enc_System);
}

// Within one code, host-version token and major version only the release date decides.
bool KF_AddonUpdate_CompareVersions(const KF_String& text, const KF_String& currentLine, bool& newer,
                                    KF_String& serverVersion)
{
    newer = false;
    KF_List<KF_String> lines;
    text.SplitLines(lines, true, true);
    KF_List<KF_String> current;
    currentLine.SplitBySpaces(current);
    if (KF_AddonUpdate_CheckVersionFormat(current) == 0)
        return false;
    KF_List<KF_String> currentParts;
    TokenOrEmpty(current, 1).Split(currentParts, '.');
    KF_String currentDateToken = TokenOrEmpty(current, 3);
    const KF_String currentDate = KF_AddonUpdate_FormatDate(currentDateToken);

    serverVersion = "???";
    KF_List<KF_String> tokens;
    KF_List<KF_String> parts;
    for (long i = 0; i < lines.GetCount(); ++i) {
        if (lines[i].IsNullOrEmpty())
            continue;
        lines[i].SplitBySpaces(tokens);
        if (KF_AddonUpdate_CheckVersionFormat(tokens) != 1)
            continue;
        tokens[1].Split(parts, '.');
        if (!Same(tokens[0], TokenOrEmpty(current, 0)) || !Same(tokens[2], TokenOrEmpty(current, 2)) ||
            !Same(parts[0], TokenOrEmpty(currentParts, 0)))
            continue;
        if (KF_String::Compare(KF_AddonUpdate_FormatDate(tokens[3]), 0, currentDate, 0, 0) > 0)
            newer = true;
        serverVersion = tokens[0] + " " + tokens[1] + " " + tokens[2] + " " + tokens[3];
    }
    return true;
}

} // namespace kf::detail
