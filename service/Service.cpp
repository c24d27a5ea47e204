// SPDX-License-Identifier: Apache-2.0
#include "service/Service.h"

#include <httplib.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "service/PeerSocket.h"

namespace service {
namespace {

constexpr const char* kAddress = "127.0.0.1";
constexpr const char* kJSON = "application/json";
/// A phone opens six connections at the most; each keeps a thread.
constexpr std::size_t kThreads = 16;
constexpr std::time_t kSecondsKeptAlive = 2;
constexpr std::size_t kRequestsKeptAlive = 1'000'000;
constexpr std::size_t kMaxBody = 1 << 20;

std::string timeOfDay() {
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const std::chrono::hh_mm_ss clock(now - std::chrono::floor<std::chrono::days>(now));
  const auto twoDigits = [](auto value) {
    const std::string digits = std::to_string(value.count());
    return digits.size() < 2 ? "0" + digits : digits;
  };
  return twoDigits(clock.hours()) + ":" + twoDigits(clock.minutes()) + ":" +
         twoDigits(clock.seconds());
}

}  // namespace

class Service::Server {
 public:
  explicit Server(Options options)
      : options_(std::move(options)),
        endpoints_(std::move(options_.endpoints)),
        faults_(options_.faults, options_.seed),
        // Clients put the whole address into the path once more.
        prefix_("/api/v1/https://" + options_.apiHost + "/api/v1/"),
        http_([this](SSL_CTX& context) { return useCertificate(context, options_.certificate); }) {
    if (!http_.is_valid()) throw std::runtime_error("the certificate cannot be used");
    configure();
    port_ = bind();
    thread_ = std::thread([this] { http_.listen_after_bind(); });
    // Stopping works from the moment it runs.
    while (!http_.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }

  ~Server() {
    http_.stop();
    thread_.join();
  }

  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  std::uint16_t port() const { return port_; }

 private:
  void configure() {
    http_.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    http_.set_tcp_nodelay(true);
    // The library's own choice would let a second service share the port.
    http_.set_socket_options([](auto socket) {
      const int on = 1;
      setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    });
    http_.set_keep_alive_timeout(kSecondsKeptAlive);
    http_.set_keep_alive_max_count(kRequestsKeptAlive);
    http_.set_payload_max_length(kMaxBody);
    // The body is read here, because the library would unescape it and bound it as a web form.
    http_.Post(".*", [this](const auto& request, auto& response, const auto& readBody) {
      std::string body;
      readBody([&body](const char* bytes, std::size_t count) {
        body.append(bytes, count);
        return true;
      });
      answer(request, body, response);
    });
    http_.Get(".*", [](const auto&, auto& response) {
      response.status = 405;
      response.set_content(R"({"error":"method_not_allowed"})", kJSON);
    });
  }

  std::uint16_t bind() {
    if (options_.port == 0) {
      const int port = http_.bind_to_any_port(kAddress);
      if (port > 0) return static_cast<std::uint16_t>(port);
    } else if (http_.bind_to_port(kAddress, options_.port)) {
      return options_.port;
    }
    throw std::system_error(errno, std::generic_category(),
                            "port " + std::to_string(options_.port) + " of 127.0.0.1");
  }

  void answer(const httplib::Request& request, const std::string& body,
              httplib::Response& response) {
    const std::string_view path(request.path);
    const bool known = path.starts_with(prefix_);
    const std::string endpoint(known ? path.substr(prefix_.size()) : std::string_view("?"));
    const Reply reply =
        endpoints_.answer(endpoint, request.get_header_value("Authorization"), body);
    response.status = reply.status;
    if (reply.status == 401) response.set_header("WWW-Authenticate", "Bearer");
    response.set_content(reply.body.dump(), kJSON);
    const auto fault = faults_.next();
    if (fault) spoil(*fault, static_cast<std::uint16_t>(request.remote_port), response);
    log(known ? endpoint : "unknown path", response.status, fault.has_value());
  }

  static void spoil(const Fault& fault, std::uint16_t peerPort, httplib::Response& response) {
    switch (fault.kind) {
      case FaultKind::kDelay:
        std::this_thread::sleep_for(fault.delay);
        break;
      case FaultKind::kDrop:
        closeConnectionTo(peerPort);
        break;
      case FaultKind::kReset:
        breakOff(peerPort, response);
        break;
      case FaultKind::kBadJSON:
        response.set_content(R"({"status":true,"beacon":{"match":)", kJSON);
        break;
      case FaultKind::kStatus500:
        response.status = 500;
        response.set_content("Internal Server Error", "text/plain");
        break;
    }
  }

  /// Sends half of the body and resets the connection.
  static void breakOff(std::uint16_t peerPort, httplib::Response& response) {
    const std::string whole = std::exchange(response.body, {});
    response.set_content_provider(
        whole.size(), kJSON, [whole, peerPort](std::size_t, std::size_t, httplib::DataSink& sink) {
          sink.write(whole.data(), whole.size() / 2);
          resetConnectionTo(peerPort);
          return false;
        });
  }

  void log(const std::string& endpoint, int status, bool spoiled) const {
    if (!options_.log) return;
    options_.log(timeOfDay() + " " + endpoint + " " + std::to_string(status) +
                 (spoiled ? " with a fault" : ""));
  }

  Options options_;
  Endpoints endpoints_;
  Faults faults_;
  const std::string prefix_;
  httplib::SSLServer http_;
  std::uint16_t port_ = 0;
  std::thread thread_;
};

Service::Service(Options options) : server_(std::make_unique<Server>(std::move(options))) {}

Service::~Service() = default;

std::uint16_t Service::port() const { return server_->port(); }

}  // namespace service
