// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/Export.h"

namespace platform {

/// Says what kind of device this is. Called on any thread, several at once, with each request that
/// names the device.
class BRIVANE_EXPORT DeviceModel {
 public:
  virtual ~DeviceModel() = default;

  /// The hardware identifier that the operating system reports, for instance "aarch64", not a
  /// marketing name; UTF-8, and empty when the system tells none.
  virtual std::string model() const = 0;
};

}  // namespace platform
