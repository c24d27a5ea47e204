// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "platform/Export.h"
#include "platform/HTTPClient.h"

namespace platform {

/// Sends requests through another client in lockstep with a replay's clock: holds them until they
/// are released, and then sends them one at a time in the order they were asked for. So no reply
/// comes in the middle of a report, and all come in the same order each time. Any thread.
class BRIVANE_EXPORT LockstepHTTPClient final : public HTTPClient {
 public:
  /// Sends through `inner`; not null.
  explicit LockstepHTTPClient(std::shared_ptr<HTTPClient> inner);
  ~LockstepHTTPClient() override;

  void execute(HTTPRequest request, Completion completion) override;

  /// Begins to send what is held, and with it what is asked for until all has been answered.
  /// Returns at once.
  void release();

 private:
  class Queue;

  const std::shared_ptr<Queue> queue_;
};

}  // namespace platform
