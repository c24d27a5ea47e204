#include "bench/Connections.h"

#include <dlfcn.h>
#include <sys/socket.h>

#include <atomic>

namespace {

std::atomic<int> opened = 0;

}  // namespace

/// Stands before the system's, also for the libraries.
extern "C" __attribute__((visibility("default"))) int connect(int socket, const sockaddr* address,
                                                              socklen_t size) {
  using Connect = int (*)(int, const sockaddr*, socklen_t);
  static const auto real = reinterpret_cast<Connect>(dlsym(RTLD_NEXT, "connect"));
  if (address->sa_family == AF_INET) ++opened;
  return real(socket, address, size);
}

namespace bench {

int connectionsOpened() { return opened; }

}  // namespace bench
