// SPDX-License-Identifier: Apache-2.0
#include "platform/json/JSONWriter.h"

#include <simdjson.h>

#include <array>
#include <charconv>
#include <cmath>
#include <set>
#include <string_view>
#include <utility>

#include "platform/RealText.h"

namespace platform {
namespace {

constexpr int kMaxDepth = 512;

class Writer {
 public:
  /// Appends `value`; false when it has no JSON form, and then `error` says why.
  bool write(const JSONValue& value, int depth);

  std::string text;
  std::string error;

 private:
  bool fail(const char* why) {
    error = why;
    return false;
  }

  void writeInteger(std::int64_t integer);
  bool writeReal(double real);
  bool writeText(std::string_view plain);
  void writeCharacter(char c);
  bool writeList(const JSONValue& list, int depth);
  bool writeObject(const JSONValue& object, int depth);
};

bool Writer::write(const JSONValue& value, int depth) {
  if (depth > kMaxDepth) return fail("more than 512 levels deep");
  switch (value.kind()) {
    case JSONValue::Kind::kNull:
      text += "null";
      return true;
    case JSONValue::Kind::kBoolean:
      text += value.boolean() ? "true" : "false";
      return true;
    case JSONValue::Kind::kInteger:
      writeInteger(value.integer());
      return true;
    case JSONValue::Kind::kReal:
      return writeReal(value.real());
    case JSONValue::Kind::kText:
      return writeText(value.text());
    case JSONValue::Kind::kList:
      return writeList(value, depth + 1);
    case JSONValue::Kind::kObject:
      return writeObject(value, depth + 1);
  }
  return fail("a value of no kind");
}

void Writer::writeInteger(std::int64_t integer) {
  std::array<char, 20> digits{};  // the sign and 19 digits
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), integer);
  text.append(digits.data(), end.ptr);
}

bool Writer::writeReal(double real) {
  if (!std::isfinite(real)) return fail("a number that is not finite");
  text += realText(real);
  return true;
}

bool Writer::writeText(std::string_view plain) {
  if (!simdjson::validate_utf8(plain)) return fail("a text that is not UTF-8");
  text += '"';
  for (const char c : plain) writeCharacter(c);
  text += '"';
  return true;
}

void Writer::writeCharacter(char c) {
  static constexpr std::string_view kEscaped = "\"\\\b\f\n\r\t";
  static constexpr std::string_view kEscapes = "\"\\bfnrt";
  static constexpr std::string_view kHex = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(c);
  if (const auto at = kEscaped.find(c); at != std::string_view::npos) {
    text += '\\';
    text += kEscapes[at];
  } else if (byte < 0x20) {
    text += "\\u00";
    text += kHex[byte >> 4U];
    text += kHex[byte & 0x0FU];
  } else {
    text += c;
  }
}

bool Writer::writeList(const JSONValue& list, int depth) {
  text += '[';
  bool first = true;
  for (const JSONValue& element : list.list()) {
    if (!std::exchange(first, false)) text += ',';
    if (!write(element, depth)) return false;
  }
  text += ']';
  return true;
}

bool Writer::writeObject(const JSONValue& object, int depth) {
  text += '{';
  bool first = true;
  std::set<std::string_view> written;
  for (const auto& [key, value] : object.members()) {
    if (!written.insert(key).second) continue;  // of equal keys the first counts
    if (!std::exchange(first, false)) text += ',';
    if (!writeText(key)) return false;
    text += ':';
    if (!write(value, depth)) return false;
  }
  text += '}';
  return true;
}

}  // namespace

std::variant<std::string, JSONError> writeJSON(const JSONValue& value) {
  Writer writer;
  if (!writer.write(value, 0)) return JSONError{std::move(writer.error)};
  return std::move(writer.text);
}

}  // namespace platform
