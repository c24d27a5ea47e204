// SPDX-License-Identifier: Apache-2.0
#include "platform/offline/SilentExit.h"

#include <unistd.h>

#include <cstdlib>
#include <new>
#include <set>

#include "platform/Mutex.h"

namespace platform {
namespace {

/// The queues of the process. Never destroyed.
class Queues {
 public:
  static Queues& get() {
    static auto& only = *new Queues;
    return only;
  }

  void add(SerialQueue* queue) {
    const MutexLock lock(mutex_);
    queues_.insert(queue);
  }
  void remove(SerialQueue* queue) {
    const MutexLock lock(mutex_);
    queues_.erase(queue);
  }

 private:
  Queues() {
    if (std::atexit([] { get().abandonAll(); }) != 0) throw std::bad_alloc();
  }

  void abandonAll() {
    if (getpid() != process_) return;  // a child of the host's has none of the threads
    const MutexLock lock(mutex_);
    for (SerialQueue* const queue : queues_) queue->abandon();
  }

  const pid_t process_ = getpid();
  Mutex mutex_;
  std::set<SerialQueue*> queues_ BRIVANE_GUARDED_BY(mutex_);
};

}  // namespace

SilentExit::SilentExit(SerialQueue& queue) : queue_(queue) { Queues::get().add(&queue_); }

SilentExit::~SilentExit() { Queues::get().remove(&queue_); }

}  // namespace platform
