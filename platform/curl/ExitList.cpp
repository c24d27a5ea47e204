// SPDX-License-Identifier: Apache-2.0
#include "platform/curl/ExitList.h"

#include <curl/curl.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <stdexcept>
#include <utility>

namespace platform {

ExitList& ExitList::get() {
  static auto& only = *new ExitList;
  return only;
}

ExitList::ExitList() : process_(getpid()) {
  if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
    throw std::runtime_error("libcurl cannot be initialised");
  }
  // Registered after the TLS library has registered its own clean-up, so run before that.
  if (std::atexit([] { get().stopAll(); }) != 0) throw std::bad_alloc();
}

void ExitList::add(const void* owner, std::function<void()> stop) {
  const MutexLock lock(mutex_);
  stops_.emplace(owner, std::move(stop));
}

void ExitList::remove(const void* owner) {
  const MutexLock lock(mutex_);
  stops_.erase(owner);
}

void ExitList::stopAll() {
  // A child of the host's has none of the threads that would be stopped, and locks as they were.
  if (getpid() != process_) return;
  const MutexLock lock(mutex_);
  for (const auto& [owner, stop] : stops_) stop();
}

}  // namespace platform
