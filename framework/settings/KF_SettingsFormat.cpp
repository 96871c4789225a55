// The settings line format. Bytes past the end read as the two terminating zeros of the file
// buffer, without any being stored.
#include "KF_SettingsFormat.hpp"

#include "KF/KF_AddonSettings.hpp"
#include "KF_TextLossless.hpp"

KF_Setting::KF_Setting() : name("", KF_String::Enc_System), value("", KF_String::Enc_System) {}

KF_Setting::KF_Setting(const KF_String& entryName, const KF_String& entryValue) : name(entryName), value(entryValue) {}

namespace kf::detail {

namespace {

// Names and values are 8-bit text in the application's encoding, converted without losing a byte
// so that an entry nobody edited is written back exactly as it was read.
std::string SystemBytes(const KF_String& text)
{
    return KF_Text_StringToBytes(text, KF_String::Enc_System);
}

void AppendToList(std::string_view name, std::string_view value, void* context)
{
    auto& list = *static_cast<KF_List<KF_Setting>*>(context);
    list.AddData(KF_Setting(KF_Text_BytesToString(name, KF_String::Enc_System),
                            KF_Text_BytesToString(value, KF_String::Enc_System)),
                 -1);
}

} // namespace

void KF_Settings_SwapHalves(char* bytes, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        bytes[i] = static_cast<char>(static_cast<unsigned char>((b << 4) | (b >> 4)));
    }
}

bool KF_Settings_ParsePlain(const char* text, std::size_t size, KF_Settings_EntrySink sink, void* context)
{
    const auto byteAt = [text, size](std::size_t i) -> char { return i < size ? text[i] : '\0'; };
    std::string value;
    std::size_t pos = 0;
    while (pos < size) {
        if (text[pos] != '$') {
            return false;
        }
        std::size_t const nameStart = pos + 1;
        std::size_t colon = nameStart;
        while (colon < size && text[colon] != ':') {
            ++colon;
        }
        if (colon >= size || colon == nameStart) {
            return false;
        }
        std::string_view const name(text + nameStart, colon - nameStart);
        // The byte after ":" is skipped unseen; the writer puts a space there.
        std::size_t valueStart = colon + 2;
        if (valueStart >= size) {
            return true;
        }
        value.clear();
        std::size_t scan = valueStart;
        for (;;) {
            std::size_t lineEnd = scan;
            while (lineEnd < size && text[lineEnd] != '\n' && text[lineEnd] != '\r') {
                ++lineEnd;
            }
            if (lineEnd >= size) {
                return true; // a last entry without its line end is dropped
            }
            std::size_t next = lineEnd + 1;
            if (text[lineEnd] == '\r' && byteAt(next) == '\n') {
                ++next;
            }
            const char follower = byteAt(next);
            if (follower == '#') {
                value.append(text + valueStart, next - valueStart);
                valueStart = next + 1;
                // The first byte after "#" is value text even when it is a line end.
                scan = valueStart + 1;
                continue;
            }
            if (follower == '$' || follower == '\0') {
                value.append(text + valueStart, lineEnd - valueStart);
                sink(name, value, context);
                pos = next;
                break;
            }
            return false;
        }
    }
    return true;
}

bool KF_Settings_AppendPlain(std::string& out, std::string_view name, std::string_view value)
{
    // A name the reader would cut or refuse is not written at all, so that it cannot take its
    // neighbours with it.
    if (name.empty() || name.find(':') != std::string_view::npos) {
        return false;
    }
    out += '$';
    out += name;
    out += ": ";
    // The inverse of the reader: a line break gets a "#" after it, and the byte after that "#" is
    // value text whatever it is, so it is copied as it stands.
    bool afterHash = false;
    std::size_t lastBreak = std::string::npos; // where the last unprotected break was written
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        if (afterHash) {
            out += c;
            afterHash = false;
            continue;
        }
        if (c != '\r' && c != '\n') {
            out += c;
            continue;
        }
        lastBreak = out.size();
        out += c;
        // CR LF is one break, unless the LF ends the value: then it is the byte after the "#".
        if (c == '\r' && i + 2 < value.size() && value[i + 1] == '\n') {
            out += '\n';
            ++i;
        }
        out += '#';
        afterHash = true;
    }
    // A value ending in a line break cannot be held: the reader would take the entry's own line
    // end as text and run into the next entry. The last break goes instead.
    if (afterHash) {
        out.resize(lastBreak);
    }
    out += '\n';
    return true;
}

bool KF_Settings_ParseFile(const char* bytes, std::size_t size, KF_List<KF_Setting>& list)
{
    std::string plain(bytes, size);
    KF_Settings_SwapHalves(plain.data(), plain.size());
    return KF_Settings_ParsePlain(plain.data(), plain.size(), AppendToList, &list);
}

std::string KF_Settings_BuildFile(const KF_List<KF_Setting>& list)
{
    std::string text;
    for (long i = 0; i < list.count; ++i) {
        const KF_Setting& entry = list[i];
        KF_Settings_AppendPlain(text, SystemBytes(entry.name), SystemBytes(entry.value));
    }
    KF_Settings_SwapHalves(text.data(), text.size());
    return text;
}

} // namespace kf::detail
