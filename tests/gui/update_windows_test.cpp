// An update check of the update example in real windows: the download runs on Qt's loop while the
// windows are up, the results window opens beside the work with the result, and its update button
// opens the add-on's update page.
#include "WindowedHost.hpp"
#include "kftest/Files.hpp"
#include "UpdateServer.hpp"

#include "kfhost/qt/MainWindow.hpp"

#include <QAction>
#include <QMenu>
#include <QTest>

#include <gtest/gtest.h>

namespace {

using kftest::Do;
using kftest::Logged;

constexpr std::int16_t kResults = 32755;

// Made before the host, which is told the server's port.
struct DemoServer {
    DemoServer()
        : server([] {
              kfupd::ServerOptions options;
              options.root = KF_GUI_UPDATE_DEMO;
              return options;
          }()),
          port(server.Start())
    {}

    kftest::TempFolder folder;
    kfupd::UpdateServer server;
    int port;
};

class UpdateWindows : public ::testing::Test, protected DemoServer, protected kftest::WindowedHost {
protected:
    UpdateWindows()
        : WindowedHost(
              [&] {
                  kfhost::HostConfig config = kftest::InFolder(folder.Path());
                  config.updateServer = "127.0.0.1:" + std::to_string(port);
                  return config;
              }(),
              KF_GUI_UPDATE_BUNDLE)
    {}
    ~UpdateWindows() override { server.Stop(); }

    void SetUp() override
    {
        ASSERT_GT(port, 0);
        ASSERT_TRUE(loaded.Loaded()) << loaded.reason;
    }
};

TEST_F(UpdateWindows, ResultWindowShowsANewerReleaseAndOpensTheUpdatePage)
{
    drive.Run(Choose(32601, 1), {
                                    [&] {
                                        kfhost::qt::DialogWindow* window = drive.WindowOf(kResults);
                                        return window && window->isVisible();
                                    },
                                    Do([&] {
                                        kfhost::qt::DialogWindow* window = drive.WindowOf(kResults);
                                        EXPECT_EQ(window->windowModality(), Qt::NonModal);
                                        EXPECT_EQ(window->windowTitle(), "Orvella Beam Tools");
                                        EXPECT_EQ(window->size(), QSize(655, 172));
                                        // Its texts are the update check's (tests/update); the window shows the host's.
                                        for (std::int16_t item : {1, 2, 3, 4, 5, 6, 7})
                                            EXPECT_TRUE(drive.Item(item)->isVisible()) << "item " << item;
                                        EXPECT_TRUE(drive.Item(5)->isEnabled()) << "a newer release can be fetched";
                                        QTest::mouseClick(drive.Item(5), Qt::LeftButton);
                                    }),
                                });
    EXPECT_EQ(drive.WindowOf(kResults), nullptr);
    ASSERT_FALSE(host.Launched().empty());
    const std::string url = host.Launched().back().back();
    EXPECT_EQ(url, "http://127.0.0.1:" + std::to_string(port) +
                       "/update_plugins/updates.htm?acver=17&lang=1&addon=Orvella Beam Tools");
    EXPECT_TRUE(Logged(host, "closed 32755 with 5 result 1"));
}

} // namespace
