#pragma once

#include <memory>

#include "platform/Export.h"
#include "platform/HTTPClient.h"

namespace platform {

/// Sends requests through another client one at a time, in the order they were asked for, so that a
/// replay brings its replies in the same order each time. Any thread.
class BRIVANE_EXPORT SequentialHTTPClient final : public HTTPClient {
 public:
  explicit SequentialHTTPClient(std::shared_ptr<HTTPClient> inner);
  ~SequentialHTTPClient() override;

  void execute(HTTPRequest request, Completion completion) override;

 private:
  class Queue;

  const std::shared_ptr<Queue> queue_;
};

}  // namespace platform
