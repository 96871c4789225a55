// An add-on's versions-file line, checked where it is written: a line the update check cannot read
// fails the build with the constant's name and the form it must have, instead of an update check
// that fails on the user's machine.
//
//     KF_DEFINE_VERSION_LINE(kAddOn_VersionLine, "HEL 1.0.0.0 (HV170) 01/06/2025");
//
// defines `const char kAddOn_VersionLine[]` (declare it `extern const char kAddOn_VersionLine[];`
// where other files use it).
#pragma once

#include <string_view>

#define KF_VERSION_LINE_FORM "\"CODE a.b.c.d (HVn) DD/MM/YYYY\""

namespace kfkit {

namespace detail {

constexpr bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr bool AllDigits(std::string_view s)
{
    if (s.empty())
        return false;
    for (const char c : s)
        if (!IsDigit(c))
            return false;
    return true;
}

constexpr int Number(std::string_view digits)
{
    int value = 0;
    for (const char c : digits)
        value = value * 10 + (c - '0');
    return value;
}

// The next token of rest (separated by blanks), taken off rest.
constexpr std::string_view NextToken(std::string_view& rest)
{
    while (!rest.empty() && rest.front() == ' ')
        rest.remove_prefix(1);
    std::size_t end = 0;
    while (end < rest.size() && rest[end] != ' ')
        ++end;
    const std::string_view token = rest.substr(0, end);
    rest.remove_prefix(end);
    return token;
}

// "a.b.c.d": four numbers.
constexpr bool IsVersion(std::string_view s)
{
    for (int part = 0; part < 4; ++part) {
        const std::size_t dot = s.find('.');
        const std::string_view number = part < 3 ? s.substr(0, dot) : s;
        if ((part < 3 && dot == std::string_view::npos) || number.size() > 5 || !AllDigits(number))
            return false;
        s.remove_prefix(part < 3 ? dot + 1 : s.size());
    }
    return true;
}

// "DD/MM/YYYY" (or with "-"), a day that can be.
constexpr bool IsDate(std::string_view s)
{
    if (s.size() != 10 || (s[2] != '/' && s[2] != '-') || s[5] != s[2])
        return false;
    const std::string_view day = s.substr(0, 2), month = s.substr(3, 2), year = s.substr(6, 4);
    if (!AllDigits(day) || !AllDigits(month) || !AllDigits(year))
        return false;
    return Number(day) >= 1 && Number(day) <= 31 && Number(month) >= 1 && Number(month) <= 12 && Number(year) >= 1990;
}

} // namespace detail

// "CODE a.b.c.d (HVn) DD/MM/YYYY", optionally followed by the suffixes of the languages it has
// texts for: the line the update check compares with the versions file's lines of the same code.
constexpr bool IsVersionLine(std::string_view line)
{
    for (const char c : line)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            return false;
    std::string_view rest = line;
    const std::string_view code = detail::NextToken(rest);
    const std::string_view version = detail::NextToken(rest);
    const std::string_view host = detail::NextToken(rest);
    const std::string_view date = detail::NextToken(rest);
    if (code.empty() || detail::IsDate(code) || !detail::IsVersion(version) || !detail::IsDate(date))
        return false;
    return host.size() > 4 && host.substr(0, 3) == "(HV" && host.back() == ')' &&
           detail::AllDigits(host.substr(3, host.size() - 4));
}

} // namespace kfkit

#define KF_DEFINE_VERSION_LINE(name, line)                                                                             \
    static_assert(::kfkit::IsVersionLine(line), #name " must be of the form " KF_VERSION_LINE_FORM                     \
                                                      ", for example \"HEL 1.0.0.0 (HV170) 01/06/2025\"");             \
    extern const char name[];                                                                                          \
    const char name[] = line
