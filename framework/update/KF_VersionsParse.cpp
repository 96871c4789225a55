// The versions file's text: lines, text blocks, and the three kinds of entry.
#include "KF_VersionsFile.hpp"

#include "KF_TextLossless.hpp"

#include <limits>
#include <vector>

namespace kf::detail {
namespace {

bool IsTextLine(const KF_String& line)
{
    return line.StartsWith(KF_String("#"));
}

} // namespace

KF_String KF_AddonUpdate_ReadText(long& lineIndex, KF_List<KF_String>& lines)
{
    // Joined once at the end: extending a string piece by piece copies it each time.
    KF_String result("");
    std::vector<unsigned short> joined;
    ++lineIndex;
    while (lineIndex < lines.GetCount() && IsTextLine(lines[lineIndex])) {
        const KF_String piece = lines[lineIndex].Substring(2);
        const unsigned short* units = piece.Units();
        const unsigned int count = units != nullptr ? piece.GetLength() : 0;
        // An empty result is replaced rather than extended: leading empty text lines vanish.
        if (joined.empty()) {
            result = piece;
            joined.assign(units, units + count);
        } else {
            joined.push_back('\n');
            joined.insert(joined.end(), units, units + count);
        }
        ++lineIndex;
    }
    --lineIndex;
    if (joined.empty())
        return result;
    return KF_String(joined.data(), static_cast<unsigned int>(joined.size()));
}

void KF_AddonUpdate_ParseVersionsText(const KF_String& text, KF_List<KF_AddonUpdate_Message>& messages,
                                      KF_List<KF_AddonUpdate_Addon>& addons, KF_List<KF_AddonUpdate_Library>& libraries)
{
    KF_List<KF_String> lines;
    text.SplitLines(lines, true, true);
    const KF_String comment("*");
    const KF_String keyword("MESSAGE");
    const KF_String web("http://");
    KF_List<KF_String> tokens;

    for (long i = 0; i < lines.GetCount(); ++i) {
        const KF_String& line = lines[i];
        if (line.StartsWith(comment))
            continue;
        line.SplitBySpaces(tokens);

        if (tokens.GetCount() > 0 && tokens[0].IndexOf(keyword, 0) != KF_String::NotFound) {
            KF_AddonUpdate_Message message;
            message.firstDate = tokens.GetCount() >= 2 ? KF_AddonUpdate_FormatDate(tokens[1]) : KF_String("");
            message.secondDate = tokens.GetCount() >= 3 ? KF_AddonUpdate_FormatDate(tokens[2]) : KF_String("");
            const KF_String body = KF_AddonUpdate_ReadText(i, lines);
            const unsigned int at = body.IndexOf(web, 0);
            if (at != KF_String::NotFound) {
                message.text = body.Substring(0, at);
                message.url = body.Substring(at);
            } else {
                message.text = body;
                message.url = "";
            }
            messages.AddData(message, -1);
            continue;
        }

        switch (KF_AddonUpdate_CheckVersionFormat(tokens)) {
        case 1: {
            KF_AddonUpdate_Addon addon;
            KF_AddonUpdate_SplitAddonVersion(line, addon);
            addon.text = KF_AddonUpdate_ReadText(i, lines);
            addons.AddData(addon, -1);
            break;
        }
        case 2: {
            KF_AddonUpdate_Library library;
            KF_AddonUpdate_SplitLibVersion(line, library);
            library.text = KF_AddonUpdate_ReadText(i, lines);
            libraries.AddData(library, -1);
            break;
        }
        default:
            // Not an entry; its "#" lines are met as head lines and fail every rule.
            break;
        }
    }
}

void KF_AddonUpdate_ParseVersionsBytes(const char* bytes, std::size_t size, KF_List<KF_AddonUpdate_Message>& messages,
                                       KF_List<KF_AddonUpdate_Addon>& addons,
                                       KF_List<KF_AddonUpdate_Library>& libraries)
{
    KF_String text("");
    if (bytes != nullptr && size > 0 && size < std::numeric_limits<unsigned int>::max())
        text = KF_Text_BytesToString(std::string_view(bytes, size), KF_String::Enc_UTF8);
    KF_AddonUpdate_ParseVersionsText(text, messages, addons, libraries);
}

} // namespace kf::detail
