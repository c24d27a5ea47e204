// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "BrivaneSDK/BVWaybeaconDistance.h"
#include "guidance/Places.h"
#include "platform/Location.h"
#include "platform/TransferOutcome.h"
#include "platform/location/Instant.h"
#include "platform/location/Permission.h"
#include "platform/location/Radio.h"

namespace guide {

using guidance::Sighting;
using platform::Duration;
using platform::Instant;

/// The session with the service.
enum class Session {
  /// It is on its way, or tried again.
  kConnecting,
  /// Detection runs.
  kReady,
  /// There is no property list that holds credentials.
  kNoCredentials,
  /// The service refuses the credentials.
  kRefused,
  /// The token has expired, and the service gives no new one.
  kNotRenewed,
};

/// What guiding brings, one call after another on one thread, with the time on guiding's own clock.
class Listener {
 public:
  virtual ~Listener() = default;

  /// Guiding begins anew: what was heard before is not true any more.
  virtual void began(Instant now) = 0;
  /// A ranging report, about once a second near beacons: the places that the service knows, nearest
  /// first.
  virtual void reported(const std::vector<Sighting>& places, Instant now) = 0;
  /// The device is there.
  virtual void moved(const platform::CLLocation& position, Instant now) = 0;
  /// The answer to `Guiding::askNearby`; null when there is no place.
  virtual void found(const std::shared_ptr<const BVWaybeaconDistance::List>& places,
                     Instant now) = 0;
  virtual void sessionChanged(Session session, Instant now) = 0;
  /// How a request to the service ended.
  virtual void transferred(const platform::TransferOutcome& outcome, Instant now) = 0;
  virtual void radioChanged(const platform::Radio::Status& status, Instant now) = 0;
  /// `reason` is empty when all is granted.
  virtual void permissionChanged(const platform::Permission& permission, const std::string& reason,
                                 Instant now) = 0;
  /// There are no positions, though they are wanted, for the reason in one line.
  virtual void noPositions(const std::string& reason, Instant now) = 0;
  /// A recording is over; `fault` says, in one line, why before its end, and is empty at its end.
  virtual void ended(const std::string& fault, Instant now) = 0;
};

}  // namespace guide
