// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/Export.h"

/// The service's answer to a login. A refusal is one too, with its fields empty.
class BRIVANE_EXPORT BVAPILogin {
 public:
  /// Reads the body of a login reply. Null, with a log line, when it is no JSON. Throws
  /// BVInvalidReply for JSON of another form.
  static std::shared_ptr<const BVAPILogin> parse(const std::optional<std::string>& body);

  /// The token that later requests carry; null after a refusal.
  const std::optional<std::string>& access_token() const { return access_token_; }
  void setAccess_token(std::optional<std::string> value) { access_token_ = std::move(value); }
  /// What the token entitles to, in the service's words; null when it sent none. The library does
  /// not use it.
  const std::optional<std::string>& scope() const { return scope_; }
  void setScope(std::optional<std::string> value) { scope_ = std::move(value); }
  /// The kind of token, as the service names it; null when it sent none. The library does not use
  /// it.
  const std::optional<std::string>& token_type() const { return token_type_; }
  void setToken_type(std::optional<std::string> value) { token_type_ = std::move(value); }
  /// Seconds that the token was good for when the reply came.
  std::int64_t expires_in() const { return expires_in_; }
  void setExpires_in(std::int64_t value) { expires_in_ = value; }
  /// When the token expires: the time of the parse and `expires_in` seconds, or the end of what the
  /// clock can hold.
  std::chrono::system_clock::time_point expires_date() const { return expires_date_; }
  void setExpires_date(std::chrono::system_clock::time_point value) { expires_date_ = value; }

 private:
  std::optional<std::string> access_token_;
  std::optional<std::string> scope_;
  std::optional<std::string> token_type_;
  std::int64_t expires_in_ = 0;
  std::chrono::system_clock::time_point expires_date_;
};
