// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/Export.h"
#include "platform/JSONValue.h"

/// A place. Texts are null where the service sent none.
class BRIVANE_EXPORT BVLocal {
 public:
  /// The place that `dict` describes; all empty when `dict` is null. Never null. Throws
  /// BVInvalidReply when `dict` is no object or its zip cannot be read as an integer.
  static std::shared_ptr<const BVLocal> parse(const platform::JSONValue* dict);

  /// The place's name.
  const std::optional<std::string>& name() const { return name_; }
  void setName(std::optional<std::string> value) { name_ = std::move(value); }
  /// Never filled from a reply.
  const std::optional<std::string>& uuid() const { return uuid_; }
  void setUuid(std::optional<std::string> value) { uuid_ = std::move(value); }
  /// The city it is in.
  const std::optional<std::string>& city() const { return city_; }
  void setCity(std::optional<std::string> value) { city_ = std::move(value); }
  /// What kind of place it is, in the service's words.
  const std::optional<std::string>& category() const { return category_; }
  void setCategory(std::optional<std::string> value) { category_ = std::move(value); }
  /// Street address.
  const std::optional<std::string>& address() const { return address_; }
  void setAddress(std::optional<std::string> value) { address_ = std::move(value); }
  /// Telephone number, as the service writes it.
  const std::optional<std::string>& phone() const { return phone_; }
  void setPhone(std::optional<std::string> value) { phone_ = std::move(value); }
  /// Web address; not checked.
  const std::optional<std::string>& web() const { return web_; }
  void setWeb(std::optional<std::string> value) { web_ = std::move(value); }
  /// E-mail address; not checked.
  const std::optional<std::string>& email() const { return email_; }
  void setEmail(std::optional<std::string> value) { email_ = std::move(value); }
  /// The postal code as a number: a leading zero is lost. 0 where the service sent none.
  std::int64_t zip() const { return zip_; }
  void setZip(std::int64_t value) { zip_ = value; }

 private:
  std::optional<std::string> name_;
  std::optional<std::string> uuid_;
  std::optional<std::string> city_;
  std::optional<std::string> category_;
  std::optional<std::string> address_;
  std::optional<std::string> phone_;
  std::optional<std::string> web_;
  std::optional<std::string> email_;
  std::int64_t zip_ = 0;
};
