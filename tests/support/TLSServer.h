// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "service/Certificate.h"

/// One connection of a TLSServer.
class TLSConnection {
 public:
  TLSConnection(SSL_CTX& context, int socket) : socket_(socket), ssl_(SSL_new(&context), SSL_free) {
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    SSL_set_fd(ssl_.get(), socket);
    SSL_accept(ssl_.get());  // where that fails, nothing can be read or written
  }

  /// The next whole request, head and body; empty when the peer has gone.
  std::string readRequest() {
    std::size_t end = 0;
    while ((end = buffer_.find("\r\n\r\n")) == buffer_.npos) {
      if (!readMore()) return "";
    }
    const std::size_t field = buffer_.find("Content-Length: ");
    return read(end + 4 + (field < end ? std::strtoul(&buffer_[field + 16], nullptr, 10) : 0));
  }

  /// So many bytes; fewer when the peer has gone.
  std::string read(std::size_t count) {
    while (buffer_.size() < count && readMore()) {
    }
    std::string bytes = buffer_.substr(0, count);
    buffer_.erase(0, count);
    return bytes;
  }

  /// Whether the peer was still there.
  bool write(const std::string& bytes) {
    return SSL_write(ssl_.get(), bytes.data(), static_cast<int>(bytes.size())) > 0;
  }

  /// Says that nothing follows. Without it, what ends may have been cut off by anybody.
  void endTLS() { SSL_shutdown(ssl_.get()); }

  /// Has the connection end with a reset.
  void reset() {
    const linger now{.l_onoff = 1, .l_linger = 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
  }

 private:
  bool readMore() {
    char bytes[4096];
    const int count = SSL_read(ssl_.get(), &bytes[0], sizeof bytes);
    if (count > 0) buffer_.append(&bytes[0], static_cast<std::size_t>(count));
    return count > 0;
  }

  const int socket_;
  const std::unique_ptr<SSL, void (*)(SSL*)> ssl_;
  std::string buffer_;
};

/// A server with real TLS on a loopback port that answers byte for byte as a test says, also wrongly.
class TLSServer {
 public:
  /// Serves each connection on a thread of its own; the connection is closed when `serve` returns.
  using Serve = std::function<void(TLSConnection&)>;

  /// With `http2` it agrees on that protocol, and on none else.
  TLSServer(const service::Certificate& certificate, Serve serve, bool http2 = false)
      : serve_(std::move(serve)), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener_, any, size) != 0 || listen(listener_, 256) != 0 || getsockname(listener_, any, &size) != 0) {
      throw std::runtime_error("no loopback port");
    }
    port_ = ntohs(address.sin_port);
    service::useCertificate(*context_, certificate);
    if (http2) SSL_CTX_set_alpn_select_cb(context_.get(), chooseHTTP2, nullptr);
    acceptor_ = std::thread([this] { acceptAll(); });
  }

  /// Ends all connections.
  ~TLSServer() {
    shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    {
      const std::lock_guard lock(mutex_);
      for (const int socket : open_) shutdown(socket, SHUT_RDWR);
    }
    threads_.clear();
    close(listener_);
  }

  std::uint16_t port() const { return port_; }
  /// How many connections there have been.
  int connections() const { return connections_; }

  /// A serve function that answers each request with the same bytes, and keeps the requests.
  static Serve answering(std::string reply, std::vector<std::string>* requests = nullptr) {
    const auto mutex = std::make_shared<std::mutex>();
    return [reply = std::move(reply), requests, mutex](TLSConnection& connection) {
      for (std::string request; !(request = connection.readRequest()).empty(); connection.write(reply)) {
        const std::lock_guard lock(*mutex);
        if (requests != nullptr) requests->push_back(request);
      }
    };
  }

  /// A reply with a body.
  static std::string reply(const std::string& body, const std::string& status = "200 OK",
                           const std::string& moreHeaders = "") {
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + moreHeaders + "\r\n" +
           body;
  }

 private:
  static int chooseHTTP2(SSL*, const unsigned char** chosen, unsigned char* size, const unsigned char*, unsigned,
                         void*) {
    *chosen = reinterpret_cast<const unsigned char*>("h2");
    *size = 2;
    return SSL_TLSEXT_ERR_OK;
  }

  void acceptAll() {
    // A client that goes away must not end the test. The threads made here inherit this; the process's own
    // handling of the signal stays as it is, for it is the client's to cope with.
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    for (int socket = 0; (socket = accept(listener_, nullptr, nullptr)) >= 0;) {
      ++connections_;
      const std::lock_guard lock(mutex_);
      open_.push_back(socket);
      threads_.emplace_back([this, socket] {
        {
          TLSConnection connection(*context_, socket);
          serve_(connection);
        }
        const std::lock_guard closing(mutex_);
        std::erase(open_, socket);
        close(socket);
      });
    }
  }

  const Serve serve_;
  const int listener_;
  const std::shared_ptr<SSL_CTX> context_{SSL_CTX_new(TLS_server_method()), SSL_CTX_free};
  std::uint16_t port_ = 0;
  std::atomic<int> connections_ = 0;
  std::mutex mutex_;
  std::vector<int> open_;
  std::vector<std::jthread> threads_;
  std::thread acceptor_;
};
