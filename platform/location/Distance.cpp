// SPDX-License-Identifier: Apache-2.0
#include "platform/location/Distance.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace platform {
namespace {

constexpr double kPathLossExponent = 2.5;
constexpr double kImmediate = 0.5;
constexpr double kNear = 4.0;
constexpr double kEarthRadius = 6371008.8;

double radians(double degrees) { return degrees * std::numbers::pi / 180.0; }

double squaredHalfSine(double angle) {
  const double sine = std::sin(angle / 2.0);
  return sine * sine;
}

}  // namespace

double estimatedDistance(int measuredPower, double rssi) {
  return std::pow(10.0, (measuredPower - rssi) / (10.0 * kPathLossExponent));
}

CLProximity proximityAt(double distance) {
  if (distance < kImmediate) return kCLProximityImmediate;
  return distance < kNear ? kCLProximityNear : kCLProximityFar;
}

double distanceBetween(const CLLocationCoordinate2D& a, const CLLocationCoordinate2D& b) {
  const double north = radians(a.latitude);
  const double otherNorth = radians(b.latitude);
  const double haversine =
      squaredHalfSine(otherNorth - north) +
      std::cos(north) * std::cos(otherNorth) * squaredHalfSine(radians(b.longitude - a.longitude));
  return 2.0 * kEarthRadius * std::asin(std::sqrt(std::min(1.0, haversine)));
}

}  // namespace platform
