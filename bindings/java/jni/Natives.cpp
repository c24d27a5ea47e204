// SPDX-License-Identifier: Apache-2.0

// The native methods of the class Bridge.

#include <jni.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "bindings/c/brivane.h"
#include "bindings/java/jni/Jvm.h"
#include "bindings/java/jni/Tables.h"

namespace {

using namespace brivane::internal;

template <typename Type>
Type* handle(jlong value) {
  return reinterpret_cast<Type*>(value);  // NOLINT(performance-no-int-to-ptr): Java has no pointers
}

void raise(JNIEnv* env, const brivane_failure& failure) {
  env->CallStaticVoidMethod(bridge(), methodOf(Upcall::kRaise), static_cast<jint>(failure.status),
                            bytesOf(env, static_cast<const char*>(failure.text)));
}

jbyteArray info(JNIEnv* env, jclass, jint which) {
  std::array<char, 37> identifier{};
  switch (which) {
    case 0:
      return bytesOf(env, brivane_version());
    case 1:
      return bytesOf(env, brivane_api_host());
    case 2:
      return bytesOf(env, brivane_proximity_uuid());
    default:
      return brivane_installation_id(identifier.data()) ? bytesOf(env, identifier.data()) : nullptr;
  }
}

void install(JNIEnv* env, jclass, jobject http, jobject preferences, jobject propertyList,
             jobject location, jlong live, jobject log, jbyteArray deviceModel) {
  const std::array<jobject, 5> given = {http, preferences, propertyList, location, log};
  std::array<jobject, 5> held{};
  for (std::size_t i = 0; i < given.size(); ++i) held[i] = env->NewGlobalRef(given[i]);
  const auto [httpHeld, preferencesHeld, propertyListHeld, locationHeld, logHeld] = held;
  const auto theHTTP = httpOf(httpHeld);
  const auto thePreferences = preferencesOf(preferencesHeld);
  const auto thePropertyList = propertyListOf(propertyListHeld);
  const auto theLocation = locationOf(locationHeld);
  const auto theLog = logOf(logHeld);
  const Bytes model(env, deviceModel);
  const brivane_services services = {
      .http = http != nullptr ? &theHTTP : nullptr,
      .preferences = preferences != nullptr ? &thePreferences : nullptr,
      .property_list = propertyList != nullptr ? &thePropertyList : nullptr,
      .location = location != nullptr ? &theLocation : nullptr,
      .live = handle<brivane_live>(live),
      .log = log != nullptr ? &theLog : nullptr,
      .device_model = model.text(),
      .json = nullptr,
      .adapters = nullptr,
  };
  brivane_failure failure;
  if (brivane_install(&services, &failure) == BRIVANE_OK) return;
  for (jobject each : held) env->DeleteGlobalRef(each);
  raise(env, failure);
}

void complete(JNIEnv* env, jclass, jlong completion, jint status, jbyteArray body) {
  const Bytes content(env, body);
  auto* const waiting = handle<brivane_completion>(completion);
  if (content.isNull) {
    brivane_complete_failed(waiting);
  } else {
    brivane_complete(waiting, status, content.content.data(), content.content.size());
  }
}

jlong createManager(JNIEnv* env, jclass, jobject link, jbyteArray key, jbyteArray secret) {
  const auto delegate = delegateOf(env->NewGlobalRef(link));
  brivane_failure failure;
  auto* const made = brivane_manager_create(&delegate, Bytes(env, key).text(),
                                            Bytes(env, secret).text(), &failure);
  if (made == nullptr) raise(env, failure);
  return reinterpret_cast<jlong>(made);
}

void destroyManager(JNIEnv*, jclass, jlong manager) {
  brivane_manager_destroy(handle<brivane_manager>(manager));
}

jboolean operate(JNIEnv*, jclass, jlong manager, jint operation) {
  auto* const of = handle<brivane_manager>(manager);
  switch (operation) {
    case 0:
      return brivane_manager_start_detection(of);
    case 1:
      return brivane_manager_stop_detection(of);
    case 2:
      return brivane_manager_is_scanning(of);
    case 3:
      return brivane_manager_enabled_gps(of);
    case 4:
    case 5:
      brivane_manager_set_enabled_gps(of, operation == 4);
      return JNI_TRUE;
    default:
      return brivane_manager_set_payload(of, nullptr, nullptr);
  }
}

jboolean getNearest(JNIEnv*, jclass, jlong manager, jdouble latitude, jdouble longitude,
                    jlong radius) {
  return brivane_manager_get_nearest(handle<brivane_manager>(manager), latitude, longitude, radius);
}

void report(JNIEnv* env, jclass, jlong to, jint kind, jint value, jdouble latitude,
            jdouble longitude, jdouble accuracy, jbyteArray text) {
  auto* const reports = handle<brivane_reports>(to);
  switch (kind) {
    case 0:
      return brivane_report_authorization(reports);
    case 1:
      return brivane_report_crossing(reports, value != 0);
    case 2:
      return brivane_report_state(reports, static_cast<brivane_region_state>(value));
    case 3:
      return brivane_report_position(reports, latitude, longitude, accuracy);
    default:
      return brivane_report_failure(reports, Bytes(env, text).text());
  }
}

void reportBeacons(JNIEnv* env, jclass, jlong reports, jintArray numbers, jdoubleArray accuracies) {
  const jsize count = env->GetArrayLength(accuracies);
  std::vector<brivane_beacon> beacons(static_cast<std::size_t>(count));
  for (jsize i = 0; i < count; ++i) {
    brivane_beacon& each = beacons[static_cast<std::size_t>(i)];
    std::array<jint, 4> four{};
    env->GetIntArrayRegion(numbers, 4 * i, 4, four.data());
    env->GetDoubleArrayRegion(accuracies, i, 1, &each.accuracy);
    each.major = four[0];
    each.minor = four[1];
    each.proximity = four[2];
    each.rssi = four[3];
  }
  brivane_report_beacons(handle<brivane_reports>(reports), beacons.data(), beacons.size());
}

void destroyReports(JNIEnv*, jclass, jlong reports) {
  brivane_reports_destroy(handle<brivane_reports>(reports));
}

jlong createLive(JNIEnv* env, jclass, jobject host, jboolean positions) {
  void* const held = env->NewGlobalRef(host);
  const auto table = liveHostOf(held, positions == JNI_TRUE);
  const auto observer = observerOf(held);
  brivane_failure failure;
  auto* const made = brivane_live_create(&table, &observer, &failure);
  if (made == nullptr) {
    env->DeleteGlobalRef(static_cast<jobject>(held));
    raise(env, failure);
  }
  return reinterpret_cast<jlong>(made);
}

jlong runLive(JNIEnv*, jclass, jlong live) { return brivane_live_run(handle<brivane_live>(live)); }

void hear(JNIEnv* env, jclass, jlong live, jint company, jbyteArray data, jint rssi, jlong time) {
  const Bytes bytes(env, data);
  const brivane_frame frame = {
      .company = static_cast<std::uint16_t>(company),
      .data = reinterpret_cast<const std::uint8_t*>(bytes.content.data()),
      .length = bytes.content.size(),
      .rssi = rssi,
      .time = time,
  };
  brivane_live_hear(handle<brivane_live>(live), &frame);
}

void locate(JNIEnv*, jclass, jlong live, jdouble latitude, jdouble longitude, jdouble accuracy) {
  brivane_live_locate(handle<brivane_live>(live), latitude, longitude, accuracy);
}

void setRadio(JNIEnv* env, jclass, jlong live, jboolean listening, jint consent, jint fault,
              jbyteArray text) {
  brivane_live_set_radio(handle<brivane_live>(live), listening == JNI_TRUE,
                         static_cast<brivane_consent>(consent),
                         static_cast<brivane_radio_fault>(fault), Bytes(env, text).text());
}

void setPositions(JNIEnv* env, jclass, jlong live, jint consent, jbyteArray reason) {
  brivane_live_set_positions(handle<brivane_live>(live), static_cast<brivane_consent>(consent),
                             Bytes(env, reason).text());
}

template <typename Function>
JNINativeMethod native(const char* name, const char* signature, Function* function) {
  return {const_cast<char*>(name), const_cast<char*>(signature), reinterpret_cast<void*>(function)};
}

}  // namespace

extern "C" JNIEXPORT jint JNI_OnLoad(JavaVM* vm, void* /*reserved*/) {
  JNIEnv* env = nullptr;
  if (vm->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_6) != JNI_OK ||
      !findBridge(vm, env)) {
    return JNI_ERR;
  }
  const JNINativeMethod methods[] = {
      native("info", "(I)[B", info),
      native("install",
             "(Lorg/brivane/HTTPClient;Lorg/brivane/Preferences;Lorg/brivane/PropertyList;"
             "Lorg/brivane/LocationService;JLorg/brivane/Log;[B)V",
             install),
      native("complete", "(JI[B)V", complete),
      native("createManager", "(Lorg/brivane/BVManager$Link;[B[B)J", createManager),
      native("destroyManager", "(J)V", destroyManager),
      native("operate", "(JI)Z", operate),
      native("getNearest", "(JDDJ)Z", getNearest),
      native("report", "(JIIDDD[B)V", report),
      native("reportBeacons", "(J[I[D)V", reportBeacons),
      native("destroyReports", "(J)V", destroyReports),
      native("createLive", "(Lorg/brivane/LiveLocation$Host;Z)J", createLive),
      native("runLive", "(J)J", runLive),
      native("hear", "(JI[BIJ)V", hear),
      native("locate", "(JDDD)V", locate),
      native("setRadio", "(JZII[B)V", setRadio),
      native("setPositions", "(JI[B)V", setPositions),
  };
  const auto count = static_cast<jint>(std::size(methods));
  return env->RegisterNatives(bridge(), methods, count) == JNI_OK ? JNI_VERSION_1_6 : JNI_ERR;
}
