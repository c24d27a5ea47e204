// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <functional>
#include <map>

#include "platform/Mutex.h"

namespace platform {

/// What is to be stopped when the process exits, before the TLS library tears itself down under it.
/// The one list of the process; libcurl is initialised when there is one.
class ExitList {
 public:
  /// Throws std::runtime_error when libcurl cannot be initialised.
  static ExitList& get();

  /// `stop` is called at exit unless `owner` is removed before.
  void add(const void* owner, std::function<void()> stop);
  /// Waits for a `stop` that is being called.
  void remove(const void* owner);

 private:
  ExitList();
  void stopAll();

  const pid_t process_;
  Mutex mutex_;
  std::map<const void*, std::function<void()>> stops_ BRIVANE_GUARDED_BY(mutex_);
};

}  // namespace platform
