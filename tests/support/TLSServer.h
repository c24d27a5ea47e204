#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "service/Certificate.h"

struct ssl_st;

/// One connection of a TLSServer.
class TLSConnection {
 public:
  TLSConnection(ssl_ctx_st& context, int socket);

  /// The next whole request, head and body; empty when the peer has gone.
  std::string readRequest();
  /// So many bytes; fewer when the peer has gone.
  std::string read(std::size_t count);
  /// Whether the peer was still there.
  bool write(const std::string& bytes);
  /// Says that nothing follows. Without it, what ends may have been cut off by anybody.
  void endTLS();
  /// Has the connection end with a reset.
  void reset();

 private:
  bool readMore();

  const int socket_;
  const std::unique_ptr<ssl_st, void (*)(ssl_st*)> ssl_;
  std::string buffer_;
};

/// A server with real TLS on a loopback port that answers byte for byte as a test says, also
/// wrongly.
class TLSServer {
 public:
  /// Serves each connection on a thread of its own; the connection is closed when `serve` returns.
  using Serve = std::function<void(TLSConnection&)>;

  /// With `http2` it agrees on that protocol, and on none else.
  TLSServer(const service::Certificate& certificate, Serve serve, bool http2 = false);
  /// Ends all connections.
  ~TLSServer();

  std::uint16_t port() const { return port_; }
  /// How many connections there have been.
  int connections() const { return connections_; }

  /// A serve function that answers each request with the same bytes, and keeps the requests.
  static Serve answering(std::string reply, std::vector<std::string>* requests = nullptr);
  /// A reply with a body.
  static std::string reply(const std::string& body, const std::string& status = "200 OK",
                           const std::string& moreHeaders = "");

 private:
  void acceptAll(const std::shared_ptr<ssl_ctx_st>& context);

  const Serve serve_;
  const int listener_;
  std::uint16_t port_ = 0;
  std::atomic<int> connections_ = 0;
  std::mutex mutex_;
  std::vector<int> open_;
  std::vector<std::jthread> threads_;
  std::thread acceptor_;
};
