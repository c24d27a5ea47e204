#include "platform/curl/SerialQueue.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <utility>

namespace platform {

struct SerialQueue::State {
  explicit State(std::shared_ptr<Log> sink) : log(std::move(sink)) {}

  /// The next task, waited for; none when the queue is closed and empty.
  std::function<void()> next() {
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return closed || !tasks.empty(); });
    if (tasks.empty()) return nullptr;
    auto task = std::move(tasks.front());
    tasks.pop_front();
    return task;
  }

  void runAll() {
    while (const auto task = next()) run(task);
  }

  void run(const std::function<void()>& task) const {
    try {
      task();
    } catch (const std::exception& fault) {
      report(fault.what());
    } catch (...) {
      report("an exception of an unknown kind");
    }
  }

  void report(const char* fault) const {
    if (log) log->write(std::string("A callback failed: ") + fault);
  }

  const std::shared_ptr<Log> log;
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::function<void()>> tasks;
  bool closed = false;
  bool finished = false;
};

SerialQueue::SerialQueue(std::shared_ptr<Log> log)
    : state_(std::make_shared<State>(std::move(log))) {
  std::thread thread([state = state_] {
    state->runAll();
    const std::lock_guard lock(state->mutex);
    state->finished = true;
    state->changed.notify_all();
  });
  threadId_ = thread.get_id();
  thread.detach();
}

SerialQueue::~SerialQueue() { close(); }

void SerialQueue::post(std::function<void()> task) {
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->closed) return;
    state_->tasks.push_back(std::move(task));
  }
  state_->changed.notify_all();  // not under the lock, for which the thread would only wait again
}

void SerialQueue::close() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->closed = true;
    state_->changed.notify_all();
  }
  if (std::this_thread::get_id() == threadId_) {
    state_->runAll();
  } else {
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [this] { return state_->finished; });
  }
}

}  // namespace platform
