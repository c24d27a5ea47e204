// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/Export.h"
#include "platform/location/Advertisement.h"
#include "platform/replay/UTCTime.h"

namespace platform {

/// Reads a btsnoop capture record by record: datalinks 1001 (HCI), 1002 (HCI UART, a phone's snoop
/// log) and 2001 (Linux monitor, btmon).
class BRIVANE_EXPORT BtsnoopReader {
 public:
  /// What one packet of the capture holds.
  struct Record {
    /// Never before that of the last record: where a capture's clock went back, time stands still.
    UTCTime time;
    /// At least one, in the packet's order.
    std::vector<Advertisement> advertisements;
  };

  /// Opens `path` and reads its header. Throws CaptureError when it is missing or no such capture.
  explicit BtsnoopReader(const std::string& path);

  /// The next record that holds advertisements; absent at the end. Throws CaptureError, with the
  /// offset, where the file is cut or corrupt; all records before that have been returned.
  std::optional<Record> next();

  /// How much of the file has been read, 0 to 1.
  double fractionRead() const;

 private:
  struct Header;

  std::optional<Header> readHeader();
  /// The HCI event in a record's packet; empty when it holds something else.
  std::span<const std::uint8_t> eventIn(const Header& header) const;
  std::size_t read(std::span<std::uint8_t> bytes);
  [[noreturn]] void fail(std::uint64_t offset, const std::string& fault) const;

  const std::string path_;
  std::ifstream file_;
  std::uint64_t size_ = 0;
  std::uint64_t offset_ = 0;
  std::uint32_t datalink_ = 0;
  UTCTime latest_{};
  std::vector<std::uint8_t> packet_;
};

}  // namespace platform
