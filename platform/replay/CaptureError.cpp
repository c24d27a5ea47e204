// SPDX-License-Identifier: Apache-2.0
#include "platform/replay/CaptureError.h"

#include <filesystem>
#include <system_error>

namespace platform {

CaptureError::CaptureError(const std::string& path, const std::string& fault)
    : std::runtime_error(path + ": " + fault) {}

CaptureError::CaptureError(const std::string& path, std::uint64_t byteOffset,
                           const std::string& fault)
    : std::runtime_error(path + ": byte " + std::to_string(byteOffset) + ": " + fault) {}

CaptureError::~CaptureError() = default;

void requireFile(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    throw CaptureError(path, "not a file");
  }
}

}  // namespace platform
