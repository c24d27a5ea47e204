#include "platform/location/Consent.h"

#include <utility>

namespace platform {

void Consent::add(std::weak_ptr<Listener> listener) {
  const MutexLock lock(mutex_);
  std::erase_if(listeners_, [](const auto& each) { return each.expired(); });
  listeners_.push_back(std::move(listener));
}

void Consent::ask() {
  change([](Grants& grants) { grants.asked = true; });
}

void Consent::setRadioRefused(bool refused) {
  change([refused](Grants& grants) { grants.radioRefused = refused; });
}

void Consent::setPositions(PositionGrant grant) {
  // A question that is open takes nothing back that was granted or refused before.
  if (grant == PositionGrant::kPending) return;
  change([grant](Grants& grants) { grants.positions = grant; });
}

bool Consent::isRadioKnown() const {
  const MutexLock lock(mutex_);
  return grants_.radioRefused.has_value();
}

bool Consent::arePositionsGranted() const {
  const MutexLock lock(mutex_);
  return grants_.positions == PositionGrant::kGranted;
}

Permission Consent::current() const {
  const MutexLock lock(mutex_);
  return combined(grants_);
}

Permission Consent::published() const {
  const MutexLock lock(mutex_);
  return published_;
}

void Consent::publish(const Permission& permission) {
  const MutexLock lock(mutex_);
  published_ = permission;
}

template <typename Change>
void Consent::change(Change change) {
  MutexLock lock(mutex_);
  const Permission before = combined(grants_);
  change(grants_);
  if (combined(grants_) == before) return;
  const auto listeners = listeners_;
  lock.unlock();
  for (const auto& each : listeners) {
    if (const auto listener = each.lock()) listener->consentChanged();
  }
}

Permission Consent::combined(const Grants& grants) const {
  return {.status = status(grants),
          .servicesEnabled = !withPositions_ || grants.positions != PositionGrant::kSwitchedOff};
}

CLAuthorizationStatus Consent::status(const Grants& grants) const {
  const bool isOpen = withPositions_ && grants.positions == PositionGrant::kPending;
  if (!grants.asked || !grants.radioRefused || isOpen) return kCLAuthorizationStatusNotDetermined;
  if (*grants.radioRefused || grants.positions == PositionGrant::kDenied) {
    return kCLAuthorizationStatusDenied;
  }
  if (grants.positions == PositionGrant::kRestricted) return kCLAuthorizationStatusRestricted;
  return kCLAuthorizationStatusAuthorizedAlways;
}

}  // namespace platform
