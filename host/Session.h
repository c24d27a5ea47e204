// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "BrivaneSDK/BVManager.h"
#include "host/Announcer.h"
#include "host/KeptAnswers.h"
#include "host/MainLoop.h"
#include "host/Options.h"
#include "host/Screen.h"
#include "host/Transfers.h"
#include "host/WatchedHTTPClient.h"
#include "platform/Location.h"
#include "platform/curl/CurlHTTPClient.h"
#include "platform/replay/LockstepHTTPClient.h"

namespace host {

/// The library on its adapters for Linux, for one command.
class Session {
 public:
  /// How the session waits.
  struct Waiting {
    /// Requests are sent one at a time, in order.
    bool inOrder = false;
    /// Runs while the session waits; null where nothing calls back on this thread.
    const MainLoop* loop = nullptr;
  };

  /// Prepares the way to the service. Throws Failure for an option that cannot be used.
  Session(const ServiceOptions& options, Waiting waiting, Screen& screen);
  /// Nothing is called back afterwards.
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Installs the adapters, with this location service. Throws std::runtime_error for a property
  /// list or preferences that cannot be read.
  void install(std::shared_ptr<platform::LocationService> location) const;

  /// Creates a manager and waits until it is ready, or is not authorised. Null when the session was
  /// interrupted first. Throws Failure when the service does not let it become ready.
  std::shared_ptr<BVManager> connect(const std::shared_ptr<Announcer>& announcer);

  /// Waits until all that was asked for has been answered, or has failed.
  void waitUntilAnswered() const;
  /// Waits for so long, or until it is interrupted.
  void rest(std::chrono::seconds time) const;

  /// What became of the requests.
  Transfers& transfers() { return *transfers_; }
  /// Fails with `complaint` and what became of the latest request.
  [[noreturn]] void failWith(const std::string& complaint) const;
  /// Fails with `complaint` when the latest request was not answered with success.
  void failUnlessAnswered(const std::string& complaint) const;

  /// The connections of before lead nowhere any more.
  void networkChanged();
  /// When a session that began without the service is to be renewed; absent when it is not.
  std::optional<KeptAnswers::Clock::time_point> renewal() const;

  /// Ends every request and every wait. Any thread.
  void interrupt();
  bool isInterrupted() const { return interrupted_; }

 private:
  /// Waits like `waitUntilAnswered`; false when `limit` ran out first.
  bool waitFor(std::chrono::seconds limit) const;
  /// Waits until the user has answered the question for authorisation; whether it was granted.
  bool waitForAuthorization() const;

  void note(const platform::TransferOutcome& outcome);
  void endRequests();
  /// What requests go to, before they are put in order.
  std::shared_ptr<platform::HTTPClient> client() const;

  const ServiceOptions options_;
  const MainLoop* const loop_;
  Screen& screen_;
  const std::unique_ptr<Transfers> transfers_;
  /// Null before the first manager.
  std::shared_ptr<Announcer> announcer_;
  const std::shared_ptr<platform::CurlHTTPClient> curl_;
  /// Null when nothing is kept.
  const std::unique_ptr<KeptAnswers> kept_;
  /// Null when requests are sent as they come.
  const std::shared_ptr<platform::LockstepHTTPClient> lockstep_;
  const std::shared_ptr<WatchedHTTPClient> http_;
  std::atomic<bool> interrupted_ = false;
};

/// A location service without a radio or a position, for commands that need neither.
std::shared_ptr<platform::LocationService> locationWithoutSources();

}  // namespace host
