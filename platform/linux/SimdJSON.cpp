#include "platform/linux/SimdJSON.h"

#include <simdjson.h>

#include <cstddef>
#include <cstdint>
#include <utility>

#include "platform/linux/JSONWriter.h"

namespace platform {
namespace {

constexpr std::size_t kMaxDepth = 512;
constexpr std::size_t kMaxBytes = SIZE_MAX;
/// A parser needs some ten times the bytes it reads. Each thread keeps one for texts up to this
/// size, as nearly all are.
constexpr std::size_t kKeptParserBytes = 4096;

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

JSONError failure(simdjson::error_code error) { return {simdjson::error_message(error)}; }

/// The parser has been allocated for so many bytes.
std::variant<JSONValue, JSONError> readWith(simdjson::dom::parser& parser, std::string_view bytes) {
  simdjson::dom::element root;
  if (const auto error = parser.parse(bytes.data(), bytes.size()).get(root)) return failure(error);
  if (!root.is_object() && !root.is_array()) return JSONError{"neither an object nor a list"};
  return convert(root);
}

std::variant<JSONValue, JSONError> readOnce(std::string_view bytes) {
  simdjson::dom::parser parser(kMaxBytes);
  if (const auto error = parser.allocate(bytes.size(), kMaxDepth)) return failure(error);
  return readWith(parser, bytes);
}

}  // namespace

std::variant<JSONValue, JSONError> SimdJSON::read(std::string_view bytes) const {
  if (bytes.size() > kKeptParserBytes) return readOnce(bytes);
  thread_local simdjson::dom::parser kept(kMaxBytes);
  if (kept.capacity() == 0) {
    if (const auto error = kept.allocate(kKeptParserBytes, kMaxDepth)) return failure(error);
  }
  return readWith(kept, bytes);
}

std::variant<std::string, JSONError> SimdJSON::write(const JSONValue& value) const {
  return writeJSON(value);
}

}  // namespace platform
