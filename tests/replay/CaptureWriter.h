#pragma once

#include <cstdint>
#include <string>

#include "platform/location/Advertisement.h"

/// Writes btsnoop captures, as a phone or a monitor would.
class CaptureWriter {
 public:
  explicit CaptureWriter(std::uint32_t datalink) : datalink_(datalink) {
    bytes = std::string("btsnoop\0", 8) + number(1, 4) + number(datalink, 4);
  }

  static std::string number(std::uint64_t value, int size) {
    std::string text;
    for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) {
      text += static_cast<char>(value >> static_cast<unsigned>(shift) & 0xFFU);
    }
    return text;
  }

  /// An LE advertising report, legacy or extended, with one manufacturer's data behind flags.
  static std::string event(const platform::Advertisement& heard, bool extended = false, int dataStatus = 0) {
    std::string data = {2,
                        1,
                        6,
                        static_cast<char>(heard.data.size() + 3),
                        '\xFF',
                        static_cast<char>(heard.company & 0xFFU),
                        static_cast<char>(heard.company >> 8U)};
    data.append(heard.data.begin(), heard.data.end());
    const auto rssi = static_cast<char>(heard.rssi);
    const auto length = static_cast<char>(data.size());
    std::string body = extended ? std::string{0x0D, 1, static_cast<char>(dataStatus << 5U)} + std::string(12, 'x') +
                                      rssi + std::string(9, 'x')
                                : std::string{0x02, 1} + std::string(8, 'x');
    body += length + data;
    if (!extended) body += rssi;
    return std::string{'\x3E', static_cast<char>(body.size())} + body;
  }

  void add(double second, const std::string& hciEvent) {
    const bool uart = datalink_ == 1002;
    addPacket(second, (uart ? "\x04" : "") + hciEvent, 3);
  }

  void addPacket(double second, const std::string& packet, std::uint32_t flags) {
    const auto time = 0x00DCDDB30F2F8000 + static_cast<std::uint64_t>(second * 1e6);
    bytes += number(packet.size(), 4) + number(packet.size(), 4) + number(flags, 4) + number(0, 4) + number(time, 8) +
             packet;
  }

  std::string bytes;

 private:
  const std::uint32_t datalink_;
};
