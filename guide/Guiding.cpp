// SPDX-License-Identifier: Apache-2.0
#include "guide/Guiding.h"

#include <glib.h>

#include <atomic>
#include <chrono>
#include <exception>
#include <mutex>
#include <random>
#include <stdexcept>
#include <stop_token>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "BrivaneSDK/BVException.h"
#include "BrivaneSDK/BVManager.h"
#include "BrivaneSDK/BVNetwork.h"
#include "guidance/Sentences.h"
#include "guide/BeaconWatch.h"
#include "guide/Connection.h"
#include "platform/Services.h"
#include "platform/curl/CurlHTTPClient.h"
#include "platform/files/KeyFilePreferences.h"
#include "platform/files/PlistPropertyList.h"
#include "platform/json/SimdJSON.h"
#include "platform/linux/LinuxLocationService.h"
#include "platform/linux/NetworkWatch.h"
#include "platform/offline/AnswerStore.h"
#include "platform/offline/OfflineHTTPClient.h"
#include "platform/posix/SystemRandomUUID.h"
#include "platform/posix/UnameDeviceModel.h"
#include "platform/replay/ReplayLocationService.h"

namespace guide {
namespace {

using platform::ReplayLocationService;

constexpr Duration kSpreadOfLogins = std::chrono::seconds(10);

Instant monotonicNow() { return Instant(Duration(g_get_monotonic_time())); }

/// A property list that is another one after each import. Any thread.
class ImportedPropertyList final : public platform::PropertyList {
 public:
  void choose(const std::string& path) {
    const std::lock_guard lock(mutex_);
    path_ = path;
  }

  /// One that cannot be read is like none.
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override {
    const std::lock_guard lock(mutex_);
    try {
      return platform::PlistPropertyList(path_).objectForInfoDictionaryKey(key);
    } catch (const std::runtime_error&) {
      return std::nullopt;
    }
  }

 private:
  mutable std::mutex mutex_;
  std::string path_;
};

/// A location service that is another one after each start. Any thread.
class ChosenLocation final : public platform::LocationService {
 public:
  void choose(std::shared_ptr<platform::LocationService> service) {
    const std::lock_guard lock(mutex_);
    service_ = std::move(service);
  }

  std::int32_t authorizationStatus() const override { return service()->authorizationStatus(); }
  bool locationServicesEnabled() const override { return service()->locationServicesEnabled(); }
  std::shared_ptr<platform::CLLocationManager> createManager() override {
    return service()->createManager();
  }

 private:
  std::shared_ptr<platform::LocationService> service() const {
    const std::lock_guard lock(mutex_);
    return service_;
  }

  mutable std::mutex mutex_;
  std::shared_ptr<platform::LocationService> service_;
};

/// The GLib main context of the guiding thread, while that runs.
class ThreadContext {
 public:
  explicit ThreadContext(GMainContext* context) : context_(context) {
    g_main_context_push_thread_default(context_);
  }
  ~ThreadContext() { g_main_context_pop_thread_default(context_); }
  ThreadContext(const ThreadContext&) = delete;
  ThreadContext& operator=(const ThreadContext&) = delete;

  /// Runs what is due, or waits for that, or for the time.
  void iterate(std::optional<Instant> until) const {
    GSource* const timer = until ? g_timeout_source_new(0) : nullptr;
    if (timer != nullptr) {
      g_source_set_ready_time(timer, until->time_since_epoch().count());
      g_source_set_callback(
          timer, [](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr, nullptr);
      g_source_attach(timer, context_);
    }
    g_main_context_iteration(context_, TRUE);
    if (timer == nullptr) return;
    g_source_destroy(timer);
    g_source_unref(timer);
  }

 private:
  GMainContext* const context_;
};

}  // namespace

struct Guiding::State final : BVManagerDelegate {
  State(Options given, Post toListener, Listener& told)
      : options(std::move(given)), post(std::move(toListener)), listener(told) {
    platform::CurlHTTPClient::Options way;
    if (!options.connect.empty()) {
      way.connectTo = std::string(BVNetwork::apiHost()) + ":443:" + options.connect;
    }
    way.caFile = options.ca;
    web = std::make_shared<platform::CurlHTTPClient>(std::move(way));
    http = std::make_shared<platform::OfflineHTTPClient>(platform::OfflineHTTPClient::Options{
        .inner = web,
        .store = std::make_shared<platform::AnswerStore>(platform::AnswerStore::Options{
            .path = platform::AnswerStore::pathFor(options.application)}),
        .json = std::make_shared<platform::SimdJSON>(),
        .allowOffline = true,
        .onTransfer = [this](const auto& outcome) { transferred(outcome); },
        .onNetwork =
            [this](bool isThere) {
              if (isThere) networkIsBack();
            }});
  }

  // On any thread.

  Instant now() const {
    const std::lock_guard lock(mutex);
    return replay ? replay->now() : monotonicNow();
  }

  /// Calls the listener on its thread, unless guiding has been stopped by then.
  void tell(std::function<void(Listener&, Instant)> call) {
    const Instant time = now();
    std::unique_lock lock(mutex);
    const std::weak_ptr<void> current = run;
    lock.unlock();
    post([this, current, time, call = std::move(call)] {
      if (current.lock()) call(listener, time);
    });
  }

  void transferred(const platform::TransferOutcome& outcome) {
    tell([outcome](Listener& to, Instant time) { to.transferred(outcome, time); });
    changeSession([&](Instant time) { connection.transferred(outcome, time); });
  }

  /// Changes the connection under the lock, and tells what session there is by that.
  template <typename Change>
  void changeSession(Change change) {
    std::unique_lock lock(mutex);
    const Session before = connection.session();
    change(monotonicNow());
    const Session after = connection.session();
    lock.unlock();
    if (after != before) {
      tell([after](Listener& to, Instant time) { to.sessionChanged(after, time); });
    }
    g_main_context_wakeup(context.get());
  }

  void networkIsBack() {
    // Everybody in reach of a network is told at once that it is back.
    std::uniform_int_distribution<Duration::rep> within(0, kSpreadOfLogins.count());
    std::random_device chance;
    const Duration delay(within(chance));
    changeSession([&](Instant time) { connection.tryAgain(time + delay); });
  }

  void didIsReady() override {
    changeSession([this](Instant time) { startDue = connection.becomesReady(time) || startDue; });
  }
  void didErrorFound(const std::shared_ptr<const BVError>& error) override {
    noPositions(error->errorString().value_or(""));
  }
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>& list) override {
    tell([list](Listener& to, Instant time) { to.found(list, time); });
  }
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override {
    // A reply is no report: the beacon's next one brings the place, with its distance.
    if (std::this_thread::get_id() != guidingThread || !ranged) return;
    if (!match || !match->uuid()) return;
    report.push_back(
        {.place = match, .metres = *ranged < 0.0 ? std::nullopt : std::optional<double>(*ranged)});
  }

  // On the guiding thread.

  void reportEnds() {
    ranged.reset();
    tell([places = std::exchange(report, {})](Listener& to, Instant time) {
      to.reported(places, time);
    });
  }
  void moved(const platform::CLLocation& position) {
    tell([position](Listener& to, Instant time) { to.moved(position, time); });
  }
  void noPositions(const std::string& reason) {
    tell([reason](Listener& to, Instant time) { to.noPositions(reason, time); });
  }

  void guide(const std::stop_token& stop) {
    guidingThread = std::this_thread::get_id();
    const ThreadContext loop(context.get());
    std::string fault;
    try {
      if (options.capture.empty()) {
        listen(stop, loop);
      } else {
        play(stop, loop);
      }
    } catch (const std::exception& caught) {
      fault = caught.what();
    }
    endManager();
    if (!stop.stop_requested()) {
      tell([fault](Listener& to, Instant time) { to.ended(fault, time); });
    }
  }

  void listen(const std::stop_token& stop, const ThreadContext& loop) {
    location->choose(
        std::make_shared<platform::LinuxLocationService>(platform::LinuxLocationService::Options{
            .adapter = options.adapter,
            .desktopId = wanted.positions ? options.application : "",
            .live = {.onRadio =
                         [this](const auto& status) {
                           tell([status](Listener& to, Instant time) {
                             to.radioChanged(status, time);
                           });
                         },
                     .onPermission =
                         [this](const auto& permission, const std::string& reason) {
                           tell([permission, reason](Listener& to, Instant time) {
                             to.permissionChanged(permission, reason, time);
                           });
                         },
                     .onNoPositions = [this](const auto& reason) { noPositions(reason); }}}));
    const platform::NetworkWatch network([this] {
      web->networkChanged();
      networkIsBack();
    });
    while (!stop.stop_requested()) {
      tend();
      loop.iterate(due());
    }
  }

  void play(const std::stop_token& stop, const ThreadContext& loop) {
    const auto recording = std::make_shared<ReplayLocationService>(ReplayLocationService::Options{
        .capture = options.capture,
        .track = wanted.positions && !options.track.empty() ? std::optional(options.track)
                                                            : std::nullopt,
        .speed = options.speed,
        .waitUntilIdle = nullptr,
        .onProgress = [this](double /*fraction*/) { tend(); },
        .onCut = nullptr});
    location->choose(recording);
    {
      const std::lock_guard lock(mutex);
      replay = recording;
    }
    while (!stop.stop_requested() && !detects) {
      tend();
      if (!detects) loop.iterate(due());
    }
    if (!stop.stop_requested()) recording->run();
  }

  std::optional<Instant> due() const {
    const std::lock_guard lock(mutex);
    return connection.due();
  }

  /// Does what the session needs now.
  void tend() {
    const auto login = due();
    if (login && *login <= monotonicNow()) makeManager();
    std::unique_lock lock(mutex);
    if (!std::exchange(startDue, false) || !manager) return;
    const auto current = manager;
    lock.unlock();
    current->setEnabledGPS(wanted.positions);
    detects = current->startDetection();
  }

  void makeManager() {
    endManager();
    {
      const std::lock_guard lock(mutex);
      connection.loggedIn();
    }
    try {
      const auto made = BVManager::initWithDelegate(
          std::shared_ptr<BVManagerDelegate>(std::shared_ptr<void>(), this));
      watch = std::make_shared<BeaconWatch>(
          made,
          BeaconWatch::Hooks{.onBeacon = [this](const auto& beacon) { ranged = beacon.accuracy; },
                             .onReportEnds = [this] { reportEnds(); },
                             .onPosition = [this](const auto& position) { moved(position); }});
      made->locationManager()->setDelegate(watch);
      const std::lock_guard lock(mutex);
      manager = made;
    } catch (const BVException&) {
      changeSession([this](Instant /*time*/) { connection.lackCredentials(); });
    }
  }

  void endManager() {
    std::unique_lock lock(mutex);
    const auto ended = std::exchange(manager, nullptr);
    lock.unlock();
    if (ended) ended->stopDetection();
  }

  const Options options;
  const Post post;
  Listener& listener;
  const std::shared_ptr<GMainContext> context{g_main_context_new(), g_main_context_unref};
  std::shared_ptr<platform::CurlHTTPClient> web;
  /// Before it, what the service answered earlier.
  std::shared_ptr<platform::OfflineHTTPClient> http;
  const std::shared_ptr<ChosenLocation> location = std::make_shared<ChosenLocation>();
  const std::shared_ptr<ImportedPropertyList> propertyList =
      std::make_shared<ImportedPropertyList>();

  // The guiding thread's, and of whoever starts and ends that.
  Wanted wanted;
  std::atomic<std::thread::id> guidingThread;
  std::shared_ptr<BeaconWatch> watch;
  bool detects = false;
  std::optional<double> ranged;
  std::vector<Sighting> report;

  mutable std::mutex mutex;
  std::shared_ptr<void> run;
  std::shared_ptr<ReplayLocationService> replay;
  std::shared_ptr<BVManager> manager;
  Connection connection;
  bool startDue = false;

  std::jthread thread;
};

Guiding::Guiding(const Options& options, Post post, Listener& listener)
    : state_(std::make_unique<State>(options, std::move(post), listener)) {
  platform::install({.http = state_->http,
                     .json = std::make_shared<platform::SimdJSON>(),
                     .preferences = std::make_shared<platform::KeyFilePreferences>(
                         platform::KeyFilePreferences::pathFor(options.application)),
                     .propertyList = state_->propertyList,
                     .location = state_->location,
                     .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
                     .randomUUID = std::make_shared<platform::SystemRandomUUID>()});
}

Guiding::~Guiding() {
  stop();
  state_->web->shutdown();
  state_->http->shutdown();
}

void Guiding::start(const Wanted& wanted) {
  stop();
  state_->wanted = wanted;
  state_->propertyList->choose(wanted.info);
  {
    const std::lock_guard lock(state_->mutex);
    state_->run = std::make_shared<int>();
    state_->connection = Connection();
  }
  state_->listener.began(state_->now());
  state_->thread =
      std::jthread([state = state_.get()](const std::stop_token& stop) { state->guide(stop); });
}

void Guiding::stop() {
  if (!state_->thread.joinable()) return;
  state_->thread.request_stop();
  {
    const std::lock_guard lock(state_->mutex);
    state_->run.reset();
    if (state_->replay) state_->replay->stop();
  }
  g_main_context_wakeup(state_->context.get());
  state_->thread.join();
  state_->replay.reset();
  state_->detects = false;
  state_->startDue = false;
}

bool Guiding::isGuiding() const { return state_->thread.joinable(); }

void Guiding::tryAgain() {
  state_->changeSession([this](Instant time) { state_->connection.tryAgain(time); });
}

bool Guiding::askNearby(double latitude, double longitude, std::int64_t radius) {
  std::unique_lock lock(state_->mutex);
  const auto manager = state_->manager;
  lock.unlock();
  return manager && manager->getNearestAtLat_andLng_insideRadius(latitude, longitude, radius);
}

std::string Guiding::language() const { return guidance::networkLanguage(); }

}  // namespace guide
