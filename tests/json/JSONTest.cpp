// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>

#include "platform/json/SimdJSON.h"

namespace {

using platform::JSONError;
using platform::JSONValue;
using platform::SimdJSON;

std::string repeated(int times, const std::string& text) {
  std::string all;
  for (; times > 0; --times) all += text;
  return all;
}
std::string nested(int depth, const std::string& text) { return repeated(depth, "[") + text + repeated(depth, "]"); }

TEST(JSON, ReadsAndWritesTheSameCompactText) {
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  const SimdJSON json;
  const std::pair<std::string, std::string> rows[] = {
      {" [ ] \n", "[]"},
      {R"({"b":[true,false,null],"a":{"":-1}})", R"({"b":[true,false,null],"a":{"":-1}})"},
      {"[40.4168,1E5,100000.0,-0.0,12345678.5,9999999999999998.0,1e16,-0.0001,0.00009]",
       "[40.4168,100000,100000,-0,12345678.5,9999999999999998,1e+16,-0.0001,9e-05]"},
      // What is too large becomes a real, alone.
      {"[9223372036854775807,-9223372036854775808,9223372036854775808]",
       "[9223372036854775807,-9223372036854775808,9.223372036854776e+18]"},
      {"[18446744073709551616,1234567890123456789,-123456789012345678]",
       "[1.8446744073709552e+19,1234567890123456789,-123456789012345678]"},
      {R"([123456789012345678901,-99999999999999999999,{"\"9999999999999999999999":1.5,"e":false}])",
       R"([1.2345678901234568e+20,-1e+20,{"\"9999999999999999999999":1.5,"e":false}])"},
      {"[\"" + std::string(16 << 20, 'x') + "\"]", "[\"" + std::string(16 << 20, 'x') + "\"]"},
      {R"(["\u0041\u00f1\ud83d\ude00\/\"\\\b\f\n\r\t\u0001"])",
       "[\"Añ\xF0\x9F\x98\x80/\\\"\\\\\\b\\f\\n\\r\\t\\u0001\"]"},
      {nested(512, "1"), nested(512, "1")},
      {"[" + repeated(99999, "0,") + "0]", "[" + repeated(99999, "0,") + "0]"},
      {R"({"k":1,"k":2})", R"({"k":1})"},
  };
  for (const auto& [text, expected] : rows) {
    const auto value = json.read(text);
    ASSERT_TRUE(std::holds_alternative<JSONValue>(value)) << text;
    EXPECT_EQ(std::get<std::string>(json.write(std::get<JSONValue>(value))), expected);
  }
}

TEST(JSON, RefusesAllElse) {
  const SimdJSON json;
  const std::vector<std::string> texts = {"", "1", "null", "{}{}", "[1e400]", "[\"\xC3\"]", nested(513, ""),
                                          nested(512, "[]"), "[" + repeated(100000, "0,") + "0]",
                                          // What is an integer too long for 64 bits, but no JSON for all that.
                                          "[" + std::string(400, '9') + "]", "[00000000000000000000001]",
                                          "[99999999999999999999", "[99999999999999999999,\"\\"};
  for (const std::string& text : texts) {
    EXPECT_TRUE(std::holds_alternative<JSONError>(json.read(text))) << text.substr(0, 20);
  }
  EXPECT_TRUE(std::holds_alternative<JSONError>(json.read({})));
  JSONValue deep;
  for (int i = 0; i < 513; ++i) deep = JSONValue::List{deep};
  for (const JSONValue& value : {JSONValue(std::nan("")), JSONValue(JSONValue::List{HUGE_VAL}), JSONValue("\xFF"),
                                 JSONValue(JSONValue::Object{{"\xC3", 1}}), deep}) {
    EXPECT_TRUE(std::holds_alternative<JSONError>(json.write(value)));
  }
}

}  // namespace
