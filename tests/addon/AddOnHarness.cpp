#include "AddOnHarness.hpp"

#include "kfhost/Resources.hpp"
#include "kfhost/Text.hpp"
#include "kftest/Program.hpp"

#include <map>
#include <sstream>

namespace kftest {

HostRun Workspace::Run(const std::vector<fs::path>& bundles, const fs::path& script,
                       const std::vector<std::string>& extra) const
{
    std::vector<std::string> args = {KF_TEST_KFHOST, "--framework-folder", Framework().string()};
    for (const auto& b : bundles)
        args.insert(args.end(), {"--addon", b.string()});
    if (!script.empty())
        args.insert(args.end(),
                    {"--script", (script.has_parent_path() ? script : fs::path(KF_TEST_SCRIPTS) / script).string()});
    if (!script.empty() && strict)
        args.push_back("--strict");
    args.insert(args.end(), extra.begin(), extra.end());
    const Finished run = RunProgram(std::move(args));
    return HostRun{run.status, run.output};
}

fs::path Workspace::WriteScript(const std::vector<std::string>& lines) const
{
    static int written = 0;
    std::string text;
    for (const auto& l : lines)
        text += l + "\n";
    const fs::path file = temp_.Path() / ("script-" + std::to_string(++written) + ".kfs");
    WriteFile(file, text);
    return file;
}

fs::path Workspace::CopyBundle(const fs::path& bundle) const
{
    const fs::path target = temp_.Path() / "copies" / bundle.filename();
    fs::create_directories(target.parent_path());
    fs::copy(bundle, target, fs::copy_options::recursive);
    return target;
}

std::string StoredLanguage(const Workspace& w)
{
    for (const auto& [name, value] : ReadSettingsFile(SharedStore(w)))
        if (name == "Language_str")
            return value;
    return {};
}

std::string BundleString(const fs::path& bundle, int list, int index)
{
    // Read once per bundle: copies live in folders of their own and are altered before reading.
    static std::map<fs::path, kfhost::ResourceModule> read;
    auto it = read.find(bundle);
    if (it == read.end())
        it = read.emplace(bundle, kfhost::LoadResourceFolder(bundle / "Resources")).first;
    const std::u16string* s = it->second.String(std::int16_t(list), std::int16_t(index));
    return s ? kfhost::ToUTF8(*s) : std::string();
}

void RemoveString(const fs::path& bundle, int list, int index)
{
    for (const auto& entry : fs::recursive_directory_iterator(bundle / "Resources")) {
        if (entry.path().extension() != ".res")
            continue;
        std::istringstream in(ReadFile(entry.path()));
        std::string line, kept;
        bool inList = false;
        while (std::getline(in, line)) {
            std::string first, second;
            std::istringstream(line) >> first >> second;
            if (first == "strings")
                inList = second == std::to_string(list);
            else if (first == "end")
                inList = false;
            else if (inList && first == std::to_string(index))
                continue;
            kept += line + "\n";
        }
        WriteFile(entry.path(), kept);
    }
}

int Count(const std::string& text, const std::string& needle)
{
    int n = 0;
    for (std::size_t pos = text.find(needle); pos != std::string::npos; pos = text.find(needle, pos + 1))
        ++n;
    return n;
}

} // namespace kftest
