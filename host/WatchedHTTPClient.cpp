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
  // Counts the request off however the completion ends: what it asks for is counted on by then.
  const std::shared_ptr<void> end(nullptr, [state = state_](void*) {
    std::unique_lock lock(state->mutex);
    const bool isIdle = --state->underWay == 0;
    state->changed.notify_all();
    lock.unlock();
    if (isIdle && state->onIdle) state->onIdle();
  });
  inner_->execute(std::move(request), [state = state_, end, completion = std::move(completion)](
                                          auto response, auto body) {
    {
      const std::lock_guard lock(state->mutex);
      state->latestStatus = response ? response->statusCode : 0;
    }
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

bool WatchedHTTPClient::latestSucceeded() const {
  const std::lock_guard lock(state_->mutex);
  return state_->latestStatus >= 200 && state_->latestStatus < 300;
}

std::string WatchedHTTPClient::latestOutcome() const {
  const std::lock_guard lock(state_->mutex);
  return state_->latestStatus == 0 ? "no answer" : "status " + std::to_string(state_->latestStatus);
}

}  // namespace host
