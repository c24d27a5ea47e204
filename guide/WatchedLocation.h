// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/Location.h"

namespace guide {

/// Passes on another location service, and tells which beacon each call of the library is about:
/// the library names the place of a beacon and not how far that is. Each beacon of a ranging report
/// is handed on as a report of its own, in the same order. Any thread.
class WatchedLocation final : public platform::LocationService {
 public:
  /// Called on the managers' thread; none may be empty.
  struct Hooks {
    std::function<void()> onReportBegins;
    /// The library is about to be told of this beacon alone.
    std::function<void(const platform::CLBeacon&)> onBeacon;
    std::function<void()> onReportEnds;
    std::function<void(const platform::CLLocation&)> onPosition;
  };

  explicit WatchedLocation(Hooks hooks);

  /// The service for managers from now on; those of before keep theirs.
  void setInner(std::shared_ptr<platform::LocationService> inner);

  std::int32_t authorizationStatus() const override { return inner()->authorizationStatus(); }
  bool locationServicesEnabled() const override { return inner()->locationServicesEnabled(); }
  std::shared_ptr<platform::CLLocationManager> createManager() override;

 private:
  std::shared_ptr<platform::LocationService> inner() const;

  const std::shared_ptr<const Hooks> hooks_;
  mutable std::mutex mutex_;
  std::shared_ptr<platform::LocationService> inner_;
};

}  // namespace guide
