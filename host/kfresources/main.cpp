// kfresources: checks an add-on's resource files and puts them, with the framework's own texts,
// into the bundle. kf_add_addon runs it at build time. The checks are the validator's own
// (ResourceCheck.hpp): a dialog item outside its dialog or a string missing in one language fails
// the build at the line that is wrong.
#include "StageResources.hpp"

#include "kfhost/Resources.hpp"

#include <fstream>
#include <iostream>
#include <string_view>

namespace {

int Usage()
{
    std::cerr << "usage: kfresources --out DIR [--framework PACK] [--depfile FILE --stamp FILE] SOURCE...\n";
    return 2;
}

// Make's rules for a file name in a dependency line.
std::string Escaped(const std::string& path)
{
    std::string out;
    for (char c : path) {
        if (c == ' ' || c == '#' || c == '\\')
            out += '\\';
        else if (c == '$')
            out += '$';
        out += c;
    }
    return out;
}

} // namespace

int main(int argc, char** argv)
{
    kfhost::StageRequest request;
    std::string depfile, stamp;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--out" && hasValue)
            request.out = argv[++i];
        else if (arg == "--framework" && hasValue)
            request.frameworkPack = argv[++i];
        else if (arg == "--depfile" && hasValue)
            depfile = argv[++i];
        else if (arg == "--stamp" && hasValue)
            stamp = argv[++i];
        else if (arg.starts_with("--"))
            return Usage();
        else
            request.sources.emplace_back(arg);
    }
    if (request.out.empty() || depfile.empty() != stamp.empty())
        return Usage();

    kfhost::StageResult result;
    try {
        result = kfhost::StageResources(request);
    } catch (const kfhost::ResourceError& e) {
        // The compiler's form, so that editors and IDEs jump to the place.
        std::cerr << e.File() << ":" << e.Line() << ":" << e.Column() << ": error: " << e.Message() << "\n";
        return 1;
    } catch (const std::exception& e) {
        std::cerr << "kfresources: " << e.what() << "\n";
        return 1;
    }

    // The compiler's form again; a warning does not stop the build.
    bool errors = false;
    for (const kfhost::ResourceFinding& finding : result.findings) {
        const std::string where =
            finding.file.empty() ? std::string("kfresources") : finding.file + ":" + std::to_string(finding.line);
        std::cerr << where << ": " << (finding.error ? "error: " : "warning: ") << finding.message << "\n";
        errors = errors || finding.error;
    }
    if (errors)
        return 1;

    if (!stamp.empty()) {
        std::ofstream(stamp, std::ios::trunc) << "resources of " << request.out.string() << "\n";
        std::ofstream dep(depfile, std::ios::trunc);
        dep << Escaped(stamp) << ":";
        for (const auto& path : result.read)
            dep << " \\\n  " << Escaped(path.string());
        dep << "\n";
        if (!dep) {
            std::cerr << "kfresources: cannot write " << depfile << "\n";
            return 1;
        }
    }
    return 0;
}
