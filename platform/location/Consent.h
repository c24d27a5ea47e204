// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Mutex.h"
#include "platform/location/Permission.h"
#include "platform/location/PositionSource.h"

namespace platform {

/// The user's consent, put together from what the radio and the source of positions grant. One for
/// all managers of a location service, whatever threads they are on. Any thread.
class Consent {
 public:
  class Listener {
   public:
    virtual ~Listener() = default;
    /// `current` has changed. On the thread of the change.
    virtual void consentChanged() = 0;
  };

  /// Whether positions can be asked for at all; otherwise they are left out.
  explicit Consent(bool withPositions) : withPositions_(withPositions) {}

  /// Tells `listener` of changes as long as it lives.
  void add(std::weak_ptr<Listener> listener);

  /// The application has asked for permanent authorisation.
  void ask();
  /// `reason` is one line for a person, if it is refused.
  void setRadioRefused(bool refused, const std::string& reason);
  /// `reason` is one line for a person, empty when they are granted.
  void setPositions(PositionGrant grant, const std::string& reason);

  bool isRadioKnown() const;
  bool arePositionsGranted() const;

  /// What is granted now.
  Permission current() const;
  /// Why something is not, one line for a person; empty when all is.
  std::string reason() const;

  /// What applications see. It follows behind `current`, so that each change can be told before the
  /// next.
  Permission published() const;
  void publish(const Permission& permission);

 private:
  struct Grants {
    bool asked = false;
    std::optional<bool> radioRefused;
    std::string noRadio;
    PositionGrant positions = PositionGrant::kPending;
    std::string noPositions;
  };

  /// Changes the grants, and tells the listeners if that changed `current`.
  template <typename Change>
  void change(Change change);
  Permission combined(const Grants& grants) const;
  CLAuthorizationStatus status(const Grants& grants) const;

  const bool withPositions_;
  mutable Mutex mutex_;
  Grants grants_ BRIVANE_GUARDED_BY(mutex_);
  Permission published_ BRIVANE_GUARDED_BY(mutex_);
  std::vector<std::weak_ptr<Listener>> listeners_ BRIVANE_GUARDED_BY(mutex_);
};

}  // namespace platform
