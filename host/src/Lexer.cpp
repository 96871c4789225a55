#include "kfhost/Lexer.hpp"

#include <cctype>
#include <charconv>

namespace kfhost::detail {

int ColumnOf(std::string_view line, std::size_t offset)
{
    int column = 1;
    for (std::size_t i = 0; i < offset && i < line.size(); ++i)
        if ((static_cast<unsigned char>(line[i]) & 0xC0) != 0x80)
            ++column;
    return column;
}

namespace {

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

// Columns of increasing offsets, counted on from the last one asked: a line is walked once, however
// many tokens it holds.
class ColumnCounter {
public:
    explicit ColumnCounter(std::string_view line) : line_(line) {}
    int At(std::size_t offset)
    {
        if (offset < offset_) {
            offset_ = 0;
            column_ = 1;
        }
        for (; offset_ < offset && offset_ < line_.size(); ++offset_)
            if ((static_cast<unsigned char>(line_[offset_]) & 0xC0) != 0x80)
                ++column_;
        return column_;
    }

private:
    std::string_view line_;
    std::size_t offset_ = 0;
    int column_ = 1;
};

std::int64_t ParseNumber(std::string_view text, int column)
{
    bool negative = false;
    std::string_view digits = text;
    if (!digits.empty() && (digits[0] == '-' || digits[0] == '+')) {
        negative = digits[0] == '-';
        digits.remove_prefix(1);
    }
    int base = 10;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
        base = 16;
        digits.remove_prefix(2);
    }
    std::uint64_t value = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size())
        throw LexError(column, "malformed number '" + std::string(text) + "'");
    if (value > std::uint64_t(INT64_MAX))
        throw LexError(column, "number out of range '" + std::string(text) + "'");
    return negative ? -std::int64_t(value) : std::int64_t(value);
}

} // namespace

std::vector<Token> Tokenize(std::string_view line)
{
    std::vector<Token> tokens;
    ColumnCounter columns(line);
    std::size_t i = 0;
    while (i < line.size()) {
        if (IsSpace(line[i])) {
            ++i;
            continue;
        }
        if (line[i] == '#')
            break;
        const int column = columns.At(i);
        if (line[i] == '"') {
            Token token{Token::Kind::String, {}, 0, 0, true, column};
            ++i;
            bool closed = false;
            while (i < line.size()) {
                const char c = line[i];
                if (c == '"') {
                    closed = true;
                    ++i;
                    break;
                }
                if (c == '\\') {
                    if (i + 1 >= line.size())
                        break;
                    const char e = line[i + 1];
                    switch (e) {
                    case '"':
                        token.text.push_back('"');
                        break;
                    case '\\':
                        token.text.push_back('\\');
                        break;
                    case 'n':
                        token.text.push_back('\n');
                        break;
                    case 't':
                        token.text.push_back('\t');
                        break;
                    default:
                        throw LexError(columns.At(i), std::string("unknown escape \\") + e);
                    }
                    i += 2;
                    continue;
                }
                token.text.push_back(c);
                ++i;
            }
            if (!closed)
                throw LexError(column, "unterminated string");
            if (i < line.size() && !IsSpace(line[i]) && line[i] != '#')
                throw LexError(columns.At(i), "expected a space after the string");
            tokens.push_back(std::move(token));
            continue;
        }
        std::size_t end = i;
        while (end < line.size() && !IsSpace(line[end]) && line[end] != '"' && line[end] != '#')
            ++end;
        const std::string_view word = line.substr(i, end - i);
        const bool numeric = std::isdigit(static_cast<unsigned char>(word[0])) ||
                             ((word[0] == '-' || word[0] == '+') && word.size() > 1 &&
                              std::isdigit(static_cast<unsigned char>(word[1])));
        if (numeric && word.find('.') != std::string_view::npos) {
            Token token{Token::Kind::Number, std::string(word), 0, 0, false, column};
            const char* first = word.data() + (word[0] == '+' ? 1 : 0);
            const auto [end, ec] = std::from_chars(first, word.data() + word.size(), token.real);
            if (ec != std::errc() || end != word.data() + word.size())
                throw LexError(column, "malformed number '" + std::string(word) + "'");
            tokens.push_back(std::move(token));
        } else if (numeric) {
            const std::int64_t value = ParseNumber(word, column);
            tokens.push_back(Token{Token::Kind::Number, std::string(word), value, double(value), true, column});
        } else
            tokens.push_back(Token{Token::Kind::Word, std::string(word), 0, 0, true, column});
        i = end;
    }
    return tokens;
}

} // namespace kfhost::detail
