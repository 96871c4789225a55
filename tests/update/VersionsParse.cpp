#include "VersionsParse.hpp"

namespace kftest {

std::string Utf8(const KF_String& s)
{
    const KF_CString c = s.ToCStr(KF_String::Enc_UTF8);
    return c.bytes != nullptr ? std::string(c.bytes) : std::string();
}

Parsed Parse(const std::string& bytes)
{
    KF_List<KF_AddonUpdate_Message> messages;
    KF_List<KF_AddonUpdate_Addon> addons;
    KF_List<KF_AddonUpdate_Library> libraries;
    kf::detail::KF_AddonUpdate_ParseVersionsBytes(bytes.data(), bytes.size(), messages, addons, libraries);
    Parsed out;
    for (long i = 0; i < messages.GetCount(); ++i) {
        const auto& m = messages[i];
        out.messages.push_back({Utf8(m.firstDate), Utf8(m.secondDate), Utf8(m.text), Utf8(m.url)});
    }
    for (long i = 0; i < addons.GetCount(); ++i) {
        const auto& a = addons[i];
        Addon addon{Utf8(a.code),
                    Utf8(a.versionText),
                    {a.version[0], a.version[1], a.version[2], a.version[3]},
                    a.hostVersion,
                    Utf8(a.date),
                    Utf8(a.dateText),
                    Utf8(a.text),
                    {}};
        for (long k = 0; k < a.languages.GetCount(); ++k)
            addon.languages.push_back(a.languages[k]);
        out.addons.push_back(addon);
    }
    for (long i = 0; i < libraries.GetCount(); ++i) {
        const auto& l = libraries[i];
        out.libraries.push_back({Utf8(l.name), Utf8(l.date), Utf8(l.dateText), Utf8(l.text)});
    }
    return out;
}

} // namespace kftest
