// SPDX-License-Identifier: Apache-2.0
#include "guidance/Nearby.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <string_view>
#include <utility>

#include "guidance/Sentences.h"
#include "guidance/Text.h"

namespace guidance {
namespace {

constexpr std::int64_t kRadius = 500;  // metres, as all that follows
/// How far the other points lie from the device: far enough that distances in whole metres tell a
/// direction.
constexpr double kOffset = 100.0;
constexpr double kMetresPerDegree = 111'195.0;
constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

double degrees(double radians) { return radians * 180.0 / std::numbers::pi; }

/// What tells a place from others: the service sends no identifier.
std::string identityOf(const BVLocal& local) {
  return local.name().value_or("") + '\n' + local.address().value_or("") + '\n' +
         local.category().value_or("");
}

/// Where a place lies that is so far from the device, from the point to the north of it, and from
/// the one to the east.
std::optional<double> bearingOf(const std::array<double, 3>& metres) {
  const auto along = [&](double fromOther) {
    return (metres[0] * metres[0] - fromOther * fromOther + kOffset * kOffset) / (2.0 * kOffset);
  };
  const double bearing = degrees(std::atan2(along(metres[2]), along(metres[1])));
  if (std::isnan(bearing)) return std::nullopt;
  return bearing < 0.0 ? bearing + 360.0 : bearing;
}

}  // namespace

std::string NearbyPlace::whereText() const {
  std::string distance = distanceText(metres);
  if (!bearing) return distance;
  return filled(_("%1 %2"), {distance, directionText(*bearing)});
}

void Nearby::moved(const platform::CLLocation& position) {
  if (position.horizontalAccuracy < 0.0) return;
  next_ = position.coordinate;
  if (!awaited_ || answered_) abandon();
}

bool Nearby::found(const std::shared_ptr<const BVWaybeaconDistance::List>& places) {
  if (!awaited_) return false;
  const std::size_t point = *awaited_;
  answered_ = false;
  for (const auto& place : places ? *places : BVWaybeaconDistance::List()) {
    const auto [metres, isNew] =
        metres_.try_emplace(identityOf(*place->local()), std::array{kUnknown, kUnknown, kUnknown});
    metres->second.at(point) = place->distance();
    if (point == 0) gathered_.push_back({.local = place->local(), .metres = place->distance()});
  }
  const bool isLast = point == 2 || gathered_.empty() || next_;
  if (!isLast) {
    ++*awaited_;
    ask();
    return false;
  }
  return publish();
}

bool Nearby::transferred(bool succeeded) {
  answered_ = awaited_ && succeeded;
  return !succeeded && abandon();
}

/// Goes without the answer that is awaited.
bool Nearby::abandon() {
  if (awaited_ && *awaited_ > 0) return publish();
  awaited_.reset();
  askAnew();
  return false;
}

bool Nearby::publish() {
  for (NearbyPlace& place : gathered_) {
    place.bearing = bearingOf(metres_.at(identityOf(*place.local)));
  }
  std::ranges::stable_sort(gathered_, {}, &NearbyPlace::metres);
  places_ = std::move(gathered_);
  awaited_.reset();
  askAnew();
  return true;
}

void Nearby::askAnew() {
  answered_ = false;
  gathered_.clear();
  metres_.clear();
  if (!next_) return;
  centre_ = *next_;
  awaited_ = 0;
  ask();
}

void Nearby::ask() {
  platform::CLLocationCoordinate2D point = centre_;
  if (*awaited_ == 1) point.latitude += kOffset / kMetresPerDegree;
  if (*awaited_ == 2) {
    const double shrink = std::cos(centre_.latitude * std::numbers::pi / 180.0);
    point.longitude += kOffset / (kMetresPerDegree * shrink);
  }
  const auto radius = *awaited_ == 0 ? kRadius : kRadius + static_cast<std::int64_t>(kOffset);
  if (!ask_(point.latitude, point.longitude, radius)) {
    awaited_.reset();  // tried again with the next session
  } else if (*awaited_ == 0) {
    next_.reset();
  }
}

}  // namespace guidance
