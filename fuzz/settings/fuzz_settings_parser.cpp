// Settings file bytes of any shape: the parser must neither crash nor read outside the buffer,
// and entries it reads must come back unchanged through the writer when they can be written.
#include "settings/KF_SettingsFormat.hpp"
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

bool IsLineBreak(char c)
{
    return c == '\n' || c == '\r';
}

// The writer's "#" after a line break makes the next byte value text, so a value with two line
// breaks in a row, or ending in one, cannot come back as it was.
bool Writable(std::string const& value)
{
    if (!value.empty() && IsLineBreak(value.back())) {
        return false;
    }
    for (std::size_t i = 0; i + 1 < value.size(); ++i) {
        if (!IsLineBreak(value[i])) {
            continue;
        }
        std::size_t next = i + 1;
        if (value[i] == '\r' && value[next] == '\n') {
            ++next;
        }
        if (next < value.size() && IsLineBreak(value[next])) {
            return false;
        }
        i = next - 1;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size >= detail::kSettingsBufferSize) {
        return 0;
    }
    std::unique_ptr<char[]> const bytes = ExactCopy(data, size);

    Entries first;
    bool const complete = detail::KF_Settings_ParsePlain(bytes.get(), size, Collect, &first);

    bool writable = true;
    for (auto const& [name, value] : first) {
        writable = writable && Writable(value);
    }
    if (writable) {
        std::string text;
        for (auto const& [name, value] : first) {
            detail::KF_Settings_AppendPlain(text, name, value);
        }
        Entries second;
        if (!detail::KF_Settings_ParsePlain(text.data(), text.size(), Collect, &second) || second != first) {
            std::abort();
        }
    }
    (void)complete;

    // The same bytes as a scrambled file, through the text conversions.
    KF_List<KF_Setting> list;
    detail::KF_Settings_ParseFile(bytes.get(), size, list);
    std::string const rebuilt = detail::KF_Settings_BuildFile(list);
    (void)rebuilt;
    return 0;
}
