// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "platform/HTTPClient.h"
#include "platform/JSON.h"

namespace platform {

/// Whether the service itself has answered, if only to refuse: not when the transport failed, nor
/// when what stands before the service said that it cannot serve now.
bool isAnswer(const std::optional<HTTPResponse>& response);
/// Whether it answered with success.
bool isSuccess(const std::optional<HTTPResponse>& response);
/// Whether it refused this account or this token, which may have expired.
bool isRefusal(const std::optional<HTTPResponse>& response);
/// Whether it refused this account what it asked.
bool isForbidden(const std::optional<HTTPResponse>& response);

/// The token of a login reply; absent when there is none.
std::optional<std::string> accessTokenIn(const JSON& json, const std::string& body);

/// What may be kept of a reply to a lasting question.
enum class Worth {
  /// Nothing: it cannot be read.
  kNone,
  /// That the service does not know the beacon.
  kUnknown,
  kKnown
};
Worth worthOf(const JSON& json, const std::string& body);

/// The replies of a session without a service.
std::string offlineLoginReply(const std::string& token);
std::string offlineSyncReply();

}  // namespace platform
