// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

#include "platform/HTTPClient.h"

namespace host {

/// Passes requests on to another client and knows whether any is under way, which the library
/// itself never tells: so a command can wait for its answer. Any thread.
class WatchedHTTPClient final : public platform::HTTPClient {
 public:
  /// `onIdle` is called on any thread when nothing is under way any more; may be empty.
  WatchedHTTPClient(std::shared_ptr<platform::HTTPClient> inner, std::function<void()> onIdle);

  void execute(platform::HTTPRequest request, Completion completion) override;

  /// Waits until no request is under way and no completion is running; false when `limit` ran out.
  /// Not from inside a completion.
  bool waitUntilIdle(std::chrono::seconds limit) const;

  bool isIdle() const;

 private:
  struct State {
    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    std::function<void()> onIdle;
    std::size_t underWay = 0;
  };

  const std::shared_ptr<platform::HTTPClient> inner_;
  // Shared with the completions under way, which may outlive this.
  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace host
