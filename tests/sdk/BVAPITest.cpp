// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <clocale>
#include <functional>
#include <limits>
#include <tuple>

#include "BrivaneSDK/BrivaneSDK.h"
#include "platform/json/SimdJSON.h"
#include "testing/Phone.h"

namespace {

using std::string_literals::operator""s;
using brivane::testing::Journal;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Writes down what it is told.
class Recorder final : public BVAPIDelegate {
 public:
  explicit Recorder(std::shared_ptr<Journal> journal) : journal_(std::move(journal)) {}

 private:
  void see(const std::string& what) { journal_->write("<" + what); }
  void receivedLogin(const std::shared_ptr<const BVAPILogin>&) override { see("login"); }
  void receivedSync(const std::shared_ptr<const BVAPISync>&) override { see("sync"); }
  void receivedResolve_forRequest(const std::shared_ptr<const BVAPIResolve>& resolve,
                                  const std::shared_ptr<const BVAPIResolveRequest>& answered) override {
    see(resolve->description() +
        (answered
             ? " for " + BVUtil::getHash_andMajor_andMinor(*answered->uuid(), answered->major(), answered->minor()) +
                   (answered->isGPS() ? " GPS" : "")
             : ""));
  }
  void receivedPayload(const std::shared_ptr<const BVAPIPayload>&) override { see("payload"); }
  void receivedNearest(const std::shared_ptr<const BVAPINearest>&) override { see("nearest"); }

  const std::shared_ptr<Journal> journal_;
};

class API : public testing::Test {
 protected:
  API() { platform::install(phone.services(std::make_shared<platform::SimdJSON>())); }

  brivane::testing::Phone phone;
};

TEST_F(API, AsksAndToldWhatItIsAnswered) {
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  using Payload = platform::JSONValue::Object;
  const auto api = BVAPI::init();
  const auto recorder = std::make_shared<Recorder>(phone.journal);
  api->setDelegate(recorder);
  phone.preferences->setObject_forKey(7, "installUUID");  // no text
  const std::string tracker = "URL: https://api.brivane.example/api/v1/tracker/|POST tracker/ installID=(null)&lat=";
  const std::tuple<std::function<void(BVAPI&)>, std::string, std::string, std::string> rows[] = {
      {[](BVAPI& a) { a.loginWithAPIKey_andSecret("k y&", ""); },
       "POST oauth2/token/ client_id=k y&&client_secret=&grant_type=client_credentials", R"({"access_token":""})",
       "Access token: |<login"},
      // An empty token is none.
      {[](BVAPI& a) { a.sync(); }, "POST sync/ installID=(null)&model=test", "{}", "Sync done|<sync"},
      {[](BVAPI& a) { a.resolve_withMajor_withMinor_withRSSI_withBattery("Ñu", 0, (1LL << 32) + 3, -67, -1); },
       "Resolving...|POST resolve/ battery=-1&installID=(null)&major=0&minor=3&model=test&rssi=-67&uuid=Nu",
       R"({"match":"m"})", "Resolve done|<Match UUID: m for Ñu_0_4294967299"},
      {[](BVAPI& a) { a.resolveWithLat_withLng_withAccuracy(40.4168, -3.7038, 65.9); },
       tracker + "40.416800&lng=-3.703800&model=test&provider=ios&radius=65&speed=0", "{}",
       "Resolve GPS done|<Match UUID: (null)"},
      {[](BVAPI& a) { a.resolveWithLat_withLng_withAccuracy(0, -0.0000004, 1e300); },
       tracker + "0.000000&lng=-0.000000&model=test&provider=ios&radius=2147483647&speed=0", R"({"status":0})",
       "Beacon not found"},
      {[](BVAPI& a) { a.resolveWithLat_withLng_withAccuracy(90, 180, kNaN); },
       tracker + "90.000000&lng=180.000000&model=test&provider=ios&radius=0&speed=0", "x", "Error parsing JSON"},
      {[](BVAPI& a) { a.getNearestForLat_withLng_insideRadius(40.4168, 1e-4, 4294967796); },
       "POST nearest/ lat=40.4168&lng=0.0001&radius=500", "{}", "Nearest waybeacons received|<nearest"},
      {[](BVAPI& a) {
         a.setPayload_forWaybeaconUUID(Payload{{"a", 1}, {"ß", "ª¿€\u0301\xF0\x9F\x98\x80"}}, "u=1");
       },
       R"(POST payload/ payload={"a":1,"s":"a????"}&uuid=u=1)", "{}", "Payload set done|<payload"},
      {[](BVAPI& a) { a.setPayload_forWaybeaconUUID(Payload{}, "u"); }, "POST payload/ payload={}&uuid=u",
       R"({"status":false})", "Beacon not found"},
  };
  for (const auto& [ask, asked, body, told] : rows) {
    ask(*api);
    EXPECT_EQ(phone.journal->take("|"), asked);
    phone.http->reply({body});
    EXPECT_EQ(phone.journal->take("|"), "DATA: " + body + "|" + told);
    const platform::HTTPRequest request = phone.http->takeRequests().back();
    EXPECT_TRUE(request.url.starts_with("https://api.brivane.example/api/v1/https://api.brivane.example/api/v1/"));
    ASSERT_EQ(request.headers.size(), 1U);
    EXPECT_EQ(request.headers[0], std::pair("Content-Length"s, std::to_string(request.body.size())));
  }
  for (const platform::JSONValue& payload : {platform::JSONValue(Payload{{"a", kNaN}}), platform::JSONValue("text")}) {
    api->setPayload_forWaybeaconUUID(payload, "u");
    EXPECT_TRUE(phone.journal->take("|").starts_with("Error dumping json: "));
  }
}

TEST_F(API, BuildsBodiesWithoutEscaping) {
  EXPECT_EQ(BVAPI::dictToString({}), "");
  EXPECT_EQ(BVAPI::dictToString({{"", ""}, {"b", "x y&z"}, {"n", std::int64_t{-3}}, {"r", 12345678.5}}),
            "=&b=x y&z&n=-3&r=12345678.5");
  const auto sent = [this](const std::string& text) {
    BVAPI::init()->request_withData_withCallback("x/", {{"", text}}, nullptr);
    return phone.http->takeRequests().back().body.substr(1);
  };
  EXPECT_EQ(sent("caf\u00e9 \xFF\xFE"), "cafe ??");
  EXPECT_EQ(sent("ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞßàáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿĀāĂăĄąĆćĈĉĊċČčĎďĐđĒēĔĕĖėĘęĚěĜĝĞğ"
                 "ĠġĢģĤĥĦħĨĩĪīĬĭĮįİıĲĳĴĵĶķĸĹĺĻļĽľĿŀŁłŃńŅņŇňŉŊŋŌōŎŏŐőŒœŔŕŖŗŘřŚśŜŝŞşŠšŢţŤťŦŧŨũŪūŬŭŮůŰűŲųŴŵŶŷŸŹźŻżŽžſ"),
            "AAAAAAACEEEEIIIIDNOOOOO?OUUUUYTsaaaaaaaceeeeiiiidnooooo?ouuuuytyAaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGg"
            "GgGgHhHhIiIiIiIiIiIiJjKkkLlLlLlLlLlNnNnNnnNnOoOoOoOoRrRrRrSsSsSsSsTtTtTtUuUuUuUuUuUuWwYyYZzZzZzs");
}

TEST_F(API, NamesTheInstallationOnceAndForGood) {
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(BVUtil::getInstallationID(), "00000000-0000-4000-8000-000000000001");
    EXPECT_EQ(phone.preferences->synchronizations(), 1);
  }
  EXPECT_EQ(BVUtil::getHash_andMajor_andMinor("U", 0, -3456), "U_0_-3456");
}

}  // namespace
