#pragma once

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "BrivaneSDK/BrivaneSDK.h"
#include "platform/Services.h"

/// Services that record what the library asks of them and answer what a test says. Made once a
/// process, because they are installed for good.
class FakeServices final : public platform::HTTPClient,
                           public platform::Preferences,
                           public platform::PropertyList,
                           public platform::Log,
                           public platform::LocationService,
                           public platform::CLLocationManager {
 public:
  /// The one set, installed on the first call.
  static FakeServices& get();

  /// Answers the oldest request that has no answer yet; absent: the transport failed.
  void reply(std::optional<std::string> body);
  /// Logs in and syncs the manager that was just created.
  void replyToLoginAndSync();
  /// The key-value pairs of a request's body.
  static std::map<std::string, std::string> fields(const platform::HTTPRequest& request);
  /// The log since the last call.
  std::vector<std::string> takeLog();
  /// The location operations since the last call.
  std::vector<std::string> takeOperations();

  std::vector<platform::HTTPRequest> requests;
  std::map<std::string, platform::JSONValue, std::less<>> stored;
  int synchronized = 0;
  std::map<std::string, std::string, std::less<>> plist = {
      {"BrivaneAPIKey", "key"},
      {"BrivaneAPISecret", "secret"},
      {"NSLocationAlwaysUsageDescription", "To name the places near you."}};
  std::int32_t authorization = platform::kCLAuthorizationStatusAuthorizedAlways;
  bool enabled = true;
  bool offersAlways = true;

 private:
  void execute(platform::HTTPRequest request, Completion completion) override;
  std::optional<platform::JSONValue> objectForKey(std::string_view key) const override;
  std::optional<std::string> stringForKey(std::string_view key) const override;
  void setValue_forKey(std::string_view value, std::string_view key) override;
  bool synchronize() override;
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override;
  void write(std::string_view line) override;
  std::int32_t authorizationStatus() const override { return authorization; }
  bool locationServicesEnabled() const override { return enabled; }
  std::shared_ptr<platform::CLLocationManager> createManager() override;
  void setDelegate(std::weak_ptr<platform::CLLocationManagerDelegate> delegate) override;
  bool offersRequestAlwaysAuthorization() const override { return offersAlways; }
  void requestAlwaysAuthorization() override { operations_.emplace_back("ask"); }
  void startMonitoringForRegion(std::shared_ptr<const platform::CLBeaconRegion> region) override;
  void stopMonitoringForRegion(const platform::CLBeaconRegion& region) override;
  void requestStateForRegion(std::shared_ptr<const platform::CLBeaconRegion> region) override;
  void startRangingBeaconsInRegion(std::shared_ptr<const platform::CLBeaconRegion> region) override;
  void stopRangingBeaconsInRegion(const platform::CLBeaconRegion& region) override;
  void setDesiredAccuracy(double accuracy) override;
  void setDistanceFilter(double distance) override;
  void startUpdatingLocation() override { operations_.emplace_back("update"); }
  void stopUpdatingLocation() override { operations_.emplace_back("stop updating"); }

  std::deque<Completion> waiting_;
  std::vector<std::string> log_;
  std::vector<std::string> operations_;
};

/// A host that keeps what it hears.
class FakeHost final : public BVManagerDelegate {
 public:
  int ready = 0;
  std::vector<std::shared_ptr<const BVError>> errors;
  std::vector<std::shared_ptr<const BVAPIResolve>> matches;
  std::vector<std::shared_ptr<const BVWaybeaconDistance::List>> nearest;

 private:
  void didIsReady() override { ++ready; }
  void didErrorFound(const std::shared_ptr<const BVError>& error) override {
    errors.push_back(error);
  }
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override {
    matches.push_back(match);
  }
  void didNearestWaybeacons(
      const std::shared_ptr<const BVWaybeaconDistance::List>& places) override {
    nearest.push_back(places);
  }
};
