// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>

#include "platform/DeviceModel.h"
#include "platform/Export.h"

namespace brivane::testing {

/// A device of the kind that a test says.
class BRIVANE_EXPORT FixedDeviceModel final : public platform::DeviceModel {
 public:
  /// A device that tells `model`.
  explicit FixedDeviceModel(std::string model) : model_(std::move(model)) {}

  std::string model() const override { return model_; }

 private:
  const std::string model_;
};

}  // namespace brivane::testing
