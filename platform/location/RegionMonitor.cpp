// SPDX-License-Identifier: Apache-2.0
#include "platform/location/RegionMonitor.h"

#include <algorithm>
#include <utility>

namespace platform {

RegionMonitor::RegionMonitor(Instant now, Duration exitPeriod, bool scanning)
    : exitPeriod_(exitPeriod), silenceEnds_(now + exitPeriod) {
  if (!scanning) remaining_ = exitPeriod;
}

RegionMonitor::Change RegionMonitor::hear(Instant heard, Instant now) {
  if (heard + exitPeriod_ <= now) return Change::kNone;
  silenceEnds_ = std::max(silenceEnds_, heard + exitPeriod_);
  if (remaining_) remaining_ = exitPeriod_;
  const bool wasInside = std::exchange(state_, kCLRegionStateInside) == kCLRegionStateInside;
  return wasInside ? Change::kNone : Change::kEntered;
}

RegionMonitor::Change RegionMonitor::advance(Instant now) {
  const auto due = deadline();
  if (!due || now < *due) return Change::kNone;
  const bool wasInside = std::exchange(state_, kCLRegionStateOutside) == kCLRegionStateInside;
  return wasInside ? Change::kExited : Change::kFoundOutside;
}

void RegionMonitor::setScanning(bool scanning, Instant now) {
  if (scanning && remaining_) {
    silenceEnds_ = now + *std::exchange(remaining_, std::nullopt);
  } else if (!scanning && !remaining_) {
    remaining_ = silenceEnds_ - now;
  }
}

std::optional<Instant> RegionMonitor::deadline() const {
  if (remaining_ || state_ == kCLRegionStateOutside) return std::nullopt;
  return silenceEnds_;
}

}  // namespace platform
