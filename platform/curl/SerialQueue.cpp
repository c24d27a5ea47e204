// SPDX-License-Identifier: Apache-2.0
#include "platform/curl/SerialQueue.h"

#include <condition_variable>
#include <deque>
#include <utility>

#include "platform/HostCall.h"
#include "platform/Mutex.h"
#include "platform/curl/QuietThread.h"

namespace platform {

struct SerialQueue::State {
  explicit State(std::shared_ptr<Log> sink) : log(std::move(sink)) {}

  /// The next task, waited for; none when the queue is closed and empty, or abandoned.
  std::function<void()> next() {
    MutexLock lock(mutex);
    while (!closed && !abandoned && tasks.empty()) lock.wait(changed);
    if (abandoned || tasks.empty()) return nullptr;
    auto task = std::move(tasks.front());
    tasks.pop_front();
    return task;
  }

  void runAll() {
    while (const auto task = next()) callHost(task, log.get());
  }

  const std::shared_ptr<Log> log;
  Mutex mutex;
  std::condition_variable changed;
  std::deque<std::function<void()>> tasks BRIVANE_GUARDED_BY(mutex);
  bool closed BRIVANE_GUARDED_BY(mutex) = false;
  bool abandoned BRIVANE_GUARDED_BY(mutex) = false;
  bool finished BRIVANE_GUARDED_BY(mutex) = false;
};

SerialQueue::SerialQueue(std::shared_ptr<Log> log)
    : state_(std::make_shared<State>(std::move(log))) {
  std::thread thread = startQuietThread([state = state_] {
    state->runAll();
    const MutexLock lock(state->mutex);
    state->finished = true;
    state->changed.notify_all();
  });
  threadId_ = thread.get_id();
  thread.detach();
}

SerialQueue::~SerialQueue() { close(); }

void SerialQueue::post(std::function<void()> task) {
  {
    const MutexLock lock(state_->mutex);
    if (state_->closed) return;
    state_->tasks.push_back(std::move(task));
  }
  state_->changed.notify_all();  // after unlocking: the thread would wake only to wait for the lock
}

void SerialQueue::abandon() {
  const MutexLock lock(state_->mutex);
  state_->abandoned = true;
  state_->changed.notify_all();
}

void SerialQueue::close() {
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

}  // namespace platform
