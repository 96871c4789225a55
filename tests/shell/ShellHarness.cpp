#include "ShellHarness.hpp"

#include "kfhost/Resources.hpp"
#include "kfhost/Text.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace shelltest {

fs::path HostProgram() { return KF_TEST_KFHOST; }
fs::path ForgeBundle() { return KF_TEST_FORGE_BUNDLE; }
fs::path SuiteBundle() { return KF_TEST_SUITE_BUNDLE; }
fs::path ProbeBundle() { return KF_TEST_PROBE_BUNDLE; }
fs::path ScriptsFolder() { return KF_TEST_SCRIPTS; }

const std::vector<std::string> kSuffixes = {"ita", "int", "fra", "ger", "spa", "jap", "rus"};

Workspace::Workspace()
{
    std::string pattern = (fs::temp_directory_path() / "kf-shell-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("cannot make a scratch folder");
    root_ = pattern;
    fs::create_directories(Framework());
}

Workspace::~Workspace()
{
    std::error_code ec;
    fs::remove_all(root_, ec);
}

HostRun Workspace::Run(const std::vector<fs::path>& bundles, const std::string& script,
                       const std::vector<std::string>& extra) const
{
    std::vector<std::string> args = {HostProgram().string(), "--framework-folder", Framework().string()};
    for (const auto& b : bundles) {
        args.push_back("--addon");
        args.push_back(b.string());
    }
    if (!script.empty()) {
        const fs::path file = fs::path(script).is_absolute() ? fs::path(script) : ScriptsFolder() / script;
        args.push_back("--script");
        args.push_back(file.string());
    }
    args.insert(args.end(), extra.begin(), extra.end());

    const fs::path out = root_ / "transcript.txt";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    HostRun run;
    pid_t pid = 0;
    const int err = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (err != 0)
        throw std::runtime_error("cannot start " + args[0]);
    int wstatus = 0;
    while (waitpid(pid, &wstatus, 0) < 0) {
    }
    run.status = WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : -1;
    run.transcript = ReadFile(out);
    return run;
}

fs::path Workspace::WriteScript(const std::string& name, const std::vector<std::string>& lines) const
{
    std::string text;
    for (const auto& l : lines)
        text += l + "\n";
    const fs::path file = root_ / name;
    WriteFile(file, text);
    return file;
}

fs::path Workspace::CopyBundle(const fs::path& bundle) const
{
    const fs::path target = root_ / "copies" / bundle.filename();
    fs::create_directories(target.parent_path());
    fs::copy(bundle, target, fs::copy_options::recursive);
    return target;
}

std::string SwapHalves(std::string bytes)
{
    for (char& c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        c = static_cast<char>(((b << 4) | (b >> 4)) & 0xFF);
    }
    return bytes;
}

std::string ReadFile(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void WriteFile(const fs::path& file, const std::string& bytes)
{
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << bytes;
}

std::vector<std::pair<std::string, std::string>> ReadStore(const fs::path& file)
{
    const std::string text = SwapHalves(ReadFile(file));
    std::vector<std::pair<std::string, std::string>> entries;
    std::size_t pos = 0;
    while (pos < text.size()) {
        const std::size_t end = text.find('\n', pos);
        const std::size_t colon = text.find(": ", pos);
        if (text[pos] != '$' || end == std::string::npos || colon == std::string::npos || colon > end)
            return {{"<malformed>", text}};
        entries.emplace_back(text.substr(pos + 1, colon - pos - 1), text.substr(colon + 2, end - colon - 2));
        pos = end + 1;
    }
    return entries;
}

void WriteStore(const fs::path& file, const std::vector<std::pair<std::string, std::string>>& entries)
{
    std::string text;
    for (const auto& [name, value] : entries)
        text += "$" + name + ": " + value + "\n";
    WriteFile(file, SwapHalves(text));
}

fs::path SharedStore(const Workspace& w) { return w.Framework() / "Quadrelle.cfg"; }

std::string StoredLanguage(const Workspace& w)
{
    for (const auto& [name, value] : ReadStore(SharedStore(w)))
        if (name == "Language_str")
            return value;
    return {};
}

void StoreLanguage(const Workspace& w, const std::string& suffix)
{
    WriteStore(SharedStore(w), {{"Language_str", suffix}});
}

BundleStrings::BundleStrings(const fs::path& bundle)
{
    const kfhost::ResourceModule module = kfhost::LoadResourceFolder(bundle / "Resources");
    for (const auto& [list, strings] : module.strings)
        for (const auto& [index, text] : strings)
            strings_[{list, index}] = kfhost::ToUTF8(text);
}

std::string BundleStrings::Get(int list, int index) const
{
    const auto it = strings_.find({list, index});
    return it == strings_.end() ? std::string() : it->second;
}

bool BundleStrings::Has(int list, int index) const { return strings_.count({list, index}) != 0; }

void RemoveString(const fs::path& bundle, int list, int index)
{
    for (const auto& entry : fs::recursive_directory_iterator(bundle / "Resources")) {
        if (entry.path().extension() != ".res")
            continue;
        std::istringstream in(ReadFile(entry.path()));
        std::string line, kept;
        bool inList = false;
        while (std::getline(in, line)) {
            std::istringstream words(line);
            std::string first, second;
            words >> first >> second;
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
    for (std::size_t pos = text.find(needle); pos != std::string::npos; pos = text.find(needle, pos + needle.size()))
        ++n;
    return n;
}

} // namespace shelltest
