// Versions files of any shape: the parser must neither crash nor read outside the buffer, and
// what it reads must respect the grammar's bounds.
#include "KF_VersionsFile.hpp"

#include <cstdint>
#include <cstdlib>

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

// A "YYYYMMDD" field is cut from at most eight characters of its token.
void CheckDate(const KF_String& date)
{
    Check(date.GetLength() <= 8);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    KF_List<KF_AddonUpdate_Message> messages;
    KF_List<KF_AddonUpdate_Addon> addons;
    KF_List<KF_AddonUpdate_Library> libraries;
    kf::detail::KF_AddonUpdate_ParseVersionsBytes(reinterpret_cast<const char*>(data), size, messages, addons,
                                                  libraries);

    // Every entry needs a head line of its own.
    long lines = 1;
    for (std::size_t i = 0; i < size; ++i)
        lines += (data[i] == '\n' || data[i] == '\r') ? 1 : 0;
    Check(messages.GetCount() + addons.GetCount() + libraries.GetCount() <= lines);

    for (long i = 0; i < messages.GetCount(); ++i) {
        CheckDate(messages[i].firstDate);
        CheckDate(messages[i].secondDate);
        Check(messages[i].url.IsNullOrEmpty() || messages[i].url.StartsWith(KF_String("http://")));
    }
    for (long i = 0; i < libraries.GetCount(); ++i) {
        CheckDate(libraries[i].date);
        Check(libraries[i].dateText.GetLength() == 10);
    }
    for (long i = 0; i < addons.GetCount(); ++i) {
        const KF_AddonUpdate_Addon& addon = addons[i];
        CheckDate(addon.date);
        Check(addon.dateText.GetLength() >= 10);
        for (long k = 0; k < addon.languages.GetCount(); ++k)
            Check(addon.languages[k] >= 0 && addon.languages[k] < 7);
    }
    return 0;
}
