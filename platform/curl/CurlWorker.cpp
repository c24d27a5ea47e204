// SPDX-License-Identifier: Apache-2.0
#include "platform/curl/CurlWorker.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <utility>

#include "platform/posix/QuietThread.h"

namespace platform {
namespace {

/// Transfers under way at once. Curl could queue more by itself, but it may leave the last ones
/// lying when several connections become free at the same moment.
constexpr std::size_t kTransfersEachOnAConnection = 6;
constexpr std::size_t kTransfersOnSharedConnections = 100;
/// Connections on which nothing has moved for so long are closed: curl would not use them again,
/// and the probes that keep them alive would go on.
constexpr int kMillisecondsToStayConnected = 120'000;

CURLM* newConnections() {
  CURLM* const multi = curl_multi_init();
  curl_multi_setopt(multi, CURLMOPT_MAX_HOST_CONNECTIONS,
                    static_cast<long>(kTransfersEachOnAConnection));
  return multi;
}

}  // namespace

CurlWorker::CurlWorker(const CurlHTTPClient::Options& options, Finished finished)
    : options_(options), finished_(std::move(finished)), multi_(newConnections()) {
  if (!multi_) throw std::runtime_error("libcurl cannot be set up");
  thread_ = startQuietThread([this] { run(); });
}

CurlWorker::~CurlWorker() { stop(); }

void CurlWorker::add(CurlRequest request) {
  const MutexLock lock(mutex_);
  if (stopping_) return;
  // One wake for a burst: the worker takes all that was added meanwhile.
  if (added_.empty()) curl_multi_wakeup(multi_.get());
  added_.push_back(std::move(request));
}

void CurlWorker::retireConnections() {
  const MutexLock lock(mutex_);
  retiring_ = true;
  curl_multi_wakeup(multi_.get());
}

void CurlWorker::stop() {
  std::call_once(stopped_, [this] {
    {
      const MutexLock lock(mutex_);
      stopping_ = true;
      curl_multi_wakeup(multi_.get());
    }
    thread_.join();
  });
}

void CurlWorker::run() {
  while (takeNew()) {
    if (areDead_) {
      replaceConnections();
      continue;
    }
    beginWaiting();
    int running = 0;
    curl_multi_perform(multi_.get(), &running);
    if (finishDone()) continue;  // others may begin
    waitForWork();
  }
  failAll();
}

void CurlWorker::waitForWork() {
  const bool isIdle = active_.empty() && replies_ > 0;
  const int limit = isIdle ? kMillisecondsToStayConnected : std::numeric_limits<int>::max();
  const auto begun = std::chrono::steady_clock::now();
  curl_multi_poll(multi_.get(), nullptr, 0, limit, nullptr);
  const auto slept = std::chrono::steady_clock::now() - begun;
  if (isIdle && slept >= std::chrono::milliseconds(limit)) areDead_ = true;
}

/// Takes what was added since the last time; false when the worker is to stop.
bool CurlWorker::takeNew() {
  const MutexLock lock(mutex_);
  areDead_ |= std::exchange(retiring_, false);
  std::move(added_.begin(), added_.end(), std::back_inserter(waiting_));
  added_.clear();
  return !stopping_;
}

void CurlWorker::beginWaiting() {
  const std::size_t limit =
      multiplexes_ ? kTransfersOnSharedConnections : kTransfersEachOnAConnection;
  while (!waiting_.empty() && active_.size() < limit) {
    begin(std::move(waiting_.front()));
    waiting_.pop_front();
  }
}

void CurlWorker::begin(CurlRequest request) {
  request.repliesBefore = replies_;
  auto transfer = std::make_unique<CurlTransfer>(options_, std::move(request));
  if (!transfer->isUsable() ||
      curl_multi_add_handle(multi_.get(), transfer->handle()) != CURLM_OK) {
    end(*transfer, CURLE_FAILED_INIT);
    return;
  }
  active_.emplace(transfer->handle(), std::move(transfer));
}

/// Whether there was any.
bool CurlWorker::finishDone() {
  int left = 0;
  bool any = false;
  while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    any = true;
    finish(message->easy_handle, message->data.result);
  }
  return any;
}

void CurlWorker::finish(CURL* handle, CURLcode result) {
  long version = 0;
  curl_easy_getinfo(handle, CURLINFO_HTTP_VERSION, &version);
  if (result == CURLE_OK) {
    multiplexes_ = version == CURL_HTTP_VERSION_2_0;
    ++replies_;
  }
  curl_multi_remove_handle(multi_.get(), handle);
  const auto transfer = std::move(active_.extract(handle).mapped());
  if (transfer->metDeadConnection(result)) {
    sendAgain(transfer->takeRequest());
  } else {
    end(*transfer, result);
  }
}

void CurlWorker::end(CurlTransfer& transfer, CURLcode result) {
  CurlReply reply = transfer.reply(result);
  finished_(transfer.takeRequest(), std::move(reply));
}

/// After its connection proved dead. Where no other has brought a reply since, all are taken to be.
void CurlWorker::sendAgain(CurlRequest request) {
  if (request.repliesBefore == replies_) areDead_ = true;
  request.needsNewConnection = !areDead_;
  waiting_.push_front(std::move(request));
}

/// Curl has no other way to give up a connection that requests still wait on.
void CurlWorker::replaceConnections() {
  areDead_ = false;
  std::unique_ptr<CURLM, Free> fresh(newConnections());
  if (!fresh) return;
  for (const auto& [handle, transfer] : active_) {
    curl_multi_remove_handle(multi_.get(), handle);
    waiting_.push_front(transfer->takeRequest());
  }
  active_.clear();
  replies_ = 0;
  const MutexLock lock(mutex_);
  multi_.swap(fresh);
}

void CurlWorker::failAll() {
  for (const auto& [handle, transfer] : active_) {
    curl_multi_remove_handle(multi_.get(), handle);
    waiting_.push_back(transfer->takeRequest());
  }
  active_.clear();
  for (CurlRequest& request : waiting_) finished_(std::move(request), {{}, {}, "shut down"});
  waiting_.clear();
}

}  // namespace platform
