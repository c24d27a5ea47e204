// SPDX-License-Identifier: Apache-2.0
#include "platform/json/SimdJSON.h"

#include <simdjson.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <string>
#include <utility>

#include "platform/json/JSONText.h"
#include "platform/json/JSONWriter.h"

namespace platform {
namespace {

constexpr std::size_t kMaxDepth = 512;
/// simdjson counts a level for what stands in the innermost list, unless that is empty.
constexpr std::size_t kParserDepth = kMaxDepth + 1;
/// A value costs up to 120 bytes while it is read, and all texts up to three times their length. So
/// reading 10 MiB, which is what a reply may have, stays below 64 MiB, and a list of 5,000 places,
/// each with 25 values and keys, is read.
constexpr std::size_t kMaxValues = 130'000;
constexpr std::size_t kMaxBytes = SIZE_MAX;
/// A parser needs some ten times the bytes it reads. What texts up to this size need is kept, as
/// nearly all are so short.
constexpr std::size_t kKeptBytes = 4096;

/// Makes values of simdjson's elements, and keeps how deep they went.
class Conversion {
 public:
  JSONValue convert(simdjson::dom::element element, std::size_t depth = 1);
  std::size_t deepest() const { return deepest_; }

 private:
  JSONValue convert(simdjson::dom::array array, std::size_t depth);
  JSONValue convert(simdjson::dom::object object, std::size_t depth);

  std::size_t deepest_ = 0;
};

JSONValue Conversion::convert(simdjson::dom::array array, std::size_t depth) {
  deepest_ = std::max(deepest_, depth);
  JSONValue::List elements;
  elements.reserve(array.size());
  for (const simdjson::dom::element element : array) {
    elements.push_back(convert(element, depth + 1));
  }
  return elements;
}

JSONValue Conversion::convert(simdjson::dom::object object, std::size_t depth) {
  deepest_ = std::max(deepest_, depth);
  JSONValue::Object members;
  members.reserve(object.size());
  for (const auto member : object) {
    members.emplace_back(member.key, convert(member.value, depth + 1));
  }
  return members;
}

JSONValue Conversion::convert(simdjson::dom::element element, std::size_t depth) {
  switch (element.type()) {
    case simdjson::dom::element_type::ARRAY:
      return convert(simdjson::dom::array(element), depth);
    case simdjson::dom::element_type::OBJECT:
      return convert(simdjson::dom::object(element), depth);
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
  Conversion conversion;
  JSONValue value = conversion.convert(root.value_unsafe());
  if (conversion.deepest() > kMaxDepth) return JSONError{"more than 512 levels deep"};
  return value;
}

}  // namespace

struct SimdJSON::Parser {
  /// The outermost value of `bytes`, which lives in this parser.
  simdjson::simdjson_result<simdjson::dom::element> parse(std::string_view bytes) {
    if (bytes.size() > dom.capacity()) {
      if (const auto error = dom.allocate(bytes.size(), kParserDepth)) return error;
    }
    padded.reserve(bytes.size() + simdjson::SIMDJSON_PADDING);
    padded.assign(bytes).append(simdjson::SIMDJSON_PADDING, ' ');
    const auto root = dom.parse(padded.data(), bytes.size(), false);
    if (padded.capacity() > kKeptBytes) std::string().swap(padded);
    return root;
  }

  /// Gives back what a large text took, but keeps the implementation: simdjson makes those with
  /// statics that are gone while a process ends, when a reply may still come.
  void shrink() {
    if (dom.capacity() <= kKeptBytes) return;
    auto implementation = std::move(dom.implementation);
    dom = simdjson::dom::parser(kMaxBytes);
    dom.implementation = std::move(implementation);
    [[maybe_unused]] const auto error = dom.allocate(kKeptBytes, kParserDepth);  // else tried again
  }

  std::mutex mutex;
  simdjson::dom::parser dom{kMaxBytes};
  /// What is parsed, with the room behind it that simdjson reads ahead. What it finds is elsewhere.
  std::string padded;
};

SimdJSON::SimdJSON() : parser_(std::make_unique<Parser>()) {
  if (parser_->dom.allocate(kKeptBytes, kParserDepth)) throw std::bad_alloc();
}

SimdJSON::~SimdJSON() = default;

std::variant<JSONValue, JSONError> SimdJSON::read(std::string_view bytes) const {
  if (bytes.empty()) return JSONError{"nothing to read"};  // not even a place to read it from
  if (holdsMoreValuesThan(kMaxValues, bytes)) {
    return JSONError{"more than " + std::to_string(kMaxValues) + " values"};
  }
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
