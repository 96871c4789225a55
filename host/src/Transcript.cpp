#include "kfhost/Transcript.hpp"

namespace kfhost {

void Transcript::Add(std::string line)
{
    if (echo_)
        *echo_ << line << '\n' << std::flush;
    lines_.push_back(std::move(line));
}

std::string Transcript::Text() const
{
    std::string text;
    for (const auto& line : lines_)
        text += line + '\n';
    return text;
}

} // namespace kfhost
