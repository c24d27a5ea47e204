// SPDX-License-Identifier: Apache-2.0
#include "service/PeerSocket.h"

#include <dirent.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <charconv>
#include <cstring>
#include <memory>

namespace service {
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

bool isConnectedTo(int descriptor, std::uint16_t peerPort) {
  sockaddr_in peer{};
  socklen_t size = sizeof peer;
  return getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
         peer.sin_family == AF_INET && ntohs(peer.sin_port) == peerPort;
}

/// The web server's library keeps its sockets to itself, so the process's descriptors are searched.
int socketTo(std::uint16_t peerPort) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir("/proc/self/fd"));
  if (!folder) return -1;
  while (const dirent* entry = readdir(folder.get())) {  // NOLINT: this thread's own folder
    const char* const name = static_cast<const char*>(entry->d_name);
    int descriptor = -1;
    std::from_chars(name, name + std::strlen(name), descriptor);
    if (descriptor >= 0 && isConnectedTo(descriptor, peerPort)) return descriptor;
  }
  return -1;
}

}  // namespace

void resetConnectionTo(std::uint16_t peerPort) {
  const linger now{.l_onoff = 1, .l_linger = 0};
  const int descriptor = socketTo(peerPort);
  if (descriptor >= 0) setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &now, sizeof now);
}

void closeConnectionTo(std::uint16_t peerPort) {
  const int descriptor = socketTo(peerPort);
  if (descriptor >= 0) shutdown(descriptor, SHUT_RDWR);
}

}  // namespace service
