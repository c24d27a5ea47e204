// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <optional>
#include <string>

#include "BrivaneSDK/Guarded.h"

namespace brivane::internal {

enum class SessionState { kLoggedOut, kLoggedIn, kSynced };

/// The session with the web service, which all clients of the process share.
struct Session {
  Guarded<std::optional<std::string>> token;
  std::atomic<SessionState> state = SessionState::kLoggedOut;
};

/// Created on first use and never destroyed, so that a reply that comes while the process ends
/// still finds it.
Session& session();

}  // namespace brivane::internal
