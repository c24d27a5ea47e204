// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "platform/Export.h"
#include "platform/Location.h"

namespace platform {

/// Lets a position pass when the device has moved far enough since the last that passed.
class BRIVANE_EXPORT PositionFilter {
 public:
  /// Metres; kCLDistanceFilterNone lets every position pass.
  void setDistance(double distance) { distance_ = distance; }

  /// Forgets the last position: the next one passes.
  void reset() { last_.reset(); }

  /// Whether `position` is to be delivered.
  bool passes(const CLLocation& position);

 private:
  double distance_ = kCLDistanceFilterNone;
  std::optional<CLLocationCoordinate2D> last_;
};

}  // namespace platform
