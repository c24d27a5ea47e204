// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/Export.h"

/// A condition that the host must know about, handed to its `didErrorFound`.
class BRIVANE_EXPORT BVError {
 public:
  /// A new error with the message that belongs to `code`: 0 "No error", 1 "No location services
  /// enabled". Throws std::out_of_range for any other code.
  static std::shared_ptr<const BVError> newError(std::int32_t code);

  /// 0 or 1; see `newError`.
  std::int32_t errorCode() const { return errorCode_; }
  void setErrorCode(std::int32_t value) { errorCode_ = value; }
  /// The message that belongs to the code, in English; null only when it was set so.
  const std::optional<std::string>& errorString() const { return errorString_; }
  void setErrorString(std::optional<std::string> value) { errorString_ = std::move(value); }

 private:
  std::int32_t errorCode_ = 0;
  std::optional<std::string> errorString_;
};
