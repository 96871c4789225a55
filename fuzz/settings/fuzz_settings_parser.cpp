// Settings file bytes of any shape: the parser must neither crash nor read outside the buffer,
// every entry it reads must come back unchanged through the writer, and a file read through the
// text conversions must be rebuilt into bytes that read back as the same list.
#include "KF_SettingsFormat.hpp"
#include "ExactCopy.hpp"
#include "KF/KF_AddonSettings.hpp"

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

void Collect(std::string_view name, std::string_view value, void* context)
{
    static_cast<Entries*>(context)->emplace_back(std::string(name), std::string(value));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size >= kf::detail::kSettingsBufferSize) {
        return 0;
    }
    const std::unique_ptr<char[]> bytes = ExactCopy(data, size);

    Entries first;
    const bool complete = kf::detail::KF_Settings_ParsePlain(bytes.get(), size, Collect, &first);

    // Whatever the parser gives, the writer can hold: its values never end in a line break of
    // their own.
    std::string text;
    for (const auto& [name, value] : first) {
        if (!kf::detail::KF_Settings_AppendPlain(text, name, value)) {
            std::abort();
        }
    }
    Entries second;
    if (!kf::detail::KF_Settings_ParsePlain(text.data(), text.size(), Collect, &second) || second != first) {
        std::abort();
    }
    (void)complete;

    // The same bytes as a scrambled file, through the text conversions.
    KF_List<KF_Setting> list;
    kf::detail::KF_Settings_ParseFile(bytes.get(), size, list);
    std::string const rebuilt = kf::detail::KF_Settings_BuildFile(list);
    KF_List<KF_Setting> again;
    if (!kf::detail::KF_Settings_ParseFile(rebuilt.data(), rebuilt.size(), again) ||
        kf::detail::KF_Settings_BuildFile(again) != rebuilt) {
        std::abort();
    }
    return 0;
}
