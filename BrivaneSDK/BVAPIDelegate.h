// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "BrivaneSDK/BVAPILogin.h"
#include "BrivaneSDK/BVAPINearest.h"
#include "BrivaneSDK/BVAPIPayload.h"
#include "BrivaneSDK/BVAPIResolve.h"
#include "BrivaneSDK/BVAPIResolveRequest.h"
#include "BrivaneSDK/BVAPISync.h"
#include "platform/Export.h"

/// What a service client reports: one call for each reply that could be read, none for the others.
/// Called on the HTTP client's callback thread. Records are never null.
class BRIVANE_EXPORT BVAPIDelegate {
 public:
  virtual ~BVAPIDelegate() = default;

  /// A login was answered, be it with a refusal, which has no access token. Later requests carry
  /// the token already.
  virtual void receivedLogin(const std::shared_ptr<const BVAPILogin>& login) = 0;
  /// A sync was answered: the session is ready, whatever the record says.
  virtual void receivedSync(const std::shared_ptr<const BVAPISync>& sync) = 0;
  /// `request` names the beacon that the reply answers; null when it answers a position.
  virtual void receivedResolve_forRequest(
      const std::shared_ptr<const BVAPIResolve>& resolve,
      const std::shared_ptr<const BVAPIResolveRequest>& request) = 0;
  /// A payload was attached to a beacon.
  virtual void receivedPayload(const std::shared_ptr<const BVAPIPayload>& payload) = 0;
  /// The places near a coordinate have come; there may be none.
  virtual void receivedNearest(const std::shared_ptr<const BVAPINearest>& nearest) = 0;
};
