#pragma once

#include <cstdint>
#include <string>

#include "tests/support/TLSServer.h"

/// As much of HTTP/2 as a server needs that answers byte for byte as a test says, also wrongly.
namespace http2 {

enum Type : std::uint8_t { kData = 0, kHeaders = 1, kSettings = 4 };
enum Flag : std::uint8_t { kEndStream = 1, kEndHeaders = 4 };

/// `count` bytes of a number, the most significant first.
inline std::string number(std::uint64_t value, int count) {
  std::string bytes;
  while (count-- > 0) bytes += static_cast<char>(value >> (8 * count));
  return bytes;
}

inline std::string frame(Type type, unsigned flags, std::uint32_t stream, const std::string& payload) {
  return number(payload.size(), 3) + number(type, 1) + number(flags, 1) + number(stream, 4) + payload;
}

/// A whole reply, of status 200.
inline std::string reply(std::uint32_t stream, const std::string& body) {
  return frame(kHeaders, kEndHeaders, stream, "\x88") + frame(kData, kEndStream, stream, body);
}

/// What each side begins with. The client's is read, not looked at.
inline void greet(TLSConnection& connection) {
  connection.read(24);
  connection.write(frame(kSettings, 0, 0, ""));
}

/// The stream of the next request that has come whole; 0 when the peer has gone.
inline std::uint32_t readRequest(TLSConnection& connection) {
  for (;;) {
    const std::string head = connection.read(9);
    if (head.size() < 9) return 0;
    const auto at = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<std::uint8_t>(head[i])); };
    connection.read(at(0) << 16U | at(1) << 8U | at(2));
    const bool isRequest = at(3) == kData || at(3) == kHeaders;
    if (isRequest && (at(4) & kEndStream) != 0) return at(5) << 24U | at(6) << 16U | at(7) << 8U | at(8);
  }
}

}  // namespace http2
