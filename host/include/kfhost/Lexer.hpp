// Splits one line of a resource file or script into numbers, quoted strings and words.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kfhost::detail {

struct Token {
    enum class Kind { Number, String, Word } kind;
    std::string text;        // words: as written; strings: unescaped UTF-8
    std::int64_t number = 0; // numbers
    double real = 0;         // numbers, also those written with a decimal point
    bool integral = true;    // false for a number with a decimal point
    int column = 1;          // 1-based, in characters
};

struct LexError : std::runtime_error {
    LexError(int column, const std::string& message) : std::runtime_error(message), column(column) {}
    int column;
};

// `#` outside a string starts a comment. Strings are "..." with \" \\ \n \t escapes. Numbers are
// decimal (optionally signed) or 0x hexadecimal.
std::vector<Token> Tokenize(std::string_view line);

// Column (1-based, in characters) of the byte offset within line.
int ColumnOf(std::string_view line, std::size_t offset);

} // namespace kfhost::detail
