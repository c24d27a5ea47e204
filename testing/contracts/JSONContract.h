// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <variant>

#include "platform/JSON.h"
#include "platform/JSONValue.h"

namespace brivane::testing {

/// What platform/JSON.h promises. `Adapter` is a platform::JSON that can be made without arguments:
///
///   using namespace brivane::testing;
///   INSTANTIATE_TYPED_TEST_SUITE_P(Simd, JSONContract, platform::SimdJSON);
template <typename Adapter>
class JSONContract : public ::testing::Test {
 protected:
  using Value = platform::JSONValue;

  static std::string nested(int depth) {
    const auto count = static_cast<std::size_t>(depth);
    return std::string(count, '[') + std::string(count, ']');
  }
  bool refuses(const std::string& text) const {
    return std::holds_alternative<platform::JSONError>(json.read(text));
  }
  bool refuses(const Value& value) const {
    return std::holds_alternative<platform::JSONError>(json.write(value));
  }
  /// What is written of a text that was read; the fault when either is refused.
  std::string rewritten(const std::string& text) const {
    const auto value = json.read(text);
    if (const auto* fault = std::get_if<platform::JSONError>(&value)) return fault->message;
    const auto written = json.write(std::get<Value>(value));
    if (const auto* fault = std::get_if<platform::JSONError>(&written)) return fault->message;
    return std::get<std::string>(written);
  }

  const Adapter json;
};

TYPED_TEST_SUITE_P(JSONContract);

TYPED_TEST_P(JSONContract, ReadsAndWritesCompactText) {
  const std::string rows[][2] = {
      {" { } \n", "{}"},
      {R"({"b" : [true, false, null], "a":{"":-1}})", R"({"b":[true,false,null],"a":{"":-1}})"},
      {"[9223372036854775807,-9223372036854775808]", "[9223372036854775807,-9223372036854775808]"},
      {"[40.4168,-0.5]", "[40.4168,-0.5]"},
      {R"(["\u0041\u00f1\ud83d\ude00\/\"\\\u0001"])",
       "[\"A\xC3\xB1\xF0\x9F\x98\x80/\\\"\\\\\\u0001\"]"},
      {this->nested(512), this->nested(512)},
  };
  for (const auto& [text, expected] : rows) EXPECT_EQ(this->rewritten(text), expected);
}

TYPED_TEST_P(JSONContract, TellsKindsApartAndTakesTheFirstOfEqualKeys) {
  const auto value = this->json.read(R"({"k":1,"k":2,"r":1.0,"big":9223372036854775808,"t":"1"})");
  const auto& object = std::get<platform::JSONValue>(value);
  EXPECT_EQ(object.find("k")->integer(), 1);
  EXPECT_EQ(object.find("r")->real(), 1.0);
  EXPECT_EQ(object.find("big")->real(), 9223372036854775808.0);
  EXPECT_EQ(object.find("t")->text(), "1");
}

TYPED_TEST_P(JSONContract, RefusesAllElse) {
  for (const std::string text :
       {"", " ", "1", "\"t\"", "null", "{}{}", "[1] x", "[1,]", "{\"a\"}", "[01]", "[NaN]",
        "[\"\xC3\"]", "[\"\xED\xA0\x80\"]", "[\"\n\"]", "['a']"}) {
    EXPECT_TRUE(this->refuses(text)) << text;
  }
  EXPECT_TRUE(this->refuses(this->nested(513)));
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double real : {std::nan(""), infinity, -infinity}) {
    EXPECT_TRUE(this->refuses(platform::JSONValue(platform::JSONValue::List(1, real)))) << real;
  }
}

REGISTER_TYPED_TEST_SUITE_P(JSONContract, ReadsAndWritesCompactText,
                            TellsKindsApartAndTakesTheFirstOfEqualKeys, RefusesAllElse);

}  // namespace brivane::testing
