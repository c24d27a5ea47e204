// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/Location.h"

namespace platform {

/// The distance at which a beacon of `measuredPower` (dBm at one metre) is heard with `rssi` (dBm),
/// metres: each 10 dB of loss per decade and exponent, at an exponent of 2.5 as in a street with
/// people in it.
BRIVANE_EXPORT double estimatedDistance(int measuredPower, double rssi);

/// The class of a distance in metres: immediate below half a metre, near below four, else far.
BRIVANE_EXPORT CLProximity proximityAt(double distance);

/// The way between two coordinates along the ground, metres.
BRIVANE_EXPORT double distanceBetween(const CLLocationCoordinate2D& a,
                                      const CLLocationCoordinate2D& b);

}  // namespace platform
