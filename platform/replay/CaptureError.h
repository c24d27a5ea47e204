// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "platform/Export.h"

namespace platform {

/// A recording that cannot be read, or not further: one line with the file, the place in it and the
/// fault.
class BRIVANE_EXPORT CaptureError : public std::runtime_error {
 public:
  /// A fault of the file as a whole.
  CaptureError(const std::string& path, const std::string& fault);
  /// A fault at `byteOffset` from the file's beginning.
  CaptureError(const std::string& path, std::uint64_t byteOffset, const std::string& fault);
  ~CaptureError() override;
};

/// Throws CaptureError for a folder, a device and the like, which have no beginning and no end.
void requireFile(const std::string& path);

}  // namespace platform
