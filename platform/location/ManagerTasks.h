// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/Location.h"
#include "platform/location/IBeaconFrame.h"
#include "platform/location/Instant.h"
#include "platform/location/LocationCore.h"
#include "platform/location/PositionFilter.h"
#include "platform/location/RangingWindow.h"
#include "platform/location/RegionMonitor.h"
#include "platform/location/ReportQueue.h"

namespace platform {

/// What one location manager was asked for, and what runs for it. Told what is heard and what time
/// it is, it puts reports into a queue. It has no lock and no thread: LocationCore has.
class ManagerTasks {
 public:
  using Region = std::shared_ptr<const CLBeaconRegion>;

  /// How a region's monitoring begins.
  struct Beginning {
    Instant now;
    Duration exitPeriod;
    bool scanning;
  };

  ManagerTasks(std::weak_ptr<ReportQueue::Manager> manager, ReportQueue& reports);

  // What the manager's owner asks for.

  void askForAuthorization() { wantsAuthorization_ = true; }
  void monitor(const Region& region);
  void stopMonitoring(const CLBeaconRegion& region) { monitored_.erase(region.identifier()); }
  void range(const Region& region);
  void stopRanging(const CLBeaconRegion& region) { ranged_.erase(region.identifier()); }
  void setAccuracy(double accuracy) { accuracy_ = accuracy; }
  void setDistanceFilter(double distance) { filter_.setDistance(distance); }
  void startUpdating();
  void stopUpdating() { updating_.reset(); }
  /// `call` is made when reports are next delivered.
  void answerLater(ReportQueue::Call call) { report(manager_, std::move(call)); }

  void addTo(LocationCore::Wanted& wanted) const;
  CLRegionState stateOf(const CLBeaconRegion& region) const;
  /// When something is due; absent when nothing is, or all of it has yet to begin.
  std::optional<Instant> deadline() const;

  // What happens.

  /// What was started and has not begun begins so.
  void begin(const Beginning& beginning);
  /// A frame was heard, at `heard`, not after `now`.
  void hear(const IBeaconFrame& frame, int rssi, Instant heard, Instant now);
  void locate(const CLLocation& position);
  void setScanning(bool scanning, Instant now);
  /// The device has slept for so long.
  void sleep(Duration time);
  /// Time has passed.
  void advance(Instant now);
  void failBeacons(const std::string& error);
  void failPositions(const std::string& error);
  /// The permission has changed, or was never told; `permission` is read when it is told.
  void tellPermission(const std::function<Permission()>& permission);

 private:
  // What runs for one region; absent until the time is known at which it began.

  struct Monitored {
    Region region;
    std::optional<RegionMonitor> monitor;
  };

  struct Ranged {
    Region region;
    std::optional<RangingWindow> window;
  };

  void report(std::weak_ptr<const void> subject, ReportQueue::Call call);
  void reportChange(const std::shared_ptr<Monitored>& monitored, RegionMonitor::Change change);

  const std::weak_ptr<ReportQueue::Manager> manager_;
  ReportQueue& reports_;
  bool wantsAuthorization_ = false;
  double accuracy_ = kCLLocationAccuracyNearestTenMeters;
  std::map<std::string, std::shared_ptr<Monitored>> monitored_;
  std::map<std::string, std::shared_ptr<Ranged>> ranged_;
  PositionFilter filter_;
  std::shared_ptr<const bool> updating_;  // there while positions are wanted
};

}  // namespace platform
