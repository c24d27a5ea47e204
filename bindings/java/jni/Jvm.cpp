// SPDX-License-Identifier: Apache-2.0
#include "bindings/java/jni/Jvm.h"

#include <array>
#include <cstring>

namespace brivane::internal {
namespace {

struct Method {
  const char* name;
  const char* signature;
};

#define OURS "Lorg/brivane/"
// In the order of Upcall. What gives a number gives a long.
constexpr std::array<Method, static_cast<std::size_t>(Upcall::kCount)> kMethods = {{
    {"raise", "(I[B)V"},
    {"report", "(Ljava/lang/Throwable;)V"},
    {"execute", "(" OURS "HTTPClient;[[B[BJ)V"},
    {"preference", "(" OURS "Preferences;[B)[B"},
    {"setPreference", "(" OURS "Preferences;[B[B)V"},
    {"synchronize", "(" OURS "Preferences;)J"},
    {"property", "(" OURS "PropertyList;[B)[B"},
    {"log", "(" OURS "Log;[B)V"},
    {"didIsReady", "(" OURS "BVManager$Link;)V"},
    {"didErrorFound", "(" OURS "BVManager$Link;I[B)V"},
    {"didBVMatch", "(" OURS "BVManager$Link;[[BDDJ)V"},
    {"didNearestWaybeacons", "(" OURS "BVManager$Link;[[B[D[J)V"},
    {"authorization", "(" OURS "LocationService;)J"},
    {"servicesEnabled", "(" OURS "LocationService;)J"},
    {"createLocationManager", "(" OURS "LocationService;J)" OURS "LocationManager;"},
    {"operate", "(" OURS "LocationManager;ID)V"},
    {"close", "(" OURS "LocationManager;)V"},
    {"wake", "(" OURS "LiveLocation$Host;)V"},
    {"now", "(" OURS "LiveLocation$Host;)J"},
    {"slept", "(" OURS "LiveLocation$Host;)J"},
    {"listen", "(" OURS "LiveLocation$Host;[[BZ)V"},
    {"stopListening", "(" OURS "LiveLocation$Host;)V"},
    {"startPositions", "(" OURS "LiveLocation$Host;D)V"},
    {"stopPositions", "(" OURS "LiveLocation$Host;)V"},
    {"radioChanged", "(" OURS "LiveLocation$Host;ZI[B)V"},
    {"permissionChanged", "(" OURS "LiveLocation$Host;IZ[B)V"},
    {"noPositions", "(" OURS "LiveLocation$Host;[B)V"},
}};
#undef OURS

JavaVM* theMachine = nullptr;
jclass theBridge = nullptr;
std::array<jmethodID, kMethods.size()> theMethods;

/// A thread of the library's own, to Java.
class Attachment {
 public:
  Attachment() {
    void* made = nullptr;
    theMachine->AttachCurrentThreadAsDaemon(&made, nullptr);
    env = static_cast<JNIEnv*>(made);
  }
  ~Attachment() { theMachine->DetachCurrentThread(); }
  Attachment(const Attachment&) = delete;
  Attachment& operator=(const Attachment&) = delete;

  JNIEnv* env = nullptr;
};

constexpr jint kLocalReferences = 16;

}  // namespace

bool findBridge(JavaVM* vm, JNIEnv* env) {
  theMachine = vm;
  auto* const found = env->FindClass("org/brivane/Bridge");
  if (found == nullptr) return false;
  theBridge = static_cast<jclass>(env->NewGlobalRef(found));
  env->DeleteLocalRef(found);
  for (std::size_t i = 0; i < kMethods.size(); ++i) {
    theMethods[i] = env->GetStaticMethodID(theBridge, kMethods[i].name, kMethods[i].signature);
    if (theMethods[i] == nullptr) return false;
  }
  return true;
}

jclass bridge() { return theBridge; }

jmethodID methodOf(Upcall upcall) { return theMethods[static_cast<std::size_t>(upcall)]; }

JNIEnv* environment() {
  void* known = nullptr;
  if (theMachine->GetEnv(&known, JNI_VERSION_1_6) == JNI_OK) return static_cast<JNIEnv*>(known);
  thread_local const Attachment attachment;
  return attachment.env;
}

Frame::Frame() : env(environment()) { env->PushLocalFrame(kLocalReferences); }

Frame::~Frame() {
  if (auto* const fault = env->ExceptionOccurred()) {
    env->ExceptionClear();
    call(Upcall::kReport, fault);
    env->ExceptionClear();  // the log failed too
  }
  env->PopLocalFrame(nullptr);
}

jbyteArray bytesOf(JNIEnv* env, const char* text, std::size_t length) {
  const auto size = static_cast<jsize>(length);
  auto* const made = env->NewByteArray(size);
  if (made != nullptr) {
    env->SetByteArrayRegion(made, 0, size, reinterpret_cast<const jbyte*>(text));
  }
  return made;
}

jbyteArray bytesOf(JNIEnv* env, const char* text) {
  return text == nullptr ? nullptr : bytesOf(env, text, std::strlen(text));
}

jobjectArray textsOf(JNIEnv* env, const char* const* texts, std::size_t count) {
  auto* const type = env->FindClass("[B");
  auto* const made = env->NewObjectArray(static_cast<jsize>(count), type, nullptr);
  env->DeleteLocalRef(type);
  for (std::size_t i = 0; made != nullptr && i < count; ++i) {
    auto* const text = bytesOf(env, texts[i]);
    if (env->ExceptionCheck()) break;
    env->SetObjectArrayElement(made, static_cast<jsize>(i), text);
    env->DeleteLocalRef(text);
  }
  return made;
}

Bytes::Bytes(JNIEnv* env, jobject array) : isNull(array == nullptr) {
  if (isNull) return;
  auto* const bytes = static_cast<jbyteArray>(array);
  content.resize(static_cast<std::size_t>(env->GetArrayLength(bytes)));
  env->GetByteArrayRegion(bytes, 0, static_cast<jsize>(content.size()),
                          reinterpret_cast<jbyte*>(content.data()));
}

}  // namespace brivane::internal
