// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "platform/Export.h"
#include "platform/Location.h"
#include "platform/UUID.h"
#include "platform/location/IBeaconFrame.h"
#include "platform/location/Instant.h"

namespace platform {

/// The beacons of one ranged region, gathered for a report a second.
class BRIVANE_EXPORT RangingWindow {
 public:
  /// Nothing heard yet, at `now`; the first report is due a second later.
  RangingWindow(const UUID& proximityUUID, Instant now);

  /// A frame of the region was heard, at `heard`; it counts for the next report unless it is too
  /// old for that.
  void hear(const IBeaconFrame& frame, int rssi, Instant heard);

  /// What was heard is of no use any more.
  void forget() { heard_.clear(); }

  /// When the next report is due.
  Instant deadline() const { return deadline_; }

  /// The report that was due: the beacons read since the last one with the mean of their readings,
  /// nearest first; then those that fell silent a few seconds ago, without a reading.
  std::vector<CLBeacon> report();

 private:
  struct Heard {
    int measuredPower = 0;
    std::int64_t sum = 0;
    std::int64_t readings = 0;
    Instant last{};
  };

  const UUID proximityUUID_;
  std::map<std::pair<std::uint16_t, std::uint16_t>, Heard> heard_;  // by major and minor
  Instant deadline_;
};

}  // namespace platform
