// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/HTTPClient.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

// Runs tasks one after another on a thread of its own.
class Worker {
 public:
  Worker();
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  void post(std::function<void()> task);
  // Returns when all tasks have run.
  void end();

 private:
  void run();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> tasks_;
  bool ends_ = false;
  std::thread thread_;
};

// HTTPS over whatever the host has: here a client that blocks, one request at a time. What the
// library asks of it: return at once; call each completion once, also on failure; call it on one
// thread, and not on the one that moves bytes, so that a slow host delays no transfer.
class OwnHTTPClient : public platform::HTTPClient {
 public:
  OwnHTTPClient(std::string address, std::string certificates);

  void execute(platform::HTTPRequest request, Completion completion) override;

  // Returns when all completions have been called. The library never releases a service, so the
  // host calls this before the process ends.
  void shutdown();

 private:
  void send(const platform::HTTPRequest& request, const Completion& completion);

  const std::string address_;
  const std::string certificates_;
  Worker completions_;
  Worker transfers_;
};
