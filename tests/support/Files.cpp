#include "kftest/Files.hpp"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <unistd.h>

namespace kftest {

namespace fs = std::filesystem;

TempFolder::TempFolder()
{
    std::string pattern = (fs::temp_directory_path() / "kftest-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("cannot create a temporary folder");
    path_ = pattern;
}

TempFolder::~TempFolder()
{
    std::error_code ec;
    fs::remove_all(path_, ec);
}

std::string ReadFile(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void WriteFile(const fs::path& file, std::string_view content)
{
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(content.data(), std::streamsize(content.size()));
}

} // namespace kftest
