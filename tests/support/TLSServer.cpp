#include "tests/support/TLSServer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace {

int chooseHTTP2(SSL*, const unsigned char** chosen, unsigned char* size, const unsigned char*, unsigned, void*) {
  *chosen = reinterpret_cast<const unsigned char*>("h2");
  *size = 2;
  return SSL_TLSEXT_ERR_OK;
}

}  // namespace

TLSConnection::TLSConnection(SSL_CTX& context, int socket) : socket_(socket), ssl_(SSL_new(&context), SSL_free) {
  const int on = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  SSL_set_fd(ssl_.get(), socket);
  SSL_accept(ssl_.get());  // where that fails, nothing can be read or written
}

std::string TLSConnection::readRequest() {
  std::size_t end = 0;
  while ((end = buffer_.find("\r\n\r\n")) == buffer_.npos && readMore()) {
  }
  const std::size_t field = buffer_.find("Content-Length: ");
  const std::size_t size = end + 4 + (field < end ? std::strtoul(&buffer_[field + 16], nullptr, 10) : 0);
  return end == buffer_.npos ? "" : read(size);
}

std::string TLSConnection::read(std::size_t count) {
  while (buffer_.size() < count && readMore()) {
  }
  std::string bytes = buffer_.substr(0, count);
  buffer_.erase(0, count);
  return bytes;
}

bool TLSConnection::readMore() {
  char bytes[4096];
  const int count = SSL_read(ssl_.get(), static_cast<char*>(bytes), sizeof bytes);
  if (count > 0) buffer_.append(static_cast<char*>(bytes), static_cast<std::size_t>(count));
  return count > 0;
}

bool TLSConnection::write(const std::string& bytes) {
  return SSL_write(ssl_.get(), bytes.data(), static_cast<int>(bytes.size())) > 0;
}

void TLSConnection::endTLS() { SSL_shutdown(ssl_.get()); }

void TLSConnection::reset() {
  const linger now{.l_onoff = 1, .l_linger = 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
}

TLSServer::TLSServer(const service::Certificate& certificate, Serve serve, bool http2)
    : serve_(std::move(serve)), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
  socklen_t size = sizeof address;
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener_, any, size) != 0 || listen(listener_, 256) != 0 || getsockname(listener_, any, &size) != 0) {
    throw std::runtime_error("no loopback port");
  }
  port_ = ntohs(address.sin_port);
  const std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
  service::useCertificate(*context, certificate);
  if (http2) SSL_CTX_set_alpn_select_cb(context.get(), chooseHTTP2, nullptr);
  acceptor_ = std::thread([this, context] { acceptAll(context); });
}

TLSServer::~TLSServer() {
  shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  {
    const std::lock_guard lock(mutex_);
    for (const int socket : open_) shutdown(socket, SHUT_RDWR);
  }
  threads_.clear();
  close(listener_);
}

void TLSServer::acceptAll(const std::shared_ptr<ssl_ctx_st>& context) {
  // A client that goes away must not end the test. The threads made here inherit this; the process's own
  // handling of the signal stays as it is, for it is the client's to cope with.
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
  for (;;) {
    const int socket = accept(listener_, nullptr, nullptr);
    if (socket < 0) return;
    ++connections_;
    const std::lock_guard lock(mutex_);
    open_.push_back(socket);
    threads_.emplace_back([this, context, socket] {
      {
        TLSConnection connection(*context, socket);
        serve_(connection);
      }
      const std::lock_guard closing(mutex_);
      std::erase(open_, socket);
      close(socket);
    });
  }
}

TLSServer::Serve TLSServer::answering(std::string reply, std::vector<std::string>* requests) {
  const auto mutex = std::make_shared<std::mutex>();
  return [reply = std::move(reply), requests, mutex](TLSConnection& connection) {
    for (std::string request; !(request = connection.readRequest()).empty();) {
      if (requests != nullptr) {
        const std::lock_guard lock(*mutex);
        requests->push_back(request);
      }
      connection.write(reply);
    }
  };
}

std::string TLSServer::reply(const std::string& body, const std::string& status, const std::string& moreHeaders) {
  return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + moreHeaders + "\r\n" +
         body;
}
