#include "kfhost/FileFaults.hpp"

#include <fnmatch.h>

#include <array>

namespace kfhost {
namespace {

constexpr std::array<std::pair<FileOp, std::string_view>, 13> kOps{{
    {FileOp::Any, "any"},
    {FileOp::Create, "create"},
    {FileOp::Open, "open"},
    {FileOp::Read, "read"},
    {FileOp::Write, "write"},
    {FileOp::Close, "close"},
    {FileOp::Seek, "seek"},
    {FileOp::Length, "length"},
    {FileOp::Delete, "delete"},
    {FileOp::Enumerate, "enumerate"},
    {FileOp::Type, "type"},
    {FileOp::Folder, "folder"},
    {FileOp::Move, "move"},
}};

} // namespace

std::optional<FileOp> FileOpFromName(std::string_view name)
{
    for (const auto& [op, n] : kOps)
        if (n == name)
            return op;
    return std::nullopt;
}

std::string_view FileOpName(FileOp op)
{
    for (const auto& [o, n] : kOps)
        if (o == op)
            return n;
    return "?";
}

void FileFaults::Fail(FileOp op, std::string pattern, std::int32_t code, int count, std::string origin)
{
    if (count != 0)
        rules_.push_back(Rule{op, std::move(pattern), code, count, std::move(origin), false, {}});
}

void FileFaults::Before(FileOp op, std::string pattern, std::function<void()> action, int count)
{
    if (count != 0)
        rules_.push_back(Rule{op, std::move(pattern), 0, count, "before", false, std::move(action)});
}

std::vector<std::string> FileFaults::Unused() const
{
    std::vector<std::string> origins;
    for (const Rule& rule : rules_)
        if (!rule.used)
            origins.push_back(rule.origin);
    return origins;
}

std::optional<std::int32_t> FileFaults::Check(FileOp op, std::string_view path)
{
    const std::string p(path);
    // By index: an action may add or clear rules.
    for (std::size_t i = 0; i < rules_.size();) {
        Rule& rule = rules_[i];
        if ((rule.op != FileOp::Any && rule.op != op) || ::fnmatch(rule.pattern.c_str(), p.c_str(), 0) != 0) {
            ++i;
            continue;
        }
        const std::int32_t code = rule.code;
        const std::function<void()> action = rule.action;
        rule.used = true;
        if (rule.remaining > 0 && --rule.remaining == 0)
            rules_.erase(rules_.begin() + static_cast<std::ptrdiff_t>(i));
        else
            ++i;
        if (!action)
            return code;
        action();
    }
    return std::nullopt;
}

} // namespace kfhost
