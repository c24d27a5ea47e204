// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/posix/SerialQueue.h"

namespace platform {

/// While it lives, the queue runs nothing more once the process exits: what it would call may be
/// gone by then.
class SilentExit {
 public:
  explicit SilentExit(SerialQueue& queue);
  ~SilentExit();
  SilentExit(const SilentExit&) = delete;
  SilentExit& operator=(const SilentExit&) = delete;

 private:
  SerialQueue& queue_;
};

}  // namespace platform
