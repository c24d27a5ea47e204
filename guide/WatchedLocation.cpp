// SPDX-License-Identifier: Apache-2.0
#include "guide/WatchedLocation.h"

#include <cstdint>
#include <string>
#include <utility>

namespace guide {
namespace {

using namespace platform;

/// A manager, and the delegate of the one that it stands before.
class WatchedManager final : public CLLocationManager,
                             public CLLocationManagerDelegate,
                             public std::enable_shared_from_this<WatchedManager> {
 public:
  using Hooks = WatchedLocation::Hooks;
  using Region = CLBeaconRegion;

  WatchedManager(std::shared_ptr<CLLocationManager> inner, std::shared_ptr<const Hooks> hooks)
      : inner_(std::move(inner)), hooks_(std::move(hooks)) {}

  void setDelegate(std::weak_ptr<CLLocationManagerDelegate> delegate) override {
    {
      const std::lock_guard lock(mutex_);
      delegate_ = std::move(delegate);
    }
    inner_->setDelegate(weak_from_this());
  }
  bool offersRequestAlwaysAuthorization() const override {
    return inner_->offersRequestAlwaysAuthorization();
  }
  void requestAlwaysAuthorization() override { inner_->requestAlwaysAuthorization(); }
  void startMonitoringForRegion(std::shared_ptr<const Region> region) override {
    inner_->startMonitoringForRegion(std::move(region));
  }
  void stopMonitoringForRegion(const Region& region) override {
    inner_->stopMonitoringForRegion(region);
  }
  void requestStateForRegion(std::shared_ptr<const Region> region) override {
    inner_->requestStateForRegion(std::move(region));
  }
  void startRangingBeaconsInRegion(std::shared_ptr<const Region> region) override {
    inner_->startRangingBeaconsInRegion(std::move(region));
  }
  void stopRangingBeaconsInRegion(const Region& region) override {
    inner_->stopRangingBeaconsInRegion(region);
  }
  void setDesiredAccuracy(double accuracy) override { inner_->setDesiredAccuracy(accuracy); }
  void setDistanceFilter(double distance) override { inner_->setDistanceFilter(distance); }
  void startUpdatingLocation() override { inner_->startUpdatingLocation(); }
  void stopUpdatingLocation() override { inner_->stopUpdatingLocation(); }

  void locationManager_didChangeAuthorizationStatus(CLLocationManager& /*inner*/,
                                                    std::int32_t status) override {
    tell([&](auto& to) { to.locationManager_didChangeAuthorizationStatus(*this, status); });
  }
  void locationManager_didDetermineState_forRegion(CLLocationManager& /*inner*/, std::int64_t state,
                                                   const Region& region) override {
    tell([&](auto& to) { to.locationManager_didDetermineState_forRegion(*this, state, region); });
  }
  void locationManager_didEnterRegion(CLLocationManager& /*inner*/, const Region& region) override {
    tell([&](auto& to) { to.locationManager_didEnterRegion(*this, region); });
  }
  void locationManager_didExitRegion(CLLocationManager& /*inner*/, const Region& region) override {
    tell([&](auto& to) { to.locationManager_didExitRegion(*this, region); });
  }
  void locationManager_didRangeBeacons_inRegion(CLLocationManager& /*inner*/,
                                                const std::vector<CLBeacon>& beacons,
                                                const Region& region) override {
    hooks_->onReportBegins();
    for (const CLBeacon& beacon : beacons) {
      hooks_->onBeacon(beacon);
      tell([&](auto& to) { to.locationManager_didRangeBeacons_inRegion(*this, {beacon}, region); });
    }
    hooks_->onReportEnds();
  }
  void locationManager_didUpdateLocations(CLLocationManager& /*inner*/,
                                          const std::vector<CLLocation>& locations) override {
    if (!locations.empty()) hooks_->onPosition(locations.back());
    tell([&](auto& to) { to.locationManager_didUpdateLocations(*this, locations); });
  }
  void locationManager_didFailWithError(CLLocationManager& /*inner*/,
                                        const std::string& error) override {
    tell([&](auto& to) { to.locationManager_didFailWithError(*this, error); });
  }
  void locationManager_monitoringDidFailForRegion_withError(CLLocationManager& /*inner*/,
                                                            const Region& region,
                                                            const std::string& error) override {
    tell([&](auto& to) {
      to.locationManager_monitoringDidFailForRegion_withError(*this, region, error);
    });
  }
  void locationManager_rangingBeaconsDidFailForRegion_withError(CLLocationManager& /*inner*/,
                                                                const Region& region,
                                                                const std::string& error) override {
    tell([&](auto& to) {
      to.locationManager_rangingBeaconsDidFailForRegion_withError(*this, region, error);
    });
  }

 private:
  template <typename Call>
  void tell(Call call) {
    std::unique_lock lock(mutex_);
    const auto delegate = delegate_.lock();
    lock.unlock();
    if (delegate) call(*delegate);
  }

  const std::shared_ptr<CLLocationManager> inner_;
  const std::shared_ptr<const Hooks> hooks_;
  std::mutex mutex_;
  std::weak_ptr<CLLocationManagerDelegate> delegate_;
};

}  // namespace

WatchedLocation::WatchedLocation(Hooks hooks)
    : hooks_(std::make_shared<const Hooks>(std::move(hooks))) {}

void WatchedLocation::setInner(std::shared_ptr<LocationService> inner) {
  const std::lock_guard lock(mutex_);
  inner_ = std::move(inner);
}

std::shared_ptr<CLLocationManager> WatchedLocation::createManager() {
  return std::make_shared<WatchedManager>(inner()->createManager(), hooks_);
}

std::shared_ptr<LocationService> WatchedLocation::inner() const {
  const std::lock_guard lock(mutex_);
  return inner_;
}

}  // namespace guide
