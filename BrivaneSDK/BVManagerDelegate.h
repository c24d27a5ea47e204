// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "BrivaneSDK/BVAPIResolve.h"
#include "BrivaneSDK/BVError.h"
#include "BrivaneSDK/BVWaybeaconDistance.h"
#include "platform/Export.h"

/// What the host application hears from its manager.
///
/// Calls come on two threads, unless they say otherwise: the HTTP client's callback thread, for
/// what a reply brought, and the thread that created the manager, for what the location service
/// brought. They may come at the same time. Any operation of the manager may be called from inside
/// one.
class BRIVANE_EXPORT BVManagerDelegate {
 public:
  virtual ~BVManagerDelegate() = default;

  /// Login and sync are done and permanent location authorisation is given: `startDetection` can
  /// succeed from now on. Either thread; on the HTTP client's it may come before the initialiser
  /// has returned the manager. It comes again after the sync of each further manager, to that one's
  /// delegate.
  virtual void didIsReady() = 0;

  /// Detection has started, but not all of it: code 1 when positions cannot be tracked because
  /// location services are off. Comes from inside `startDetection`, on its caller's thread. Never
  /// null.
  virtual void didErrorFound(const std::shared_ptr<const BVError>& error) = 0;

  /// A beacon in range, or the device's position, was matched. About once a second for each beacon
  /// in range, always with the same record for one beacon until a later reply replaces it. A record
  /// without a `uuid` is what a refusal becomes, for instance when the access token has expired.
  /// Either thread. Null only when a record of null was handed to the manager.
  virtual void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) = 0;

  /// The places near the coordinate that was asked for, in the service's order; null when there are
  /// none. The HTTP client's thread.
  virtual void didNearestWaybeacons(
      const std::shared_ptr<const BVWaybeaconDistance::List>& places) = 0;
};
