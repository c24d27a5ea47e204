#include "platform/linux/CurlWorker.h"

#include <csignal>
#include <cstdlib>
#include <limits>
#include <new>
#include <set>
#include <stdexcept>
#include <utility>

namespace platform {
namespace {

constexpr long kConnectionsToOneHost = 6;

/// The workers that run. At exit they are stopped before the TLS library tears itself down under
/// them; nothing is called then any more.
class LiveWorkers {
 public:
  static LiveWorkers& get() {
    static auto& only = *new LiveWorkers;
    return only;
  }

  void add(CurlWorker* worker) {
    const std::lock_guard lock(mutex_);
    workers_.insert(worker);
  }

  void remove(CurlWorker* worker) {
    const std::lock_guard lock(mutex_);
    workers_.erase(worker);
  }

 private:
  LiveWorkers() {
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
      throw std::runtime_error("libcurl cannot be initialised");
    }
    // Registered after the TLS library has registered its own clean-up, so run before that.
    if (std::atexit([] { get().stopAll(); }) != 0) throw std::bad_alloc();
  }

  void stopAll() {
    const std::lock_guard lock(mutex_);
    for (CurlWorker* worker : workers_) worker->stop();
  }

  std::mutex mutex_;
  std::set<CurlWorker*> workers_;
};

void blockSignals() {
  // A connection that breaks must not end the process, and the host's signals are the host's.
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

}  // namespace

CurlWorker::CurlWorker(std::function<void(std::function<void()>)> finished)
    : finished_(std::move(finished)) {
  LiveWorkers::get().add(this);
  multi_.reset(curl_multi_init());
  curl_multi_setopt(multi_.get(), CURLMOPT_MAX_HOST_CONNECTIONS, kConnectionsToOneHost);
  thread_ = std::thread([this] { run(); });
}

CurlWorker::~CurlWorker() {
  stop();
  LiveWorkers::get().remove(this);
}

void CurlWorker::add(std::unique_ptr<CurlTransfer> transfer) {
  const std::lock_guard lock(mutex_);
  if (stopping_) return;
  added_.push_back(std::move(transfer));
  curl_multi_wakeup(multi_.get());
}

void CurlWorker::stop() {
  std::call_once(stopped_, [this] {
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
      curl_multi_wakeup(multi_.get());
    }
    thread_.join();
  });
}

void CurlWorker::run() {
  blockSignals();
  while (takeNew()) {
    int running = 0;
    curl_multi_perform(multi_.get(), &running);
    finishDone();
    curl_multi_poll(multi_.get(), nullptr, 0, std::numeric_limits<int>::max(), nullptr);
  }
  failAll();
}

/// Begins what was added since the last time; false when the worker is to stop.
bool CurlWorker::takeNew() {
  std::deque<std::unique_ptr<CurlTransfer>> added;
  bool stopping = false;
  {
    const std::lock_guard lock(mutex_);
    added.swap(added_);
    stopping = stopping_;
  }
  for (auto& transfer : added) begin(std::move(transfer));
  return !stopping;
}

void CurlWorker::begin(std::unique_ptr<CurlTransfer> transfer) {
  CURL* const handle = transfer->handle();
  if (!transfer->isValid() || curl_multi_add_handle(multi_.get(), handle) != CURLM_OK) {
    finished_(transfer->finish(false));
    return;
  }
  active_.emplace(handle, std::move(transfer));
}

void CurlWorker::finishDone() {
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
    if (message->msg == CURLMSG_DONE) {
      finish(message->easy_handle, message->data.result == CURLE_OK);
    }
  }
}

void CurlWorker::finish(CURL* handle, bool succeeded) {
  const auto found = active_.find(handle);
  curl_multi_remove_handle(multi_.get(), handle);
  finished_(found->second->finish(succeeded));
  active_.erase(found);
}

void CurlWorker::failAll() {
  while (!active_.empty()) finish(active_.begin()->first, false);
}

}  // namespace platform
