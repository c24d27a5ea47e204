// SPDX-License-Identifier: Apache-2.0
#include "host/WatchedHTTPClient.h"

#include <utility>

namespace host {

WatchedHTTPClient::WatchedHTTPClient(std::shared_ptr<platform::HTTPClient> inner,
                                     std::function<void()> onIdle)
    : inner_(std::move(inner)) {
  state_->onIdle = std::move(onIdle);
}

void WatchedHTTPClient::execute(platform::HTTPRequest request, Completion completion) {
  {
    const std::lock_guard lock(state_->mutex);
    ++state_->underWay;
  }
  // Counts the request off however its completion ends, also when it throws or is dropped.
  const std::shared_ptr<void> end(nullptr, [state = state_](void*) {
    std::unique_lock lock(state->mutex);
    const bool isIdle = --state->underWay == 0;
    state->changed.notify_all();
    lock.unlock();
    if (isIdle && state->onIdle) state->onIdle();
  });
  inner_->execute(std::move(request),
                  [end, completion = std::move(completion)](auto response, auto body) {
                    completion(std::move(response), std::move(body));
                  });
}

bool WatchedHTTPClient::waitUntilIdle(std::chrono::seconds limit) const {
  std::unique_lock lock(state_->mutex);
  return state_->changed.wait_for(lock, limit, [this] { return state_->underWay == 0; });
}

bool WatchedHTTPClient::isIdle() const {
  const std::lock_guard lock(state_->mutex);
  return state_->underWay == 0;
}

}  // namespace host
