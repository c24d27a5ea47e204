// SPDX-License-Identifier: Apache-2.0
#include "bindings/java/jni/Tables.h"

#include <jni.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "bindings/java/jni/Jvm.h"

namespace brivane::internal {
namespace {

jobject object(void* user) { return static_cast<jobject>(user); }

void execute(void* user, const brivane_request* request, brivane_completion* completion) {
  const Frame java;
  std::vector<const char*> texts = {request->url, request->method};
  for (std::size_t i = 0; i < request->header_count; ++i) {
    texts.insert(texts.end(), {request->headers[i].name, request->headers[i].value});
  }
  auto* const all = textsOf(java.env, texts.data(), texts.size());
  auto* const body = all != nullptr && !java.env->ExceptionCheck()
                         ? bytesOf(java.env, request->body, request->body_length)
                         : nullptr;
  if (body == nullptr) {  // there is no memory
    brivane_complete_failed(completion);
    return;
  }
  java.call(Upcall::kExecute, object(user), all, body, reinterpret_cast<jlong>(completion));
}

template <Upcall upcall>
void get(void* user, const char* key, brivane_text* value) {
  const Frame java;
  auto* const found = java.object(upcall, object(user), bytesOf(java.env, key));
  if (!java.env->ExceptionCheck()) brivane_text_set(value, Bytes(java.env, found).text());
}

/// A function that gives nothing but itself.
template <Upcall upcall>
void tell(void* user) {
  const Frame java;
  java.call(upcall, object(user));
}

template <Upcall upcall>
std::int64_t ask(void* user) {
  const Frame java;
  return java.number(upcall, object(user));
}

void didErrorFound(void* user, int32_t code, const char* text) {
  const Frame java;
  java.call(Upcall::kDidErrorFound, object(user), jint{code}, bytesOf(java.env, text));
}

void didBVMatch(void* user, const brivane_match* match) {
  const Frame java;
  const brivane_waybeacon& of = match->waybeacon;
  java.call(Upcall::kDidBVMatch, object(user),
            textsOf(java.env, {of.uuid, of.name, of.location, of.accesibility, of.url, of.payload,
                               match->proximity, match->uuid}),
            of.latitude, of.longitude, jlong{match->rssi});
}

void didNearestWaybeacons(void* user, const brivane_place* places, size_t count) {
  const Frame java;
  std::vector<const char*> texts;
  std::vector<jdouble> distances;
  std::vector<jlong> zips;
  for (std::size_t i = 0; i < count; ++i) {
    const brivane_place& of = places[i];
    texts.insert(texts.end(),
                 {of.name, of.uuid, of.city, of.category, of.address, of.phone, of.web, of.email});
    distances.push_back(of.distance);
    zips.push_back(of.zip);
  }
  const auto size = static_cast<jsize>(count);
  auto* const someDistances = java.env->NewDoubleArray(size);
  auto* const someZips = java.env->NewLongArray(size);
  if (someDistances == nullptr || someZips == nullptr) return;
  java.env->SetDoubleArrayRegion(someDistances, 0, size, distances.data());
  java.env->SetLongArrayRegion(someZips, 0, size, zips.data());
  java.call(Upcall::kDidNearestWaybeacons, object(user),
            textsOf(java.env, texts.data(), texts.size()), someDistances, someZips);
}

void giveBack(void* user) { environment()->DeleteGlobalRef(object(user)); }

void* createLocationManager(void* user, brivane_reports* reports) {
  const Frame java;
  auto* const made =
      java.object(Upcall::kCreateLocationManager, object(user), reinterpret_cast<jlong>(reports));
  return java.env->ExceptionCheck() ? nullptr : java.env->NewGlobalRef(made);
}

void destroyLocationManager(void* /*user*/, void* manager) {
  if (manager == nullptr) return;
  tell<Upcall::kClose>(manager);
  giveBack(manager);
}

void operate(void* /*user*/, void* manager, brivane_operation operation, double metres) {
  const Frame java;
  if (manager != nullptr) {
    java.call(Upcall::kOperate, object(manager), static_cast<jint>(operation), metres);
  }
}

void listen(void* user, const brivane_wanted* wanted) {
  const Frame java;
  java.call(Upcall::kListen, object(user),
            textsOf(java.env, wanted->networks, wanted->network_count),
            static_cast<jboolean>(wanted->every_frame));
}

void startPositions(void* user, double accuracy) {
  const Frame java;
  java.call(Upcall::kStartPositions, object(user), accuracy);
}

void onRadio(void* user, bool listening, brivane_radio_fault fault, const char* text) {
  const Frame java;
  java.call(Upcall::kRadioChanged, object(user), static_cast<jboolean>(listening),
            static_cast<jint>(fault), bytesOf(java.env, text));
}

void onPermission(void* user, brivane_authorization status, bool enabled, const char* reason) {
  const Frame java;
  java.call(Upcall::kPermissionChanged, object(user), static_cast<jint>(status),
            static_cast<jboolean>(enabled), bytesOf(java.env, reason));
}

void onNoPositions(void* user, const char* reason) {
  const Frame java;
  java.call(Upcall::kNoPositions, object(user), bytesOf(java.env, reason));
}

}  // namespace

brivane_http httpOf(void* client) { return {.user = client, .execute = execute}; }

brivane_preferences preferencesOf(void* preferences) {
  return {.user = preferences,
          .get = get<Upcall::kPreference>,
          .set =
              [](void* user, const char* key, const char* value) {
                const Frame java;
                java.call(Upcall::kSetPreference, object(user), bytesOf(java.env, key),
                          bytesOf(java.env, value));
              },
          .synchronize = [](void* user) { return ask<Upcall::kSynchronize>(user) != 0; }};
}

brivane_property_list propertyListOf(void* list) {
  return {.user = list, .get = get<Upcall::kProperty>};
}

brivane_log logOf(void* log) {
  return {.user = log, .write = [](void* user, const char* line) {
            const Frame java;
            java.call(Upcall::kLog, object(user), bytesOf(java.env, line));
          }};
}

brivane_location locationOf(void* service) {
  return {.user = service,
          .authorization =
              [](void* user) {
                return static_cast<brivane_authorization>(ask<Upcall::kAuthorization>(user));
              },
          .services_enabled = [](void* user) { return ask<Upcall::kServicesEnabled>(user) != 0; },
          .create_manager = createLocationManager,
          .destroy_manager = destroyLocationManager,
          .operate = operate};
}

brivane_live_host liveHostOf(void* host, bool positions) {
  return {.user = host,
          .wake = tell<Upcall::kWake>,
          .now = ask<Upcall::kNow>,
          .slept = ask<Upcall::kSlept>,
          .listen = listen,
          .stop_listening = tell<Upcall::kStopListening>,
          .start_positions = positions ? startPositions : nullptr,
          .stop_positions = tell<Upcall::kStopPositions>};
}

brivane_observer observerOf(void* host) {
  return {.user = host,
          .on_radio = onRadio,
          .on_permission = onPermission,
          .on_no_positions = onNoPositions,
          .on_transfer = nullptr,
          .on_network = nullptr};
}

brivane_delegate delegateOf(void* link) {
  return {.user = link,
          .did_is_ready = tell<Upcall::kDidIsReady>,
          .did_error_found = didErrorFound,
          .did_bv_match = didBVMatch,
          .did_nearest_waybeacons = didNearestWaybeacons,
          .release = giveBack};
}

}  // namespace brivane::internal
