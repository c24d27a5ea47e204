// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "BrivaneSDK/Activity.h"
#include "BrivaneSDK/BVAPI.h"
#include "BrivaneSDK/Guarded.h"
#include "BrivaneSDK/ResolutionCache.h"
#include "platform/Location.h"

namespace brivane::internal {

/// What all managers of the process share.
struct DetectionState {
  DetectionState();

  /// The network's beacon region, and its UUID as text, which every ranged beacon's key needs.
  const std::shared_ptr<platform::CLBeaconRegion> region;
  const std::string regionUUID;

  /// The service client in use: the newest manager's. Null before the first manager.
  Guarded<std::shared_ptr<BVAPI>> api;
  /// A sync reply has arrived, whatever it said: beacons are resolved from then on. Never cleared,
  /// while the session (`BVAPI::isReady`) is lost with each new login until its sync.
  std::atomic<bool> hasSynced = false;
  /// A host has been sent `didIsReady`: positions are reported from then on. Never cleared.
  std::atomic<bool> hasToldReady = false;
  /// Detection was started and not stopped.
  std::atomic<bool> isRunning = false;
  /// Ranging of the region.
  Activity ranging;
  /// Position updates.
  Activity updatingLocation;
  ResolutionCache cache;
};

/// Created on first use and never destroyed, so that a callback that comes while the process ends
/// still finds it.
DetectionState& detectionState();

}  // namespace brivane::internal
