// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// What Clang is told about locks (-Wthread-safety); nothing to other compilers.
#ifdef __clang__
#  define BRIVANE_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#  define BRIVANE_THREAD_ATTRIBUTE(attribute)
#endif
/// On a class: its objects are locks.
#define BRIVANE_CAPABILITY(name) BRIVANE_THREAD_ATTRIBUTE(capability(name))
/// On a class: its objects hold a lock while they live.
#define BRIVANE_SCOPED_CAPABILITY BRIVANE_THREAD_ATTRIBUTE(scoped_lockable)
/// On a member: touched only while the lock is held.
#define BRIVANE_GUARDED_BY(mutex) BRIVANE_THREAD_ATTRIBUTE(guarded_by(mutex))
/// On a function: called only while the locks are held.
#define BRIVANE_REQUIRES(...) BRIVANE_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
/// On a function: never called while the locks are held.
#define BRIVANE_EXCLUDES(...) BRIVANE_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
/// On a function: takes the locks; without an argument, the lock that the object is or holds.
#define BRIVANE_ACQUIRE(...) BRIVANE_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
/// On a function: gives the locks back; without an argument, the lock that the object is or holds.
#define BRIVANE_RELEASE(...) BRIVANE_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))

namespace platform {

/// A std::mutex that Clang knows to be one. Locked through MutexLock.
class BRIVANE_CAPABILITY("mutex") Mutex {
 private:
  friend class MutexLock;

  std::mutex mutex_;
};

/// Holds a mutex while it lives, except between `unlock` and `lock`.
///
/// A condition is awaited in a loop, `while (!done_) lock.wait(changed_);`, because the body of a
/// lambda is not known to run under the lock.
class BRIVANE_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) BRIVANE_ACQUIRE(mutex) : lock_(mutex.mutex_) {}
  ~MutexLock() BRIVANE_RELEASE() = default;
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void lock() BRIVANE_ACQUIRE() { lock_.lock(); }
  void unlock() BRIVANE_RELEASE() { lock_.unlock(); }

  /// Gives the mutex back until `changed` is notified, or for no reason, and takes it again.
  void wait(std::condition_variable& changed) { changed.wait(lock_); }
  /// Like `wait`, and no longer than until `time`.
  void waitUntil(std::condition_variable& changed, std::chrono::steady_clock::time_point time) {
    changed.wait_until(lock_, time);
  }

 private:
  std::unique_lock<std::mutex> lock_;
};

}  // namespace platform
