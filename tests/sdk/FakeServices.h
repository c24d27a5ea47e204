// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <utility>

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
                           public platform::DeviceModel,
                           public platform::RandomUUID {
 public:
  /// The one set, installed on the first call.
  static FakeServices& get() {
    static const auto only = [] {
      auto fake = std::make_shared<FakeServices>();
      platform::install({fake, std::make_shared<platform::SimdJSON>(), fake, fake, fake, fake, fake, fake});
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
  /// What was seen since the last call, in one order: calls of the location service behind ">", requests behind
  /// "POST", and lines of the log if they are shown.
  std::string take() { return std::exchange(seen_, {}); }
  void see(const std::string& event) { seen_.append(seen_.empty() ? "" : "|").append(event); }

  /// A location manager of this name, whose calls are seen.
  std::shared_ptr<platform::CLLocationManager> locationManager(const std::string& name) {
    return std::make_shared<LocationManager>(*this, ">" + name);
  }

  bool showsLog = true;
  std::vector<platform::HTTPRequest> requests;
  std::map<std::string, platform::JSONValue, std::less<>> stored;
  int synchronized = 0;
  std::map<std::string, std::string, std::less<>> plist = {
      {"BrivaneAPIKey", "key"}, {"BrivaneAPISecret", "secret"}, {"NSLocationAlwaysUsageDescription", "To help."}};
  std::int32_t authorization = platform::kCLAuthorizationStatusAuthorizedAlways;
  bool enabled = true;
  bool offersAlways = true;
  /// Done once in the middle of the location call named `amid`, as by another thread.
  std::string amid;
  std::function<void()> meanwhile = [] {};

 private:
  class LocationManager final : public platform::CLLocationManager {
   public:
    LocationManager(FakeServices& services, std::string name) : services_(services), name_(std::move(name)) {}

   private:
    using Region = platform::CLBeaconRegion;
    using SharedRegion = std::shared_ptr<const Region>;

    void see(const std::string& operation) {
      services_.see(name_ + operation);
      if (operation == services_.amid) std::exchange(services_.meanwhile, [] {})();
    }

    void setDelegate(std::weak_ptr<platform::CLLocationManagerDelegate> delegate) override {
      see(delegate.expired() ? "no delegate" : "delegate");
    }
    bool offersRequestAlwaysAuthorization() const override { return services_.offersAlways; }
    void requestAlwaysAuthorization() override { see("ask"); }
    void startMonitoringForRegion(SharedRegion) override { see("monitor"); }
    void stopMonitoringForRegion(const Region&) override { see("unmonitor"); }
    void requestStateForRegion(SharedRegion) override { see("ask state"); }
    void startRangingBeaconsInRegion(SharedRegion) override { see("range"); }
    void stopRangingBeaconsInRegion(const Region&) override { see("unrange"); }
    void setDesiredAccuracy(double accuracy) override { see("accuracy " + std::to_string(accuracy)); }
    void setDistanceFilter(double distance) override { see("filter " + std::to_string(distance)); }
    void startUpdatingLocation() override { see("update"); }
    void stopUpdatingLocation() override { see("stop"); }

    FakeServices& services_;
    const std::string name_;
  };

  void execute(platform::HTTPRequest request, Completion completion) override {
    std::string sent = "POST " + request.url.substr(request.url.rfind("/v1/") + 4) + " " + request.body;
    for (const auto& [name, value] : request.headers) {
      if (name == "Authorization") sent += " [" + value + "]";
    }
    see(sent);
    requests.push_back(std::move(request));
    waiting_.push_back(std::move(completion));
  }
  std::optional<platform::JSONValue> objectForKey(std::string_view key) const override {
    const auto found = stored.find(key);
    return found == stored.end() ? std::nullopt : std::optional(found->second);
  }
  std::optional<std::string> stringForKey(std::string_view key) const override {
    const auto value = objectForKey(key);
    return value && value->kind() == platform::JSONValue::Kind::kText ? std::optional(value->text()) : std::nullopt;
  }
  void setValue_forKey(std::string_view value, std::string_view key) override {
    stored[std::string(key)] = platform::JSONValue(std::string(value));
  }
  bool synchronize() override { return ++synchronized > 0; }
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override {
    const auto found = plist.find(key);
    return found == plist.end() ? std::nullopt : std::optional(found->second);
  }
  std::string model() const override { return "M"; }
  platform::UUID generate() override { return platform::UUID({++generated_}); }
  void write(std::string_view line) override {
    if (showsLog) see(std::string(line));
  }
  std::int32_t authorizationStatus() const override { return authorization; }
  bool locationServicesEnabled() const override { return enabled; }
  std::shared_ptr<platform::CLLocationManager> createManager() override {
    see(">create");
    return locationManager("");
  }

  std::deque<Completion> waiting_;
  std::string seen_;
  std::uint8_t generated_ = 0;
};
