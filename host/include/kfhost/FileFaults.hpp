// Test hook of the host's file system: makes chosen operations on chosen paths fail with a chosen
// host code, so that callers' error paths run against the real file system.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kfhost {

enum class FileOp { Any, Create, Open, Read, Write, Close, Seek, Length, Delete, Enumerate, Type, Folder, Move };
std::optional<FileOp> FileOpFromName(std::string_view name);
std::string_view FileOpName(FileOp op);

class FileFaults {
public:
    // The next `count` operations op on a path (for Move: the target) matching pattern (a glob where * also crosses
    // "/") fail with code; count < 0 means every such operation from now on. origin says who asked.
    void Fail(FileOp op, std::string pattern, std::int32_t code, int count = 1, std::string origin = {});
    // Runs action when the next `count` operations op on a path matching pattern begin (say, to stop
    // the process in the middle of a save); the operation then goes on as usual.
    void Before(FileOp op, std::string pattern, std::function<void()> action, int count = 1);
    void Clear() { rules_.clear(); }
    // The code to fail with, consuming one use of the first matching rule.
    std::optional<std::int32_t> Check(FileOp op, std::string_view path);
    bool Empty() const { return rules_.empty(); }
    // The origins of the rules no operation has met yet.
    std::vector<std::string> Unused() const;

private:
    struct Rule {
        FileOp op;
        std::string pattern;
        std::int32_t code;
        int remaining;
        std::string origin;
        bool used = false;
        std::function<void()> action; // set: runs, and the operation is not failed
    };
    std::vector<Rule> rules_;
};

} // namespace kfhost
