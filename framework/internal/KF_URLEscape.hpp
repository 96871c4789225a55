// The request URL as the downloader sends it.
#pragma once

#include "KF/KF_String.hpp"

#include <string>

namespace kf::detail {

// Decodes every percent escape, then escapes once for UTF-8 what may not stand in a URL, so a
// URL that already holds escapes comes out escaped once, never twice. False for a text that is
// not in the system encoding, a malformed escape, escapes that do not decode to UTF-8, or a
// result that is not an http:// or https:// URL.
bool KF_URL_Normalise(const KF_String& url, std::string& out);

} // namespace kf::detail
