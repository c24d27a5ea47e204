#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "BrivaneSDK/BrivaneSDK.h"
#include "platform/Services.h"
#include "platform/json/SimdJSON.h"

/// Services that record what the library asks of them and answer what a test says. One set a process, because services
/// are installed for good.
class FakeServices final : public platform::HTTPClient,
                           public platform::Preferences,
                           public platform::PropertyList,
                           public platform::Log,
                           public platform::LocationService,
                           public platform::CLLocationManager {
 public:
  /// The one set, installed on the first call.
  static FakeServices& get() {
    static const auto only = [] {
      auto fake = std::make_shared<FakeServices>();
      auto json = std::make_shared<platform::SimdJSON>();
      platform::install({fake, json, fake, fake, fake, fake});
      return fake;
    }();
    return *only;
  }

  /// Answers one of the requests that have no answer yet, the oldest first; absent: the transport failed. With any
  /// status: the library never looks at it.
  void reply(std::optional<std::string> body, std::size_t index = 0) {
    const Completion completion = std::move(waiting_.at(index));
    waiting_.erase(waiting_.begin() + static_cast<std::ptrdiff_t>(index));
    completion(body ? std::optional(platform::HTTPResponse{500}) : std::nullopt, std::move(body));
  }
  std::size_t pending() const { return waiting_.size(); }
  /// Logs in and syncs the manager that was just created.
  void replyToLoginAndSync() {
    reply(R"({"access_token":"t0ken"})");
    reply(R"({"status":true})");
  }
  /// The key-value pairs of a request's body.
  static std::map<std::string, std::string> fields(const platform::HTTPRequest& request) {
    std::map<std::string, std::string> pairs;
    std::istringstream body(request.body);
    for (std::string pair; std::getline(body, pair, '&');) {
      const std::size_t equals = pair.find('=');
      pairs[pair.substr(0, equals)] = pair.substr(equals + 1);
    }
    return pairs;
  }
  /// What was logged, and behind ">" what was asked of the location service, since the last call: in one order.
  std::string take() { return std::exchange(seen_, {}); }

  std::vector<platform::HTTPRequest> requests;
  std::map<std::string, platform::JSONValue, std::less<>> stored;
  int synchronized = 0;
  std::map<std::string, std::string, std::less<>> plist = {
      {"BrivaneAPIKey", "key"}, {"BrivaneAPISecret", "secret"}, {"NSLocationAlwaysUsageDescription", "To help."}};
  std::int32_t authorization = platform::kCLAuthorizationStatusAuthorizedAlways;
  bool enabled = true;
  bool offersAlways = true;

 private:
  using Region = platform::CLBeaconRegion;
  using SharedRegion = std::shared_ptr<const Region>;

  void note(const std::string& operation) { write(">" + operation); }

  void execute(platform::HTTPRequest request, Completion completion) override {
    requests.push_back(std::move(request));
    waiting_.push_back(std::move(completion));
  }
  std::optional<platform::JSONValue> objectForKey(std::string_view key) const override {
    const auto found = stored.find(key);
    return found == stored.end() ? std::nullopt : std::optional(found->second);
  }
  std::optional<std::string> stringForKey(std::string_view key) const override {
    const auto value = objectForKey(key);
    const bool isText = value && value->kind() == platform::JSONValue::Kind::kText;
    return isText ? std::optional(value->text()) : std::nullopt;
  }
  void setValue_forKey(std::string_view value, std::string_view key) override {
    stored[std::string(key)] = platform::JSONValue(std::string(value));
  }
  bool synchronize() override { return ++synchronized > 0; }
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override {
    const auto found = plist.find(key);
    return found == plist.end() ? std::nullopt : std::optional(found->second);
  }
  void write(std::string_view line) override { seen_.append(seen_.empty() ? "" : "|").append(line); }
  std::int32_t authorizationStatus() const override { return authorization; }
  bool locationServicesEnabled() const override { return enabled; }
  std::shared_ptr<platform::CLLocationManager> createManager() override {
    note("create");
    return {std::shared_ptr<void>(), this};  // lives as long as the process
  }
  void setDelegate(std::weak_ptr<platform::CLLocationManagerDelegate> delegate) override {
    note(delegate.expired() ? "no delegate" : "delegate");
  }
  bool offersRequestAlwaysAuthorization() const override { return offersAlways; }
  void requestAlwaysAuthorization() override { note("ask"); }
  void startMonitoringForRegion(SharedRegion region) override { note("monitor " + region->identifier()); }
  void stopMonitoringForRegion(const Region& region) override { note("stop monitoring " + region.identifier()); }
  void requestStateForRegion(SharedRegion region) override { note("state of " + region->identifier()); }
  void startRangingBeaconsInRegion(SharedRegion region) override { note("range " + region->identifier()); }
  void stopRangingBeaconsInRegion(const Region& region) override { note("stop ranging " + region.identifier()); }
  void setDesiredAccuracy(double accuracy) override { note("accuracy " + std::to_string(accuracy)); }
  void setDistanceFilter(double distance) override { note("filter " + std::to_string(distance)); }
  void startUpdatingLocation() override { note("update"); }
  void stopUpdatingLocation() override { note("stop updating"); }

  std::deque<Completion> waiting_;
  std::string seen_;
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
  void didErrorFound(const std::shared_ptr<const BVError>& error) override { errors.push_back(error); }
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override { matches.push_back(match); }
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>& places) override {
    nearest.push_back(places);
  }
};
