#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/sdk/FakeServices.h"
#include "tests/sdk/ManagerModel.h"

/// The real managers, with the operations of ManagerModel.
class RealManagers {
 public:
  std::function<void()> reaction;

  std::string take() {
    std::string seen = withoutDate(services_.take());
    for (const auto& manager : slots_) {
      if (manager && manager->isScanning()) return seen + "|running";
    }
    return seen;
  }

  std::vector<std::string> takeRequests() {
    std::vector<std::string> sent;
    sent.reserve(services_.requests.size());
    for (const auto& request : std::exchange(services_.requests, {})) {
      std::string text = request.url.substr(request.url.rfind("/v1/") + 4);
      auto fields = FakeServices::fields(request);
      for (const char* name : {"major", "minor", "rssi", "lat", "lng", "radius"}) {
        if (fields.contains(name)) text += " " + fields[name];
      }
      for (const auto& [name, value] : request.headers) {
        if (name == "Authorization") text += " " + value;
      }
      sent.push_back(text);
    }
    return sent;
  }

  void surround(const Surroundings& surroundings) {
    services_.authorization = surroundings.authorization;
    services_.enabled = surroundings.enabled;
    services_.offersAlways = surroundings.offersAlways;
    services_.plist.clear();
    if (surroundings.hasCredentials) services_.plist = {{"BrivaneAPIKey", "key"}, {"BrivaneAPISecret", "secret"}};
    if (surroundings.hasUsageText) services_.plist["NSLocationAlwaysUsageDescription"] = "To help.";
  }

  void create(std::size_t slot, char delegate, bool fromPropertyList) {
    slots_.at(slot) = fromPropertyList
                          ? BVManager::initWithDelegate(host(delegate))
                          : BVManager::initWithDelegate_andAPIKey_andAPISecret(host(delegate), "key", "secret");
  }
  void drop(std::size_t slot) { slots_.at(slot).reset(); }
  void setDelegate(std::size_t slot, char delegate) {
    if (const auto manager = slots_.at(slot)) manager->setDelegate(host(delegate));
  }
  void setEnabledGPS(std::size_t slot, bool enabled) {
    if (const auto manager = slots_.at(slot)) manager->setEnabledGPS(enabled);
  }
  void start(std::size_t slot) {
    if (const auto manager = slots_.at(slot)) answer(manager->startDetection());
  }
  void stop(std::size_t slot) {
    if (const auto manager = slots_.at(slot)) answer(manager->stopDetection());
  }
  void nearest(std::size_t slot) {
    if (const auto manager = slots_.at(slot)) answer(manager->getNearestAtLat_andLng_insideRadius(1.5, -2, 500));
  }
  void payload(std::size_t slot) {
    if (const auto manager = slots_.at(slot)) answer(manager->setPayload_forWaybeacon({}, nullptr));
  }
  void regionState(std::size_t slot, std::int64_t state) {
    if (const auto manager = slots_.at(slot)) {
      manager->locationManager_didDetermineState_forRegion(services_, state, *manager->getRegion());
    }
  }
  void authorizationChanged(std::size_t slot) {
    if (const auto manager = slots_.at(slot)) manager->locationManager_didChangeAuthorizationStatus(services_, 0);
  }
  void crossingsAndFailures(std::size_t slot) {
    const auto manager = slots_.at(slot);
    if (!manager) return;
    const auto region = manager->getRegion();
    manager->locationManager_didEnterRegion(services_, *region);
    manager->locationManager_didExitRegion(services_, *region);
    manager->locationManager_didFailWithError(services_, "a");
    manager->locationManager_monitoringDidFailForRegion_withError(services_, *region, "b");
    manager->locationManager_rangingBeaconsDidFailForRegion_withError(services_, *region, "c");
  }
  void range(std::size_t slot, const std::vector<HeardBeacon>& beacons) {
    const auto manager = slots_.at(slot);
    if (!manager) return;
    const auto region = manager->getRegion();
    std::vector<platform::CLBeacon> heard;
    heard.reserve(beacons.size());
    for (const HeardBeacon& beacon : beacons) {
      heard.push_back({.proximityUUID = region->proximityUUID(),
                       .major = beacon.major,
                       .minor = beacon.minor,
                       .rssi = beacon.rssi});
    }
    manager->locationManager_didRangeBeacons_inRegion(services_, heard, *region);
  }
  void positions(std::size_t slot, std::size_t count) {
    std::vector<platform::CLLocation> locations;
    while (locations.size() < count) {
      locations.push_back({.coordinate = {static_cast<double>(locations.size() + 1), 0}, .horizontalAccuracy = -1});
    }
    if (const auto manager = slots_.at(slot)) manager->locationManager_didUpdateLocations(services_, locations);
  }
  void reply(std::size_t index, const Answer& answer) { services_.reply(answer.body(), index); }

 private:
  /// A host that says what it hears and reacts once. It knows each record again: one answer, one object.
  class Host final : public BVManagerDelegate {
   public:
    Host(RealManagers& all, char name) : all_(all), name_(name) {}

   private:
    void tell(const std::string& what) {
      see(std::string("<") + name_ + " " + what);
      if (const auto react = std::exchange(all_.reaction, nullptr)) react();
    }
    void didIsReady() override { tell("ready"); }
    void didErrorFound(const std::shared_ptr<const BVError>& error) override {
      tell("error " + std::to_string(error->errorCode()));
    }
    void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override {
      const std::string number = match->uuid().value();
      const auto& known = all_.records_.try_emplace(number, match).first->second;
      tell((known == match ? "match " : "another object for match ") + number);
    }
    void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>& places) override {
      tell("nearest " + std::to_string(places ? places->size() : 0));
    }

    RealManagers& all_;
    const char name_;
  };

  static void see(const std::string& line) { platform::services().log->write(line); }
  static void answer(bool yes) { see(yes ? "yes" : "no"); }

  /// The date that a login's log line shows is the clock's.
  static std::string withoutDate(std::string seen) {
    const std::string label = "-> Expires date: ";
    for (std::size_t at = 0; (at = seen.find(label, at)) != std::string::npos;) {
      at += label.size();
      seen.replace(at, seen.find('|', at) - at, "now");
    }
    return seen;
  }

  std::shared_ptr<BVManagerDelegate> host(char name) {
    if (name == 0) return nullptr;
    auto& host = hosts_[name];
    if (!host) host = std::make_shared<Host>(*this, name);
    return host;
  }

  FakeServices& services_ = FakeServices::get();
  std::array<std::shared_ptr<BVManager>, ManagerModel::kSlots> slots_;
  std::map<char, std::shared_ptr<BVManagerDelegate>> hosts_;
  std::map<std::string, std::shared_ptr<const BVAPIResolve>> records_;
};
