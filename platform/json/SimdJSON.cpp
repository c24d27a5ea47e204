#include "platform/json/SimdJSON.h"

#include <simdjson.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <utility>

#include "platform/json/JSONWriter.h"
#include "platform/json/LongIntegers.h"

namespace platform {
namespace {

constexpr std::size_t kMaxDepth = 512;
constexpr std::size_t kMaxBytes = SIZE_MAX;
/// A parser needs some ten times the bytes it reads. What texts up to this size need is kept, as
/// nearly all are so short.
constexpr std::size_t kKeptBytes = 4096;

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

std::variant<JSONValue, JSONError> valueOf(
    const simdjson::simdjson_result<simdjson::dom::element>& root) {
  if (root.error()) return JSONError{simdjson::error_message(root.error())};
  if (!root.is_object() && !root.is_array()) return JSONError{"neither an object nor a list"};
  return convert(root.value_unsafe());
}

}  // namespace

struct SimdJSON::Parser {
  /// The outermost value of `bytes`, which lives in this parser.
  simdjson::simdjson_result<simdjson::dom::element> parse(std::string_view bytes) {
    if (bytes.size() > dom.capacity()) {
      if (const auto error = dom.allocate(bytes.size(), kMaxDepth)) return error;
    }
    return dom.parse(bytes.data(), bytes.size());
  }

  /// Gives back what a large text took, but keeps the implementation: simdjson makes those with
  /// statics that are gone while a process ends, when a reply may still come.
  void shrink() {
    if (dom.capacity() <= kKeptBytes) return;
    auto implementation = std::move(dom.implementation);
    dom = simdjson::dom::parser(kMaxBytes);
    dom.implementation = std::move(implementation);
    [[maybe_unused]] const auto error = dom.allocate(kKeptBytes, kMaxDepth);  // else tried again
  }

  std::mutex mutex;
  simdjson::dom::parser dom{kMaxBytes};
};

SimdJSON::SimdJSON() : parser_(std::make_unique<Parser>()) {
  if (parser_->dom.allocate(kKeptBytes, kMaxDepth)) throw std::bad_alloc();
}

SimdJSON::~SimdJSON() = default;

std::variant<JSONValue, JSONError> SimdJSON::read(std::string_view bytes) const {
  if (bytes.empty()) return JSONError{"nothing to read"};  // not even a place to read it from
  const std::lock_guard lock(parser_->mutex);
  auto root = parser_->parse(bytes);
  if (root.error() == simdjson::NUMBER_ERROR) {
    root = parser_->parse(withLongIntegersAsReals(bytes));
  }
  auto value = valueOf(root);
  parser_->shrink();
  return value;
}

std::variant<std::string, JSONError> SimdJSON::write(const JSONValue& value) const {
  return writeJSON(value);
}

}  // namespace platform
