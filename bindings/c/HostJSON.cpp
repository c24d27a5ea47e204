// SPDX-License-Identifier: Apache-2.0
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "bindings/c/Failure.h"
#include "bindings/c/HostServices.h"
#include "platform/JSON.h"
#include "platform/JSONValue.h"
#include "platform/json/SimdJSON.h"

using platform::JSONValue;

/// A value in the making.
struct brivane_json_value {
  /// A list or an object that has not ended.
  struct Open {
    bool isObject;
    /// Its own key, where it stands in an object.
    std::optional<std::string> key;
    JSONValue::List elements;
    JSONValue::Object members;
  };

  /// Depth at which the library reads no further.
  static constexpr std::size_t kDeepest = 512;

  void name(std::string text) {
    isBroken = isBroken || key;
    key = std::move(text);
  }

  void begin(bool isObject) {
    isBroken = isBroken || open.size() == kDeepest;
    if (!isBroken) open.push_back({isObject, std::exchange(key, std::nullopt), {}, {}});
  }

  void end() {
    isBroken = isBroken || open.empty() || key.has_value();
    if (isBroken) return;
    Open ended = std::move(open.back());
    open.pop_back();
    key = std::move(ended.key);
    add(ended.isObject ? JSONValue(std::move(ended.members))
                       : JSONValue(std::move(ended.elements)));
  }

  /// Adds it to what is open, or takes it for the whole.
  void add(JSONValue value) {
    if (open.empty()) {
      const bool isNested =
          value.kind() == JSONValue::Kind::kList || value.kind() == JSONValue::Kind::kObject;
      isBroken = isBroken || whole || key || !isNested;
      whole = std::move(value);
    } else if (open.back().isObject != key.has_value()) {
      isBroken = true;
    } else if (key) {
      open.back().members.emplace_back(*std::exchange(key, std::nullopt), std::move(value));
    } else {
      open.back().elements.push_back(std::move(value));
    }
  }

  std::vector<Open> open;
  /// Of the element that follows.
  std::optional<std::string> key;
  std::optional<JSONValue> whole;
  bool isBroken = false;
};

namespace brivane::internal {
namespace {

class HostJSON final : public platform::JSON {
 public:
  explicit HostJSON(const brivane_json& table) : table_(table) {
    require(table.read != nullptr, "json.read");
  }

  std::variant<JSONValue, platform::JSONError> read(std::string_view bytes) const override {
    brivane_json_value value;
    if (!table_.read(table_.user, bytes.data(), bytes.size(), &value)) {
      return platform::JSONError{"the host's parser refuses it"};
    }
    if (value.isBroken || !value.open.empty() || !value.whole) {
      return platform::JSONError{"the host's parser told no whole value"};
    }
    return *std::move(value.whole);
  }

  std::variant<std::string, platform::JSONError> write(const JSONValue& value) const override {
    return writer_.write(value);
  }

 private:
  const brivane_json table_;
  const platform::SimdJSON writer_;
};

/// Adds a piece; without the memory for it, nothing whole comes of the value.
template <typename Piece>
void tell(brivane_json_value* to, const Piece& piece) {
  if (guarded(nullptr, [&] { piece(*to); }) != BRIVANE_OK) to->isBroken = true;
}

template <typename Value>
void add(brivane_json_value* to, Value value) {
  tell(to, [&](auto& into) { into.add(JSONValue(value)); });
}

}  // namespace

std::shared_ptr<platform::JSON> hostJSON(const brivane_json& table) {
  return std::make_shared<HostJSON>(table);
}

}  // namespace brivane::internal

using brivane::internal::add;
using brivane::internal::orEmpty;
using brivane::internal::tell;

void brivane_json_begin_object(brivane_json_value* to) {
  tell(to, [](auto& into) { into.begin(true); });
}
void brivane_json_key(brivane_json_value* to, const char* key) {
  tell(to, [&](auto& into) { into.name(orEmpty(key)); });
}
void brivane_json_begin_list(brivane_json_value* to) {
  tell(to, [](auto& into) { into.begin(false); });
}
void brivane_json_end(brivane_json_value* to) {
  tell(to, [](auto& into) { into.end(); });
}
void brivane_json_text(brivane_json_value* to, const char* text) {
  tell(to, [&](auto& into) { into.add(text != nullptr ? JSONValue(text) : JSONValue()); });
}
void brivane_json_integer(brivane_json_value* to, int64_t value) { add(to, value); }
void brivane_json_real(brivane_json_value* to, double value) { add(to, value); }
void brivane_json_boolean(brivane_json_value* to, bool value) { add(to, value); }
void brivane_json_null(brivane_json_value* to) {
  tell(to, [](auto& into) { into.add({}); });
}
