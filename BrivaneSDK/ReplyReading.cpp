// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/ReplyReading.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>
#include <utility>
#include <variant>

#include "BrivaneSDK/BVInvalidReply.h"
#include "BrivaneSDK/LogLine.h"
#include "BrivaneSDK/NullText.h"
#include "BrivaneSDK/NumberText.h"
#include "BrivaneSDK/Utf8.h"
#include "platform/JSON.h"
#include "platform/RealText.h"
#include "platform/Services.h"

namespace brivane::internal {
namespace {

using platform::JSONValue;
using Kind = JSONValue::Kind;

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

const char* nameOf(Kind kind) {
  switch (kind) {
    case Kind::kNull:
      return "null";
    case Kind::kBoolean:
      return "a boolean";
    case Kind::kInteger:
    case Kind::kReal:
      return "a number";
    case Kind::kText:
      return "a text";
    case Kind::kList:
      return "a list";
    case Kind::kObject:
      return "an object";
  }
  return "";
}

[[noreturn]] void fail(const char* expected, const JSONValue& found) {
  throw BVInvalidReply(std::string("the reply holds ") + nameOf(found.kind()) + " in place of " +
                       expected);
}

void dropWhiteSpace(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
}

/// Takes one sign off the front; true for a minus.
bool dropSign(std::string_view& text) {
  if (text.empty() || (text.front() != '-' && text.front() != '+')) return false;
  const bool negative = text.front() == '-';
  text.remove_prefix(1);
  return negative;
}

std::int64_t leadingInteger(std::string_view text) {
  using Limits = std::numeric_limits<std::int64_t>;
  dropWhiteSpace(text);
  const bool negative = dropSign(text);
  std::uint64_t magnitude = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), magnitude);
  const auto largest = static_cast<std::uint64_t>(Limits::max());
  if (read.ec == std::errc::result_out_of_range || magnitude > largest) {
    return negative ? Limits::min() : Limits::max();
  }
  const auto value = static_cast<std::int64_t>(magnitude);
  return negative ? -value : value;
}

double leadingReal(std::string_view text) {
  dropWhiteSpace(text);
  const bool negative = dropSign(text);
  if (text.starts_with('-')) return 0.0;  // one sign alone
  const platform::LeadingReal read = platform::leadingReal(text);
  return negative && read.length > 0 ? -read.value : read.value;
}

bool beginsAsTrue(std::string_view text) {
  dropWhiteSpace(text);
  dropSign(text);
  const std::size_t first = text.find_first_not_of('0');
  if (first == std::string_view::npos) return false;
  const char c = text[first];
  return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

void logBody(const std::optional<std::string>& body) {
  if (!platform::services().log) return;  // spares checking the whole body
  const bool decodes = body && isUtf8(*body);
  logLine("DATA: ", decodes ? std::string_view(*body) : orNull(std::nullopt));
}

}  // namespace

std::optional<JSONValue> readReply(const std::optional<std::string>& body) {
  logBody(body);
  if (body) {
    auto reply = platform::services().json->read(*body);
    if (auto* value = std::get_if<JSONValue>(&reply)) return std::move(*value);
  }
  logLine("Error parsing JSON");
  return std::nullopt;
}

const JSONValue* valueForKey(const JSONValue* object, std::string_view key) {
  if (object == nullptr) return nullptr;
  if (object->kind() != Kind::kObject) fail("an object", *object);
  return object->find(key);
}

std::optional<std::string> textReading(const JSONValue* value) {
  if (value == nullptr || value->isNull()) return std::nullopt;
  if (value->kind() == Kind::kText) return value->text();
  auto written = platform::services().json->write(*value);
  if (auto* text = std::get_if<std::string>(&written)) return std::move(*text);
  fail("a text", *value);
}

JSONValue objectReading(const JSONValue* value) { return value == nullptr ? JSONValue() : *value; }

std::span<const JSONValue> listReading(const JSONValue* value) {
  if (value == nullptr) return {};
  if (value->kind() != Kind::kList) fail("a list", *value);
  return value->list();
}

std::int64_t integerReading(const JSONValue* value) {
  if (value == nullptr) return 0;
  switch (value->kind()) {
    case Kind::kBoolean:
      return value->boolean() ? 1 : 0;
    case Kind::kInteger:
      return value->integer();
    case Kind::kReal:
      return truncatedInteger(value->real());
    case Kind::kText:
      return leadingInteger(value->text());
    default:
      fail("an integer", *value);
  }
}

double realReading(const JSONValue* value) {
  if (value == nullptr) return 0.0;
  switch (value->kind()) {
    case Kind::kBoolean:
      return value->boolean() ? 1.0 : 0.0;
    case Kind::kInteger:
      return static_cast<double>(value->integer());
    case Kind::kReal:
      return value->real();
    case Kind::kText:
      return leadingReal(value->text());
    default:
      fail("a number", *value);
  }
}

bool booleanReading(const JSONValue* value) {
  if (value == nullptr) return false;
  switch (value->kind()) {
    case Kind::kBoolean:
      return value->boolean();
    case Kind::kInteger:
      return value->integer() != 0;
    case Kind::kReal:
      return value->real() != 0.0;
    case Kind::kText:
      return beginsAsTrue(value->text());
    default:
      fail("a boolean", *value);
  }
}

}  // namespace brivane::internal
