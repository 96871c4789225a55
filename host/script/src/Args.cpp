#include "Args.hpp"

namespace kfhost::script {

using detail::Token;

std::string Args::Word()
{
    if (Done() || tokens_[pos_].kind != Token::Kind::Word)
        throw Syntax("a word");
    return tokens_[pos_++].text;
}

std::string Args::Str(const char* what)
{
    if (Done() || tokens_[pos_].kind != Token::Kind::String)
        throw Syntax(what);
    return tokens_[pos_++].text;
}

double Args::Real(const char* what)
{
    if (Done() || tokens_[pos_].kind != Token::Kind::Number)
        throw Syntax(what);
    return tokens_[pos_++].real;
}

std::int64_t Args::Integer(const char* what, std::int64_t min, std::int64_t max)
{
    if (Done() || tokens_[pos_].kind != Token::Kind::Number || !tokens_[pos_].integral)
        throw Syntax(what);
    const Token& token = tokens_[pos_];
    if (token.number < min || token.number > max)
        throw detail::LexError(token.column, token.text + " is out of range for " + what + " (" + std::to_string(min) +
                                                 " to " + std::to_string(max) + ")");
    ++pos_;
    return token.number;
}

void Args::End()
{
    if (!Done())
        throw std::runtime_error("unexpected '" + tokens_[pos_].text + "'");
}

} // namespace kfhost::script
