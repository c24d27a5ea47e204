// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <set>
#include <string>

#include "platform/Export.h"
#include "platform/UUID.h"
#include "platform/location/Advertisement.h"
#include "platform/location/Instant.h"

namespace platform {

/// Hears Bluetooth LE advertisements. A port writes this over its platform's scanner; what happens
/// to the daemon or the adapter meanwhile it mends by itself. All calls, both ways, are on the
/// thread of the loop that it was made for.
class BRIVANE_EXPORT Radio {
 public:
  /// What keeps it from listening, for a host that mends it or says it in its own words.
  enum class FaultKind {
    kNone,
    /// There is no adapter, or not the one that was asked for.
    kNoAdapter,
    /// The adapter is switched off.
    kSwitchedOff,
    /// The device keeps it off: its airplane mode, or a switch of its own.
    kBlocked,
    kOther,
  };

  /// Whether it listens.
  struct Status {
    /// Whether what is around would be heard.
    bool listening = false;
    /// Of the fault below; none without a fault.
    FaultKind kind = FaultKind::kNone;
    /// Why it does not, one line for a person that says what to do; empty while it is on the way.
    std::string fault = {};
    /// Whether the user or the system forbids it; absent until that is known.
    std::optional<bool> refused = {};

    friend bool operator==(const Status&, const Status&) = default;
  };

  /// Who is told. Not called from inside `listen`, nor after `stop` until it listens again.
  class BRIVANE_EXPORT Listener {
   public:
    virtual ~Listener() = default;
    /// An advertisement was heard at `time` on the loop's clock. A radio that delivers in batches
    /// says when each was heard.
    virtual void radioHeard(const Advertisement& advertisement, Instant time) = 0;
    /// The status changed.
    virtual void radioChanged(const Status& status) = 0;
  };

  /// Stops.
  virtual ~Radio() = default;

  /// What is to be heard.
  struct Wanted {
    /// Proximity UUIDs of the networks whose beacons matter.
    std::set<UUID> networks;
    /// Each frame is of use: beacons are ranged, or the device is near one. Otherwise it waits for
    /// the first: one frame of a beacon, some seconds after that came in range at the latest, is
    /// enough, and the radio should cost as little as it can.
    bool everyFrame = false;

    friend bool operator==(const Wanted&, const Wanted&) = default;
  };

  /// Listens for beacons of the networks; when there are none, finds out whether it would be
  /// allowed to, and begins nothing. Called again, it goes on with what is wanted then. What else
  /// is heard may be told too. Never called from inside a call to the listener.
  virtual void listen(const Wanted& wanted) = 0;

  /// Ends at once all that `listen` began. May be called from inside a call to the listener, and
  /// then the radio is destroyed only after that has returned.
  virtual void stop() = 0;
};

}  // namespace platform
