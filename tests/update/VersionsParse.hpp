// Parses versions-file text into plain values that tests can compare.
#pragma once

#include "KF_VersionsFile.hpp"

#include <string>
#include <vector>

namespace kftest {

std::string Utf8(const KF_String& s);

struct Message {
    std::string firstDate, secondDate, text, url;
};
struct Library {
    std::string name, date, dateText, text;
};
struct Addon {
    std::string code, versionText;
    std::vector<unsigned> version;
    unsigned hostVersion = 0;
    std::string date, dateText, text;
    std::vector<short> languages;
};

struct Parsed {
    std::vector<Message> messages;
    std::vector<Addon> addons;
    std::vector<Library> libraries;
};

Parsed Parse(const std::string& bytes);

} // namespace kftest
