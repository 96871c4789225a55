// What the host shows headless: one line per event (dialogs shown and closed, alerts, system
// dialogs, launches, loads), kept for tests and optionally echoed to a stream.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace kfhost {

class Transcript {
public:
    void Add(std::string line);
    const std::vector<std::string>& Lines() const { return lines_; }
    std::string Text() const;
    void Clear() { lines_.clear(); }
    void Echo(std::ostream* stream) { echo_ = stream; }

private:
    std::vector<std::string> lines_;
    std::ostream* echo_ = nullptr;
};

} // namespace kfhost
