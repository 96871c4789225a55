// The application's 8-bit text encoding: a process-wide setting that the host fixes at load and
// that add-ons read whenever they turn bytes into text without naming an encoding.
#pragma once

namespace Base {

enum class AppTextEncoding {
    UTF8,    // the default
    MacRoman // byte-compatible with files written by the host on macOS
};

AppTextEncoding GetApplicationTextEncoding();
void SetApplicationTextEncoding(AppTextEncoding encoding);

} // namespace Base
