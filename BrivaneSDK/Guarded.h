// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "platform/Mutex.h"

namespace brivane::internal {

/// A value, usually a reference, that several threads read and replace. Readers get a copy of their
/// own; the lock is held only for the copying, never while anything is called or destroyed.
template <typename T>
class Guarded {
 public:
  Guarded() = default;
  explicit Guarded(T value) : value_(std::move(value)) {}

  T get() const {
    const platform::MutexLock lock(mutex_);
    return value_;
  }

  void set(T value) {
    const platform::MutexLock lock(mutex_);
    std::swap(value_, value);
  }  // the old value goes with the argument, after the lock

 private:
  mutable platform::Mutex mutex_;
  T value_ BRIVANE_GUARDED_BY(mutex_){};
};

}  // namespace brivane::internal
