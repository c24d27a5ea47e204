#pragma once

#include <mutex>
#include <utility>

/// A value, usually a reference, that several threads read and replace. Readers get a copy of their
/// own; the lock is held only for the copying, never while anything is called or destroyed.
template <typename T>
class Guarded {
 public:
  T get() const {
    const std::lock_guard lock(mutex_);
    return value_;
  }

  void set(T value) {
    const std::lock_guard lock(mutex_);
    std::swap(value_, value);
  }  // the old value goes with the argument, after the lock

 private:
  mutable std::mutex mutex_;
  T value_{};
};
