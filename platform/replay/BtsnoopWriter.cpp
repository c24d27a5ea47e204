// SPDX-License-Identifier: Apache-2.0
#include "platform/replay/BtsnoopWriter.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <system_error>

#include "platform/replay/BtsnoopFormat.h"
#include "platform/replay/CaptureError.h"

namespace platform {
namespace {

using namespace btsnoop;

constexpr std::size_t kMaxData = 31;

template <typename Number>
void appendBigEndian(std::string& bytes, Number value) {
  for (int shift = 8 * (static_cast<int>(sizeof(Number)) - 1); shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<char>(value >> static_cast<unsigned>(shift) & 0xFFU));
  }
}

/// One structure of advertising data, with the manufacturer's.
std::string advertisingData(const Advertisement& advertisement) {
  std::string data;
  data.push_back(static_cast<char>(advertisement.data.size() + 3));
  data.push_back('\xFF');
  data.push_back(static_cast<char>(advertisement.company & 0xFFU));
  data.push_back(static_cast<char>(advertisement.company >> 8U));
  data.append(advertisement.data.begin(), advertisement.data.end());
  return data;
}

/// An HCI event of the UART: one report of a sender with a random address, which takes no
/// connection.
std::string reportEvent(const Advertisement& advertisement, const std::string& data) {
  std::string event = {static_cast<char>(kUARTEvent),
                       '\x3E',
                       static_cast<char>(12 + data.size()),
                       '\x02',
                       '\x01',
                       '\x03',
                       '\x01'};
  event.append(advertisement.address.rbegin(), advertisement.address.rend());
  event.push_back(static_cast<char>(data.size()));
  event.append(data);
  event.push_back(static_cast<char>(std::clamp(advertisement.rssi, -128, 127)));
  return event;
}

/// Null when there is such a file, or it cannot be. A recording tells where somebody was, and who
/// else: it is its owner's to read.
std::FILE* create(const std::string& path) {
  const int descriptor =
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  return descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
}

}  // namespace

BtsnoopWriter::BtsnoopWriter(const std::string& path) : path_(path), file_(create(path)) {
  if (!file_) throw CaptureError(path_, std::generic_category().message(errno));
  std::string header(kIdentification);
  appendBigEndian(header, kVersion);
  appendBigEndian(header, kHCIUART);
  put(header);
}

void BtsnoopWriter::write(const Advertisement& advertisement, UTCTime time) {
  const std::string data = advertisingData(advertisement);
  if (data.size() > kMaxData) return;
  const std::string event = reportEvent(advertisement, data);
  const auto size = static_cast<std::uint32_t>(event.size());
  std::string record;
  appendBigEndian(record, size);
  appendBigEndian(record, size);
  appendBigEndian(record, kFlagsOfReceivedEvent);
  appendBigEndian(record, std::uint32_t{0});
  appendBigEndian(record, kEpoch + static_cast<std::uint64_t>(time.time_since_epoch().count()));
  put(record + event);
  ++count_;
}

void BtsnoopWriter::flush() {
  if (std::fflush(file_.get()) != 0) {
    throw CaptureError(path_, std::generic_category().message(errno));
  }
}

void BtsnoopWriter::put(const std::string& bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) < bytes.size()) {
    throw CaptureError(path_, std::generic_category().message(errno));
  }
}

}  // namespace platform
