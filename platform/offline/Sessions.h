// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "platform/HTTPClient.h"
#include "platform/Mutex.h"

namespace platform {

/// What an account is called in the store: a digest of the network and of what the account logs in
/// with. The credentials are compared, never read back, so that they stand in no other file; and
/// whoever knows the identifier alone, and guesses at the secret, gets nothing without the service.
std::string accountOf(std::string_view network, std::string_view credentials);

/// Which account each access token of this process stands for: the service's, and those that were
/// made up without it. In memory alone. Any thread.
class Sessions {
 public:
  struct Session {
    std::string token;
    std::string account;
    /// Its token was made up here: the service knows nothing of it.
    bool isOffline = false;
    /// The service has refused its token.
    bool isRefused = false;
  };

  /// The session of `request`, by its Authorization header; absent when no login is known for it.
  std::optional<Session> find(const HTTPRequest& request) const;
  /// Whether the service has refused this token.
  bool isRefused(const std::string& token) const;

  void add(Session session);
  void refuse(const std::string& token);
  /// Begins a session without a service, and returns its token.
  std::string addOffline(const std::string& account);

  /// Whether the session that began last has no service.
  bool isOffline() const;

 private:
  const Session* at(std::string_view token) const BRIVANE_REQUIRES(mutex_);
  void append(Session session) BRIVANE_REQUIRES(mutex_);

  mutable Mutex mutex_;
  /// The latest last.
  std::deque<Session> sessions_ BRIVANE_GUARDED_BY(mutex_);
  int offlineSessions_ BRIVANE_GUARDED_BY(mutex_) = 0;
};

}  // namespace platform
