// SPDX-License-Identifier: Apache-2.0
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

void Consent::setRadioRefused(bool refused, const std::string& reason) {
  change([&](Grants& grants) {
    grants.radioRefused = refused;
    grants.noRadio = reason;
  });
}

void Consent::setPositions(PositionGrant grant, const std::string& reason) {
  // A question that is open takes nothing back that was granted or refused before.
  if (grant == PositionGrant::kPending) return;
  change([&](Grants& grants) {
    grants.positions = grant;
    grants.noPositions = reason;
  });
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

std::string Consent::reason() const {
  const MutexLock lock(mutex_);
  return grants_.radioRefused.value_or(false) ? grants_.noRadio : grants_.noPositions;
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
  // Beacons do not wait for the answer about positions.
  if (!grants.asked || !grants.radioRefused) return kCLAuthorizationStatusNotDetermined;
  if (*grants.radioRefused || grants.positions == PositionGrant::kDenied) {
    return kCLAuthorizationStatusDenied;
  }
  if (grants.positions == PositionGrant::kRestricted) return kCLAuthorizationStatusRestricted;
  return kCLAuthorizationStatusAuthorizedAlways;
}

}  // namespace platform
