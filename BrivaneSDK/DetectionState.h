#pragma once

#include <atomic>
#include <memory>

#include "BrivaneSDK/BVAPI.h"
#include "BrivaneSDK/Guarded.h"
#include "BrivaneSDK/ResolutionCache.h"

/// What all managers of the process share.
struct DetectionState {
  /// The service client in use: the newest manager's. Null before the first manager.
  Guarded<std::shared_ptr<BVAPI>> api;
  /// The sync reply has arrived. Never cleared.
  std::atomic<bool> isSync = false;
  /// The host has been told that it may start. Never cleared.
  std::atomic<bool> isReady = false;
  /// Detection was started and not stopped.
  std::atomic<bool> isRunning = false;
  /// Ranging of the region was started and not stopped.
  std::atomic<bool> isRanging = false;
  /// Position updates were started and not stopped.
  std::atomic<bool> isRunningGPS = false;
  ResolutionCache cache;
};

/// Created on first use and never destroyed, so that a callback that comes while the process ends
/// still finds it.
DetectionState& detectionState();
