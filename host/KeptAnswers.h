// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "host/Screen.h"
#include "platform/HTTPClient.h"
#include "platform/TransferOutcome.h"
#include "platform/offline/OfflineHTTPClient.h"

namespace host {

/// The store of what the service answered to this user's commands. A fault of its file goes to
/// `onFault`, one line for a person.
std::shared_ptr<platform::AnswerStore> openAnswers(std::function<void(const std::string&)> onFault);

/// Lets a command go without the service: what it answered before stands in. Any thread.
class KeptAnswers {
 public:
  using Clock = std::chrono::steady_clock;

  struct Options {
    std::shared_ptr<platform::HTTPClient> inner;
    std::shared_ptr<platform::Log> log;
    /// Told how each request ended, on the callback thread.
    std::function<void(const platform::TransferOutcome&)> onTransfer;
    /// Called when there may be something to renew.
    std::function<void()> wake;
  };

  KeptAnswers(Options options, Screen& screen);

  std::shared_ptr<platform::HTTPClient> client() const { return client_; }
  void shutdown() { client_->shutdown(); }

  /// A session has begun, and the user is told when it is without the service, or no longer.
  void sessionBegan();
  /// When a session without the service is to be renewed, as the network seems to be back; absent
  /// otherwise.
  std::optional<Clock::time_point> renewal() const;
  /// The device has changed networks.
  void networkChanged();

 private:
  static constexpr Clock::time_point kNever = Clock::time_point::max();

  void planRenewal();

  Screen& screen_;
  const std::function<void()> wake_;
  std::atomic<Clock::time_point> renewal_ = kNever;
  bool wasOffline_ = false;
  const std::shared_ptr<platform::OfflineHTTPClient> client_;
};

}  // namespace host
