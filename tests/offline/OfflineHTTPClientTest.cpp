// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <future>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>

#include "platform/json/SimdJSON.h"
#include "platform/offline/OfflineHTTPClient.h"
#include "testing/ScriptedHTTPClient.h"
#include "tests/support/TemporaryFolder.h"

namespace platform {
namespace {

using namespace std::chrono_literals;
using brivane::testing::ScriptedHTTPClient;
using Source = TransferOutcome::Source;

/// The client around a service, and what a host sees of it.
class Phone {
 public:
  explicit Phone(std::chrono::milliseconds patience = 1ms) : patience_(patience) { restart(); }

  void restart() {
    client_.reset();
    client_ = std::make_unique<OfflineHTTPClient>(
        OfflineHTTPClient::Options{.inner = service,
                                   .store = store_,
                                   .json = std::make_shared<SimdJSON>(),
                                   .patience = patience_,
                                   .loginPatience = patience_,
                                   .allowOffline = true,
                                   .onTransfer = [this](const TransferOutcome& outcome) { outcome_ = outcome; },
                                   .onNetwork = [this](bool isThere) { seen_ += isThere ? "> " : "< "; }});
  }

  /// Plays steps, "REQUEST[@NETWORK] REPLY" and others, and returns what was seen of them: who answered (S the service,
  /// K the store, C the client) with the number of the step that the answer is of, "-" for none, "<" and ">" when the
  /// network went and came.
  std::string play(const std::string& story) {
    std::istringstream steps(story);
    for (std::string step; std::getline(steps, step, ',');) {
      std::istringstream words(step);
      std::string what;
      std::string how;
      words >> what >> how;
      ++step_;
      if (what == "restart") restart();
      if (what == "days") letDaysPass(std::stoi(how));
      if (what == "late") reply(how);
      if (requests().contains(what.substr(0, what.find('@')))) ask(what, how);
    }
    client_->shutdown();
    seen_.pop_back();
    return seen_;
  }

  std::string fileContents() const {
    std::string all;
    for (const char* part : {"", "-wal"}) {
      std::ifstream file(path_ + part, std::ios::binary);
      all.append(std::istreambuf_iterator<char>(file), {});
    }
    return all;
  }

  const std::shared_ptr<ScriptedHTTPClient> service = std::make_shared<ScriptedHTTPClient>();
  OfflineHTTPClient& client() { return *client_; }

 private:
  /// By their names, the endpoint and the body.
  static const std::map<std::string, std::pair<std::string, std::string>>& requests() {
    static const std::string beacon = "battery=-1&installID=I&major=1&minor=2&model=M&rssi=-60&uuid=";
    static const std::string uuid = "5C8E3D7A-41B2-4F60-9E0B-27D1A6C4F385";
    static const auto& all = *new std::map<std::string, std::pair<std::string, std::string>>{
        {"login", {"oauth2/token/", "client_id=key&client_secret=hidden&grant_type=client_credentials"}},
        {"loginB", {"oauth2/token/", "client_id=key&client_secret=other&grant_type=client_credentials"}},
        {"sync", {"sync/", "installID=I&model=M"}},
        {"beacon", {"resolve/", beacon + uuid}},
        {"louder", {"resolve/", "battery=-1&installID=I&major=1&minor=2&model=M&rssi=-40&uuid=" + uuid}},
        {"other", {"resolve/", "battery=-1&installID=I&major=1&minor=3&model=M&rssi=-60&uuid=" + uuid}},
        {"nobody", {"resolve/", beacon}},
        {"here", {"nearest/", "lat=40.41678&lng=-3.70379&radius=50"}},
        {"aStepOn", {"nearest/", "lat=40.41681&lng=-3.70381&radius=50"}},
        {"aStreetOn", {"nearest/", "lat=40.41778&lng=-3.70379&radius=50"}},
        {"wider", {"nearest/", "lat=40.41678&lng=-3.70379&radius=500"}},
        {"position", {"tracker/", "lat=40.416780&lng=-3.703790&radius=5&speed=0"}},
        {"payload", {"payload/", "payload={}&uuid=" + uuid}}};
    return all;
  }

  void ask(const std::string& what, const std::string& how) {
    const std::size_t at = what.find('@');
    const auto& [endpoint, body] = requests().at(what.substr(0, at));
    const std::string api = "https://" + (at == what.npos ? "net" : what.substr(at + 1)) + "/api/v1/";
    HTTPRequest request{.url = api + api + endpoint, .method = "POST", .headers = {}, .body = body};
    if (!token_.empty()) request.headers.emplace_back("Authorization", "Bearer " + token_);
    std::promise<void> done;
    client_->execute(std::move(request), [&](const auto& response, const auto& answer) {
      see(response, answer.value_or(""));
      done.set_value();
    });
    if (how != "late") reply(how);
    done.get_future().wait();
  }

  /// Once what came before is kept, which is after its completion: when the next request has been served.
  void letDaysPass(int days) {
    std::promise<void> done;
    client_->execute({}, [&](const auto&, const auto&) { done.set_value(); });
    reply("404");
    done.get_future().wait();
    now_ += 24h * days;
  }

  /// Answers the oldest request that has no answer, if there is one.
  void reply(const std::string& how) {
    if (service->waiting() == 0) return;
    if (how == "fails") return service->reply({});
    const std::string number = R"("n":)" + std::to_string(step_) + "}";
    const std::string token = R"({"access_token":"token)" + std::to_string(step_) + R"(",)";
    const int status = std::isdigit(how[0]) != 0 ? std::stoi(how) : 200;
    service->reply(
        {how == "garbled" ? "garbled" : (how == "unknown" ? R"({"status":false,)" : token) + number, status});
  }

  void see(const std::optional<HTTPResponse>& response, const std::string& body) {
    EXPECT_EQ(outcome_.keptSince.has_value(), outcome_.source == Source::kStore);
    if (!response) {
      seen_ += "- ";
    } else {
      const std::size_t number = body.find(R"("n":)");
      seen_ += "SKC"[static_cast<int>(outcome_.source)];
      seen_ += (number == body.npos ? "" : body.substr(number + 4, body.size() - number - 5)) + ' ';
    }
    const std::size_t token = body.find(R"(token":")");
    if (token != body.npos && outcome_.endpoint.ends_with("oauth2/token/")) {
      token_ = body.substr(token + 8, body.find('"', token + 8) - token - 8);
    }
  }

  const std::chrono::milliseconds patience_;
  const TemporaryFolder folder_;
  const std::string path_ = folder_.path() / "answers";
  AnswerStore::Clock::time_point now_ = AnswerStore::Clock::now();
  const std::shared_ptr<AnswerStore> store_ =
      std::make_shared<AnswerStore>(AnswerStore::Options{.path = path_, .now = [this] { return now_; }});
  TransferOutcome outcome_;
  std::string seen_;
  std::string token_;
  int step_ = 0;
  std::unique_ptr<OfflineHTTPClient> client_;
};

TEST(OfflineHTTPClient, AnswersFromTheServiceFirstAndFromTheStoreWithoutIt) {
  struct Row {
    const char* story;
    const char* seen;
    std::chrono::milliseconds patience = 1h;
  };
  const Row rows[] = {
      // What is kept is refreshed by each answer, and is given at once while the network is away.
      {"login ok,beacon ok,beacon fails,beacon ok,beacon fails", "S1 S2 < K2 K2 > < K4"},
      {"login ok,beacon ok,beacon fails,beacon late,late ok", "S1 S2 < K2 K2 >"},
      // A late reply is kept, and called back no more.
      {"login ok,beacon ok,beacon late,late ok,beacon fails", "S1 S2 < K2 > < K4", 300ms},
      // One answer serves one question of one account on one network.
      {"login ok,beacon ok,louder fails,other fails,nobody ok,nobody fails", "S1 S2 < K2 - > S5 < -"},
      {"login ok,here ok,aStepOn fails,aStreetOn fails,wider fails", "S1 S2 < K2 - -"},
      {"login ok,position ok,position fails,payload ok,payload fails", "S1 S2 < - > S4 < -"},
      {"login ok,beacon ok,loginB ok,beacon fails,login ok,beacon fails", "S1 S2 S3 < - > S5 < K2"},
      {"login ok,beacon ok,login@elsewhere ok,beacon@elsewhere fails", "S1 S2 S3 < -"},
      {"beacon ok,login ok,beacon fails", "S1 S2 < -"},
      // A service that cannot serve is as good as away; what it refuses counts.
      {"login ok,beacon ok,beacon 404,beacon 503,other 503,beacon 429", "S1 S2 S3 < K2 S5 K2"},
      {"login ok,beacon ok,beacon 401,beacon fails,login ok,beacon fails", "S1 S2 S3 < - > S5 < K2"},
      {"login ok,beacon ok,beacon 403,login ok,beacon fails", "S1 S2 S3 S4 < -"},
      {"login ok,beacon ok,login 401,login ok,beacon fails", "S1 S2 S3 S4 < -"},
      // What cannot be read is not kept, and what is kept gets old, unless the clock was set back.
      {"login ok,beacon ok,beacon garbled,beacon fails", "S1 S2 S < K2"},
      {"login ok,beacon ok,other unknown,days 2,beacon fails,other fails", "S1 S2 S3 < K2 -"},
      {"login ok,beacon ok,days 91,beacon fails,days -400,beacon fails", "S1 S2 < - > < K2"},
      // A session without the service, until the network is back.
      {"login ok,beacon ok,restart,login fails,sync,position,beacon 401,other", "S1 S2 < C C - K2 > -"},
      {"login ok,beacon ok,restart,loginB fails,beacon", "S1 S2 < C - >"},
      {"login ok,beacon ok,restart,login fails,beacon 401,login ok,sync fails,beacon ok", "S1 S2 < C K2 > S6 < C K2 >"},
      {"login late,late ok,sync,beacon", "< C > C -", 1ms},
  };
  for (const auto& [story, seen, patience] : rows) EXPECT_EQ(Phone(patience).play(story), seen) << story;
}

TEST(OfflineHTTPClient, CallsEachCompletionOnceAndNoneAfterItsShutdown) {
  Phone phone(1h);
  int calls = 0;
  phone.client().execute({}, [&](const auto& response, const auto&) {
    EXPECT_TRUE(response);
    ++calls;
    phone.client().shutdown();
    EXPECT_EQ(calls, 2);
  });
  phone.client().execute({}, [&](const auto& response, const auto&) { calls += response ? 10 : 1; });
  phone.service->reply({""});
  phone.client().shutdown();
  phone.service->reply({""});
  phone.client().execute({}, [&](const auto&, const auto&) { ++calls; });
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(phone.service->takeRequests().size(), 2U);
}

TEST(OfflineHTTPClient, KeepsSecretsToItself) {
  Phone phone(1h);
  phone.play("login ok,beacon ok,restart,login fails,beacon 401");
  EXPECT_EQ(phone.fileContents().find("key"), std::string::npos);
  for (const char* secret : {"hidden", "token1", "Bearer"}) {
    EXPECT_EQ(phone.fileContents().find(secret), std::string::npos) << secret;
  }
  EXPECT_TRUE(phone.service->takeRequests().back().headers.empty());  // it asks only whether the network is back
}

}  // namespace
}  // namespace platform
