#include "LibrariesState.hpp"

#include <charconv>
#include <string>

namespace kfhost::detail {

std::uint64_t InstanceOf(Host& host)
{
    static std::uint64_t next = 0;
    std::string& serial = host.MutableConfig().settings["kfhost.instance"];
    std::uint64_t value = 0;
    auto const [end, error] = std::from_chars(serial.data(), serial.data() + serial.size(), value);
    if (serial.empty() || error != std::errc() || end != serial.data() + serial.size()) {
        value = ++next;
        serial = std::to_string(value);
    }
    return value;
}

} // namespace kfhost::detail
