#include "StageResources.hpp"

#include "kfhost/Resources.hpp"

#include <algorithm>
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
    for (const auto& [inBundle, source] : own) {
        result.read.push_back(source);
        ReadResourceFile(source, module);
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
            for (const auto& entry : one.origins)
                result.packSkipped.push_back(entry.first);
        } else {
            added[fs::path(kFrameworkPackFolder) / inPack] = source;
        }
    }

    std::error_code ec;
    fs::remove_all(request.out, ec);
    if (ec)
        throw std::runtime_error(request.out.string() + ": cannot be replaced: " + ec.message());
    fs::create_directories(request.out);
    for (const auto& [inBundle, source] : own)
        Copy(source, request.out / inBundle);
    for (const auto& [inBundle, source] : added)
        Copy(source, request.out / inBundle);
    // What the host will load, read once more as a whole: the pack must fit the add-on.
    LoadResourceFolder(request.out);
    return result;
}

} // namespace kfhost
