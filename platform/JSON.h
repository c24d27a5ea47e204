// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "platform/Export.h"
#include "platform/JSONValue.h"

namespace platform {

/// Why a text is no JSON, or a value cannot be written as JSON; one line for a person.
struct JSONError {
  /// The line, without its end.
  std::string message;
};

/// Reads and writes JSON. Called on any thread, several at once, several times a second; an
/// implementation keeps no state that a caller could see.
class BRIVANE_EXPORT JSON {
 public:
  virtual ~JSON() = default;

  /// Reads one value, an object or a list at the top level, from UTF-8 bytes. Strict: a bare
  /// scalar, an empty text, invalid UTF-8, trailing bytes and a depth over 512 are errors. Of two
  /// equal keys the first counts.
  virtual std::variant<JSONValue, JSONError> read(std::string_view bytes) const = 0;

  /// Writes any value as compact UTF-8 text: no spaces, no line breaks. NaN and the infinities are
  /// errors, as they have no JSON form.
  virtual std::variant<std::string, JSONError> write(const JSONValue& value) const = 0;
};

}  // namespace platform
