// kfhost's heavy parts are modules that it opens only when a run needs them: the windows (Qt, the
// window system) and the validator (its HTTP server, zlib). A headless run then maps the C++
// library and little else. Each module takes the host's code from the kfhost that opens it (the
// program exports it), so the host's state exists once; both are built from one tree.
#pragma once

#include <string>
#include <string_view>

namespace kfhost {

// Opens module `file` (beside kfhost in a build tree, or in the package's lib/kf/) once and
// answers the address of `symbol` in it; null and why (one line) when it cannot: not installed,
// a library it needs missing, not a module of this kfhost.
void* ModuleSymbol(std::string_view file, const char* symbol, std::string* why);

} // namespace kfhost
