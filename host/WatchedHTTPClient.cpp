#include "host/WatchedHTTPClient.h"

#include <utility>

namespace host {

WatchedHTTPClient::WatchedHTTPClient(std::shared_ptr<platform::HTTPClient> inner)
    : inner_(std::move(inner)) {}

void WatchedHTTPClient::execute(platform::HTTPRequest request, Completion completion) {
  {
    const std::lock_guard lock(state_->mutex);
    ++state_->underWay;
  }
  // Counts the request off however the completion ends: what it asks for is counted on by then.
  const std::shared_ptr<void> end(nullptr, [state = state_](void*) {
    const std::lock_guard lock(state->mutex);
    --state->underWay;
    state->changed.notify_all();
  });
  inner_->execute(std::move(request), [state = state_, end, completion = std::move(completion)](
                                          auto response, auto body) {
    {
      const std::lock_guard lock(state->mutex);
      state->latestOutcome =
          response ? "status " + std::to_string(response->statusCode) : "no answer";
    }
    completion(std::move(response), std::move(body));
  });
}

bool WatchedHTTPClient::waitUntilIdle(std::chrono::seconds limit) const {
  std::unique_lock lock(state_->mutex);
  return state_->changed.wait_for(lock, limit, [this] { return state_->underWay == 0; });
}

std::string WatchedHTTPClient::latestOutcome() const {
  const std::lock_guard lock(state_->mutex);
  return state_->latestOutcome;
}

}  // namespace host
