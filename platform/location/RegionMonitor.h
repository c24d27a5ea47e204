// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "platform/Export.h"
#include "platform/Location.h"
#include "platform/location/Instant.h"

namespace platform {

/// Whether the device is inside one region: inside from the first frame that is heard of it,
/// outside after an exit period without one, unknown before either. The exit period counts only
/// time in which the radio listened.
class BRIVANE_EXPORT RegionMonitor {
 public:
  /// What an event did to the state.
  enum class Change { kNone, kEntered, kExited, kFoundOutside };

  /// Unknown at `now`; `scanning` says whether the radio listens.
  RegionMonitor(Instant now, Duration exitPeriod, bool scanning);

  /// As of the last event.
  CLRegionState state() const { return state_; }

  /// A frame of the region was heard, at `heard`, not after `now`. One that is as old as an exit
  /// period says nothing any more.
  Change hear(Instant heard, Instant now);
  /// Time has passed.
  Change advance(Instant now);
  /// The device has slept for so long while the clock stood still. What was heard before a sleep of
  /// an exit period or more says nothing any more.
  void sleep(Duration time) {
    if (time >= exitPeriod_) silenceEnds_ -= time;
  }
  /// The radio began or ceased to listen.
  void setScanning(bool scanning, Instant now);

  /// When the state changes if nothing is heard; absent when it will not.
  std::optional<Instant> deadline() const;

 private:
  const Duration exitPeriod_;
  CLRegionState state_ = kCLRegionStateUnknown;
  /// When the exit period runs out, while the radio listens.
  Instant silenceEnds_;
  /// What is left of the exit period, while it does not.
  std::optional<Duration> remaining_;
};

}  // namespace platform
