// SPDX-License-Identifier: Apache-2.0
#pragma once

#define ZLIB_CONST  // what is read is const
#include <zlib.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

/// Unpacks one gzip stream as it arrives. libcurl could, but takes a stream that is cut off for a
/// whole one.
class Gunzip {
 public:
  Gunzip();
  ~Gunzip();
  Gunzip(const Gunzip&) = delete;
  Gunzip& operator=(const Gunzip&) = delete;

  /// Appends what `packed` holds to `out`, until that has `limit` bytes. Null, or what is wrong.
  const char* unpack(std::string_view packed, std::string& out, std::size_t limit);

  /// Whether the stream has ended, with a checksum that fits.
  bool isWhole() const { return isWhole_; }

 private:
  z_stream stream_{};
  bool isWhole_ = false;
};

}  // namespace platform
