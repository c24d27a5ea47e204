// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Export.h"

namespace platform {

/// How one transfer of an HTTP client ended: what a host shows or counts that wants to tell a
/// refused login from a network that is not there. Holds no secret: nothing of the query, the
/// headers and the bodies.
struct TransferOutcome {
  /// Who gave an answer.
  enum class Source {
    /// The service, or nobody when the transfer failed.
    kService,
    /// A store of what the service answered before.
    kStore,
    /// The client itself, in place of a service that cannot be reached.
    kClient,
  };

  /// The path of the request's URL.
  std::string endpoint;
  /// The HTTP status of the reply; absent when the transfer failed.
  std::optional<int> status;
  /// Why the transfer failed, in the transport's words, for people; empty when it did not.
  std::string fault;
  /// From the request to the end of its reply, or to the failure.
  std::chrono::milliseconds duration{};
  /// Who gave the answer.
  Source source = Source::kService;
  /// When the service gave it, where it comes from a store; absent elsewhere.
  std::optional<std::chrono::system_clock::time_point> keptSince{};
};

/// The path of `url`, as `TransferOutcome::endpoint` has it: without the query, which may hold
/// secrets. Any thread.
BRIVANE_EXPORT std::string endpointOf(std::string_view url);

}  // namespace platform
