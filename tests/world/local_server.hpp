// LocalServer: a real HTTP server on the loopback, for as long as it lives. Handlers are given
// before it starts; they run on threads of its own.
#pragma once

#include <httplib.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace bokfolio::test {

class LocalServer {
 public:
  explicit LocalServer(
      const std::function<void(httplib::Server&)>& addHandlers,
      std::unique_ptr<httplib::Server> server = std::make_unique<httplib::Server>())
      : server_(std::move(server)) {
    addHandlers(*server_);
    port_ = server_->bind_to_any_port("127.0.0.1");
    thread_ = std::thread([this] { server_->listen_after_bind(); });
    while (!server_->is_running()) std::this_thread::yield();
  }
  ~LocalServer() { stop(); }

  void stop() {
    server_->stop();
    if (thread_.joinable()) thread_.join();
  }
  std::string host() const { return "127.0.0.1:" + std::to_string(port_); }

 private:
  std::unique_ptr<httplib::Server> server_;
  std::thread thread_;
  int port_ = 0;
};

}  // namespace bokfolio::test
