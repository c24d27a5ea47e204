// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <thread>

#include "platform/Log.h"

namespace platform {

/// Runs tasks one after another, in the order they were posted, on one thread of its own.
class SerialQueue {
 public:
  /// An exception that leaves a task ends there, with a line in `log` if there is one.
  explicit SerialQueue(std::shared_ptr<Log> log);
  /// Closes the queue. Safe inside a task.
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  /// Any thread. After closing, the task is dropped.
  void post(std::function<void()> task);

  /// Nothing that has not begun yet runs any more. Does not wait for what has. What is waiting
  /// stays in memory, so that nothing of the host's is destroyed here either.
  void abandon();

  /// Returns when everything posted has run; nothing runs afterwards. Inside a task it runs the
  /// rest itself, except the task it is in.
  void close();

 private:
  struct State;

  // Shared with the thread. That is detached, because a task may destroy the queue, and a host may
  // leave it to the end of the process.
  const std::shared_ptr<State> state_;
  std::thread::id threadId_;
};

}  // namespace platform
