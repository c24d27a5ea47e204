// SPDX-License-Identifier: Apache-2.0
#include "platform/location/PositionFilter.h"

#include "platform/location/Distance.h"

namespace platform {

bool PositionFilter::passes(const CLLocation& position) {
  if (last_ && distanceBetween(*last_, position.coordinate) < distance_) return false;
  last_ = position.coordinate;
  return true;
}

}  // namespace platform
