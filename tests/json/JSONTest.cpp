// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <clocale>

#include "platform/json/SimdJSON.h"
#include "testing/contracts/JSONContract.h"

namespace {

using namespace brivane::testing;
using namespace platform;

INSTANTIATE_TYPED_TEST_SUITE_P(Simd, JSONContract, SimdJSON);

/// A list of so many zeros and one more.
std::string many(int zeros) {
  std::string all = "[";
  for (; zeros > 0; --zeros) all += "0,";
  return all + "0]";
}

/// Beyond the contract: numbers that the parser does not take, limits of what a reply may cost, and how reals look.
TEST(SimdJSON, ReadsAndWritesNumbersOfAnySize) {
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  const SimdJSON json;
  const std::string large = "[\"" + std::string(10 << 20, 'x') + "\"]";
  const std::pair<std::string, std::string> rows[] = {
      {"[1E5,100000.0,-0.0,12345678.5,9999999999999998.0,1e16,-0.0001,0.00009]",
       "[100000,100000,-0,12345678.5,9999999999999998,1e+16,-0.0001,9e-05]"},
      // What is too large becomes a real, alone.
      {"[9223372036854775807,9223372036854775808]", "[9223372036854775807,9.223372036854776e+18]"},
      {"[18446744073709551616,1234567890123456789,-123456789012345678]",
       "[1.8446744073709552e+19,1234567890123456789,-123456789012345678]"},
      {R"([123456789012345678901,-99999999999999999999,{"\"9999999999999999999999":1.5,"e":false}])",
       R"([1.2345678901234568e+20,-1e+20,{"\"9999999999999999999999":1.5,"e":false}])"},
      {large, large},
      {many(129999), many(129999)},
      {R"(["\b\f\n\r\t"])", R"(["\b\f\n\r\t"])"},
      {R"({"k":1,"k":2})", R"({"k":1})"},
  };
  for (const auto& [text, expected] : rows) {
    const auto value = json.read(text);
    ASSERT_TRUE(std::holds_alternative<JSONValue>(value)) << text;
    EXPECT_EQ(std::get<std::string>(json.write(std::get<JSONValue>(value))), expected);
  }
}

TEST(SimdJSON, RefusesWhatIsTooMuch) {
  const SimdJSON json;
  for (const std::string& text : {std::string("[1e400]"), many(130000),
                                  // What is an integer too long for 64 bits, but no JSON for all that.
                                  "[" + std::string(400, '9') + "]", std::string("[00000000000000000000001]"),
                                  std::string("[99999999999999999999"), std::string("[99999999999999999999,\"\\")}) {
    EXPECT_TRUE(std::holds_alternative<JSONError>(json.read(text))) << text.substr(0, 20);
  }
  EXPECT_TRUE(std::holds_alternative<JSONError>(json.read({})));
  JSONValue deep;
  for (int i = 0; i < 513; ++i) deep = JSONValue::List{deep};
  for (const JSONValue& value : {JSONValue("\xFF"), JSONValue(JSONValue::Object{{"\xC3", 1}}), deep}) {
    EXPECT_TRUE(std::holds_alternative<JSONError>(json.write(value)));
  }
}

}  // namespace
