#include "platform/linux/SimdJSON.h"

#include <simdjson.h>

#include <cstddef>
#include <cstdint>
#include <utility>

#include "platform/linux/JSONWriter.h"
#include "platform/linux/LongIntegers.h"

namespace platform {
namespace {

constexpr std::size_t kMaxDepth = 512;
constexpr std::size_t kMaxBytes = SIZE_MAX;

JSONValue convert(simdjson::dom::element element);

JSONValue convert(simdjson::dom::array array) {
  JSONValue::List elements;
  elements.reserve(array.size());
  for (const simdjson::dom::element element : array) elements.push_back(convert(element));
  return elements;
}

JSONValue convert(simdjson::dom::object object) {
  JSONValue::Object members;
  members.reserve(object.size());
  for (const auto member : object) members.emplace_back(member.key, convert(member.value));
  return members;
}

JSONValue convert(simdjson::dom::element element) {
  switch (element.type()) {
    case simdjson::dom::element_type::ARRAY:
      return convert(simdjson::dom::array(element));
    case simdjson::dom::element_type::OBJECT:
      return convert(simdjson::dom::object(element));
    case simdjson::dom::element_type::STRING:
      return std::string(std::string_view(element));
    case simdjson::dom::element_type::INT64:
      return std::int64_t(element);
    case simdjson::dom::element_type::UINT64:
      return static_cast<double>(std::uint64_t(element));
    case simdjson::dom::element_type::DOUBLE:
      return double(element);
    case simdjson::dom::element_type::BOOL:
      return bool(element);
    case simdjson::dom::element_type::NULL_VALUE:
      break;
  }
  return {};
}

/// The outermost value, which lives in `parser`.
simdjson::simdjson_result<simdjson::dom::element> parse(simdjson::dom::parser& parser,
                                                        std::string_view bytes) {
  if (const auto error = parser.allocate(bytes.size(), kMaxDepth)) return error;
  return parser.parse(bytes.data(), bytes.size());
}

}  // namespace

std::variant<JSONValue, JSONError> SimdJSON::read(std::string_view bytes) const {
  if (bytes.empty()) return JSONError{"nothing to read"};  // not even a place to read it from
  simdjson::dom::parser parser(kMaxBytes);
  auto root = parse(parser, bytes);
  if (root.error() == simdjson::NUMBER_ERROR) root = parse(parser, withLongIntegersAsReals(bytes));
  if (root.error()) return JSONError{simdjson::error_message(root.error())};
  if (!root.is_object() && !root.is_array()) return JSONError{"neither an object nor a list"};
  return convert(root.value_unsafe());
}

std::variant<std::string, JSONError> SimdJSON::write(const JSONValue& value) const {
  return writeJSON(value);
}

}  // namespace platform
