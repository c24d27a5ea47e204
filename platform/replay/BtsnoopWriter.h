// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "platform/Export.h"
#include "platform/location/Advertisement.h"
#include "platform/replay/UTCTime.h"

namespace platform {

/// Writes what a radio hears into a btsnoop capture, as legacy LE advertising reports of an HCI
/// UART: BtsnoopReader, btmon and Wireshark read it.
class BRIVANE_EXPORT BtsnoopWriter {
 public:
  /// Creates `path`. Throws CaptureError when it cannot, or when there is such a file already.
  explicit BtsnoopWriter(const std::string& path);

  /// Adds an advertisement that was heard `time` after 1970. One that no legacy report can hold, of
  /// more than 27 bytes, is left out. Throws CaptureError when the file takes no more.
  void write(const Advertisement& advertisement, UTCTime time);

  /// Brings all that was written into the file. Throws CaptureError when it takes no more.
  void flush();

  /// How many advertisements were written.
  std::uint64_t count() const { return count_; }

 private:
  void put(const std::string& bytes);

  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  const std::string path_;
  const std::unique_ptr<std::FILE, Close> file_;
  std::uint64_t count_ = 0;
};

}  // namespace platform
