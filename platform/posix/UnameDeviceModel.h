// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/DeviceModel.h"
#include "platform/Export.h"

namespace platform {

/// The `machine` field of uname, asked for on every call.
class BRIVANE_EXPORT UnameDeviceModel final : public DeviceModel {
 public:
  std::string model() const override;
};

}  // namespace platform
