// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/Export.h"

/// The service's answer to a device that announced itself.
class BRIVANE_EXPORT BVAPISync {
 public:
  /// Reads the body of a sync reply. Null, with a log line, when it is no JSON. Throws
  /// BVInvalidReply for JSON of another form.
  static std::shared_ptr<const BVAPISync> parse(const std::optional<std::string>& body);

  /// The three flags as the service sent them, false where it sent none. The library logs them and
  /// decides nothing by them.
  bool offline() const { return offline_; }
  void setOffline(bool value) { offline_ = value; }
  /// See `offline`.
  bool internal() const { return internal_; }
  void setInternal(bool value) { internal_ = value; }
  /// See `offline`: a sync whose status is false counts too.
  bool status() const { return status_; }
  void setStatus(bool value) { status_ = value; }
  /// The service's public key, as it sent it; null when it sent none.
  const std::optional<std::string>& pubkey() const { return pubkey_; }
  void setPubkey(std::optional<std::string> value) { pubkey_ = std::move(value); }

 private:
  bool offline_ = false;
  bool internal_ = false;
  bool status_ = false;
  std::optional<std::string> pubkey_;
};
