#include "StageResources.hpp"

#include "kfhost/Resources.hpp"

#include <algorithm>
#include <fstream>
#include <map>

namespace kfhost {
namespace {

namespace fs = std::filesystem;

using FileMap = std::map<fs::path, fs::path>; // path in the bundle -> source file

void Collect(const fs::path& folder, FileMap& files, std::vector<fs::path>& read)
{
    std::error_code ec;
    if (!fs::is_directory(folder, ec))
        throw std::runtime_error(folder.string() + ": not a folder of resources");
    read.push_back(folder);
    for (fs::recursive_directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        if (it->is_directory())
            read.push_back(it->path());
        else if (it->is_regular_file())
            files[it->path().lexically_relative(folder)] = it->path();
    }
    if (ec)
        throw std::runtime_error(folder.string() + ": cannot be listed: " + ec.message());
}

void Copy(const fs::path& from, const fs::path& to)
{
    fs::create_directories(to.parent_path());
    fs::copy_file(from, to, fs::copy_options::overwrite_existing);
}

} // namespace

StageResult StageResources(const StageRequest& request)
{
    StageResult result;
    FileMap own;
    for (const auto& folder : request.sources)
        Collect(folder, own, result.read);
    ResourceModule module;
    ResourceCheckOptions options;
    options.frameworkPack = request.frameworkPack;
    for (const auto& [inBundle, source] : own) {
        result.read.push_back(source);
        ReadResourceFile(source, module);
        if (inBundle.filename() == kSameTextsFile)
            ReadSameTexts(source, options.sameTexts);
    }

    // The framework's pack holds one resource per file, so that the add-on's own list, dialog or
    // icon of the same number replaces exactly that one.
    FileMap pack;
    if (!request.frameworkPack.empty())
        Collect(request.frameworkPack, pack, result.read);
    FileMap added;
    for (const auto& [inPack, source] : pack) {
        result.read.push_back(source);
        ResourceModule one;
        ReadResourceFile(source, one);
        const bool replaced = std::any_of(one.origins.begin(), one.origins.end(),
                                          [&](const auto& entry) { return module.origins.count(entry.first) != 0; });
        if (replaced) {
            for (const auto& [key, origin] : one.origins)
                if (std::count(key.begin(), key.end(), ' ') <= 1) // "strings 32711", not its strings
                    result.packSkipped.push_back(key);
        } else {
            added[fs::path(kFrameworkPackFolder) / inPack] = source;
        }
    }
    // What the host will load, as a whole, read from the sources: the pack must fit the add-on, and
    // every finding names the file the developer edits.
    for (const auto& [inBundle, source] : added)
        ReadResourceFile(source, module);
    result.findings = CheckResources(module, options);

    std::error_code ec;
    fs::remove_all(request.out, ec);
    if (ec)
        throw std::runtime_error(request.out.string() + ": cannot be replaced: " + ec.message());
    fs::create_directories(request.out);
    std::ofstream sources(request.out / kSourcesFile, std::ios::trunc);
    for (const FileMap* files : {&own, &added})
        for (const auto& [inBundle, source] : *files) {
            Copy(source, request.out / inBundle);
            sources << inBundle.generic_string() << '\t' << fs::absolute(source).lexically_normal().string() << '\n';
        }
    if (!sources.flush())
        throw std::runtime_error((request.out / kSourcesFile).string() + ": cannot be written");
    return result;
}

} // namespace kfhost
