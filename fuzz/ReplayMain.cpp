// The main of a fuzz target in the builds without libFuzzer: it feeds the target each file named on
// the command line, and every file under each folder named, once, in a stable order. ctest runs it
// over the target's seed corpus, so a seed that crashes fails the suite in every build. With
// -max_len=N (the target's line of fuzz/max_len.txt) a longer seed fails too: libFuzzer would cut it,
// and what it was made to reach would never be fuzzed.
#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

namespace fs = std::filesystem;

bool Collect(const fs::path& path, std::vector<fs::path>& files)
{
    std::error_code error;
    if (fs::is_regular_file(path, error)) {
        files.push_back(path);
        return true;
    }
    if (!fs::is_directory(path, error)) {
        std::fprintf(stderr, "replay: %s: no such file or folder\n", path.c_str());
        return false;
    }
    std::vector<fs::path> found;
    for (fs::recursive_directory_iterator it(path, error), end; !error && it != end; it.increment(error))
        if (it->is_regular_file(error))
            found.push_back(it->path());
    if (error) {
        std::fprintf(stderr, "replay: %s: %s\n", path.c_str(), error.message().c_str());
        return false;
    }
    std::sort(found.begin(), found.end());
    files.insert(files.end(), found.begin(), found.end());
    return true;
}

// The input in a buffer of exactly its size, so that the sanitizers see a read past its end.
bool Read(const fs::path& file, std::unique_ptr<std::uint8_t[]>& data, std::size_t& size)
{
    std::ifstream in(file, std::ios::binary);
    std::error_code error;
    const std::uintmax_t length = fs::file_size(file, error);
    if (!in || error)
        return false;
    size = static_cast<std::size_t>(length);
    data = std::make_unique<std::uint8_t[]>(size);
    return static_cast<bool>(in.read(reinterpret_cast<char*>(data.get()), static_cast<std::streamsize>(size))) &&
           in.peek() == std::char_traits<char>::eof();
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<fs::path> files;
    std::size_t maxLen = 0; // 0: any size
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        constexpr std::string_view kMaxLen = "-max_len=";
        if (arg.substr(0, kMaxLen.size()) == kMaxLen) {
            const std::string_view value = arg.substr(kMaxLen.size());
            const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), maxLen);
            if (error != std::errc() || end != value.data() + value.size() || maxLen == 0) {
                std::fprintf(stderr, "replay: %s: a positive number of bytes expected\n", argv[i]);
                return 2;
            }
        } else if (arg.empty() || arg[0] == '-') {
            std::fprintf(stderr,
                         "usage: %s [-max_len=BYTES] FILE-OR-FOLDER...\n"
                         "Runs the fuzz target once on each file (folders: every file under them).\n",
                         argv[0]);
            return 2;
        } else if (!Collect(arg, files)) {
            return 2;
        }
    }
    if (files.empty()) {
        std::fprintf(stderr, "replay: no input files (an empty corpus tests nothing)\n");
        return 2;
    }
    if (LLVMFuzzerInitialize != nullptr)
        LLVMFuzzerInitialize(&argc, &argv);
    for (const fs::path& file : files) {
        std::unique_ptr<std::uint8_t[]> data;
        std::size_t size = 0;
        if (!Read(file, data, size)) {
            std::fprintf(stderr, "replay: %s: cannot be read\n", file.c_str());
            return 2;
        }
        if (maxLen != 0 && size > maxLen) {
            std::fprintf(stderr, "replay: %s: %zu bytes, over the target's -max_len=%zu (fuzz/max_len.txt)\n",
                         file.c_str(), size, maxLen);
            return 1;
        }
        // Named before it runs: a crash report ends below the name of its input.
        std::printf("%s (%zu bytes)\n", file.c_str(), size);
        std::fflush(stdout);
        const int result = LLVMFuzzerTestOneInput(data.get(), size);
        if (result != 0 && result != -1) {
            std::fprintf(stderr, "replay: %s: the target returned %d (0 or -1 expected)\n", file.c_str(), result);
            return 1;
        }
    }
    std::printf("replayed %zu inputs\n", files.size());
    return 0;
}
