// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVManager.h"

#include <atomic>
#include <optional>
#include <stdexcept>
#include <utility>

#include "BrivaneSDK/BVAPI.h"
#include "BrivaneSDK/BVException.h"
#include "BrivaneSDK/BVUtil.h"
#include "BrivaneSDK/DateText.h"
#include "BrivaneSDK/DetectionState.h"
#include "BrivaneSDK/Guarded.h"
#include "BrivaneSDK/LogLine.h"
#include "BrivaneSDK/NullText.h"
#include "BrivaneSDK/UnsetIdentifier.h"
#include "platform/PropertyList.h"
#include "platform/Services.h"

using namespace brivane::internal;

namespace {

constexpr std::int64_t kUnknownBattery = -1;
constexpr double kMetresBetweenPositions = 20.0;

std::optional<std::string> fromPropertyList(std::string_view key) {
  return platform::services().propertyList->objectForInfoDictionaryKey(key);
}

bool isAbsentOrEmpty(const std::optional<std::string>& text) { return !text || text->empty(); }

bool isAuthorizedAlways() {
  return platform::services().location->authorizationStatus() ==
         platform::kCLAuthorizationStatusAuthorizedAlways;
}

/// The key of a ranged beacon.
std::string keyOf(const platform::CLBeacon& beacon) {
  const DetectionState& state = detectionState();
  const auto& uuid = beacon.proximityUUID;
  return uuid == state.region->proximityUUID()
             ? BVUtil::getHash_andMajor_andMinor(state.regionUUID, beacon.major, beacon.minor)
             : BVUtil::getHash_andMajor_andMinor(uuid.UUIDString(), beacon.major, beacon.minor);
}

/// The service client, when its session is ready; null, with a log line, when it is not.
std::shared_ptr<BVAPI> readyAPI() {
  auto api = detectionState().api.get();
  if (api->isReady()) return api;
  logLine("BV API not ready or initialized properly");
  return nullptr;
}

}  // namespace

struct BVManager::State {
  explicit State(std::shared_ptr<BVManagerDelegate> host) : delegate(std::move(host)) {}

  // Destroyed in reverse order: the location manager, then the delegate.
  Guarded<std::shared_ptr<BVManagerDelegate>> delegate;
  Guarded<std::shared_ptr<platform::CLLocationManager>> locationManager;
  std::atomic<bool> enabledGPS = false;
};

// Set-up

std::shared_ptr<BVManager> BVManager::initWithDelegate(
    std::shared_ptr<BVManagerDelegate> delegate) {
  const auto key = fromPropertyList("BrivaneAPIKey");
  const auto secret = fromPropertyList("BrivaneAPISecret");
  if (isAbsentOrEmpty(key) || isAbsentOrEmpty(secret)) {
    throw BVException("BVAPICredentialsNotFound",
                      "Not found Brivane SDK/API Credentials in Main bundle (check Info.plist)");
  }
  return initWithDelegate_andAPIKey_andAPISecret(std::move(delegate), *key, *secret);
}

std::shared_ptr<BVManager> BVManager::initWithDelegate_andAPIKey_andAPISecret(
    std::shared_ptr<BVManagerDelegate> delegate, const std::string& key,
    const std::string& secret) {
  logLine("Init with delegate!");
  if (isAbsentOrEmpty(fromPropertyList("NSLocationAlwaysUsageDescription"))) {
    throw BVException("BVCoreLocationAuthError",
                      "Not NSLocationAlwaysUsageDescription found (check Info.plist)");
  }
  std::shared_ptr<BVManager> manager(new BVManager(std::move(delegate)));
  const auto api = BVAPI::init();
  detectionState().api.set(api);
  api->setDelegate(manager);
  logLine("API Key: ", key, " - API Secret: ", secret);
  api->loginWithAPIKey_andSecret(key, secret);
  manager->createLocationManager();
  detectionState().cache.clear();
  return manager;
}

BVManager::BVManager(std::shared_ptr<BVManagerDelegate> delegate)
    : state_(std::make_unique<State>(std::move(delegate))) {}

BVManager::~BVManager() = default;

void BVManager::createLocationManager() {
  const auto locationManager = platform::services().location->createManager();
  setLocationManager(locationManager);
  locationManager->setDelegate(weak_from_this());
  if (locationManager->offersRequestAlwaysAuthorization()) {
    logLine("Requesting always auth");
    locationManager->requestAlwaysAuthorization();
  }
}

std::shared_ptr<BVManagerDelegate> BVManager::delegate() const { return state_->delegate.get(); }

void BVManager::setDelegate(std::shared_ptr<BVManagerDelegate> delegate) {
  state_->delegate.set(std::move(delegate));
}

std::shared_ptr<platform::CLLocationManager> BVManager::locationManager() const {
  return state_->locationManager.get();
}

void BVManager::setLocationManager(std::shared_ptr<platform::CLLocationManager> locationManager) {
  if (!locationManager) throw std::invalid_argument("a BVManager needs a location manager");
  state_->locationManager.set(std::move(locationManager));
}

bool BVManager::enabledGPS() const { return state_->enabledGPS; }

void BVManager::setEnabledGPS(bool value) { state_->enabledGPS = value; }

void BVManager::receivedLogin(const std::shared_ptr<const BVAPILogin>& login) {
  logLine("Received login callback!!!");
  logLine("-> Token: ", login->access_token());
  logLine("-> Scope: ", login->scope());
  logLine("-> Expires in: ", login->expires_in());
  logLine("-> Expires date: ", dateText(login->expires_date()));
  logLine("-> Type: ", login->token_type());
  // The client in use, which a second manager may have replaced since this login was sent.
  detectionState().api.get()->sync();
}

void BVManager::receivedSync(const std::shared_ptr<const BVAPISync>& sync) {
  logLine("Received sync callback!!!");
  logLine("-> Status: ", std::int64_t{sync->status()});
  logLine("-> Offline: ", std::int64_t{sync->offline()});
  logLine("-> Internal: ", std::int64_t{sync->internal()});
  logLine("-> Public key: ", sync->pubkey());
  // A sync reply counts even when its status is false.
  detectionState().hasSynced = true;
  const auto delegate = this->delegate();
  if (!delegate || !isAuthorizedAlways()) return;
  detectionState().hasToldReady = true;
  delegate->didIsReady();
}

// Detection

bool BVManager::startDetection() {
  logLine("Start detection");
  if (!readyAPI()) return false;
  if (!isAuthorizedAlways()) {
    logLine("BV location not authorized");
    return false;
  }
  DetectionState& state = detectionState();
  state.cache.clear();
  const auto region = getRegion();
  logLine("Region: ", region->proximityUUID().UUIDString());
  const auto locationManager = this->locationManager();
  locationManager->startMonitoringForRegion(region);
  locationManager->requestStateForRegion(region);
  state.isRunning = true;
  if (enabledGPS()) startUpdatingLocation();
  return true;
}

void BVManager::startUpdatingLocation() {
  if (!platform::services().location->locationServicesEnabled()) {
    // Beacons are detected all the same: the host is told, and the start has succeeded.
    if (const auto delegate = this->delegate()) delegate->didErrorFound(BVError::newError(1));
    return;
  }
  const auto locationManager = this->locationManager();
  locationManager->setDesiredAccuracy(platform::kCLLocationAccuracyNearestTenMeters);
  locationManager->setDistanceFilter(kMetresBetweenPositions);
  locationManager->startUpdatingLocation();
  detectionState().updatingLocation.setBegun();
}

bool BVManager::stopDetection() {
  logLine("Stop detection");
  DetectionState& state = detectionState();
  const auto locationManager = this->locationManager();
  const auto region = getRegion();
  locationManager->stopMonitoringForRegion(*region);
  if (state.ranging.isOn()) {
    state.ranging.end([&] { locationManager->stopRangingBeaconsInRegion(*region); });
  }
  state.isRunning = false;
  if (state.updatingLocation.isOn()) {
    state.updatingLocation.end([&] { locationManager->stopUpdatingLocation(); });
  }
  return true;
}

bool BVManager::isScanning() const { return detectionState().isRunning; }

std::shared_ptr<platform::CLBeaconRegion> BVManager::getRegion() const {
  return detectionState().region;
}

void BVManager::locationManager_didDetermineState_forRegion(
    platform::CLLocationManager& /*manager*/, std::int64_t state,
    const platform::CLBeaconRegion& /*region*/) {
  logLine("DETERMINATE STATE!");
  Activity& ranging = detectionState().ranging;
  const auto start = [this] { locationManager()->startRangingBeaconsInRegion(getRegion()); };
  const auto stop = [this] { locationManager()->stopRangingBeaconsInRegion(*getRegion()); };
  switch (state) {
    case platform::kCLRegionStateInside:
      logLine("INSIDE");
      ranging.begin(start, stop);
      break;
    case platform::kCLRegionStateOutside:
      ranging.end(stop);
      logLine("OUTSIDE");
      break;
    case platform::kCLRegionStateUnknown:
      logLine("UNKNOWN");
      break;
    default:
      break;
  }
}

void BVManager::locationManager_didChangeAuthorizationStatus(
    platform::CLLocationManager& /*manager*/, std::int32_t /*status*/) {
  logLine("AUTHORIZATION!");
  if (!platform::services().location->locationServicesEnabled()) {
    logLine("Couldn't turn on ranging: Location services are not enabled.");
    return;
  }
  if (!isAuthorizedAlways()) {
    logLine("Couldn't turn on monitoring: Location services not authorised.");
    return;
  }
  DetectionState& state = detectionState();
  if (state.hasToldReady || !state.hasSynced) return;
  const auto delegate = this->delegate();
  if (!delegate) return;
  logLine("Auth ok");
  state.hasToldReady = true;
  delegate->didIsReady();
}

void BVManager::locationManager_didEnterRegion(platform::CLLocationManager& /*manager*/,
                                               const platform::CLBeaconRegion& /*region*/) {
  logLine("REGION IN!");
}

void BVManager::locationManager_didExitRegion(platform::CLLocationManager& /*manager*/,
                                              const platform::CLBeaconRegion& /*region*/) {
  logLine("REGION OUT!");
}

// The next two log each other's text. Who evaluates the logs relies on that, so it stays.

void BVManager::locationManager_didFailWithError(platform::CLLocationManager& /*manager*/,
                                                 const std::string& error) {
  logLine("Failed monitoring region: ", error);
}

void BVManager::locationManager_monitoringDidFailForRegion_withError(
    platform::CLLocationManager& /*manager*/, const platform::CLBeaconRegion& /*region*/,
    const std::string& error) {
  logLine("Location manager failed: ", error);
}

void BVManager::locationManager_rangingBeaconsDidFailForRegion_withError(
    platform::CLLocationManager& /*manager*/, const platform::CLBeaconRegion& /*region*/,
    const std::string& error) {
  logLine("Ranging beacons failed: ", error);
}

// Beacons

void BVManager::locationManager_didRangeBeacons_inRegion(
    platform::CLLocationManager& /*manager*/, const std::vector<platform::CLBeacon>& beacons,
    const platform::CLBeaconRegion& /*region*/) {
  logLine("Ranging beacons ok");
  for (const platform::CLBeacon& beacon : beacons) rangeBeacon(beacon);
}

void BVManager::rangeBeacon(const platform::CLBeacon& beacon) {
  logLine("-> Major: ", std::int64_t{beacon.major}, " - Minor: ", std::int64_t{beacon.minor});
  // A beacon of which only one is unset goes on: the client sends nothing for it, but each report
  // uses up one of its tries.
  if (beacon.major == kUnsetIdentifier && beacon.minor == kUnsetIdentifier) return;
  if (!detectionState().hasSynced) return;
  const std::string key = keyOf(beacon);
  if (const auto record = detectionState().cache.find(key)) {
    logLine("Cache hit");
    logLine("Received resolve!!!");  // the log tells a match from the cache as any other
    tellMatch(record);
  } else {
    logLine("Cache miss, goes to API");
    askForBeacon(key, beacon);
  }
}

void BVManager::askForBeacon(const std::string& key, const platform::CLBeacon& beacon) {
  if (!detectionState().cache.countTry(key)) {
    logLine("Max num tries achivied");
    return;
  }
  detectionState().api.get()->resolve_withMajor_withMinor_withRSSI_withBattery(
      beacon.proximityUUID.UUIDString(), beacon.major, beacon.minor, beacon.rssi, kUnknownBattery);
}

void BVManager::receivedResolve_forRequest(
    const std::shared_ptr<const BVAPIResolve>& resolve,
    const std::shared_ptr<const BVAPIResolveRequest>& request) {
  logLine("Received resolve!!!");
  // A reply to a position comes without a request: it belongs to no beacon.
  if (resolve && request) {
    const std::string key = BVUtil::getHash_andMajor_andMinor(orNull(request->uuid()),
                                                              request->major(), request->minor());
    detectionState().cache.store(key, resolve);
  }
  tellMatch(resolve);
}

void BVManager::tellMatch(const std::shared_ptr<const BVAPIResolve>& match) {
  if (const auto delegate = this->delegate()) delegate->didBVMatch(match);
}

// Positions, places and payloads

void BVManager::locationManager_didUpdateLocations(
    platform::CLLocationManager& /*manager*/, const std::vector<platform::CLLocation>& locations) {
  if (locations.empty()) {
    logLine("Location is null");
    return;
  }
  if (!detectionState().updatingLocation.isOn()) {
    logLine("Location update while not running");
    return;
  }
  if (!detectionState().hasToldReady) {
    logLine("API not ready");
    return;
  }
  const platform::CLLocation& newest = locations.back();
  detectionState().api.get()->resolveWithLat_withLng_withAccuracy(
      newest.coordinate.latitude, newest.coordinate.longitude, newest.horizontalAccuracy);
}

bool BVManager::getNearestAtLat_andLng_insideRadius(double lat, double lng, std::int64_t radius) {
  const auto api = readyAPI();
  if (api) api->getNearestForLat_withLng_insideRadius(lat, lng, radius);
  return api != nullptr;
}

void BVManager::receivedNearest(const std::shared_ptr<const BVAPINearest>& nearest) {
  const auto& places = nearest->beacons();
  logLine("Received nearest: ", static_cast<std::int64_t>(places ? places->size() : 0));
  if (const auto delegate = this->delegate()) delegate->didNearestWaybeacons(places);
}

bool BVManager::setPayload_forWaybeacon(const platform::JSONValue& /*payload*/,
                                        const std::shared_ptr<const BVWaybeacon>& /*waybeacon*/) {
  return readyAPI() != nullptr;
}

void BVManager::receivedPayload(const std::shared_ptr<const BVAPIPayload>& /*payload*/) {}
