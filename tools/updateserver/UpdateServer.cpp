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
    // A stopped test must not wait for idle keep-alive connections for long.
    server_.set_keep_alive_timeout(1);
    server_.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response&) {
        Record(request);
        return httplib::Server::HandlerResponse::Unhandled;
    });
    if (options_.testRoutes)
        AddTestRoutes(server_, stop_);
    AddFileRoutes(server_, options_.root);
}

UpdateServer::~UpdateServer() { Stop(); }

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
    if (!thread_.joinable())
        thread_ = std::thread([this] { server_.listen_after_bind(); });
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
