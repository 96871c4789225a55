// The application's 8-bit text encoding: a process-wide setting that the host fixes at load and
// that add-ons read whenever they turn bytes into text without naming an encoding.
#pragma once

namespace GS {

enum class AppTextEncoding {
    UTF8,    // the default
    MacRoman // byte-compatible with files written by the original platform
};

AppTextEncoding GetApplicationTextEncoding();
void SetApplicationTextEncoding(AppTextEncoding encoding);

} // namespace GS
