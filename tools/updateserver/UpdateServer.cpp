#include "UpdateServer.hpp"

#include <utility>

namespace kfupd {

void StopSignal::Raise()
{
    {
        std::lock_guard lock(mutex_);
        raised_ = true;
    }
    cv_.notify_all();
}

bool StopSignal::Raised() const
{
    std::lock_guard lock(mutex_);
    return raised_;
}

bool StopSignal::WaitFor(std::chrono::milliseconds for_) const
{
    std::unique_lock lock(mutex_);
    return cv_.wait_for(lock, for_, [this] { return raised_; });
}

UpdateServer::UpdateServer(ServerOptions options) : options_(std::move(options))
{
    // One request per connection: a stopping server then never waits for an idle client.
    server_.set_keep_alive_max_count(1);
    // The accept loop wakes now and then, so a stop that races its start is still seen.
    server_.set_idle_interval(0, 100000);
    server_.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response&) {
        Record(request);
        return httplib::Server::HandlerResponse::Unhandled;
    });
    if (options_.testRoutes)
        AddTestRoutes(server_, options_.root, stop_);
    AddFileRoutes(server_, options_.root);
}

UpdateServer::~UpdateServer()
{
    Stop();
}

int UpdateServer::Bind()
{
    if (port_ > 0)
        return port_;
    if (options_.port == 0)
        port_ = server_.bind_to_any_port(options_.host);
    else
        port_ = server_.bind_to_port(options_.host, options_.port) ? options_.port : -1;
    return port_;
}

int UpdateServer::Start()
{
    if (Bind() < 0)
        return -1;
    if (!thread_.joinable()) {
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        // A stop before the loop runs would be lost and leave it waiting in accept for good.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (!server_.is_running() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return port_;
}

void UpdateServer::Stop()
{
    stop_.Raise();
    server_.stop();
    if (thread_.joinable())
        thread_.join();
}

std::string UpdateServer::BaseUrl() const
{
    return "http://" + options_.host + ":" + std::to_string(port_);
}

std::vector<std::string> UpdateServer::RequestTargets() const
{
    std::lock_guard lock(logMutex_);
    return targets_;
}

void UpdateServer::Record(const httplib::Request& request)
{
    std::lock_guard lock(logMutex_);
    targets_.push_back(request.target);
}

} // namespace kfupd
