#include "tests/support/TLSServer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

namespace {

struct Free {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  void operator()(SSL* ssl) const { SSL_free(ssl); }
  void operator()(BIO* bio) const { BIO_free(bio); }
  void operator()(X509* x509) const { X509_free(x509); }
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};

SSL_CTX* newContext(const service::Certificate& certificate) {
  const auto open = [](const std::string& pem) {
    return std::unique_ptr<BIO, Free>(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
  };
  SSL_CTX* const context = SSL_CTX_new(TLS_server_method());
  const std::unique_ptr<X509, Free> x509(
      PEM_read_bio_X509(open(certificate.certificatePEM).get(), nullptr, nullptr, nullptr));
  const std::unique_ptr<EVP_PKEY, Free> key(
      PEM_read_bio_PrivateKey(open(certificate.keyPEM).get(), nullptr, nullptr, nullptr));
  SSL_CTX_use_certificate(context, x509.get());
  SSL_CTX_use_PrivateKey(context, key.get());
  return context;
}

class Connection final : public TLSConnection {
 public:
  Connection(SSL_CTX* context, int socket) : socket_(socket), ssl_(SSL_new(context)) {
    const int atOnce = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &atOnce, sizeof atOnce);
    SSL_set_fd(ssl_.get(), socket);
    accepted_ = SSL_accept(ssl_.get()) == 1;
  }
  bool isAccepted() const { return accepted_; }

  std::string readRequest() override {
    while (buffer_.find("\r\n\r\n") == std::string::npos) {
      if (!readMore()) return {};
    }
    const std::size_t head = buffer_.find("\r\n\r\n") + 4;
    const std::size_t field = buffer_.find("Content-Length: ");
    const std::size_t size = head + (field < head ? std::strtoul(&buffer_[field + 16], nullptr, 10) : 0);
    while (buffer_.size() < size) {
      if (!readMore()) return {};
    }
    const std::string request = buffer_.substr(0, size);
    buffer_.erase(0, size);
    return request;
  }

  void write(const std::string& bytes) override { SSL_write(ssl_.get(), bytes.data(), static_cast<int>(bytes.size())); }

  void reset() override {
    const linger now{.l_onoff = 1, .l_linger = 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
  }

 private:
  bool readMore() {
    char bytes[4096];
    const int count = SSL_read(ssl_.get(), static_cast<char*>(bytes), sizeof bytes);
    if (count > 0) buffer_.append(static_cast<char*>(bytes), static_cast<std::size_t>(count));
    return count > 0;
  }

  const int socket_;
  const std::unique_ptr<SSL, Free> ssl_;
  bool accepted_ = false;
  std::string buffer_;
};

}  // namespace

TLSServer::TLSServer(const service::Certificate& certificate, Serve serve)
    : serve_(std::move(serve)), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  std::signal(SIGPIPE, SIG_IGN);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener_, any, size) != 0 || listen(listener_, 256) != 0 || getsockname(listener_, any, &size) != 0) {
    throw std::runtime_error("no loopback port");
  }
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread([this, context = newContext(certificate)] { acceptAll(context); });
}

TLSServer::~TLSServer() {
  shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  {
    const std::lock_guard lock(mutex_);
    for (const int socket : open_) shutdown(socket, SHUT_RDWR);
  }
  for (std::thread& thread : threads_) thread.join();
  close(listener_);
}

void TLSServer::acceptAll(void* owned) {
  const std::shared_ptr<SSL_CTX> context(static_cast<SSL_CTX*>(owned), Free());
  for (;;) {
    const int socket = accept(listener_, nullptr, nullptr);
    if (socket < 0) return;
    ++connections_;
    const std::lock_guard lock(mutex_);
    open_.push_back(socket);
    threads_.emplace_back([this, context, socket] {
      {
        Connection connection(context.get(), socket);
        if (connection.isAccepted()) serve_(connection);
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
