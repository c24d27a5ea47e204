// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "service/CertificateStore.h"
#include "service/Endpoints.h"
#include "service/Faults.h"
#include "service/FormBody.h"
#include "service/Network.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;
using namespace service;

std::string beacon(int minor) {
  const std::string number = std::to_string(minor);
  return R"({"uuid":"b)" + number + R"(","major":1,"minor":)" + number + R"(,"name":"n",
"latitude":40.000,"longitude":-3.0,"location":"","accesibility":"","url":"","payload":{}})";
}

std::string network(const std::string& beacons) {
  return R"({"places":[{"name":"P","city":"","category":"","address":"","phone":"","web":"","email":"","zip":42,
"latitude":40.001,"longitude":-3.0,"beacons":[)" +
         beacons + "]}]}";
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  return text.replace(text.find(what), what.size(), with);
}

TEST(FormBody, SplitsOnlyWhereAKnownKeyBegins) {
  const std::pair<const char*, Fields> rows[] = {
      {"", {}},
      {"a=", {{"a", ""}}},
      {"b={\"x\":\"1&y=2&&=\"}&a=u=%20+", {{"b", "{\"x\":\"1&y=2&&=\"}"}, {"a", "u=%20+"}}},
      {"a=1&a=2", {{"a", "1&a=2"}}},
      {"b={&a=}&a=2", {{"a", "2"}, {"b", "{&a=}"}}},
      {"x=1&a=2&", {{"a", "2&"}}},
  };
  for (const auto& [body, fields] : rows) EXPECT_EQ(parseFormBody(body, {"a", "b"}), fields) << body;
}

TEST(Network, NamesWhatIsWrongAndWhere) {
  const std::string place = "places[0].beacons[0]";
  const std::pair<std::string, std::string> rows[] = {
      {"{\n\"places\":[\n}", "line 3: not JSON"},
      {"[]", "not an object"},
      {std::string(200'000, '['), "nested too deep"},
      {"[1e400]", "a number that is too large"},
      {R"({"places":{}})", "places: not a list"},
      {replaced(network(""), "42", "\"x\""), "places[0].zip: not an integer from 0 to 999999999"},
      {network("7"), place + ": not an object"},
      {network(replaced(beacon(1), "accesib", "accessib")), place + ".accesibility: missing"},
      {network(replaced(beacon(1), "\"n\"", "7")), place + ".name: not a text"},
      {network(beacon(65536)), place + ".minor: not an integer from 0 to 65535"},
      {network(replaced(beacon(1), "40.000", "91")), place + ".latitude: not a number from -90 to 90"},
      {network(replaced(beacon(1), "{}", "[]")), place + ".payload: not an object"},
      {network(beacon(1) + "," + beacon(1)), "places[0].beacons[1]: another beacon has this major and minor"},
      {network(beacon(1) + "," + replaced(beacon(2), "b2", "b1")), "places[0].beacons[1].uuid: another beacon has it"},
  };
  for (const auto& [text, fault] : rows) {
    try {
      Network::parse("n.json", text);
      ADD_FAILURE() << text;
    } catch (const NetworkError& error) {
      EXPECT_EQ(error.what(), "n.json: " + fault);
    }
  }
}

class Endpoint : public testing::Test {
 protected:
  std::string ask(const char* endpoint, const std::string& body) {
    const Reply reply = endpoints.answer(endpoint, authorization, body);
    return std::to_string(reply.status) + " " + reply.body.dump();
  }
  void logIn() {
    const Reply login = endpoints.answer("oauth2/token/", "", kLogin + "s");
    authorization = "Bearer " + login.body["access_token"].get<std::string>();
  }

  const std::string kLogin = "grant_type=client_credentials&client_id=k&client_secret=";

  Tokens::Clock::time_point now;
  std::string authorization;
  Endpoints endpoints{{.network = Network::parse("n", network(beacon(1))),
                       .credentials = {"k", "s"},
                       .tokenLifetime = 60s,
                       .publicKey = "PEM",
                       .now = [this] { return now; }}};
};

TEST_F(Endpoint, LetsOnlyTheRightClientInAndOnlyForAWhile) {
  EXPECT_EQ(ask("oauth2/token/", kLogin + "x"), R"(401 {"error":"invalid_client"})");
  EXPECT_EQ(ask("oauth2/token/", "grant_type=password"), R"(400 {"error":"unsupported_grant_type"})");
  EXPECT_EQ(ask("sync/", "model=m&installID=i"), R"(401 {"error":"invalid_token"})");
  logIn();
  EXPECT_EQ(ask("sync/", "model=m&installID=i"),
            R"(200 {"status":true,"offline":false,"internal":false,"pubkey":"PEM"})");
  EXPECT_EQ(ask("other/", ""), R"(404 {"error":"not_found"})");
  now += 60s;
  EXPECT_EQ(ask("sync/", "model=m&installID=i"), R"(401 {"error":"invalid_token"})");
}

TEST_F(Endpoint, ResolvesTracksListsAndKeeps) {
  logIn();
  const std::string uuid = "uuid=5c8e3d7a-41b2-4f60-9e0b-27d1a6c4f385";
  const std::string unknown = R"(200 {"status":false})";
  const auto holds = [](const std::string& answer, const char* part) { return answer.find(part) != std::string::npos; };
  const std::string bad = R"(400 {"error":"invalid_request","error_description":")";
  EXPECT_TRUE(holds(ask("resolve/", uuid + "&major=1&minor=1&rssi=-60"),
                    R"({"match":"b1","rssi":-60,"proximity":"near","waybeacon":{"uuid":"b1",)"));
  EXPECT_EQ(ask("resolve/", uuid + "&major=1&minor=2&rssi=-60"), unknown);
  EXPECT_EQ(ask("resolve/", "uuid=x&major=1&minor=1&rssi=-60"), unknown);
  EXPECT_EQ(ask("resolve/", uuid + "&minor=1&rssi=-60"), bad + R"(major is missing"})");
  EXPECT_EQ(ask("resolve/", uuid + "&major=1&minor=1x&rssi=-60"), bad + R"(minor is not a number"})");
  EXPECT_TRUE(holds(ask("tracker/", "lat=40.000400&lng=-3.0&radius=5"), R"("match":"b1")"));
  EXPECT_EQ(ask("tracker/", "lat=40.0009&lng=-3.0&radius=5"), R"(200 {"status":true,"beacon":null})");
  EXPECT_TRUE(holds(ask("tracker/", "lat=40.0009&lng=-3.0&radius=101"), R"("match":"b1")"));
  EXPECT_TRUE(holds(ask("nearest/", "lat=40&lng=-3&radius=112"), R"("local":{"name":"P",)"));
  EXPECT_EQ(ask("nearest/", "lat=40&lng=-3&radius=111"), R"(200 {"beacons":[]})");
  EXPECT_EQ(ask("nearest/", "lat=nan&lng=-3&radius=1"), bad + R"(lat is out of range"})");
  EXPECT_EQ(ask("payload/", "uuid=b1&payload=[]"), bad + R"(payload is not a JSON object"})");
  EXPECT_EQ(ask("payload/", R"(payload={"a":"&b="}&uuid=b1)"),
            R"(200 {"status":true,"uuid":"b1","payload":{"a":"&b="}})");
  EXPECT_TRUE(holds(ask("resolve/", uuid + "&major=1&minor=1&rssi=0"), R"("payload":{"a":"&b="})"));
}

TEST(Faults, AreChosenBySeedAndReadFromText) {
  const auto run = [](std::uint64_t seed) {
    Faults faults({Fault::parse("drop=0.3"), Fault::parse("delay=1:5")}, seed);
    std::string kinds;
    for (int i = 0; i < 100; ++i) kinds += faults.next()->kind == FaultKind::kDrop ? 'd' : '.';
    return kinds;
  };
  EXPECT_EQ(run(1), run(1));
  EXPECT_NE(run(1), run(2));
  EXPECT_NEAR(static_cast<double>(std::ranges::count(run(1), 'd')), 30.0, 15.0);
  for (const char* text : {"", "drop", "drop=", "drop=1.1", "drop=-1", "drop=nan", "burn=0.1", "delay=0.1",
                           "delay=0.1:", "delay=0.1:1s"}) {
    EXPECT_THROW(Fault::parse(text), std::invalid_argument) << text;
  }
}

TEST(CertificateStore, KeepsWhatServes) {
  const TemporaryFolder folder;
  const CertificateStore store(folder.path() / "new");
  const Certificate made = store.open("a.example");
  EXPECT_EQ(store.open("a.example").certificatePEM, made.certificatePEM);
  EXPECT_NE(store.open("other.example").certificatePEM, made.certificatePEM);
  EXPECT_THROW(CertificateStore("/dev/null/x").open("a.example"), std::runtime_error);
}

}  // namespace
