// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/Mutex.h"
#include "platform/curl/CurlTransfer.h"

namespace platform {

/// The one thread that moves bytes: it owns curl's multi handle and every transfer on it. Sleeps
/// while there is nothing to move.
class CurlWorker {
 public:
  /// Takes each request back with what came of it, on the worker's thread.
  using Finished = std::function<void(CurlRequest, CurlReply)>;

  /// `options` must outlive the worker.
  CurlWorker(const CurlHTTPClient::Options& options, Finished finished);
  ~CurlWorker();
  CurlWorker(const CurlWorker&) = delete;
  CurlWorker& operator=(const CurlWorker&) = delete;

  /// Any thread. Dropped once the worker has stopped.
  void add(CurlRequest request);

  /// Any thread. Gives all connections up; requests under way are sent again on new ones.
  void retireConnections();

  /// Fails every request and ends the thread. Any thread but the worker's own.
  void stop();

 private:
  struct Free {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
  };

  void run();
  void waitForWork();
  bool takeNew();
  void beginWaiting();
  void begin(CurlRequest request);
  bool finishDone();
  void finish(CURL* handle, CURLcode result);
  void end(CurlTransfer& transfer, CURLcode result);
  void sendAgain(CurlRequest request);
  void replaceConnections();
  void failAll();

  const CurlHTTPClient::Options& options_;
  const Finished finished_;
  /// Holds the connections. Replaced by the worker alone, under the mutex; so the worker reads it
  /// without, and other threads with it.
  std::unique_ptr<CURLM, Free> multi_;
  // The next five are the worker's alone.
  std::size_t replies_ = 0;  // over these connections
  bool areDead_ = false;     // these connections
  std::deque<CurlRequest> waiting_;
  std::map<CURL*, std::unique_ptr<CurlTransfer>> active_;
  bool multiplexes_ = false;  // whether the latest answer came over HTTP/2
  Mutex mutex_;
  bool retiring_ BRIVANE_GUARDED_BY(mutex_) = false;
  std::deque<CurlRequest> added_ BRIVANE_GUARDED_BY(mutex_);
  bool stopping_ BRIVANE_GUARDED_BY(mutex_) = false;
  std::once_flag stopped_;
  std::thread thread_;
};

}  // namespace platform
