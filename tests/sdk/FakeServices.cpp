#include "tests/sdk/FakeServices.h"

#include <sstream>
#include <utility>

#include "platform/linux/SimdJSON.h"

FakeServices& FakeServices::get() {
  static const auto only = [] {
    auto fake = std::make_shared<FakeServices>();
    platform::install({.http = fake,
                       .json = std::make_shared<platform::SimdJSON>(),
                       .preferences = fake,
                       .propertyList = fake,
                       .location = fake,
                       .log = fake});
    return fake;
  }();
  return *only;
}

void FakeServices::execute(platform::HTTPRequest request, Completion completion) {
  requests.push_back(std::move(request));
  waiting_.push_back(std::move(completion));
}

void FakeServices::reply(std::optional<std::string> body) {
  const Completion completion = std::move(waiting_.at(0));
  waiting_.pop_front();
  // Any status will do: the library never looks at it.
  completion(body ? std::optional(platform::HTTPResponse{500}) : std::nullopt, std::move(body));
}

void FakeServices::replyToLoginAndSync() {
  reply(R"({"access_token":"t0ken"})");
  reply(R"({"status":true})");
}

std::map<std::string, std::string> FakeServices::fields(const platform::HTTPRequest& request) {
  std::map<std::string, std::string> pairs;
  std::istringstream body(request.body);
  for (std::string pair; std::getline(body, pair, '&');) {
    const std::size_t equals = pair.find('=');
    pairs[pair.substr(0, equals)] = pair.substr(equals + 1);
  }
  return pairs;
}

std::vector<std::string> FakeServices::takeLog() { return std::exchange(log_, {}); }

std::vector<std::string> FakeServices::takeOperations() { return std::exchange(operations_, {}); }

std::optional<platform::JSONValue> FakeServices::objectForKey(std::string_view key) const {
  const auto found = stored.find(key);
  return found == stored.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> FakeServices::stringForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  if (!value || value->kind() != platform::JSONValue::Kind::kText) return std::nullopt;
  return value->text();
}

void FakeServices::setValue_forKey(std::string_view value, std::string_view key) {
  stored[std::string(key)] = platform::JSONValue(std::string(value));
}

bool FakeServices::synchronize() {
  ++synchronized;
  return true;
}

std::optional<std::string> FakeServices::objectForInfoDictionaryKey(std::string_view key) const {
  const auto found = plist.find(key);
  return found == plist.end() ? std::nullopt : std::optional(found->second);
}

void FakeServices::write(std::string_view line) { log_.emplace_back(line); }

std::shared_ptr<platform::CLLocationManager> FakeServices::createManager() {
  operations_.emplace_back("create");
  return {std::shared_ptr<void>(), this};  // lives as long as the process
}

void FakeServices::setDelegate(std::weak_ptr<platform::CLLocationManagerDelegate> delegate) {
  operations_.emplace_back(delegate.expired() ? "no delegate" : "delegate");
}

void FakeServices::startMonitoringForRegion(
    std::shared_ptr<const platform::CLBeaconRegion> region) {
  operations_.push_back("monitor " + region->identifier());
}

void FakeServices::stopMonitoringForRegion(const platform::CLBeaconRegion& region) {
  operations_.push_back("stop monitoring " + region.identifier());
}

void FakeServices::requestStateForRegion(std::shared_ptr<const platform::CLBeaconRegion> region) {
  operations_.push_back("state of " + region->identifier());
}

void FakeServices::startRangingBeaconsInRegion(
    std::shared_ptr<const platform::CLBeaconRegion> region) {
  operations_.push_back("range " + region->identifier());
}

void FakeServices::stopRangingBeaconsInRegion(const platform::CLBeaconRegion& region) {
  operations_.push_back("stop ranging " + region.identifier());
}

void FakeServices::setDesiredAccuracy(double accuracy) {
  operations_.push_back("accuracy " + std::to_string(accuracy));
}

void FakeServices::setDistanceFilter(double distance) {
  operations_.push_back("filter " + std::to_string(distance));
}
