#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// What the service may answer, whatever it was asked.
struct Answer {
  enum Kind { kNothing, kNoJSON, kWrongForm, kRefusal, kRecord };
  Kind kind = kNothing;
  int number = 0;  // of a record, so that it is known again

  std::optional<std::string> body() const {
    const std::string numbered = R"("access_token":"t)" + std::to_string(number) + R"(","match":")" +
                                 std::to_string(number) + R"(","beacons":[{},{}]})";
    const std::optional<std::string> bodies[] = {std::nullopt, "no JSON", "[]", R"({"status":false})", "{" + numbered};
    return bodies[kind];
  }
};

struct HeardBeacon {
  std::int32_t major = 0;
  std::int32_t minor = 0;
  std::int32_t rssi = 0;
};

/// What a host's surroundings are like.
struct Surroundings {
  std::int32_t authorization = 3;
  bool enabled = true;
  bool offersAlways = true;
  bool hasCredentials = true;
  bool hasUsageText = true;
};

/// What managers have to do, told a second time and as plainly as it can be: every effect is a line. It shares
/// nothing with the library, so that where the two differ, one of them is wrong.
class ManagerModel {
 public:
  static constexpr std::size_t kSlots = 3;

  Surroundings surroundings;
  /// What the next call of a host leads it to do, once.
  std::function<void()> reaction;

  /// All that was seen since the last call.
  std::string take() {
    const bool isScanning =
        running_ && std::any_of(slots_.begin(), slots_.end(), [](const auto& slot) { return slot; });
    return std::exchange(seen_, {}) + (isScanning ? "|running" : "");
  }
  std::vector<std::string> takeRequests() { return std::exchange(sent_, {}); }
  std::size_t pending() const { return requests_.size(); }

  void create(std::size_t slot, char delegate, bool fromPropertyList) {
    if (fromPropertyList && !surroundings.hasCredentials) throw std::runtime_error("no credentials");
    see("Init with delegate!");
    if (!surroundings.hasUsageText) throw std::runtime_error("no usage text");
    const auto manager = std::make_shared<Manager>(Manager{delegate, false});
    client_ = std::make_shared<Client>(Client{manager});
    see("API Key: key - API Secret: secret");
    post({"oauth2/token/", client_, ""}, "");
    see(">create|>delegate");
    if (surroundings.offersAlways) see("Requesting always auth|>ask");
    forgetBeacons();
    slots_.at(slot) = manager;
  }
  void drop(std::size_t slot) { slots_.at(slot).reset(); }
  void setDelegate(std::size_t slot, char delegate) {
    if (const auto manager = slots_.at(slot)) manager->delegate = delegate;
  }
  void setEnabledGPS(std::size_t slot, bool enabled) {
    if (const auto manager = slots_.at(slot)) manager->wantsPositions = enabled;
  }

  void start(std::size_t slot) {
    const auto manager = slots_.at(slot);
    if (!manager) return;
    see("Start detection");
    if (!isSessionReady()) return see("no");
    if (surroundings.authorization != 3) return see("BV location not authorized|no");
    forgetBeacons();
    see("Region: 5C8E3D7A-41B2-4F60-9E0B-27D1A6C4F385|>monitor BrivaneNetwork|>state of BrivaneNetwork");
    running_ = true;
    if (manager->wantsPositions && surroundings.enabled) {
      see(">accuracy 10.000000|>filter 20.000000|>update");
      tracking_ = true;
    } else if (manager->wantsPositions) {
      tell(*manager, "error 1");
    }
    see("yes");
  }
  void stop(std::size_t slot) {
    if (!slots_.at(slot)) return;
    see("Stop detection|>stop monitoring BrivaneNetwork");
    if (std::exchange(ranging_, false)) see(">stop ranging BrivaneNetwork");
    running_ = false;
    if (std::exchange(tracking_, false)) see(">stop updating");
    see("yes");
  }
  void nearest(std::size_t slot) {
    if (!slots_.at(slot)) return;
    if (!isSessionReady()) return see("no");
    post({"nearest/", client_, ""}, " 1.5 -2 500");
    see("yes");
  }
  void payload(std::size_t slot) {
    if (slots_.at(slot)) see(isSessionReady() ? "yes" : "no");
  }

  void regionState(std::size_t slot, std::int64_t state) {
    if (!slots_.at(slot)) return;
    see("DETERMINATE STATE!");
    if (state == 0) see("UNKNOWN");
    if (state == 1) see("INSIDE|>range BrivaneNetwork");
    if (state == 2) see(">stop ranging BrivaneNetwork|OUTSIDE");
    if (state == 1 || state == 2) ranging_ = state == 1;
  }
  void authorizationChanged(std::size_t slot) {
    const auto manager = slots_.at(slot);
    if (!manager) return;
    see("AUTHORIZATION!");
    if (!surroundings.enabled) return see("Couldn't turn on ranging: Location services are not enabled.");
    if (surroundings.authorization != 3) return see("Couldn't turn on monitoring: Location services not authorised.");
    if (ready_ || !synced_ || manager->delegate == 0) return;
    see("Auth ok");
    ready_ = true;
    tell(*manager, "ready");
  }
  void crossingsAndFailures(std::size_t slot) {
    if (!slots_.at(slot)) return;
    see("REGION IN!|REGION OUT!");
    see("Failed monitoring region: a|Location manager failed: b|Ranging beacons failed: c");
  }
  void range(std::size_t slot, const std::vector<HeardBeacon>& beacons) {
    const auto manager = slots_.at(slot);
    if (!manager) return;
    see("Ranging beacons ok");
    for (const HeardBeacon& beacon : beacons) hear(*manager, beacon);
  }
  /// As many positions; the last one counts.
  void positions(std::size_t slot, std::size_t count) {
    if (!slots_.at(slot)) return;
    if (count == 0) return see("Location is null");
    if (!tracking_) return see("Location update while not running");
    if (!ready_) return see("API not ready");
    see("URL: https://api.brivane.example/api/v1/tracker/");
    post({"tracker/", client_, ""}, " " + std::to_string(count) + ".000000 0.000000 -1");
  }

  void reply(std::size_t index, const Answer& answer) {
    const Request request = requests_.at(index);
    requests_.erase(requests_.begin() + static_cast<std::ptrdiff_t>(index));
    see("DATA: " + answer.body().value_or("(null)"));
    if (answer.kind == Answer::kNothing || answer.kind == Answer::kNoJSON) return see("Error parsing JSON");
    if (answer.kind == Answer::kWrongForm) throw std::runtime_error("wrong form");
    const bool resolves = request.endpoint == "resolve/" || request.endpoint == "tracker/";
    if (resolves && answer.kind == Answer::kRefusal) return see("Beacon not found");
    const auto manager = request.client->manager.lock();
    if (request.endpoint == "oauth2/token/") loggedIn(manager.get(), answer);
    if (request.endpoint == "sync/") synced(manager.get());
    if (request.endpoint == "nearest/") found(manager.get(), answer);
    if (!resolves) return;
    see(request.key.empty() ? "Resolve GPS done" : "Resolve done");
    if (manager) match(*manager, answer.number, request.key);
  }

 private:
  struct Manager {
    char delegate = 0;  // its name; 0 for none
    bool wantsPositions = false;
  };
  struct Client {
    std::weak_ptr<Manager> manager;
  };
  struct Request {
    std::string endpoint;
    std::shared_ptr<Client> client;
    std::string key;  // of a beacon
  };

  void see(const std::string& line) { seen_ += (seen_.empty() ? "" : "|") + line; }

  void post(const Request& request, const std::string& details) {
    sent_.push_back(request.endpoint + details + (token_.empty() ? "" : " Bearer " + token_));
    requests_.push_back(request);
  }

  void forgetBeacons() {
    records_.clear();
    tries_.clear();
  }

  bool isSessionReady() {
    if (!sessionReady_) see("BV API not ready or initialized properly");
    return sessionReady_;
  }

  void tell(const Manager& manager, const std::string& what) {
    if (manager.delegate == 0) return;
    see(std::string("<") + manager.delegate + " " + what);
    if (const auto react = std::exchange(reaction, nullptr)) react();
  }

  void hear(const Manager& manager, const HeardBeacon& beacon) {
    const std::string identity = " " + std::to_string(beacon.major) + " " + std::to_string(beacon.minor);
    see("-> Major: " + std::to_string(beacon.major) + " - Minor: " + std::to_string(beacon.minor));
    if ((beacon.major == 65535 && beacon.minor == 65535) || !synced_) return;
    if (const auto record = records_.find(identity); record != records_.end()) {
      see("Cache hit");
      return match(manager, record->second, "");
    }
    see("Cache miss, goes to API");
    if (tries_[identity] == 5) return see("Max num tries achivied");
    ++tries_[identity];
    if (beacon.major == 65535 || beacon.minor == 65535) return;
    see("Resolving...");
    post({"resolve/", client_, identity}, identity + " " + std::to_string(beacon.rssi));
  }

  void match(const Manager& manager, int record, const std::string& key) {
    see("Received resolve!!!");
    if (!key.empty()) records_[key] = record;
    tell(manager, "match " + std::to_string(record));
  }

  void loggedIn(const Manager* manager, const Answer& answer) {
    token_ = answer.kind == Answer::kRecord ? "t" + std::to_string(answer.number) : "";
    const std::string token = token_.empty() ? "(null)" : token_;
    see("Access token: " + token);
    sessionReady_ = false;
    if (manager == nullptr) return;
    see("Received login callback!!!|-> Token: " + token);
    see("-> Scope: (null)|-> Expires in: 0|-> Expires date: now|-> Type: (null)");
    post({"sync/", client_, ""}, "");
  }

  void synced(const Manager* manager) {
    see("Sync done");
    sessionReady_ = true;
    if (manager == nullptr) return;
    see("Received sync callback!!!|-> Status: 0|-> Offline: 0|-> Internal: 0|-> Public key: (null)");
    synced_ = true;
    if (manager->delegate == 0 || surroundings.authorization != 3) return;
    ready_ = true;
    tell(*manager, "ready");
  }

  void found(const Manager* manager, const Answer& answer) {
    see("Nearest waybeacons received");
    if (manager == nullptr) return;
    const std::string count = answer.kind == Answer::kRecord ? "2" : "0";
    see("Received nearest: " + count);
    tell(*manager, "nearest " + count);
  }

  std::array<std::shared_ptr<Manager>, kSlots> slots_;
  std::shared_ptr<Client> client_;  // of the newest manager
  std::vector<Request> requests_;
  std::map<std::string, int> records_, tries_;
  std::string token_;
  bool sessionReady_ = false, synced_ = false, ready_ = false;
  bool running_ = false, ranging_ = false, tracking_ = false;
  std::string seen_;
  std::vector<std::string> sent_;
};
