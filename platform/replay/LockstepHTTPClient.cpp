// SPDX-License-Identifier: Apache-2.0
#include "platform/replay/LockstepHTTPClient.h"

#include <deque>
#include <mutex>
#include <utility>

namespace platform {

class LockstepHTTPClient::Queue : public std::enable_shared_from_this<Queue> {
 public:
  explicit Queue(std::shared_ptr<HTTPClient> inner) : inner_(std::move(inner)) {}

  void add(HTTPRequest request, Completion completion) {
    const std::lock_guard lock(mutex_);
    held_.emplace_back(std::move(request), std::move(completion));
  }

  void release() {
    {
      const std::lock_guard lock(mutex_);
      if (std::exchange(sending_, true)) return;
    }
    sendNext();
  }

 private:
  void sendNext() {
    std::unique_lock lock(mutex_);
    if (held_.empty()) {
      sending_ = false;
      return;
    }
    auto [request, completion] = std::move(held_.front());
    held_.pop_front();
    lock.unlock();
    // The next one follows however this one ends: also when its completion throws or is dropped.
    std::shared_ptr<void> end(nullptr, [self = shared_from_this()](void*) { self->sendNext(); });
    inner_->execute(std::move(request), [end = std::move(end), complete = std::move(completion)](
                                            auto response, auto body) mutable {
      const auto ended = std::move(end);  // goes before the completion does
      complete(std::move(response), std::move(body));
    });
  }

  const std::shared_ptr<HTTPClient> inner_;
  std::mutex mutex_;
  std::deque<std::pair<HTTPRequest, Completion>> held_;
  bool sending_ = false;
};

LockstepHTTPClient::LockstepHTTPClient(std::shared_ptr<HTTPClient> inner)
    : queue_(std::make_shared<Queue>(std::move(inner))) {}

LockstepHTTPClient::~LockstepHTTPClient() = default;

void LockstepHTTPClient::execute(HTTPRequest request, Completion completion) {
  queue_->add(std::move(request), std::move(completion));
}

void LockstepHTTPClient::release() { queue_->release(); }

}  // namespace platform
