// kfupdateserver: serves a folder of versions files on loopback for demos and tests.
#include "UpdateServer.hpp"

#include <CLI/CLI.hpp>

#include <pthread.h>

#include <csignal>
#include <iostream>

int main(int argc, char** argv)
{
    CLI::App app{"Serves a folder of versions files over HTTP on loopback."};
    kfupd::ServerOptions options;
#ifdef KF_UPDATE_DEMO_ROOT
    options.root = KF_UPDATE_DEMO_ROOT;
#endif
    app.add_option("--root", options.root, "Folder to serve (holds update_plugins/versions16.txt)")
        ->check(CLI::ExistingDirectory);
    app.add_option("--port", options.port, "Port to listen on; 0 picks a free one and prints it")
        ->check(CLI::Range(0, 65535));
    app.add_option("--host", options.host, "Address to listen on");
    app.add_flag("--test-routes", options.testRoutes,
                 "Add /test/redirect/N, /test/status/N, /test/bytes/N, /test/trickle, /test/slow/PATH, /test/hang");
    CLI11_PARSE(app, argc, argv);
    if (options.root.empty()) {
        std::cerr << "kfupdateserver: --root is required\n";
        return 2;
    }

    // Signals are taken by sigwait below, never by a handler: the server threads inherit the mask.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    kfupd::UpdateServer server(options);
    const int port = server.Start();
    if (port < 0) {
        std::cerr << "kfupdateserver: cannot listen on " << options.host << ":" << options.port << "\n";
        return 1;
    }
    // The port alone on the first line, so that scripts can read it.
    std::cout << port << std::endl;
    std::cerr << "kfupdateserver: serving " << options.root << " at " << server.BaseUrl() << "\n";

    int received = 0;
    sigwait(&signals, &received);
    server.Stop();
    return 0;
}
