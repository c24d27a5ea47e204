// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Export.h"

namespace platform {

/// What is to be sent.
struct HTTPRequest {
  /// Absolute, https.
  std::string url;
  /// "POST": the library sends no other.
  std::string method;
  /// Sent as they stand, in order, beside what the HTTP layer itself needs. One with a line break
  /// in it cannot be, and is left out.
  std::vector<std::pair<std::string, std::string>> headers;
  /// Any bytes; may be empty.
  std::string body;
};

/// The head of a reply, as far as anybody needs it.
struct HTTPResponse {
  /// HTTP status of the reply.
  int statusCode = 0;
};

/// Sends requests to the web service over HTTPS.
///
/// `execute` is called on any thread, several at once: a request for each beacon that is new, so
/// tens in a burst. It returns at once and takes over what it is given.
class BRIVANE_EXPORT HTTPClient {
 public:
  /// The response and the body of the reply; both absent when the transport failed, whatever the
  /// reason. The status code decides nothing: a body that came with status 500 is a body.
  using Completion =
      std::function<void(std::optional<HTTPResponse> response, std::optional<std::string> body)>;

  virtual ~HTTPClient() = default;

  /// Sends `request`. `completion` is called exactly once, also on failure and when the client is
  /// shut down or destroyed under the request, never from inside this call, and on one serial
  /// thread that moves no bytes: a completion that blocks delays later completions, never a
  /// transfer. An exception that leaves a completion ends there; the next one is served.
  ///
  /// Nothing is called once a shutdown has returned, so a request made later is dropped with its
  /// completion. The same holds for requests that are under way when the process exits: what they
  /// would call may be gone. A host that waits for their completions shuts the client down first.
  virtual void execute(HTTPRequest request, Completion completion) = 0;
};

}  // namespace platform
