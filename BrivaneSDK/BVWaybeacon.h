// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/Export.h"
#include "platform/JSONValue.h"

/// A beacon of the network as the service describes it. Texts are null where the service sent none.
/// The library never changes one after its factory has returned it.
class BRIVANE_EXPORT BVWaybeacon {
 public:
  /// The beacon that `dict` describes; all empty when `dict` is null. Never null. Throws
  /// BVInvalidReply when `dict` is no object or a coordinate cannot be read as a number.
  static std::shared_ptr<const BVWaybeacon> parseWithDict(const platform::JSONValue* dict);

  /// Always null: a beacon never stands alone in a reply.
  static std::shared_ptr<const BVWaybeacon> parse(const platform::JSONValue& any);

  /// The beacon's identifier at the service.
  const std::optional<std::string>& uuid() const { return uuid_; }
  void setUuid(std::optional<std::string> value) { uuid_ = std::move(value); }
  /// The beacon's name: what a person is told.
  const std::optional<std::string>& name() const { return name_; }
  void setName(std::optional<std::string> value) { name_ = std::move(value); }
  /// Degrees, as is the longitude; 0 where the service sent none.
  double latitude() const { return latitude_; }
  void setLatitude(double value) { latitude_ = value; }
  /// Degrees, positive to the east; 0 where the service sent none.
  double longitude() const { return longitude_; }
  void setLongitude(double value) { longitude_ = value; }
  /// Where the beacon is, in words.
  const std::optional<std::string>& location() const { return location_; }
  void setLocation(std::optional<std::string> value) { location_ = std::move(value); }
  /// Accessibility information, in words. Spelled as the service spells it.
  const std::optional<std::string>& accesibility() const { return accesibility_; }
  void setAccesibility(std::optional<std::string> value) { accesibility_ = std::move(value); }
  /// A link to more about the place; not checked.
  const std::optional<std::string>& url() const { return url_; }
  void setUrl(std::optional<std::string> value) { url_ = std::move(value); }
  /// What is attached to the beacon, an object by rule; JSON null where there is nothing.
  const platform::JSONValue& payload() const { return payload_; }
  void setPayload(platform::JSONValue value) { payload_ = std::move(value); }

 private:
  std::optional<std::string> uuid_;
  std::optional<std::string> name_;
  double latitude_ = 0.0;
  double longitude_ = 0.0;
  std::optional<std::string> location_;
  std::optional<std::string> accesibility_;
  std::optional<std::string> url_;
  platform::JSONValue payload_;
};
