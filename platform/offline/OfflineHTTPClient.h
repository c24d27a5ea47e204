// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "platform/Export.h"
#include "platform/HTTPClient.h"
#include "platform/JSON.h"
#include "platform/Log.h"
#include "platform/TransferOutcome.h"
#include "platform/offline/AnswerStore.h"

namespace platform {

/// Sends requests through another client, keeps what the service says of beacons and of nearest
/// places, and gives that when there is no network. An answer belongs to the network and to the
/// account that asked.
///
/// The service comes first: each request is sent. What is kept is given when the transport fails or
/// the service says that it cannot serve (408, 429, 500 and above); when no reply has come in time;
/// and at once while the network is known to be away, from such an event until a reply comes. A
/// reply that comes later is kept, and called back no more. What the service refuses (401, 403) is
/// not replaced, neither then nor for later requests with that token; what it forbids (403) is
/// forgotten, and with a login that it refuses all answers of the account.
///
/// A host that is told that the network is back while `isOffline` creates a new manager, after a
/// random delay of its own choice: everybody in reach of a network that returns is told at once.
///
/// One thread calls completions and moves no bytes. Every operation may be called on any thread.
class BRIVANE_EXPORT OfflineHTTPClient final : public HTTPClient {
 public:
  /// What it works with.
  struct Options {
    /// Sends the requests. Outlives the requests under way, and is to be shut down first.
    std::shared_ptr<HTTPClient> inner;
    /// Keeps the answers.
    std::shared_ptr<AnswerStore> store;
    /// Reads the replies.
    std::shared_ptr<JSON> json;
    /// How long a reply is waited for before what is kept is given.
    std::chrono::milliseconds patience{1500};
    /// The same for a login and the sync after it, before the session begins without the service.
    std::chrono::milliseconds loginPatience{6000};
    /// Whether a login and a sync that the service does not answer are answered here, so that the
    /// manager becomes ready: with a session that knows what is kept for the same credentials, and
    /// nothing else. Its token is made up, and never sent or stored.
    bool allowOffline = false;
    /// Takes a line for each exception that left a completion. May be null.
    std::shared_ptr<Log> log = nullptr;
    /// Told what each request got, and from whom, on the callback thread, just before its
    /// completion is called. May be empty.
    std::function<void(const TransferOutcome&)> onTransfer = {};
    /// Told on the callback thread when the network is known to be away, and when it is back. May
    /// be empty. While a session without the service asks for nothing, nobody learns that the
    /// network is back: a host that can watch the network by itself does that too.
    std::function<void(bool isThere)> onNetwork = {};
  };

  /// Throws std::invalid_argument when the inner client, the store or the JSON is missing.
  explicit OfflineHTTPClient(Options options);
  /// Shuts down. Safe inside a completion.
  ~OfflineHTTPClient() override;

  /// Sends `request`, or answers it without the service.
  void execute(HTTPRequest request, Completion completion) override;

  /// Whether the latest login was answered here, without the service.
  bool isOffline() const;

  /// Ends every request, and returns when each completion has been called. Inside a completion it
  /// calls the others itself. Replies that come later are dropped.
  void shutdown();

 private:
  struct State;

  const std::shared_ptr<State> state_;
};

}  // namespace platform
