// SPDX-License-Identifier: Apache-2.0
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BrivaneSDK/BVNetwork.h"
#include "bindings/c/Failure.h"
#include "bindings/c/HostServices.h"
#include "platform/Location.h"
#include "platform/Mutex.h"
#include "platform/UUID.h"

namespace brivane::internal {
namespace {

using platform::CLBeaconRegion;
using platform::CLLocationManager;
using platform::CLLocationManagerDelegate;

/// Who reports to whom, for as long as both are there.
struct Reporting {
  platform::Mutex mutex;
  std::weak_ptr<CLLocationManager> manager BRIVANE_GUARDED_BY(mutex);
  std::weak_ptr<CLLocationManagerDelegate> delegate BRIVANE_GUARDED_BY(mutex);
};

}  // namespace
}  // namespace brivane::internal

struct brivane_reports {
  std::shared_ptr<brivane::internal::Reporting> reporting;
};

namespace brivane::internal {
namespace {

class HostLocationManager final : public CLLocationManager {
 public:
  static std::shared_ptr<HostLocationManager> create(const brivane_location& table) {
    auto reporting = std::make_shared<Reporting>();
    std::shared_ptr<HostLocationManager> made(new HostLocationManager(table, reporting));
    {
      const platform::MutexLock lock(reporting->mutex);
      reporting->manager = made;
    }
    made->manager_ = table.create_manager(table.user, new brivane_reports{std::move(reporting)});
    return made;
  }
  ~HostLocationManager() override { table_.destroy_manager(table_.user, manager_); }
  HostLocationManager(const HostLocationManager&) = delete;
  HostLocationManager& operator=(const HostLocationManager&) = delete;

  void setDelegate(std::weak_ptr<CLLocationManagerDelegate> delegate) override {
    const platform::MutexLock lock(reporting_->mutex);
    reporting_->delegate = std::move(delegate);
  }
  bool offersRequestAlwaysAuthorization() const override { return true; }
  void requestAlwaysAuthorization() override { operate(BRIVANE_REQUEST_ALWAYS_AUTHORIZATION); }
  void startMonitoringForRegion(std::shared_ptr<const CLBeaconRegion> /*region*/) override {
    operate(BRIVANE_START_MONITORING);
  }
  void stopMonitoringForRegion(const CLBeaconRegion& /*region*/) override {
    operate(BRIVANE_STOP_MONITORING);
  }
  void requestStateForRegion(std::shared_ptr<const CLBeaconRegion> /*region*/) override {
    operate(BRIVANE_REQUEST_STATE);
  }
  void startRangingBeaconsInRegion(std::shared_ptr<const CLBeaconRegion> /*region*/) override {
    operate(BRIVANE_START_RANGING);
  }
  void stopRangingBeaconsInRegion(const CLBeaconRegion& /*region*/) override {
    operate(BRIVANE_STOP_RANGING);
  }
  void setDesiredAccuracy(double accuracy) override { operate(BRIVANE_SET_ACCURACY, accuracy); }
  void setDistanceFilter(double distance) override {
    operate(BRIVANE_SET_DISTANCE_FILTER, distance);
  }
  void startUpdatingLocation() override { operate(BRIVANE_START_POSITIONS); }
  void stopUpdatingLocation() override { operate(BRIVANE_STOP_POSITIONS); }

 private:
  HostLocationManager(const brivane_location& table, std::shared_ptr<Reporting> reporting)
      : table_(table), reporting_(std::move(reporting)) {}

  void operate(brivane_operation operation, double metres = 0.0) {
    table_.operate(table_.user, manager_, operation, metres);
  }

  const brivane_location table_;
  const std::shared_ptr<Reporting> reporting_;
  void* manager_ = nullptr;
};

class HostLocation final : public platform::LocationService {
 public:
  explicit HostLocation(const brivane_location& table) : table_(table) {
    require(table.authorization && table.services_enabled && table.create_manager &&
                table.destroy_manager && table.operate,
            "a function of location");
  }
  std::int32_t authorizationStatus() const override { return table_.authorization(table_.user); }
  bool locationServicesEnabled() const override { return table_.services_enabled(table_.user); }
  std::shared_ptr<CLLocationManager> createManager() override {
    return HostLocationManager::create(table_);
  }

 private:
  const brivane_location table_;
};

/// Calls the delegate, with its manager and the network's region, if both are still there.
template <typename Report>
void report(const brivane_reports* reports, const Report& call) {
  quietly([&] {
    Reporting& reporting = *reports->reporting;
    platform::MutexLock lock(reporting.mutex);
    const auto manager = reporting.manager.lock();
    const auto delegate = reporting.delegate.lock();
    lock.unlock();
    if (manager && delegate) call(*delegate, *manager);
  });
}

platform::UUID networkUUID() {
  return platform::UUID::initWithUUIDString(BVNetwork::proximityUUID()).value();
}

const CLBeaconRegion& region() {
  static const auto& only = *new std::shared_ptr(
      CLBeaconRegion::initWithProximityUUID_identifier(networkUUID(), "brivane"));
  return *only;
}

}  // namespace

std::shared_ptr<platform::LocationService> hostLocation(const brivane_location& table) {
  return std::make_shared<HostLocation>(table);
}

}  // namespace brivane::internal

using namespace brivane::internal;

void brivane_reports_destroy(brivane_reports* reports) {
  const std::unique_ptr<brivane_reports> owned(reports);
}

void brivane_report_authorization(brivane_reports* reports) {
  report(reports, [](auto& delegate, auto& manager) {
    delegate.locationManager_didChangeAuthorizationStatus(
        manager, platform::services().location->authorizationStatus());
  });
}

void brivane_report_crossing(brivane_reports* reports, bool entered) {
  report(reports, [&](auto& delegate, auto& manager) {
    entered ? delegate.locationManager_didEnterRegion(manager, region())
            : delegate.locationManager_didExitRegion(manager, region());
  });
}

void brivane_report_state(brivane_reports* reports, brivane_region_state state) {
  report(reports, [&](auto& delegate, auto& manager) {
    delegate.locationManager_didDetermineState_forRegion(manager, state, region());
  });
}

void brivane_report_beacons(brivane_reports* reports, const brivane_beacon* beacons, size_t count) {
  report(reports, [&](auto& delegate, auto& manager) {
    const platform::UUID network = networkUUID();
    std::vector<platform::CLBeacon> list;
    for (std::size_t i = 0; i < count; ++i) {
      const brivane_beacon& each = beacons[i];
      list.push_back({.proximityUUID = network,
                      .major = each.major,
                      .minor = each.minor,
                      .proximity = static_cast<platform::CLProximity>(each.proximity),
                      .accuracy = each.accuracy,
                      .rssi = each.rssi});
    }
    delegate.locationManager_didRangeBeacons_inRegion(manager, list, region());
  });
}

void brivane_report_position(brivane_reports* reports, double latitude, double longitude,
                             double accuracy) {
  report(reports, [&](auto& delegate, auto& manager) {
    delegate.locationManager_didUpdateLocations(
        manager, {{.coordinate = {latitude, longitude}, .horizontalAccuracy = accuracy}});
  });
}

void brivane_report_failure(brivane_reports* reports, const char* error) {
  report(reports, [&](auto& delegate, auto& manager) {
    delegate.locationManager_didFailWithError(manager, orEmpty(error));
  });
}
