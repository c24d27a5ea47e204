// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/Export.h"

namespace platform {

/// One immutable JSON value. A copy shares a list's elements and an object's members, so copies are
/// cheap and any number of threads may read one value. The accessors of a kind throw
/// std::bad_variant_access when the value is of another kind.
class BRIVANE_EXPORT JSONValue {
 public:
  /// The seven kinds of value.
  enum class Kind { kNull, kBoolean, kInteger, kReal, kText, kList, kObject };
  /// A key and its value.
  using Member = std::pair<std::string, JSONValue>;
  /// Elements in their order.
  using List = std::vector<JSONValue>;
  /// Members in their written order. Of two members with one key the first counts.
  using Object = std::vector<Member>;

  /// JSON null.
  JSONValue() = default;
  JSONValue(const JSONValue&) = default;
  JSONValue& operator=(const JSONValue&) = default;
  /// Leaves JSON null behind.
  JSONValue(JSONValue&& other) noexcept : value_(std::exchange(other.value_, {})) {}
  /// Leaves JSON null behind.
  JSONValue& operator=(JSONValue&& other) noexcept {
    value_ = std::move(other.value_);
    other.value_ = {};
    return *this;
  }
  ~JSONValue() = default;

  /// A boolean alone: a pointer is none.
  template <std::same_as<bool> Boolean>
  JSONValue(Boolean value) : value_(value) {}
  /// An integer.
  JSONValue(int value) : value_(std::int64_t{value}) {}
  /// An integer.
  JSONValue(std::int64_t value) : value_(value) {}
  /// A real; NaN and the infinities cannot be written as JSON.
  JSONValue(double value) : value_(value) {}
  /// UTF-8 text.
  JSONValue(std::string value) : value_(std::move(value)) {}
  /// UTF-8 text, up to the terminating zero; not null.
  JSONValue(const char* value) : JSONValue(std::string(value)) {}
  JSONValue(std::nullptr_t) = delete;
  /// A list.
  JSONValue(List elements);
  /// An object.
  JSONValue(Object members);

  /// Which of the accessors below may be called.
  Kind kind() const { return static_cast<Kind>(value_.index()); }
  /// Whether this is JSON null.
  bool isNull() const { return kind() == Kind::kNull; }

  /// The value of a boolean.
  bool boolean() const { return std::get<bool>(value_); }
  /// The value of an integer.
  std::int64_t integer() const { return std::get<std::int64_t>(value_); }
  /// The value of a real; an integer is none.
  double real() const { return std::get<double>(value_); }
  /// Valid as long as this value lives.
  const std::string& text() const& { return std::get<std::string>(value_); }
  /// The text of a value that goes.
  std::string text() && { return std::get<std::string>(std::move(value_)); }
  /// Valid as long as this value or a copy of it lives; so are the members.
  std::span<const JSONValue> list() const& { return *std::get<SharedList>(value_); }
  std::span<const JSONValue> list() const&& = delete;
  /// As `list`.
  std::span<const Member> members() const& { return *std::get<SharedObject>(value_); }
  std::span<const Member> members() const&& = delete;

  /// The value under `key` of an object, or null (no pointer) when the object has no such key.
  /// Valid as long as this value or a copy of it lives.
  const JSONValue* find(std::string_view key) const&;
  const JSONValue* find(std::string_view key) const&& = delete;

  /// Equal kinds with equal contents; members count in order, and 1 is not 1.0.
  friend BRIVANE_EXPORT bool operator==(const JSONValue& a, const JSONValue& b);

 private:
  using SharedList = std::shared_ptr<const List>;
  using SharedObject = std::shared_ptr<const Object>;

  // The order is that of Kind. Texts are not shared: most are too short to be worth it.
  std::variant<std::monostate, bool, std::int64_t, double, std::string, SharedList, SharedObject>
      value_;
};

}  // namespace platform
