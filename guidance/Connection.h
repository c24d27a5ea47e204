// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "platform/TransferOutcome.h"
#include "platform/location/Instant.h"

namespace guidance {

using platform::Duration;
using platform::Instant;

/// An HTTP status from here on is a fault of the service's own, and no refusal.
inline constexpr int kServiceFault = 500;

/// The session with the service.
enum class Session {
  /// It is on its way, or tried again.
  kConnecting,
  /// Detection runs.
  kReady,
  /// There is no property list that holds credentials.
  kNoCredentials,
  /// The service refuses the credentials.
  kRefused,
  /// The token has expired, and the service gives no new one.
  kNotRenewed,
};

/// Whether the service, or what stands in for it, answered with success.
bool isSuccess(const platform::TransferOutcome& outcome);

/// When to log in: at first, when the token has expired, and again after a login that failed, less
/// and less often. The library takes a refused login for an answer like any other; here it is none.
/// Reads no clock. One thread at a time.
class Connection {
 public:
  /// A manager was made, whose login is on its way.
  void loggedIn();
  /// The manager has said that it is ready; whether it is, and detection may start.
  bool becomesReady(Instant now);
  /// Whether login and sync are answered, and it has not become ready yet.
  bool isSynced() const { return loggingIn_ && synced_; }
  /// How a request ended.
  void transferred(const platform::TransferOutcome& outcome, Instant now);
  /// The network may be back: logs in at `time`, if not sooner, where there is no session, or one
  /// that began without the service.
  void tryAgain(Instant time);
  /// No manager can be made from what there is.
  void lackCredentials();

  /// When to make a manager; absent while one is at work, or none can be made.
  std::optional<Instant> due() const { return due_; }
  Session session() const { return session_; }

 private:
  /// What a login is that was answered with this status.
  Session refused(int status) const;
  void fail(Session session, Instant now);

  std::optional<Instant> due_ = Instant();
  Session session_ = Session::kConnecting;
  bool loggingIn_ = false;
  bool synced_ = false;
  bool wasReady_ = false;
  /// The login was answered without the service.
  bool offline_ = false;
  Instant readySince_;
  int failures_ = 0;
};

}  // namespace guidance
