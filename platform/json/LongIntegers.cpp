#include "platform/json/LongIntegers.h"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace platform {
namespace {

/// Integers of fewer digits always fit.
constexpr std::size_t kLong = std::numeric_limits<std::int64_t>::digits10 + 1;

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
  return number.size() >= kLong && number.find_first_of(".Ee") == std::string_view::npos;
}

}  // namespace

std::string withLongIntegersAsReals(std::string_view json) {
  std::string text;
  text.reserve(json.size());
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

}  // namespace platform
