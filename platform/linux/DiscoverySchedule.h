// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "platform/location/Instant.h"

namespace platform {

/// Decides which call keeps BlueZ's discovery running: when to start it, to try again, to renew one
/// that has fallen silent. Makes no call and reads no clock itself: told what happened and when, it
/// says what to do next.
class DiscoverySchedule {
 public:
  enum class Call { kSetFilter, kStart, kStop, kRenewConnection };
  /// What became of a call.
  enum class Outcome {
    kDone,
    /// BlueZ or the adapter needs a moment: an earlier discovery ends, or power comes.
    kBusy,
    /// Policy forbids it.
    kRefused,
    /// There was no answer: BlueZ can lose one when several clients start at once.
    kLost,
    kFailed,
  };

  /// There is an adapter with power; or not any more.
  void setUsable(bool usable, Instant now);
  /// The call that `next` returned has ended so.
  void finish(Outcome outcome, Instant now);
  /// A device was heard.
  void hear(Instant now);
  /// What BlueZ's property Discovering says. It may be wrong, and change soon.
  void setDiscovering(bool discovering, Instant now);

  /// The call to make now; absent when there is none, or one under way. After kRenewConnection
  /// there is no adapter until `setUsable` says so.
  std::optional<Call> next(Instant now);
  /// When `next` may have a call.
  std::optional<Instant> deadline() const;

  bool isListening() const { return listening_; }
  /// For some ten seconds BlueZ has been busy, or has not answered.
  bool isStuck() const;

 private:
  void listen(Instant now);
  void retry(Outcome outcome, Instant now);

  bool usable_ = false;
  bool listening_ = false;
  bool discovering_ = false;
  /// What is to be called, and when: while listening, the renewal of a discovery that stays silent.
  std::optional<Call> planned_;
  Instant due_{};
  std::optional<Call> underWay_;
  /// Attempts to start in succession that found BlueZ busy, got no answer, or failed.
  int busy_ = 0;
  int lost_ = 0;
  int failed_ = 0;
  /// Renewals since the last device was heard.
  int renewals_ = 0;
};

}  // namespace platform
