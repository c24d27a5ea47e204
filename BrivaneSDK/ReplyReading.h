// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/JSONValue.h"

namespace brivane::internal {

/// How records read the service's replies. The service sends numbers as text at times, and leaves
/// out what it does not know: so a missing value reads as nothing and text reads as the number it
/// begins with. What can be read in no way throws BVInvalidReply.

/// Logs `body` and reads it as JSON. Absent, with a log line, for an absent body or one that is no
/// JSON object or list.
std::optional<platform::JSONValue> readReply(const std::optional<std::string>& body);

/// The value under `key`; no value when there is no object or it has no such key. Throws
/// BVInvalidReply when `object` is no object.
const platform::JSONValue* valueForKey(const platform::JSONValue* object, std::string_view key);

/// A text as it stands, any other value as its JSON text, absent for no value and for JSON null.
std::optional<std::string> textReading(const platform::JSONValue* value);

/// A value of any kind as it stands; JSON null for no value.
platform::JSONValue objectReading(const platform::JSONValue* value);

/// The elements of a list; none for no value. Throws BVInvalidReply for anything but a list.
std::span<const platform::JSONValue> listReading(const platform::JSONValue* value);

/// A number truncated toward zero, a boolean as 1 or 0, a text by the decimal integer that it
/// begins with, 0 for no value. What 64 bits cannot hold becomes the nearest that they can.
std::int64_t integerReading(const platform::JSONValue* value);

/// A number as it is, a boolean as 1 or 0, a text by the decimal number that it begins with, 0 for
/// no value.
double realReading(const platform::JSONValue* value);

/// True for true, a number other than 0, and a text that begins with Y, y, T, t or a digit 1 to 9
/// after white space, one sign and zeros; false for no value.
bool booleanReading(const platform::JSONValue* value);

}  // namespace brivane::internal
