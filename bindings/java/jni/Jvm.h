// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <jni.h>

#include <cstddef>
#include <initializer_list>
#include <string>

namespace brivane::internal {

/// What the class Bridge is asked to do, each by the static method of that name.
enum class Upcall : std::size_t {
  kRaise,
  kReport,
  kExecute,
  kPreference,
  kSetPreference,
  kSynchronize,
  kProperty,
  kLog,
  kDidIsReady,
  kDidErrorFound,
  kDidBVMatch,
  kDidNearestWaybeacons,
  kAuthorization,
  kServicesEnabled,
  kCreateLocationManager,
  kOperate,
  kClose,
  kWake,
  kNow,
  kSlept,
  kListen,
  kStopListening,
  kStartPositions,
  kStopPositions,
  kRadioChanged,
  kPermissionChanged,
  kNoPositions,
  kCount,
};

/// Finds the class and its methods; false, with an exception pending, when one is missing.
bool findBridge(JavaVM* vm, JNIEnv* env);
jclass bridge();
jmethodID methodOf(Upcall upcall);

/// The calling thread's environment. A thread that is not Java's becomes one that the virtual
/// machine does not wait for, until it ends.
JNIEnv* environment();

/// One call into Java: local references made meanwhile go with it, and so does an exception, with a
/// line in the log. Calls nest.
class Frame {
 public:
  Frame();
  ~Frame();
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  template <typename... Arguments>
  void call(Upcall upcall, Arguments... arguments) const {
    env->CallStaticVoidMethod(bridge(), methodOf(upcall), arguments...);
  }
  template <typename... Arguments>
  jobject object(Upcall upcall, Arguments... arguments) const {
    return env->CallStaticObjectMethod(bridge(), methodOf(upcall), arguments...);
  }
  /// 0 when an exception left it.
  template <typename... Arguments>
  jlong number(Upcall upcall, Arguments... arguments) const {
    return env->CallStaticLongMethod(bridge(), methodOf(upcall), arguments...);
  }

  JNIEnv* const env;
};

/// The bytes of a text, or null for none.
jbyteArray bytesOf(JNIEnv* env, const char* text);
jbyteArray bytesOf(JNIEnv* env, const char* text, std::size_t length);
/// The bytes of many texts, each of which may be null.
jobjectArray textsOf(JNIEnv* env, const char* const* texts, std::size_t count);
inline jobjectArray textsOf(JNIEnv* env, std::initializer_list<const char*> texts) {
  return textsOf(env, texts.begin(), texts.size());
}

/// What an array from Java holds; with nothing for null, and then `isNull`.
struct Bytes {
  Bytes(JNIEnv* env, jobject array);

  /// As a text, or null.
  const char* text() const { return isNull ? nullptr : content.c_str(); }

  std::string content;
  bool isNull;
};

}  // namespace brivane::internal
