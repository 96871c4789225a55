#include "Validation.hpp"

#include <array>

namespace kfhost::validate {

namespace {

constexpr std::array kChecks{
    CheckInfo{"bundle", 1, "layout, shared library, resources parsed, dialogs and menus well formed", CheckBundle},
    CheckInfo{"load", 1, "entry points refuse before the host table; load and unload; no file left open", CheckLoad},
    CheckInfo{"menus", 2,
              "every menu item and module command, dialogs driven by a seeded monkey; "
              "a seeded random order from strictness 5; times against a budget from 8",
              CheckMenus},
    CheckInfo{"translations", 2,
              "every string asked for exists in all seven languages; lists alike, "
              "none empty, placeholders kept",
              CheckTranslations},
    CheckInfo{"store", 3, "settings files are not rewritten when the add-on only reads them", CheckStore},
    CheckInfo{"cycles", 4, "repeated load/unload: no memory growth, no file left open", CheckCycles},
    CheckInfo{"surroundings", 6,
              "corrupt, truncated, read-only or missing files and folders: no crash, "
              "nothing the user stored lost, no temporary file left",
              CheckSurroundings},
    CheckInfo{"update", 7,
              "update checks against a loopback server: error page, empty file, newer, "
              "older, no answer; exactly one outcome each, in time",
              CheckUpdate},
};

} // namespace

std::span<const CheckInfo> Checks()
{
    return kChecks;
}

const CheckInfo* FindCheck(std::string_view name)
{
    for (const CheckInfo& check : kChecks)
        if (check.name == name)
            return &check;
    return nullptr;
}

} // namespace kfhost::validate
