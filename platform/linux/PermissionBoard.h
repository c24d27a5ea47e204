#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "platform/linux/LocationPermission.h"

namespace platform {

class LiveLocation;

/// The permission that all managers of a process share, each on its own thread: what one learns,
/// the others are told.
class PermissionBoard {
 public:
  explicit PermissionBoard(bool withPositions) : permission_(withPositions) {}

  void add(const std::shared_ptr<LiveLocation>& live);

  /// Changes it with `change`, which takes a LocationPermission&, and wakes who has not seen that
  /// yet.
  template <typename Change>
  void update(Change change) {
    std::unique_lock lock(mutex_);
    const Permission before = permission_.current();
    change(permission_);
    const bool changed = permission_.current() != before;
    lock.unlock();
    if (changed) wakeAll();
  }

  LocationPermission get() const;

  /// What applications see; it follows behind, so that each change can be told before the next.
  Permission published() const;
  void publish(const Permission& permission);

 private:
  void wakeAll();

  mutable std::mutex mutex_;
  LocationPermission permission_;
  Permission published_;
  std::vector<std::weak_ptr<LiveLocation>> lives_;
};

}  // namespace platform
