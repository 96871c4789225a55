// A host with one bundle loaded and its main window shown, for a Driver to work on.
#pragma once

#include "Driver.hpp"

#include "kfhost/qt/Gui.hpp"
#include "kfhost/script/Runner.hpp"

#include <filesystem>
#include <utility>

namespace kftest {

struct WindowedHost {
    WindowedHost(kfhost::HostConfig config, const std::filesystem::path& bundle)
        : host(std::move(config)), session(host, script, kfhost::qt::GuiOptions{{}, true, false})
    {
        loaded = host.LoadBundle(bundle);
        session.ShowMainWindow();
    }

    kfhost::Host host;
    kfhost::ScriptRunner script{host};
    kfhost::qt::GuiSession session;
    Driver drive{host, session.Backend()};
    kfhost::LoadResult loaded;
};

// A config whose framework folder is the given one.
inline kfhost::HostConfig InFolder(const std::filesystem::path& folder)
{
    kfhost::HostConfig config;
    config.frameworkFolder = folder;
    return config;
}

} // namespace kftest
