#include "platform/linux/PermissionBoard.h"

#include "platform/linux/LiveLocation.h"

namespace platform {

void PermissionBoard::add(const std::shared_ptr<LiveLocation>& live) {
  const std::lock_guard lock(mutex_);
  std::erase_if(lives_, [](const auto& each) { return each.expired(); });
  lives_.push_back(live);
}

LocationPermission PermissionBoard::get() const {
  const std::lock_guard lock(mutex_);
  return permission_;
}

Permission PermissionBoard::published() const {
  const std::lock_guard lock(mutex_);
  return published_;
}

void PermissionBoard::publish(const Permission& permission) {
  const std::lock_guard lock(mutex_);
  published_ = permission;
}

void PermissionBoard::wakeAll() {
  std::unique_lock lock(mutex_);
  const auto lives = lives_;
  lock.unlock();
  for (const auto& each : lives) {
    if (const auto live = each.lock()) live->wake();
  }
}

}  // namespace platform
