// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace platform {

/// How one transfer of an HTTP client ended: what a host shows or counts that wants to tell a
/// refused login from a network that is not there. Holds no secret: nothing of the query, the
/// headers and the bodies.
struct TransferOutcome {
  /// The path of the request's URL.
  std::string endpoint;
  /// The HTTP status of the reply; absent when the transfer failed.
  std::optional<int> status;
  /// Why the transfer failed, in the transport's words, for people; empty when it did not.
  std::string fault;
  /// From the request to the end of its reply, or to the failure.
  std::chrono::milliseconds duration{};
};

}  // namespace platform
