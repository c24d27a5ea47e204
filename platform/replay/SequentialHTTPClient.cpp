#include "platform/replay/SequentialHTTPClient.h"

#include <deque>
#include <mutex>
#include <utility>

namespace platform {

class SequentialHTTPClient::Queue : public std::enable_shared_from_this<Queue> {
 public:
  explicit Queue(std::shared_ptr<HTTPClient> inner) : inner_(std::move(inner)) {}

  void add(HTTPRequest request, Completion completion) {
    {
      const std::lock_guard lock(mutex_);
      waiting_.emplace_back(std::move(request), std::move(completion));
      if (std::exchange(busy_, true)) return;
    }
    sendNext();
  }

 private:
  void sendNext() {
    std::unique_lock lock(mutex_);
    if (waiting_.empty()) {
      busy_ = false;
      return;
    }
    auto [request, completion] = std::move(waiting_.front());
    waiting_.pop_front();
    lock.unlock();
    // The next one follows however this one ends: also when its completion throws or is dropped.
    std::shared_ptr<void> end(nullptr, [self = shared_from_this()](void*) { self->sendNext(); });
    inner_->execute(std::move(request), [end = std::move(end), completion = std::move(completion)](
                                            auto response, auto body) {
      completion(std::move(response), std::move(body));
    });
  }

  const std::shared_ptr<HTTPClient> inner_;
  std::mutex mutex_;
  std::deque<std::pair<HTTPRequest, Completion>> waiting_;
  bool busy_ = false;
};

SequentialHTTPClient::SequentialHTTPClient(std::shared_ptr<HTTPClient> inner)
    : queue_(std::make_shared<Queue>(std::move(inner))) {}

SequentialHTTPClient::~SequentialHTTPClient() = default;

void SequentialHTTPClient::execute(HTTPRequest request, Completion completion) {
  queue_->add(std::move(request), std::move(completion));
}

}  // namespace platform
