// Any bytes as a resource file: either a module or a ResourceError with a sane position.
#include "kfhost/Resources.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    kfhost::ResourceModule module;
    try {
        kfhost::ParseResourceText(text, "fuzz.res", module);
        for (const auto& [id, dialog] : module.dialogs)
            for (std::size_t i = 0; i < dialog.items.size(); ++i)
                if (dialog.items[i].number != std::int16_t(i + 1))
                    std::abort(); // items are numbered without gaps
    } catch (const kfhost::ResourceError& e) {
        if (e.Line() < 1 || e.Column() < 1 || std::size_t(e.Line()) > size + 1)
            std::abort();
    }
    return 0;
}
