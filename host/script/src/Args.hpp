// The arguments of one script line, read left to right; every miss is a script error, a number out
// of its range one with the column where it stands.
#pragma once

#include "kfhost/Lexer.hpp"

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace kfhost::script {

class Args {
public:
    explicit Args(std::vector<detail::Token> tokens) : tokens_(std::move(tokens)) {}
    bool Done() const { return pos_ >= tokens_.size(); }
    const detail::Token* Peek() const { return Done() ? nullptr : &tokens_[pos_]; }

    std::string Word();
    std::string Str(const char* what);
    double Real(const char* what);
    // An integer that fits T.
    template <class T>
    T Int(const char* what)
    {
        return T(Integer(what, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
    }
    // A 32-bit code, written signed or as its unsigned bit pattern (0x81060003).
    std::int32_t Code(const char* what)
    {
        return std::int32_t(std::uint32_t(
            Integer(what, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::uint32_t>::max())));
    }
    // Nothing may follow.
    void End();

    static std::runtime_error Syntax(const char* what) { return std::runtime_error(std::string("expected ") + what); }

private:
    std::int64_t Integer(const char* what, std::int64_t min, std::int64_t max);

    std::vector<detail::Token> tokens_;
    std::size_t pos_ = 0;
};

} // namespace kfhost::script
