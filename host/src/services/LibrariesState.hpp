// Per-host state of the library, project and rendering services. The Host record has no slot for
// them, so each host instance is told apart by a serial number kept among its settings; state
// left by a host that has gone is replaced when a new host takes its address.
#pragma once

#include "kfhost/Host.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace kfhost::detail {

// The serial number of this host instance (assigned on first use).
std::uint64_t InstanceOf(Host& host);

template <class State>
State& PerHost(Host& host)
{
    static std::map<const Host*, std::pair<std::uint64_t, std::unique_ptr<State>>> states;
    std::uint64_t const instance = InstanceOf(host);
    auto& slot = states[&host];
    if (!slot.second || slot.first != instance)
        slot = {instance, std::make_unique<State>()};
    return *slot.second;
}

} // namespace kfhost::detail
