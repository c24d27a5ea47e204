// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <thread>
#include <utility>

#include "platform/HostCall.h"
#include "platform/Log.h"
#include "platform/Mutex.h"
#include "platform/posix/QuietThread.h"

namespace platform {

/// Runs tasks one after another on one thread of its own: each when it is due, and those that are
/// due at once in the order they were posted.
class SerialQueue {
 public:
  using Clock = std::chrono::steady_clock;
  using Task = std::function<void()>;

  /// An exception that leaves a task ends there, with a line in `log` if there is one.
  explicit SerialQueue(std::shared_ptr<Log> log) : state_(std::make_shared<State>(std::move(log))) {
    std::thread thread = startQuietThread([state = state_] {
      state->runAll();
      const MutexLock lock(state->mutex);
      state->finished = true;
      state->changed.notify_all();
    });
    threadId_ = thread.get_id();
    thread.detach();
  }
  /// Closes the queue. Safe inside a task.
  ~SerialQueue() { close(); }
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  /// Any thread. After closing, the task is dropped.
  void post(Task task) { postAt(Clock::time_point::min(), std::move(task)); }

  /// Like `post`, for a task that is to run at `due` and not before.
  void postAt(Clock::time_point due, Task task) {
    {
      const MutexLock lock(state_->mutex);
      if (state_->closed) return;
      state_->tasks.emplace(due, std::move(task));
    }
    state_->changed.notify_all();  // after unlocking: the thread would wake only to wait for it
  }

  /// Nothing that has not begun yet runs any more. Does not wait for what has. What is waiting
  /// stays in memory, so that nothing of the host's is destroyed here either.
  void abandon() {
    const MutexLock lock(state_->mutex);
    state_->abandoned = true;
    state_->changed.notify_all();
  }

  /// Returns when everything that is due has run; nothing runs afterwards, and what is not due is
  /// dropped. Inside a task it runs the rest itself, except the task it is in.
  void close() {
    {
      const MutexLock lock(state_->mutex);
      state_->closed = true;
      state_->changed.notify_all();
    }
    if (std::this_thread::get_id() == threadId_) {
      state_->runAll();
    } else {
      MutexLock lock(state_->mutex);
      while (!state_->finished) lock.wait(state_->changed);
    }
  }

 private:
  struct State {
    explicit State(std::shared_ptr<Log> sink) : log(std::move(sink)) {}

    void runAll() {
      while (const Task task = next()) callHost(task, log.get());
      const auto dropped = takeRest();
    }

    /// What will never be due; nothing when the queue is abandoned.
    std::multimap<Clock::time_point, Task> takeRest() {
      const MutexLock lock(mutex);
      return abandoned ? std::multimap<Clock::time_point, Task>() : std::exchange(tasks, {});
    }

    /// The next task that is due, waited for; none when the queue is abandoned, or closed and
    /// nothing is due.
    Task next() {
      MutexLock lock(mutex);
      while (!abandoned) {
        const auto first = tasks.begin();
        if (first != tasks.end() && first->first <= Clock::now()) {
          return std::move(tasks.extract(first).mapped());
        }
        if (closed) return nullptr;
        if (first == tasks.end()) {
          lock.wait(changed);
        } else {
          lock.waitUntil(changed, first->first);
        }
      }
      return nullptr;
    }

    const std::shared_ptr<Log> log;
    Mutex mutex;
    std::condition_variable changed;
    std::multimap<Clock::time_point, Task> tasks BRIVANE_GUARDED_BY(mutex);
    bool closed BRIVANE_GUARDED_BY(mutex) = false;
    bool abandoned BRIVANE_GUARDED_BY(mutex) = false;
    bool finished BRIVANE_GUARDED_BY(mutex) = false;
  };

  // Shared with the thread. That is detached, because a task may destroy the queue, and a host may
  // leave it to the end of the process.
  const std::shared_ptr<State> state_;
  std::thread::id threadId_;
};

}  // namespace platform
