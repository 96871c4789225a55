// A host with one bundle loaded and its main window shown, for a Driver to work on.
#pragma once

#include "Driver.hpp"

#include <gtest/gtest.h>

#include "kfhost/qt/Gui.hpp"
#include "kfhost/qt/MainWindow.hpp"
#include "kfhost/script/Runner.hpp"

#include <QAction>
#include <QMenu>

#include <filesystem>
#include <functional>
#include <utility>

namespace kftest {

struct WindowedHost {
    WindowedHost(kfhost::HostConfig config, const std::filesystem::path& bundle)
        : host(std::move(config)), session(host, script, kfhost::qt::GuiOptions{{}, true, false})
    {
        loaded = host.LoadBundle(bundle);
        session.ShowMainWindow();
    }

    // Item `item` (1 on) of menu `menu` in the menu bar; null when there is none.
    QAction* MenuItem(std::int16_t menu, int item)
    {
        QMenu* shown = session.Window().Menu(menu);
        return shown && item >= 1 && item <= shown->actions().size() ? shown->actions()[item - 1] : nullptr;
    }
    // A start for Driver::Run: the user chooses that item.
    std::function<void()> Choose(std::int16_t menu, int item)
    {
        return [this, menu, item] {
            QAction* action = MenuItem(menu, item);
            ASSERT_NE(action, nullptr) << "menu " << menu << " has no item " << item;
            action->trigger();
        };
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
