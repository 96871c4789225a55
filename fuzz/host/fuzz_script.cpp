// Any bytes as a script for a host with nothing loaded: failures are reported, nothing else.
#include "kfhost/Host.hpp"
#include "kfhost/script/Runner.hpp"

#include <cstdint>
#include <filesystem>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string text(reinterpret_cast<const char*>(data), size);
    // Waiting and fault rules are not the parser's business and would only slow the run.
    if (text.find("wait") != std::string::npos)
        return 0;
    static const std::filesystem::path folder = std::filesystem::temp_directory_path() / "kfhost-fuzz";
    kfhost::HostConfig config;
    config.frameworkFolder = folder;
    kfhost::Host host(config);
    kfhost::ScriptRunner script(host);
    script.SetStrict(true); // the end-of-run checks too
    script.Append(text, "fuzz");
    script.RunAll();
    script.Finish();
    return 0;
}
