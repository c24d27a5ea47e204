// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Export.h"
#include "platform/Location.h"
#include "platform/Log.h"
#include "platform/location/Advertisement.h"
#include "platform/location/EventLoop.h"
#include "platform/location/Instant.h"
#include "platform/location/LocationCore.h"
#include "platform/location/Permission.h"
#include "platform/location/PositionSource.h"
#include "platform/location/Radio.h"

namespace platform {

/// The location service of a phone that listens live, but for the three things that differ from
/// phone to phone: its event loop, its radio, its positions.
///
/// A manager belongs to the event loop of the thread that creates it, and its delegate is called
/// while that loop runs, never from inside an operation. A manager may be dropped on any thread,
/// also from inside a call to its delegate, and nothing is called afterwards. Managers of one loop
/// share one radio and one source of positions. The radio listens while a region is monitored or
/// ranged; while no manager wants anything, nothing runs. The service may go before its managers.
class BRIVANE_EXPORT LiveLocationService : public LocationService {
 public:
  /// What a port gives. All three are called on the thread that creates a manager.
  struct Sources {
    /// The loop of the calling thread.
    std::function<std::shared_ptr<EventLoop>()> eventLoop;
    /// A radio for that loop. The listener outlives it.
    std::function<std::unique_ptr<Radio>(Radio::Listener& listener)> radio;
    /// A source of positions for that loop; empty where there are none, or the application wants
    /// none. The listener outlives it.
    std::function<std::unique_ptr<PositionSource>(PositionSource::Listener& listener)> positions;
  };

  /// What a host may choose and hear of.
  struct Options {
    /// How long a region stays inside without a frame.
    Duration exitPeriod = LocationCore::kExitPeriod;
    /// For a line on each exception that leaves a delegate, and on each fault that a source mends
    /// without the host's knowledge; may be null.
    std::shared_ptr<Log> log = nullptr;

    // What a host may know besides, each called on the manager's thread; any may be empty.

    /// When listening begins or ceases, and at each fault.
    std::function<void(const Radio::Status& status)> onRadio = nullptr;
    /// When the permission changes, before the managers' delegates hear of it. `reason` is one line
    /// for a person, what is missing and what to do, and empty when all is granted.
    std::function<void(const Permission& permission, const std::string& reason)> onPermission =
        nullptr;
    /// When there are no positions, also while nobody has answered yet; `reason` as above.
    std::function<void(const std::string& reason)> onNoPositions = nullptr;
    /// With each frame that the radio tells, before it is used.
    std::function<void(const Advertisement& advertisement)> onAdvertisement = nullptr;
  };

  /// Calls none of the sources: that begins with a manager.
  LiveLocationService(Sources sources, Options options);
  ~LiveLocationService() override;

  /// Not determined until a manager asked for permanent authorisation; then as the radio and the
  /// positions are granted.
  std::int32_t authorizationStatus() const override;
  /// False once positions turned out to be absent or switched off.
  bool locationServicesEnabled() const override;
  std::shared_ptr<CLLocationManager> createManager() override;

 private:
  struct State;

  const std::unique_ptr<State> state_;
};

}  // namespace platform
