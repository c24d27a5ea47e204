// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "BrivaneSDK/BVAPIResolve.h"
#include "BrivaneSDK/BVError.h"
#include "BrivaneSDK/BVLocal.h"
#include "BrivaneSDK/BVManager.h"
#include "BrivaneSDK/BVManagerDelegate.h"
#include "BrivaneSDK/BVWaybeacon.h"
#include "BrivaneSDK/BVWaybeaconDistance.h"
#include "bindings/c/Failure.h"
#include "bindings/c/brivane.h"
#include "platform/JSONValue.h"
#include "platform/Services.h"

using brivane::internal::guarded;
using brivane::internal::quietly;

struct brivane_manager {
  std::shared_ptr<BVManager> manager;
};

namespace brivane::internal {
namespace {

const char* orNull(const std::optional<std::string>& text) {
  return text ? text->c_str() : nullptr;
}

/// A payload as JSON; absent where there is none.
std::optional<std::string> payloadText(const platform::JSONValue& payload) {
  if (payload.isNull()) return std::nullopt;
  const auto written = platform::services().json->write(payload);
  const auto* text = std::get_if<std::string>(&written);
  return text != nullptr ? std::optional(*text) : std::nullopt;
}

brivane_place placeOf(const BVWaybeaconDistance& place) {
  const BVLocal& local = *place.local();
  return {
      .distance = place.distance(),
      .name = orNull(local.name()),
      .uuid = orNull(local.uuid()),
      .city = orNull(local.city()),
      .category = orNull(local.category()),
      .address = orNull(local.address()),
      .phone = orNull(local.phone()),
      .web = orNull(local.web()),
      .email = orNull(local.email()),
      .zip = local.zip(),
  };
}

/// The delegate that the host gave as a table of functions.
class HostDelegate final : public BVManagerDelegate {
 public:
  explicit HostDelegate(const brivane_delegate& table) : table_(table) {}
  ~HostDelegate() override {
    if (table_.release) table_.release(table_.user);
  }
  HostDelegate(const HostDelegate&) = delete;
  HostDelegate& operator=(const HostDelegate&) = delete;

  void didIsReady() override {
    if (table_.did_is_ready) table_.did_is_ready(table_.user);
  }

  void didErrorFound(const std::shared_ptr<const BVError>& error) override {
    if (!table_.did_error_found) return;
    table_.did_error_found(table_.user, error->errorCode(), orNull(error->errorString()));
  }

  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override {
    if (!table_.did_bv_match || !match) return;
    const BVWaybeacon& beacon = *match->waybeacon();
    const auto payload = payloadText(beacon.payload());
    const brivane_match plain = {
        .waybeacon = {.uuid = orNull(beacon.uuid()),
                      .name = orNull(beacon.name()),
                      .location = orNull(beacon.location()),
                      .accesibility = orNull(beacon.accesibility()),
                      .url = orNull(beacon.url()),
                      .payload = orNull(payload),
                      .latitude = beacon.latitude(),
                      .longitude = beacon.longitude()},
        .rssi = match->rssi(),
        .proximity = orNull(match->proximity()),
        .uuid = orNull(match->uuid()),
    };
    table_.did_bv_match(table_.user, &plain);
  }

  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>& list) override {
    if (!table_.did_nearest_waybeacons) return;
    std::vector<brivane_place> places;
    if (list) {
      for (const auto& each : *list) places.push_back(placeOf(*each));
    }
    table_.did_nearest_waybeacons(table_.user, places.empty() ? nullptr : places.data(),
                                  places.size());
  }

 private:
  const brivane_delegate table_;
};

std::shared_ptr<BVManagerDelegate> hostDelegate(const brivane_delegate* table) {
  return table != nullptr ? std::make_shared<HostDelegate>(*table) : nullptr;
}

}  // namespace
}  // namespace brivane::internal

using brivane::internal::hostDelegate;

brivane_manager* brivane_manager_create(const brivane_delegate* delegate, const char* key,
                                        const char* secret, brivane_failure* failure) {
  brivane_manager* made = nullptr;
  guarded(failure, [&] {
    auto host = hostDelegate(delegate);
    if ((key == nullptr) != (secret == nullptr)) {
      throw std::invalid_argument("a key needs a secret, and a secret a key");
    }
    static_cast<void>(platform::services());  // says what is missing
    auto handle = std::make_unique<brivane_manager>();
    handle->manager = key == nullptr
                          ? BVManager::initWithDelegate(host)
                          : BVManager::initWithDelegate_andAPIKey_andAPISecret(host, key, secret);
    made = handle.release();
  });
  return made;
}

void brivane_manager_destroy(brivane_manager* manager) {
  const std::unique_ptr<brivane_manager> owned(manager);
}

void brivane_manager_set_delegate(brivane_manager* manager, const brivane_delegate* delegate) {
  quietly([&] { manager->manager->setDelegate(hostDelegate(delegate)); });
}

bool brivane_manager_enabled_gps(const brivane_manager* manager) {
  return manager->manager->enabledGPS();
}

void brivane_manager_set_enabled_gps(brivane_manager* manager, bool value) {
  manager->manager->setEnabledGPS(value);
}

bool brivane_manager_start_detection(brivane_manager* manager) {
  return quietly([manager = manager->manager] { return manager->startDetection(); });
}

bool brivane_manager_stop_detection(brivane_manager* manager) {
  return quietly([manager = manager->manager] { return manager->stopDetection(); });
}

bool brivane_manager_is_scanning(const brivane_manager* manager) {
  return manager->manager->isScanning();
}

bool brivane_manager_get_nearest(brivane_manager* manager, double latitude, double longitude,
                                 int64_t radius) {
  return quietly([&] {
    return manager->manager->getNearestAtLat_andLng_insideRadius(latitude, longitude, radius);
  });
}

bool brivane_manager_set_payload(brivane_manager* manager, const char* /*payload*/,
                                 const char* /*waybeacon_uuid*/) {
  return quietly([&] { return manager->manager->setPayload_forWaybeacon({}, nullptr); });
}
