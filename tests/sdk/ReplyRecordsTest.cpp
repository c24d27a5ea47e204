// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <clocale>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "BrivaneSDK/BrivaneSDK.h"
#include "platform/json/SimdJSON.h"
#include "testing/Phone.h"

namespace {

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

class Records : public testing::Test {
 protected:
  Records() { platform::install(phone.services(std::make_shared<platform::SimdJSON>())); }

  brivane::testing::Phone phone;
};

TEST_F(Records, ReadNumbersAndBooleansFromWhateverTheServiceSends) {
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);  // where 4,5 is a number
  const std::tuple<std::vector<std::string>, std::int64_t, double, bool> rows[] = {
      {{"0", "false", R"("")", R"("+-9")", R"("0x1A")", R"("inf")", R"("-nan")", R"("0e99999")", R"("no")", R"("0Ñ")"},
       0,
       0,
       false},
      {{R"("yes")", R"(" +000Yes")", R"("00t")"}, 0, 0, true},
      {{"-71.9"}, -71, -71.9, true},
      {{"0.3"}, 0, 0.3, true},
      {{"1e300"}, kLargest, 1e300, true},
      {{"18446744073709551615"}, kLargest, 18446744073709551615.0, true},
      {{"true"}, 1, 1, true},
      {{R"(" \t\n\f\r\u000b+8 steps")"}, 8, 8, true},
      {{R"("4,5")"}, 4, 4, true},
      {{R"(".2")"}, 0, 0.2, false},
      {{R"("012.e4")"}, 12, 120000, true},
      {{R"("1e2.3")"}, 1, 100, true},
      {{R"("-.e12")"}, 0, 0, false},
      {{R"("1e999")"}, 1, kInfinity, true},
      {{R"("-0.1e999")"}, 0, -kInfinity, false},
      {{R"("1e-999")"}, 1, 0, true},
      {{R"("99999999999999999999")"}, kLargest, 99999999999999999999.0, true},
      {{R"("-99999999999999999999")"}, -kLargest - 1, -99999999999999999999.0, true}};
  for (const auto& [texts, integer, real, boolean] : rows) {
    for (const std::string& text : texts) {
      EXPECT_EQ(BVAPIResolve::parse("{\"rssi\":" + text + "}")->rssi(), integer) << text;
      const double distance = BVWaybeaconDistance::parse("{\"distance\":" + text + "}")->distance();
      EXPECT_EQ(distance, real) << text;
      EXPECT_EQ(std::signbit(distance), std::signbit(real)) << text;
      EXPECT_EQ(BVAPISync::parse("{\"internal\":" + text + "}")->internal(), boolean) << text;
    }
  }
}

/// Texts side by side; "-" for none.
std::string joined(const std::vector<std::optional<std::string>>& texts) {
  std::string all;
  for (const auto& text : texts) all += text.value_or("-") + "/";
  return all;
}

TEST_F(Records, HoldWhatStandsUnderEachKey) {
  const auto resolve = BVAPIResolve::parse(
      R"({"proximity":"p","match":"m","uuid":"other","waybeacon":{"uuid":"a\u00e9","name":12.50,"latitude":"41.38",
          "longitude":2,"location":"l","accesibility":{"b":[true]},"accessibility":"other","url":"u","payload":[1]}})");
  const BVWaybeacon& beacon = *resolve->waybeacon();
  EXPECT_EQ(joined({resolve->proximity(), resolve->uuid(), beacon.uuid(), beacon.name(), beacon.location(),
                    beacon.accesibility(), beacon.url()}),
            R"(p/m/aé/12.5/l/{"b":[true]}/u/)");
  EXPECT_EQ(beacon.latitude(), 41.38);
  EXPECT_EQ(beacon.longitude(), 2);
  EXPECT_EQ(beacon.payload(), platform::JSONValue(platform::JSONValue::List{1}));
  const auto empty = BVAPIResolve::parse(R"({"waybeacon":{"name":null,"url":""}})")->waybeacon();
  EXPECT_EQ(joined({empty->name(), empty->url(), empty->uuid()}), "-//-/");
  EXPECT_EQ(BVWaybeacon::parse(platform::JSONValue()), nullptr);

  const auto places = BVAPINearest::parse(
                          R"({"beacons":[{"distance":9,"local":{"name":"n","uuid":"never","city":"c","category":"k",
          "address":"a","phone":93,"web":"w","email":"e","zip":"08002"}},{"distance":"1.5"},{"local":{}}]})")
                          ->beacons();
  ASSERT_EQ(places->size(), 3U);
  const BVLocal& local = *places->at(0)->local();
  EXPECT_EQ(joined({local.name(), local.uuid(), local.city(), local.category(), local.address(), local.phone(),
                    local.web(), local.email()}),
            "n/-/c/k/a/93/w/e/");
  EXPECT_EQ(local.zip(), 8002);
  EXPECT_EQ(places->at(1)->distance(), 1.5);
  EXPECT_EQ(places->at(1)->local()->name(), std::nullopt);
  for (const char* body : {"{}", R"({"beacons":[]})"}) EXPECT_EQ(BVAPINearest::parse(body)->beacons(), nullptr);

  const auto payload = BVAPIPayload::parse(R"({"status":1,"uuid":"u","payload":"x"})");
  EXPECT_EQ(payload->uuid(), "u");
  EXPECT_EQ(payload->payload(), "x");
  EXPECT_EQ(BVAPIPayload::parse(R"({"status":"f"})"), nullptr);
}

TEST_F(Records, ResolveDecidesWhetherTheBeaconIsKnown) {
  // A body, the strength that its record has, if there is one, and what is logged.
  const std::tuple<std::optional<std::string>, std::optional<std::int64_t>, std::string> rows[] = {
      {R"({"status":"no","beacon":{"rssi":1}})", std::nullopt, "|Beacon not found"},
      {R"({"status":true,"beacon":null})", std::nullopt, "|Beacon not found"},
      {R"({"status":true,"rssi":-5})", -5, ""},
      {R"({"beacon":{"rssi":-6},"rssi":-5})", -6, ""},
      {R"({"status":true,"beacon":{},"rssi":-5})", 0, ""},
      {std::nullopt, std::nullopt, "|Error parsing JSON"}};
  for (const auto& [body, rssi, log] : rows) {
    const auto record = BVAPIResolve::parse(body);
    EXPECT_EQ(record ? std::optional(record->rssi()) : std::nullopt, rssi) << log;
    EXPECT_EQ(phone.journal->take("|"), "DATA: " + body.value_or("(null)") + log);
  }
  for (const char* body : {"{\"a\":\"\xC3\"}", "\xED\xA0\x80", "\xC0\x80"}) {  // no text
    BVAPIResolve::parse(body);
    EXPECT_EQ(phone.journal->take("|"), "DATA: (null)|Error parsing JSON");
  }
}

TEST_F(Records, ThrowForRepliesOfAnotherForm) {
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

TEST_F(Records, DateATokenFromNow) {
  const auto before = std::chrono::system_clock::now();
  const auto hour = BVAPILogin::parse(R"({"expires_in":"3600"})")->expires_date();
  EXPECT_GE(hour, before + std::chrono::hours(1));
  EXPECT_LE(hour, std::chrono::system_clock::now() + std::chrono::hours(1));
}

TEST_F(Records, TakeErrorsFromTheirTable) {
  EXPECT_EQ(BVError::newError(0)->errorString(), "No error");
  for (const int code : {-1, 2}) EXPECT_THROW(BVError::newError(code), std::out_of_range);
}

}  // namespace
