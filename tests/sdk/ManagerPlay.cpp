#include "tests/sdk/ManagerPlay.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

namespace {

/// Of the operations; those above are replies, which therefore come more often.
constexpr unsigned kLastBeforeReplies = 14;
constexpr unsigned kOperations = 18;

void see(const std::string& line) { platform::services().log->write(line); }
void answer(bool yes) { see(yes ? "yes" : "no"); }

/// The date that a login's log line shows is the clock's.
std::string withoutDate(std::string seen) {
  const std::string label = "-> Expires date: ";
  for (std::size_t at = 0; (at = seen.find(label, at)) != std::string::npos;) {
    at += label.size();
    seen.replace(at, seen.find('|', at) - at, "now");
  }
  return seen;
}

}  // namespace

/// A host that says what it hears and reacts once. It knows each record again: one answer, one object.
class RealManagers::Host final : public BVManagerDelegate {
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

std::shared_ptr<BVManagerDelegate> RealManagers::host(char name) {
  if (name == 0) return nullptr;
  auto& host = hosts_[name];
  if (!host) host = std::make_shared<Host>(*this, name);
  return host;
}

std::string RealManagers::take() {
  std::string seen = withoutDate(services_.take());
  for (const auto& manager : slots_) {
    if (manager && manager->isScanning()) return seen + "|running";
  }
  return seen;
}

std::vector<std::string> RealManagers::takeRequests() {
  std::vector<std::string> sent;
  for (const auto& request : std::exchange(services_.requests, {})) {
    std::string text = request.url.substr(request.url.rfind("/v1/") + 4);
    auto fields = FakeServices::fields(request);
    for (const char* name : {"major", "minor", "rssi", "lat", "lng", "radius"}) {
      if (fields.contains(name) && !(fields.contains("speed") && name == std::string("lng")))
        text += " " + fields[name];
    }
    for (const auto& [name, value] : request.headers) {
      if (name == "Authorization") text += " " + value;
    }
    sent.push_back(text);
  }
  return sent;
}

void RealManagers::surround(const Surroundings& surroundings) {
  services_.authorization = surroundings.authorization;
  services_.enabled = surroundings.enabled;
  services_.offersAlways = surroundings.offersAlways;
  services_.plist.clear();
  if (surroundings.hasCredentials) services_.plist = {{"BrivaneAPIKey", "key"}, {"BrivaneAPISecret", "secret"}};
  if (surroundings.hasUsageText) services_.plist["NSLocationAlwaysUsageDescription"] = "To help.";
}

void RealManagers::create(std::size_t slot, char delegate, bool fromPropertyList) {
  slots_.at(slot) = fromPropertyList
                        ? BVManager::initWithDelegate(host(delegate))
                        : BVManager::initWithDelegate_andAPIKey_andAPISecret(host(delegate), "key", "secret");
}
void RealManagers::drop(std::size_t slot) { slots_.at(slot).reset(); }
void RealManagers::setDelegate(std::size_t slot, char delegate) {
  if (const auto manager = slots_.at(slot)) manager->setDelegate(host(delegate));
}
void RealManagers::setEnabledGPS(std::size_t slot, bool enabled) {
  if (const auto manager = slots_.at(slot)) manager->setEnabledGPS(enabled);
}
void RealManagers::start(std::size_t slot) {
  if (const auto manager = slots_.at(slot)) answer(manager->startDetection());
}
void RealManagers::stop(std::size_t slot) {
  if (const auto manager = slots_.at(slot)) answer(manager->stopDetection());
}
void RealManagers::nearest(std::size_t slot) {
  if (const auto manager = slots_.at(slot)) answer(manager->getNearestAtLat_andLng_insideRadius(1.5, -2, 500));
}
void RealManagers::payload(std::size_t slot) {
  if (const auto manager = slots_.at(slot)) answer(manager->setPayload_forWaybeacon({}, nullptr));
}
void RealManagers::regionState(std::size_t slot, std::int64_t state) {
  if (const auto manager = slots_.at(slot)) {
    manager->locationManager_didDetermineState_forRegion(services_, state, *manager->getRegion());
  }
}
void RealManagers::authorizationChanged(std::size_t slot) {
  if (const auto manager = slots_.at(slot)) manager->locationManager_didChangeAuthorizationStatus(services_, 0);
}
void RealManagers::crossingsAndFailures(std::size_t slot) {
  const auto manager = slots_.at(slot);
  if (!manager) return;
  const auto region = manager->getRegion();
  manager->locationManager_didEnterRegion(services_, *region);
  manager->locationManager_didExitRegion(services_, *region);
  manager->locationManager_didFailWithError(services_, "a");
  manager->locationManager_monitoringDidFailForRegion_withError(services_, *region, "b");
  manager->locationManager_rangingBeaconsDidFailForRegion_withError(services_, *region, "c");
}
void RealManagers::range(std::size_t slot, const std::vector<HeardBeacon>& beacons) {
  const auto manager = slots_.at(slot);
  if (!manager) return;
  const auto region = manager->getRegion();
  std::vector<platform::CLBeacon> heard;
  for (const HeardBeacon& beacon : beacons) {
    heard.push_back(
        {.proximityUUID = region->proximityUUID(), .major = beacon.major, .minor = beacon.minor, .rssi = beacon.rssi});
  }
  manager->locationManager_didRangeBeacons_inRegion(services_, heard, *region);
}
void RealManagers::positions(std::size_t slot, std::size_t count) {
  std::vector<platform::CLLocation> locations;
  while (locations.size() < count) {
    locations.push_back({.coordinate = {static_cast<double>(locations.size() + 1), 0}, .horizontalAccuracy = -1});
  }
  if (const auto manager = slots_.at(slot)) manager->locationManager_didUpdateLocations(services_, locations);
}
void RealManagers::reply(std::size_t index, const Answer& answer) { services_.reply(answer.body(), index); }

template <typename Side>
void ManagerPlay::play(Side& side, const Step& step) {
  switch (step.operation) {
    case 0:
      if (step.number < 4) side.create(step.slot, step.delegate, step.number < 2);
      return;
    case 1:
      return side.start(step.slot);
    case 2:
      return side.stop(step.slot);
    case 3:
      return side.setDelegate(step.slot, step.delegate);
    case 4:
      return side.setEnabledGPS(step.slot, step.number > 3);
    case 5:
      return side.nearest(step.slot);
    case 6:
      return side.payload(step.slot);
    case 7:
      return side.regionState(step.slot, step.number % 4);
    case 8:
      return side.authorizationChanged(step.slot);
    case 9:
      return side.crossingsAndFailures(step.slot);
    case 10:
      return side.positions(step.slot, step.number % 3);
    case 11:
      if (step.number == 0) side.drop(step.slot);
      return;
    case 12:
    case 13:
    case 14:
      return side.range(step.slot, step.beacons);
    default:
      return side.reply(step.request, step.answer);
  }
}

template <typename Side>
void ManagerPlay::react(Side& side, const Step& step) {
  switch (step.reaction) {
    case 0:
      return side.stop(step.other);
    case 1:
      return side.start(step.other);
    case 2:
      return side.setDelegate(step.other, step.delegate);
    case 3:
      return side.drop(step.other);
    case 4:
      throw std::runtime_error("a host's own");
    default:
      return;
  }
}

template <typename Side>
std::string ManagerPlay::seenOf(Side& side, const Step& step) {
  side.reaction = [this, &side, &step] { react(side, step); };
  std::string seen;
  try {
    play(side, step);
  } catch (const std::exception&) {
    seen = "threw ";
  }
  side.reaction = nullptr;
  seen += side.take();
  for (const std::string& request : side.takeRequests()) seen += "\n  " + request;
  return seen;
}

ManagerPlay::Step ManagerPlay::chooseStep() {
  const char delegates[] = {0, 'A', 'B'};
  const std::int32_t identifiers[] = {0, 7, 65535};
  Step step{.operation = choose_(kOperations),
            .slot = choose_(ManagerModel::kSlots),
            .number = choose_(16),
            .delegate = delegates[choose_(3)],
            .beacons = std::vector<HeardBeacon>(choose_(4)),
            .request = choose_(4),
            .answer = {static_cast<Answer::Kind>(std::min(choose_(8), 4U)), ++answers_},
            .reaction = choose_(12),
            .other = choose_(ManagerModel::kSlots)};
  for (HeardBeacon& beacon : step.beacons) {
    beacon = {identifiers[choose_(3)], identifiers[choose_(3)], -static_cast<std::int32_t>(choose_(100))};
  }
  return step;
}

void ManagerPlay::changeSurroundings() {
  model_.surroundings = {.authorization = choose_(3) == 0 ? 4 : 3,
                         .enabled = choose_(4) != 0,
                         .offersAlways = choose_(2) != 0,
                         .hasCredentials = choose_(8) != 0,
                         .hasUsageText = choose_(8) != 0};
  real_.surround(model_.surroundings);
}

std::string ManagerPlay::step() {
  changeSurroundings();
  Step step = chooseStep();
  if (step.operation > kLastBeforeReplies && step.request >= model_.pending()) return "";
  const std::string expected = seenOf(model_, step);
  const std::string seen = seenOf(real_, step);
  return seen == expected ? "" : "expected: " + expected + "\nseen:     " + seen;
}
