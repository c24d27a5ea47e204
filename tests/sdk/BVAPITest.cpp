// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <clocale>
#include <limits>

#include "tests/sdk/FakeServices.h"

namespace {

using std::string_literals::operator""s;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Says what it is told among all else that is seen.
class Recorder final : public BVAPIDelegate {
  static void see(const std::string& what) { FakeServices::get().see("<" + what); }
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
};

TEST(API, AsksAndToldWhatItIsAnswered) {
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  using Payload = platform::JSONValue::Object;
  FakeServices& services = FakeServices::get();
  const auto api = BVAPI::init();
  const auto recorder = std::make_shared<Recorder>();
  api->setDelegate(recorder);
  services.stored.insert_or_assign("installUUID", platform::JSONValue(7));  // no text
  const std::string tracker = "URL: https://api.brivane.example/api/v1/tracker/|POST tracker/ installID=(null)&lat=";
  const std::tuple<std::function<void(BVAPI&)>, std::string, std::string, std::string> rows[] = {
      {[](BVAPI& a) { a.loginWithAPIKey_andSecret("k y&", ""); },
       "POST oauth2/token/ client_id=k y&&client_secret=&grant_type=client_credentials", R"({"access_token":""})",
       "Access token: |<login"},
      // An empty token is none.
      {[](BVAPI& a) { a.sync(); }, "POST sync/ installID=(null)&model=M", "{}", "Sync done|<sync"},
      {[](BVAPI& a) { a.resolve_withMajor_withMinor_withRSSI_withBattery("Ñu", 0, (1LL << 32) + 3, -67, -1); },
       "Resolving...|POST resolve/ battery=-1&installID=(null)&major=0&minor=3&model=M&rssi=-67&uuid=Nu",
       R"({"match":"m"})", "Resolve done|<Match UUID: m for Ñu_0_4294967299"},
      {[](BVAPI& a) { a.resolveWithLat_withLng_withAccuracy(40.4168, -3.7038, 65.9); },
       tracker + "40.416800&lng=-3.703800&model=M&provider=ios&radius=65&speed=0", "{}",
       "Resolve GPS done|<Match UUID: (null)"},
      {[](BVAPI& a) { a.resolveWithLat_withLng_withAccuracy(0, -0.0000004, 1e300); },
       tracker + "0.000000&lng=-0.000000&model=M&provider=ios&radius=2147483647&speed=0", R"({"status":0})",
       "Beacon not found"},
      {[](BVAPI& a) { a.resolveWithLat_withLng_withAccuracy(90, 180, kNaN); },
       tracker + "90.000000&lng=180.000000&model=M&provider=ios&radius=0&speed=0", "x", "Error parsing JSON"},
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
    EXPECT_EQ(services.take(), asked);
    services.reply(body);
    EXPECT_EQ(services.take(), "DATA: " + body + "|" + told);
    const platform::HTTPRequest& request = services.requests.back();
    EXPECT_TRUE(request.url.starts_with("https://api.brivane.example/api/v1/https://api.brivane.example/api/v1/"));
    EXPECT_EQ(request.method, "POST");
    ASSERT_EQ(request.headers.size(), 1U);
    EXPECT_EQ(request.headers[0], std::pair("Content-Length"s, std::to_string(request.body.size())));
  }
  for (const platform::JSONValue& payload : {platform::JSONValue(Payload{{"a", kNaN}}), platform::JSONValue("text")}) {
    api->setPayload_forWaybeaconUUID(payload, "u");
    EXPECT_TRUE(services.take().starts_with("Error dumping json: "));
  }
}

TEST(API, BuildsBodiesWithoutEscaping) {
  EXPECT_EQ(BVAPI::dictToString({}), "");
  EXPECT_EQ(BVAPI::dictToString({{"", ""}, {"b", "x y&z"}, {"n", std::int64_t{-3}}, {"r", 12345678.5}}),
            "=&b=x y&z&n=-3&r=12345678.5");
  const auto sent = [](const std::string& text) {
    FakeServices& services = FakeServices::get();
    BVAPI::init()->request_withData_withCallback("x/", {{"", text}}, nullptr);
    return services.requests.back().body.substr(1);
  };
  EXPECT_EQ(sent("caf\u00e9 \xFF\xFE"), "cafe ??");
  EXPECT_EQ(sent("ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞßàáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿĀāĂăĄąĆćĈĉĊċČčĎďĐđĒēĔĕĖėĘęĚěĜĝĞğ"
                 "ĠġĢģĤĥĦħĨĩĪīĬĭĮįİıĲĳĴĵĶķĸĹĺĻļĽľĿŀŁłŃńŅņŇňŉŊŋŌōŎŏŐőŒœŔŕŖŗŘřŚśŜŝŞşŠšŢţŤťŦŧŨũŪūŬŭŮůŰűŲųŴŵŶŷŸŹźŻżŽžſ"),
            "AAAAAAACEEEEIIIIDNOOOOO?OUUUUYTsaaaaaaaceeeeiiiidnooooo?ouuuuytyAaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGg"
            "GgGgHhHhIiIiIiIiIiIiJjKkkLlLlLlLlLlNnNnNnnNnOoOoOoOoRrRrRrSsSsSsSsTtTtTtUuUuUuUuUuUuWwYyYZzZzZzs");
}

TEST(API, NamesTheInstallationOnceAndForGood) {
  FakeServices& services = FakeServices::get();
  const std::string made = "01000000-0000-0000-0000-000000000000";
  EXPECT_EQ(BVUtil::getInstallationID(), made);
  EXPECT_EQ(services.synchronized, 1);
  EXPECT_EQ(BVUtil::getInstallationID(), made);
  EXPECT_EQ(services.synchronized, 1);
  EXPECT_EQ(BVUtil::getHash_andMajor_andMinor("U", 0, -3456), "U_0_-3456");
}

}  // namespace
