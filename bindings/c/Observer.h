// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bindings/c/Failure.h"
#include "bindings/c/brivane.h"
#include "platform/location/LiveLocationService.h"

namespace brivane::internal {

/// What a live location service tells to an observer, which may be null.
inline platform::LiveLocationService::Options observedBy(const brivane_observer* observer) {
  platform::LiveLocationService::Options options;
  if (observer == nullptr) return options;
  if (observer->on_radio) {
    options.onRadio = [to = *observer](const auto& status) {
      to.on_radio(to.user, status.listening, static_cast<brivane_radio_fault>(status.kind),
                  orNull(status.fault));
    };
  }
  if (observer->on_permission) {
    options.onPermission = [to = *observer](const auto& permission, const std::string& reason) {
      to.on_permission(to.user, static_cast<brivane_authorization>(permission.status),
                       permission.servicesEnabled, orNull(reason));
    };
  }
  if (observer->on_no_positions) {
    options.onNoPositions = [to = *observer](const std::string& reason) {
      to.on_no_positions(to.user, orNull(reason));
    };
  }
  return options;
}

}  // namespace brivane::internal
