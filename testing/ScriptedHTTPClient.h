// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Export.h"
#include "platform/HTTPClient.h"
#include "testing/Journal.h"

namespace brivane::testing {

/// An HTTP client that reaches nobody: requests wait until the test answers them, one by one with
/// `reply`, or by a script with `deliver`.
///
/// Completions are called inside `reply`, `deliver` and `shutdown` alone, on the thread that calls
/// these, so the test says when replies come. All else may be called on any thread.
class BRIVANE_EXPORT ScriptedHTTPClient final : public platform::HTTPClient {
 public:
  /// What a request is answered with.
  struct Reply {
    /// Absent: the transport failed, and then there is no status either.
    std::optional<std::string> body;
    /// HTTP status of the reply.
    int status = 200;
  };
  /// Makes the reply to a request; called where the completion is.
  using Answer = std::function<Reply(const platform::HTTPRequest& request)>;

  /// Writes a line into `journal` for each request, unless that is null: its method, what its URL
  /// has behind the last "/v1/" (or the whole URL), its body and, in brackets, its authorisation,
  /// as in "POST sync/ model=m [Bearer t]". What leaves a completion as an exception is a line too.
  explicit ScriptedHTTPClient(std::shared_ptr<Journal> journal = nullptr);
  /// Shuts down.
  ~ScriptedHTTPClient() override;
  ScriptedHTTPClient(const ScriptedHTTPClient&) = delete;
  ScriptedHTTPClient& operator=(const ScriptedHTTPClient&) = delete;

  void execute(platform::HTTPRequest request, Completion completion) override;

  /// From now on `deliver` answers requests whose URL ends with `ending`, such as "resolve/", also
  /// those that wait already. Replaces what was scripted for that ending; of several endings that
  /// fit, the one scripted first counts.
  void script(const std::string& ending, Answer answer);
  /// The same with one reply for all.
  void script(const std::string& ending, Reply reply);

  /// Answers the requests that are scripted, the oldest first, and those that are made meanwhile,
  /// until none is left.
  void deliver();

  /// Answers a request that waits, scripted or not: the oldest, or the one `index` places behind
  /// it. Throws std::out_of_range when so many do not wait.
  void reply(Reply reply, std::size_t index = 0);

  /// How many requests wait for an answer.
  std::size_t waiting() const;

  /// The requests since the last call, the oldest first.
  std::vector<platform::HTTPRequest> takeRequests();

  /// Fails the requests that wait. Later ones are dropped.
  void shutdown();

 private:
  struct State;

  const std::unique_ptr<State> state_;
};

}  // namespace brivane::testing
