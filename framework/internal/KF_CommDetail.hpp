// Framework-internal: the content of an add-on communication file, on byte buffers.
#pragma once

#include <cstddef>
#include <string>

namespace kf::detail {

// The swapped file bytes saying whether the suite is loaded.
std::string KF_Comm_BuildMessage(bool suiteLoaded);
// True when the swapped bytes hold exactly one entry whose value is "TRUE" (name unchecked).
bool KF_Comm_ReadMessage(const char* bytes, std::size_t size);

} // namespace kf::detail
