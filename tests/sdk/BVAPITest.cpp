#include <gtest/gtest.h>

#include <clocale>
#include <limits>

#include "platform/UUID.h"
#include "tests/sdk/FakeServices.h"

namespace {

using Lines = std::vector<std::string>;
using Fields = std::map<std::string, std::string>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class Recorder final : public BVAPIDelegate {
 public:
  Lines calls;
  std::shared_ptr<const BVAPIResolveRequest> request;

 private:
  void receivedLogin(const std::shared_ptr<const BVAPILogin>&) override { calls.emplace_back("login"); }
  void receivedSync(const std::shared_ptr<const BVAPISync>&) override { calls.emplace_back("sync"); }
  void receivedResolve_forRequest(const std::shared_ptr<const BVAPIResolve>& resolve,
                                  const std::shared_ptr<const BVAPIResolveRequest>& answered) override {
    calls.push_back(resolve->description());
    request = answered;
  }
  void receivedPayload(const std::shared_ptr<const BVAPIPayload>&) override { calls.emplace_back("payload"); }
  void receivedNearest(const std::shared_ptr<const BVAPINearest>&) override { calls.emplace_back("nearest"); }
};

class API : public testing::Test {
 protected:
  API() {
    services.stored.insert_or_assign("installUUID", platform::JSONValue("ID"));
    api->setDelegate(recorder);
  }

  Fields lastFields() const { return FakeServices::fields(services.requests.back()); }
  Fields withDevice(Fields fields) const {
    fields["model"] = BVUtil::getModel();
    fields["installID"] = "ID";
    return fields;
  }

  FakeServices& services = FakeServices::get();
  std::shared_ptr<BVAPI> api = BVAPI::init();
  std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
};

TEST_F(API, WritesEveryRequestInItsWireForm) {
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  const std::string once = "https://api.brivane.example/api/v1/";
  struct Row {
    std::function<void(BVAPI&)> call;
    const char* endpoint;
    Fields fields;
  };
  const Row rows[] = {
      {[](BVAPI& a) { a.loginWithAPIKey_andSecret("k y&", ""); },
       "oauth2/token/",
       {{"grant_type", "client_credentials"}, {"client_id", "k y"}, {"", ""}, {"client_secret", ""}}},
      {[](BVAPI& a) { a.sync(); }, "sync/", withDevice({})},
      {[](BVAPI& a) { a.resolve_withMajor_withMinor_withRSSI_withBattery("Ñu", 0, (1LL << 32) + 3, -67, -1); },
       "resolve/", withDevice({{"uuid", "Nu"}, {"major", "0"}, {"minor", "3"}, {"rssi", "-67"}, {"battery", "-1"}})},
      {[](BVAPI& a) { a.resolveWithLat_withLng_withAccuracy(40.4168, -3.7038, 65.9); }, "tracker/",
       withDevice({{"lat", "40.416800"}, {"lng", "-3.703800"}, {"radius", "65"}, {"speed", "0"}, {"provider", "ios"}})},
      {[](BVAPI& a) { a.resolveWithLat_withLng_withAccuracy(0, -0.0000004, 1e300); }, "tracker/",
       withDevice(
           {{"lat", "0.000000"}, {"lng", "-0.000000"}, {"radius", "2147483647"}, {"speed", "0"}, {"provider", "ios"}})},
      {[](BVAPI& a) { a.resolveWithLat_withLng_withAccuracy(90, 180, kNaN); }, "tracker/",
       withDevice({{"lat", "90.000000"}, {"lng", "180.000000"}, {"radius", "0"}, {"speed", "0"}, {"provider", "ios"}})},
      {[](BVAPI& a) { a.getNearestForLat_withLng_insideRadius(40.4168, 1e-4, 4294967796); },
       "nearest/",
       {{"lat", "40.4168"}, {"lng", "0.0001"}, {"radius", "500"}}},
      {[](BVAPI& a) {
         a.setPayload_forWaybeaconUUID(platform::JSONValue::Object{{"a", 1}, {"ß", "ª¿€\u0301\xF0\x9F\x98\x80"}},
                                       "u=1");
       },
       "payload/",
       {{"uuid", "u=1"}, {"payload", R"({"a":1,"s":"a????"})"}}},
      {[](BVAPI& a) { a.setPayload_forWaybeaconUUID(platform::JSONValue::Object{}, "u"); },
       "payload/",
       {{"uuid", "u"}, {"payload", "{}"}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.endpoint);
    row.call(*api);
    const platform::HTTPRequest& request = services.requests.back();
    EXPECT_EQ(request.url, once + once + row.endpoint);
    EXPECT_EQ(request.method, "POST");
    const std::vector<std::pair<std::string, std::string>> headers = {
        {"Content-Length", std::to_string(request.body.size())}};
    EXPECT_EQ(request.headers, headers);  // and no Authorization without a token
    EXPECT_EQ(lastFields(), row.fields);
  }
  EXPECT_EQ(services.requests.size(), std::size(rows));
}

TEST_F(API, BuildsBodiesWithoutEscaping) {
  EXPECT_EQ(BVAPI::dictToString({}), "");
  EXPECT_EQ(BVAPI::dictToString({{"b", "x y&z"}, {"a", "1"}}), "a=1&b=x y&z");
  EXPECT_EQ(BVAPI::dictToString({{"", ""}, {"n", std::int64_t{-3}}, {"r", 40.5}}), "=&n=-3&r=40.5");
  api->request_withData_withCallback("x/", {{"t", "caf\u00e9 \xFF\xFE"}}, nullptr);
  EXPECT_EQ(services.requests.back().body, "t=cafe ??");
}

TEST_F(API, HandsRecordsOnWithTheRequestTheyAnswer) {
  services.take();
  api->resolve_withMajor_withMinor_withRSSI_withBattery("U", 1, 2, -3, -1);
  services.reply(R"({"match":"m"})");
  ASSERT_NE(recorder->request, nullptr);
  EXPECT_EQ(recorder->request->uuid(), "U");
  EXPECT_EQ(recorder->request->major(), 1);
  EXPECT_EQ(recorder->request->minor(), 2);
  EXPECT_FALSE(recorder->request->isGPS());
  EXPECT_EQ(services.take(), R"(Resolving...|DATA: {"match":"m"}|Resolve done)");

  EXPECT_EQ(recorder->calls, Lines{"Match UUID: m"});
  api->setPayload_forWaybeaconUUID(platform::JSONValue(kNaN), "u");
  EXPECT_TRUE(services.take().starts_with("Error dumping json: "));
  for (const auto& [token, headers] : {std::pair{"one", 2U}, {"", 1U}}) {
    api->loginWithAPIKey_andSecret("k", "s");
    services.reply(std::string(R"({"access_token":")") + token + "\"}");
    api->sync();
    EXPECT_EQ(services.requests.back().headers.size(), headers);  // an empty token is none
    services.reply(std::nullopt);
  }
}

TEST_F(API, TheInstallationIsNamedOnceAndForGood) {
  EXPECT_EQ(BVUtil::getInstallationID(), "ID");
  EXPECT_EQ(services.synchronized, 0);
  services.stored.clear();
  const auto made = BVUtil::getInstallationID();
  EXPECT_EQ(services.synchronized, 1);
  EXPECT_EQ(BVUtil::getInstallationID(), made);
  EXPECT_EQ(platform::UUID::initWithUUIDString(*made)->UUIDString(), *made);
  services.stored.insert_or_assign("installUUID", platform::JSONValue(7));
  EXPECT_EQ(BVUtil::getInstallationID(), std::nullopt);
  EXPECT_EQ(BVUtil::getHash_andMajor_andMinor("U", 0, -3456), "U_0_-3456");
}

}  // namespace
