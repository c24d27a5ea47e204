// SPDX-License-Identifier: Apache-2.0
#include "platform/offline/Replies.h"

#include <variant>

namespace platform {
namespace {

constexpr int kUnauthorized = 401;
constexpr int kForbidden = 403;
constexpr int kRequestTimeout = 408;
constexpr int kTooManyRequests = 429;
constexpr int kServerFaults = 500;

/// The object that `body` holds; null when it holds none.
JSONValue objectIn(const JSON& json, const std::string& body) {
  const auto read = json.read(body);
  const auto* value = std::get_if<JSONValue>(&read);
  return value != nullptr && value->kind() == JSONValue::Kind::kObject ? *value : JSONValue();
}

/// Whether a status says no; the service may send it as a boolean, a number or a text.
bool saysNo(const JSONValue& status) {
  switch (status.kind()) {
    case JSONValue::Kind::kBoolean:
      return !status.boolean();
    case JSONValue::Kind::kInteger:
      return status.integer() == 0;
    case JSONValue::Kind::kText:
      return status.text() == "false" || status.text() == "0";
    default:
      return false;
  }
}

}  // namespace

bool isAnswer(const std::optional<HTTPResponse>& response) {
  if (!response) return false;
  const int status = response->statusCode;
  return status < kServerFaults && status != kRequestTimeout && status != kTooManyRequests;
}

bool isSuccess(const std::optional<HTTPResponse>& response) {
  return response && response->statusCode >= 200 && response->statusCode < 300;
}

bool isRefusal(const std::optional<HTTPResponse>& response) {
  return isForbidden(response) || (response && response->statusCode == kUnauthorized);
}

bool isForbidden(const std::optional<HTTPResponse>& response) {
  return response && response->statusCode == kForbidden;
}

std::optional<std::string> accessTokenIn(const JSON& json, const std::string& body) {
  const JSONValue reply = objectIn(json, body);
  if (reply.isNull()) return std::nullopt;
  const JSONValue* token = reply.find("access_token");
  const bool isText = token != nullptr && token->kind() == JSONValue::Kind::kText;
  return isText && !token->text().empty() ? std::optional(token->text()) : std::nullopt;
}

Worth worthOf(const JSON& json, const std::string& body) {
  const JSONValue reply = objectIn(json, body);
  if (reply.isNull()) return Worth::kNone;
  const JSONValue* status = reply.find("status");
  const JSONValue* beacon = reply.find("beacon");
  const bool isUnknown =
      (status != nullptr && saysNo(*status)) || (beacon != nullptr && beacon->isNull());
  return isUnknown ? Worth::kUnknown : Worth::kKnown;
}

std::string offlineLoginReply(const std::string& token) {
  return R"({"access_token":")" + token + R"(","token_type":"Bearer","expires_in":0,"scope":""})";
}

std::string offlineSyncReply() {
  return R"({"status":true,"offline":true,"internal":false,"pubkey":""})";
}

}  // namespace platform
