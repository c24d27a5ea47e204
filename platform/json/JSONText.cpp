// SPDX-License-Identifier: Apache-2.0
#include "platform/json/JSONText.h"

#include <charconv>
#include <cstdint>
#include <system_error>

namespace platform {
namespace {

/// The string at the front of `json`, with its quotes; all of it when it does not end.
std::string_view stringAtFront(std::string_view json) {
  for (std::size_t i = 1; i < json.size(); ++i) {
    if (json[i] == '\\') {
      ++i;
    } else if (json[i] == '"') {
      return json.substr(0, i + 1);
    }
  }
  return json;
}

/// The number at the front of `json`, if there is one.
std::string_view numberAtFront(std::string_view json) {
  return json.substr(0, json.find_first_not_of("+-.0123456789Ee"));
}

bool isLongInteger(std::string_view number) {
  if (number.find_first_of(".Ee") != std::string_view::npos) return false;
  std::int64_t integer = 0;
  const auto read = std::from_chars(number.data(), number.data() + number.size(), integer);
  return read.ec == std::errc::result_out_of_range;
}

}  // namespace

std::string withLongIntegersAsReals(std::string_view json) {
  std::string text;
  text.reserve(json.size() + json.size() / 9);  // two characters for 19 digits
  while (!json.empty()) {
    const bool isString = json.front() == '"';
    const std::string_view number = isString ? std::string_view() : numberAtFront(json);
    const std::string_view part = isString         ? stringAtFront(json)
                                  : number.empty() ? json.substr(0, 1)
                                                   : number;
    text += part;
    if (isLongInteger(number)) text += ".0";
    json.remove_prefix(part.size());
  }
  return text;
}

bool holdsMoreValuesThan(std::size_t most, std::string_view json) {
  std::size_t values = 0;
  while (values <= most && json.size() > most - values) {
    const char c = json.front();
    if (c == '[' || c == '{' || c == ',' || c == ':') ++values;
    json.remove_prefix(c == '"' ? stringAtFront(json).size() : 1);
  }
  return values > most;
}

}  // namespace platform
