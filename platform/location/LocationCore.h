// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/Export.h"
#include "platform/Location.h"
#include "platform/Log.h"
#include "platform/UUID.h"
#include "platform/location/Advertisement.h"
#include "platform/location/Instant.h"
#include "platform/location/Permission.h"

namespace platform {

/// A location service but for its sources: told what a radio hears, where the device is and what
/// time it is, it reports to the delegates of its managers.
///
/// All that feeds it comes on one thread, and delegates are called from inside those calls alone:
/// so managers belong to that thread, though their operations may be called on any. Times never go
/// back; an earlier one counts as the latest. What a manager was asked to start begins with the
/// next time that is fed.
class BRIVANE_EXPORT LocationCore final : public LocationService {
 public:
  /// How long a region stays inside without a frame, unless it is set otherwise.
  static constexpr Duration kExitPeriod = std::chrono::seconds(30);

  /// What feeds it and hosts may choose.
  struct Options {
    /// How long a region stays inside without a frame.
    Duration exitPeriod = kExitPeriod;
    /// The user's consent, which is not kept here. Called on any thread.
    std::function<Permission()> permission = [] { return Permission(); };
    /// Whether somebody is there who could ask the user for permanent authorisation.
    bool offersRequestAlwaysAuthorization = false;
    /// Called after each operation of a manager and at its end, on that thread: `wanted` may have
    /// changed, and a report may wait for `advance`. Empty where time is fed anyway.
    std::function<void()> onOperation = nullptr;
    /// For a line on each exception that leaves a delegate; may be null.
    std::shared_ptr<Log> log = nullptr;
  };

  /// What the managers need of the sources.
  struct Wanted {
    /// Proximity UUIDs of the regions that are monitored or ranged.
    std::set<UUID> beacons;
    /// Something is ranged, or the device is inside a region.
    bool everyFrame = false;
    /// Somebody updates the position.
    bool positions = false;
    /// The finest that is asked for, metres.
    double accuracy = kCLLocationAccuracyNearestTenMeters;
    /// Permanent authorisation has been asked for.
    bool authorization = false;
  };

  /// Without a manager; the clock stands at its epoch.
  explicit LocationCore(Options options);
  ~LocationCore() override;

  /// The radio heard an advertisement at `heard`. That may be before the latest time that was fed,
  /// for a radio that delivers in batches.
  void hear(const Advertisement& advertisement, Instant heard);
  /// The device is at a position.
  void locate(const CLLocation& position, Instant now);
  /// The radio began or ceased to listen; it listens at first.
  void setScanning(bool scanning, Instant now);
  /// The device has slept for so long since the last time that was fed, while the clock stood
  /// still: readings from before are forgotten, and regions are left in which it slept for an exit
  /// period.
  void sleep(Duration time);
  /// The permission has changed: each manager hears of it.
  void tellPermission();
  /// The radio cannot listen: told for each ranged region, or by a manager that ranges none, for
  /// each monitored one. `error` is one line for a person.
  void failBeacons(const std::string& error);
  /// There are no positions; told by the managers that update theirs.
  void failPositions(const std::string& error);
  /// Time has passed: reports what is due and what was asked for.
  void advance(Instant now);

  /// When the next report may be due; absent when none is. Frames may put it off meanwhile, which
  /// is found out then.
  std::optional<Instant> nextDeadline() const;

  /// Any thread.
  Wanted wanted() const;

  std::int32_t authorizationStatus() const override;
  bool locationServicesEnabled() const override;
  std::shared_ptr<CLLocationManager> createManager() override;

 private:
  struct State;
  class Manager;

  const std::shared_ptr<State> state_;
};

}  // namespace platform
