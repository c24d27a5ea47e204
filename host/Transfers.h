// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "platform/TransferOutcome.h"

namespace host {

/// What became of the requests to the service, which the library never tells: it takes a refusal
/// for an answer like any other. Any thread.
class Transfers {
 public:
  /// `onFailure` gets the text of each kind of failure once, on the client's callback thread.
  explicit Transfers(std::function<void(const std::string&)> onFailure)
      : onFailure_(std::move(onFailure)) {}

  /// Keeps how a transfer ended.
  void note(const platform::TransferOutcome& outcome);

  /// From now on failures are told and counted. A refused token has expired then, which is not
  /// told: see `tokenExpired`.
  void tellFailures();

  /// Whether the latest request was answered with success.
  bool latestSucceeded() const;
  /// What became of the latest request, for a person: "status 500" or "no answer: …".
  std::string latest() const;

  /// Whether a request was refused for its token since the last login.
  bool tokenExpired() const;
  /// A new login: what was refused for the old token will be asked for again.
  void forgetExpiry();

  /// "3 of 120 requests failed"; empty when none did.
  std::string failures() const;

 private:
  const std::function<void(const std::string&)> onFailure_;
  mutable std::mutex mutex_;
  bool telling_ = false;
  bool latestSucceeded_ = false;
  std::string latest_;
  std::set<std::string> told_;
  int count_ = 0;
  int failed_ = 0;
  /// Refused for the token, and not asked for again.
  int expired_ = 0;
};

}  // namespace host
