#include <gtest/gtest.h>

#include <chrono>
#include <clocale>
#include <limits>
#include <stdexcept>

#include "tests/sdk/FakeServices.h"

namespace {

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

class Records : public testing::Test {
 protected:
  FakeServices& services = FakeServices::get();
};

std::string inBody(const char* key, const std::string& value) { return std::string("{\"") + key + "\":" + value + "}"; }

TEST_F(Records, ReadNumbersAndBooleansFromWhateverTheServiceSends) {
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);  // where 4,5 is a number
  struct Row {
    const char* json;
    std::int64_t integer;
    double real;
    bool boolean;
  };
  const Row rows[] = {
      {"0", 0, 0, false},
      {"-7", -7, -7, true},
      {"-71.9", -71, -71.9, true},
      {"0.3", 0, 0.3, true},
      {"1e300", kLargest, 1e300, true},
      {"18446744073709551615", kLargest, 18446744073709551615.0, true},
      {"true", 1, 1, true},
      {"false", 0, 0, false},
      {R"("")", 0, 0, false},
      {R"("042")", 42, 42, true},
      {R"(" \t\n+8 steps")", 8, 8, true},
      {R"("-9")", -9, -9, true},
      {R"("+-9")", 0, 0, false},
      {R"("- 9")", 0, 0, false},
      {R"("4,5")", 4, 4, true},
      {R"("41.38")", 41, 41.38, true},
      {R"(".2")", 0, 0.2, false},
      {R"("12.e4")", 12, 120000, true},
      {R"("1e2.3")", 1, 100, true},
      {R"(".e12")", 0, 0, false},
      {R"("0x1A")", 0, 0, false},
      {R"("inf")", 0, 0, false},
      {R"("-nan")", 0, 0, false},
      {R"("1e999")", 1, kInfinity, true},
      {R"("-0.1e999")", 0, -kInfinity, false},
      {R"("1e-999")", 1, 0, true},
      {R"("0e99999")", 0, 0, false},
      {R"("99999999999999999999")", kLargest, 99999999999999999999.0, true},
      {R"("-99999999999999999999")", -kLargest - 1, -99999999999999999999.0, true},
      {R"(" +000Yes")", 0, 0, true},
      {R"("00t")", 0, 0, true},
      {R"("no")", 0, 0, false},
      {R"("x1")", 0, 0, false},
      {R"("0Ñ")", 0, 0, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.json);
    EXPECT_EQ(BVAPIResolve::parse(inBody("rssi", row.json))->rssi(), row.integer);
    EXPECT_EQ(BVWaybeaconDistance::parse(inBody("distance", row.json))->distance(), row.real);
    EXPECT_EQ(BVAPISync::parse(inBody("internal", row.json))->internal(), row.boolean);
  }
}

TEST_F(Records, KeepTextsAsTheyStandAndOtherValuesAsTheirJSON) {
  const auto waybeacon = BVAPIResolve::parse(
                             R"({"waybeacon":{"uuid":"a\u00e9","name":12.50,"location":null,"accesibility":{"b":[true]},
          "accessibility":"other","url":"","latitude":"41.38","longitude":2,
          "payload":{"a":1}}})")
                             ->waybeacon();
  EXPECT_EQ(waybeacon->uuid(), "aé");
  EXPECT_EQ(waybeacon->name(), "12.5");
  EXPECT_EQ(waybeacon->location(), std::nullopt);
  EXPECT_EQ(waybeacon->accesibility(), R"({"b":[true]})");
  EXPECT_EQ(waybeacon->url(), "");
  EXPECT_EQ(waybeacon->latitude(), 41.38);
  EXPECT_EQ(waybeacon->longitude(), 2.0);
  EXPECT_EQ(waybeacon->payload(), platform::JSONValue(platform::JSONValue::Object{{"a", 1}}));
  EXPECT_EQ(BVWaybeacon::parse(platform::JSONValue()), nullptr);
  EXPECT_EQ(BVAPIPayload::parse(R"({"status":1,"payload":"x"})")->payload(), "x");
  EXPECT_TRUE(BVAPIPayload::parse("{}")->payload().isNull());
}

TEST_F(Records, ResolveDecidesWhetherTheBeaconIsKnown) {
  struct Row {
    const char* body;
    std::optional<std::int64_t> rssi;  // of the record; absent when there is none
    const char* log;
  };
  const Row rows[] = {
      {R"({"status":false,"rssi":1})", std::nullopt, "|Beacon not found"},
      {R"({"status":0})", std::nullopt, "|Beacon not found"},
      {R"({"status":"no","beacon":{"rssi":1}})", std::nullopt, "|Beacon not found"},
      {R"({"status":true,"beacon":null})", std::nullopt, "|Beacon not found"},
      {R"({"status":true,"rssi":-5})", -5, ""},
      {R"({"beacon":{"rssi":-6},"rssi":-5})", -6, ""},
      {R"({"status":true,"beacon":{},"rssi":-5})", 0, ""},
      {"{}", 0, ""},
      {"", std::nullopt, "|Error parsing JSON"},
      {"{", std::nullopt, "|Error parsing JSON"},
      {"17", std::nullopt, "|Error parsing JSON"},
  };
  for (const Row& row : rows) {
    services.take();
    const auto record = BVAPIResolve::parse(row.body);
    EXPECT_EQ(record ? std::optional(record->rssi()) : std::nullopt, row.rssi) << row.body;
    EXPECT_EQ(services.take(), std::string("DATA: ") + row.body + row.log);
  }
  const auto empty = BVAPIResolve::parse("{}");
  EXPECT_EQ(empty->description(), "Match UUID: (null)");
  ASSERT_NE(empty->waybeacon(), nullptr);
  EXPECT_EQ(empty->waybeacon()->uuid(), std::nullopt);
  EXPECT_EQ(BVAPIResolve::parse(R"({"match":"m","uuid":"u"})")->description(), "Match UUID: m");
}

TEST_F(Records, BodiesThatAreNoTextLogAsNull) {
  for (const std::optional<std::string>& body :
       {std::optional<std::string>(), std::optional<std::string>("{\"a\":\"\xC3\"}"),
        std::optional<std::string>("\xED\xA0\x80"), std::optional<std::string>("\xC0\x80")}) {
    services.take();
    EXPECT_EQ(BVAPINearest::parse(body), nullptr);
    EXPECT_EQ(services.take(), "DATA: (null)|Error parsing JSON");
  }
}

TEST_F(Records, NearestKeepsTheOrderAndHasNoEmptyList) {
  EXPECT_EQ(BVAPINearest::parse("{}")->beacons(), nullptr);
  EXPECT_EQ(BVAPINearest::parse(R"({"beacons":[]})")->beacons(), nullptr);
  const auto places = BVAPINearest::parse(
                          R"({"beacons":[{"distance":9,"local":{"name":"b","uuid":"u","zip":"08002","phone":93}},
                     {"distance":"1.5"},{"local":{}}]})")
                          ->beacons();
  ASSERT_EQ(places->size(), 3U);
  const BVLocal& first = *places->at(0)->local();
  EXPECT_EQ(first.name(), "b");
  EXPECT_EQ(first.uuid(), std::nullopt);
  EXPECT_EQ(first.zip(), 8002);
  EXPECT_EQ(first.phone(), "93");
  EXPECT_EQ(places->at(1)->distance(), 1.5);
  ASSERT_NE(places->at(1)->local(), nullptr);
  EXPECT_EQ(places->at(1)->local()->name(), std::nullopt);
}

TEST_F(Records, RepliesOfAnotherFormThrow) {
  for (const char* body : {"[]", R"({"status":null})", R"({"beacon":null})", R"({"beacon":[]})", R"({"rssi":null})",
                           R"({"rssi":[1]})", R"({"waybeacon":null})", R"({"waybeacon":{"latitude":{}}})"}) {
    EXPECT_THROW(BVAPIResolve::parse(body), BVInvalidReply) << body;
  }
  for (const char* body : {R"({"beacons":null})", R"({"beacons":{}})", R"({"beacons":[{},1]})",
                           R"({"beacons":[{"local":7}]})", R"({"beacons":[{"local":{"zip":null}}]})"}) {
    EXPECT_THROW(BVAPINearest::parse(body), BVInvalidReply) << body;
  }
  EXPECT_THROW(BVAPIPayload::parse(R"({"status":{}})"), BVInvalidReply);
  EXPECT_THROW(BVAPILogin::parse(R"({"expires_in":[]})"), BVInvalidReply);
  EXPECT_THROW(BVAPISync::parse(R"({"offline":null})"), BVInvalidReply);
}

TEST_F(Records, LoginDatesItsTokenWithinWhatTheClockHolds) {
  using Clock = std::chrono::system_clock;
  const auto before = Clock::now();
  const auto hour = BVAPILogin::parse(R"({"expires_in":"3600"})")->expires_date();
  EXPECT_GE(hour, before + std::chrono::hours(1));
  EXPECT_LE(hour, Clock::now() + std::chrono::hours(1));
  EXPECT_EQ(BVAPILogin::parse(R"({"expires_in":1e30})")->expires_date(), Clock::time_point::max());
  EXPECT_EQ(BVAPILogin::parse(R"({"expires_in":-1e30})")->expires_date(), Clock::time_point::min());
}

TEST_F(Records, ErrorsComeFromTheirTable) {
  EXPECT_EQ(BVError::newError(0)->errorString(), "No error");
  EXPECT_EQ(BVError::newError(1)->errorCode(), 1);
  EXPECT_EQ(BVError::newError(1)->errorString(), "No location services enabled");
  EXPECT_THROW(BVError::newError(2), std::out_of_range);
  EXPECT_THROW(BVError::newError(-1), std::out_of_range);
}

}  // namespace
