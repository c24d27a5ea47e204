// SPDX-License-Identifier: Apache-2.0
#include "guide/Guiding.h"

#include <exception>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "BrivaneSDK/BVException.h"
#include "BrivaneSDK/BVNetwork.h"
#include "guidance/LoginDelay.h"
#include "guide/MainContext.h"
#include "platform/Services.h"
#include "platform/files/KeyFilePreferences.h"
#include "platform/files/PlistPropertyList.h"
#include "platform/json/SimdJSON.h"
#include "platform/linux/LinuxLocationService.h"
#include "platform/offline/AnswerStore.h"
#include "platform/posix/SystemRandomUUID.h"
#include "platform/posix/UnameDeviceModel.h"

namespace guide {
namespace {

using platform::LinuxLocationService;
using platform::ReplayLocationService;

/// How far the beacon is that this thread tells the library of; absent while it tells of none.
thread_local std::optional<double> ranged;

/// A property list that may be another one at each question, as it is imported anew.
class ImportedPropertyList final : public platform::PropertyList {
 public:
  explicit ImportedPropertyList(std::string path) : path_(std::move(path)) {}

  /// One that cannot be read is like none.
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override {
    try {
      return platform::PlistPropertyList(path_).objectForInfoDictionaryKey(key);
    } catch (const std::runtime_error&) {
      return std::nullopt;
    }
  }

 private:
  const std::string path_;
};

}  // namespace

/// A location service that is another one after each start.
class Guiding::Location final : public platform::LocationService {
 public:
  void choose(std::shared_ptr<platform::LocationService> service) { service_ = std::move(service); }

  std::int32_t authorizationStatus() const override {
    return service_.load()->authorizationStatus();
  }
  bool locationServicesEnabled() const override {
    return service_.load()->locationServicesEnabled();
  }
  std::shared_ptr<platform::CLLocationManager> createManager() override {
    return service_.load()->createManager();
  }

 private:
  std::atomic<std::shared_ptr<platform::LocationService>> service_;
};

Guiding::Guiding(Options options, const std::string& application, Guide& guide)
    : options_(std::move(options)),
      application_(application),
      guide_(guide),
      location_(std::make_shared<Location>()) {
  platform::CurlHTTPClient::Options way{.caFile = options_.ca};
  if (!options_.connect.empty()) {
    way.connectTo = std::string(BVNetwork::apiHost()) + ":443:" + options_.connect;
  }
  web_ = std::make_shared<platform::CurlHTTPClient>(std::move(way));
  const auto json = std::make_shared<platform::SimdJSON>();
  http_ = std::make_shared<platform::OfflineHTTPClient>(platform::OfflineHTTPClient::Options{
      .inner = web_,
      .store = std::make_shared<platform::AnswerStore>(
          platform::AnswerStore::Options{.path = platform::AnswerStore::pathFor(application)}),
      .json = json,
      .allowOffline = true,
      .onTransfer = [this](const auto& outcome) { transferred(outcome); },
      .onNetwork =
          [this](bool isThere) {
            if (isThere) tell([this] { networkIsBack(); });
          }});
  platform::install({.http = http_,
                     .json = json,
                     .preferences = std::make_shared<platform::KeyFilePreferences>(
                         platform::KeyFilePreferences::pathFor(application)),
                     .propertyList = std::make_shared<ImportedPropertyList>(options_.info),
                     .location = location_,
                     .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
                     .randomUUID = std::make_shared<platform::SystemRandomUUID>()});
}

Guiding::~Guiding() {
  stop();
  web_->shutdown();
  http_->shutdown();
}

void Guiding::start(bool usesPositions) {
  stop();
  isGuiding_ = true;
  usesPositions_ = usesPositions;
  ++run_;
  connection_ = guidance::Connection();
  guide_.began();
  try {
    location_->choose(options_.capture.empty() ? liveLocation() : recordedLocation());
    tend();
  } catch (const std::exception& fault) {
    guide_.ended(fault.what());
  }
}

void Guiding::stop() {
  if (!std::exchange(isGuiding_, false)) return;
  ++run_;
  if (replay_) replay_->stop();
  player_ = {};
  replay_.reset();
  network_.reset();
  endManager();
  tend();
}

void Guiding::tryAgain() {
  changeSession([this] { connection_.tryAgain(monotonicNow()); });
}

bool Guiding::askNearby(double latitude, double longitude, std::int64_t radius) {
  return manager_ && manager_->getNearestAtLat_andLng_insideRadius(latitude, longitude, radius);
}

/// Where listening takes place, and on the main thread.
Instant Guiding::now() const { return replay_ ? replay_->now() : monotonicNow(); }

/// Brings news to the main thread, unless guiding has been stopped by then. Any thread.
void Guiding::tell(std::function<void()> news) {
  post([this, run = run_.load(), news = std::move(news)] {
    if (run == run_) news();
  });
}

/// What tells the guide of one kind of news, with the time.
template <auto news>
auto Guiding::telling() {
  return [this](const auto&... what) { tell([this, what...] { (guide_.*news)(what..., now()); }); };
}

// Where places come from

std::shared_ptr<platform::LocationService> Guiding::liveLocation() {
  network_ = std::make_unique<platform::NetworkWatch>([this] {
    web_->networkChanged();
    networkIsBack();
  });
  return std::make_shared<LinuxLocationService>(LinuxLocationService::Options{
      .desktopId = usesPositions_ ? application_ : "",
      .live = {.onRadio = telling<&Guide::radioChanged>(),
               .onPermission =
                   [this](const auto& permission, const std::string& reason) {
                     telling<&Guide::permissionChanged>()(permission, reason);
                     tell([this] { detectIfReady(); });
                   },
               .onNoPositions = telling<&Guide::noPositions>()}});
}

std::shared_ptr<platform::LocationService> Guiding::recordedLocation() {
  ReplayLocationService::Options recording;
  recording.capture = options_.capture;
  if (usesPositions_ && !options_.track.empty()) recording.track = options_.track;
  recording.speed = options_.speed;
  replay_ = std::make_shared<ReplayLocationService>(std::move(recording));
  return replay_;
}

void Guiding::play() {
  player_ = std::jthread([this, recording = replay_] {
    std::string fault;
    try {
      recording->run();
    } catch (const std::exception& caught) {
      fault = caught.what();
    }
    tell([this, fault] {
      endManager();
      guide_.ended(fault);
    });
  });
}

// The session

/// Changes the connection, tells what session there is by that, and does what is due then.
template <typename Change>
void Guiding::changeSession(Change change) {
  const guidance::Session before = connection_.session();
  change();
  const guidance::Session after = connection_.session();
  if (after != before) guide_.sessionChanged(after, now());
  tend();
}

void Guiding::networkIsBack() {
  changeSession([this] { connection_.tryAgain(monotonicNow() + guidance::loginDelay()); });
}

/// Logs in if that is due, and comes back when it will be.
void Guiding::tend() {
  if (timer_ != 0) g_source_remove(std::exchange(timer_, 0));
  const auto due = connection_.due();
  if (!isGuiding_ || !due) return;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - monotonicNow());
  if (left.count() <= 0) return makeManager();
  timer_ = g_timeout_add_once(
      static_cast<guint>(left.count()),
      [](gpointer self) {
        static_cast<Guiding*>(self)->timer_ = 0;
        static_cast<Guiding*>(self)->tend();
      },
      this);
}

void Guiding::makeManager() {
  endManager();
  connection_.loggedIn();
  try {
    manager_ = BVManager::initWithDelegate(
        std::shared_ptr<BVManagerDelegate>(std::shared_ptr<void>(), this));
    watch_ = std::make_shared<BeaconWatch>(
        manager_,
        BeaconWatch::Hooks{.onBeacon = [](const auto& beacon) { ranged = beacon.accuracy; },
                           .onReportEnds = [this] { reportEnds(); },
                           .onPosition = telling<&Guide::moved>()});
    manager_->locationManager()->setDelegate(watch_);
  } catch (const BVException&) {
    changeSession([this] { connection_.lackCredentials(); });
  }
}

/// Starts to detect once the service has answered and the person permits it, whichever comes last:
/// the library tells of that only at the first time in a process.
void Guiding::detectIfReady() {
  if (!manager_ || !connection_.isSynced()) return;
  manager_->setEnabledGPS(usesPositions_);
  if (!manager_->startDetection()) return;
  changeSession([this] { connection_.becomesReady(monotonicNow()); });
  if (replay_ && !player_.joinable()) play();
}

void Guiding::endManager() {
  if (const auto ended = std::exchange(manager_, nullptr)) ended->stopDetection();
}

// On any thread

void Guiding::transferred(const platform::TransferOutcome& outcome) {
  keptSince_ = outcome.keptSince;
  tell([this, outcome, time = monotonicNow()] {
    guide_.transferred(outcome, now());
    changeSession([&] { connection_.transferred(outcome, time); });
    detectIfReady();
  });
}

void Guiding::reportEnds() {
  ranged.reset();
  tell(
      [this, places = std::exchange(report_, {}), time = now()] { guide_.reported(places, time); });
}

void Guiding::didIsReady() {
  tell([this] { detectIfReady(); });
}

void Guiding::didErrorFound(const std::shared_ptr<const BVError>& error) {
  tell([this, error] { guide_.noPositions(error->errorString().value_or(""), now()); });
}

void Guiding::didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) {
  if (!match || !match->uuid()) return;
  if (!ranged) {  // a reply is no report: the beacon's next one brings the place
    tell([this, place = *match->uuid(), since = keptSince_] { guide_.named(place, since); });
    return;
  }
  report_.push_back(
      {.place = match, .metres = *ranged < 0.0 ? std::nullopt : std::optional<double>(*ranged)});
}

void Guiding::didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>& list) {
  tell([this, list] { guide_.found(list); });
}

}  // namespace guide
