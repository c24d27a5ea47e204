#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <condition_variable>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "platform/linux/CurlHTTPClient.h"
#include "tests/support/TLSServer.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;
using platform::CurlHTTPClient;
using platform::HTTPRequest;
using platform::HTTPResponse;

constexpr const char* kHost = "api.brivane.example";
constexpr auto kNever = 60s;  // a wait that lasts so long has failed

/// The outcomes of requests, gathered on the callback thread.
class Outcomes {
 public:
  platform::HTTPClient::Completion next() {
    return [this](std::optional<HTTPResponse> response, std::optional<std::string> body) {
      const std::lock_guard lock(mutex_);
      texts_.push_back(response ? std::to_string(response->statusCode) + " " + body.value_or("?")
                                : (body ? "?" : "none"));
      threads_.insert(std::this_thread::get_id());
      changed_.notify_all();
    };
  }
  bool wait(std::size_t count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kNever, [&] { return texts_.size() >= count; });
  }
  std::vector<std::string> texts() {
    const std::lock_guard lock(mutex_);
    return texts_;
  }
  std::size_t threads() { return threads_.size(); }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> texts_;
  std::set<std::thread::id> threads_;
};

class Curl : public testing::Test {
 protected:
  HTTPRequest request(const std::string& path = "/") const {
    return {.url = std::string("https://") + kHost + path,
            .method = "POST",
            .headers = {{"Authorization", "Bearer secret"}, {"Content-Length", "3"}},
            .body = "a=b"};
  }

  /// A client whose requests go to `server`, and which trusts `trusted`.
  std::unique_ptr<CurlHTTPClient> client(const TLSServer& server, const service::Certificate& trusted) {
    return std::make_unique<CurlHTTPClient>(
        CurlHTTPClient::Options{.connectTo = std::string(kHost) + ":443:127.0.0.1:" + std::to_string(server.port()),
                                .caFile = folder.write("ca.pem", trusted.certificatePEM),
                                .maxReplyBytes = 1000,
                                .log = nullptr});
  }
  std::unique_ptr<CurlHTTPClient> client(const TLSServer& server) { return client(server, certificate); }

  /// The outcome of one request to a server that behaves so.
  std::string outcome(const TLSServer::Serve& serve) {
    TLSServer server(certificate, serve);
    return outcome(*client(server), request());
  }
  static std::string outcome(CurlHTTPClient& client, const HTTPRequest& request) {
    Outcomes outcomes;
    client.execute(request, outcomes.next());
    if (!outcomes.wait(1)) return "never";
    client.shutdown();  // or a second call could still come
    return outcomes.texts().size() == 1 ? outcomes.texts().front() : "more than one";
  }

  const TemporaryFolder folder;
  const service::Certificate certificate = service::makeCertificate(kHost, -1h, 1h);
};

TEST_F(Curl, WritesTheRequestByteForByte) {
  std::vector<std::string> requests;
  TLSServer server(certificate, TLSServer::answering(TLSServer::reply("{}"), &requests));
  const std::string path = "/api/v1/https://api.brivane.example/api/v1/../sync/";
  EXPECT_EQ(outcome(*client(server), request(path)), "200 {}");
  ASSERT_EQ(requests.size(), 1U);
  const std::string& sent = requests.front();
  EXPECT_EQ(sent.substr(0, sent.find("\r\n")), "POST " + path + " HTTP/1.1");
  std::multiset<std::string> lines;
  std::istringstream head(sent.substr(0, sent.find("\r\n\r\n")));
  for (std::string line; std::getline(head, line);) lines.insert(line.substr(0, line.find('\r')));
  for (const char* line : {"Host: api.brivane.example", "Authorization: Bearer secret", "Content-Length: 3",
                           "Content-Type: application/x-www-form-urlencoded"}) {
    EXPECT_EQ(lines.count(line), 1U) << sent;
  }
  EXPECT_EQ(sent.find("Expect"), std::string::npos);
  EXPECT_EQ(sent.substr(sent.find("\r\n\r\n") + 4), "a=b");
}

TEST_F(Curl, HandsOnEveryReplyAndFailsEveryBrokenOne) {
  const auto raw = [](const std::string& bytes, bool reset = false) {
    return [bytes, reset](TLSConnection& connection) {
      connection.readRequest();
      connection.write(bytes);
      if (reset) connection.reset();
    };
  };
  const std::string good = TLSServer::reply("body");
  const std::string large(1001, 'x');
  EXPECT_EQ(outcome(raw(good)), "200 body");
  EXPECT_EQ(outcome(raw(TLSServer::reply("oops", "500 No"))), "500 oops");
  EXPECT_EQ(outcome(raw(TLSServer::reply("", "204 Empty"))), "204 ");
  EXPECT_EQ(outcome(raw(TLSServer::reply(std::string(1000, 'x')))).size(), 1004U);
  EXPECT_EQ(outcome(raw("")), "none");
  EXPECT_EQ(outcome(raw("", true)), "none");
  EXPECT_EQ(outcome(raw("nonsense\r\n\r\n")), "none");
  EXPECT_EQ(outcome(raw(TLSServer::reply(large))), "none");
  EXPECT_EQ(outcome(raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3E9\r\n" + large + "\r\n0\r\n\r\n")),
            "none");
  for (std::size_t cut = 0; cut < good.size(); cut += 7) {
    EXPECT_EQ(outcome(raw(good.substr(0, cut), true)), "none") << cut;
  }
}

TEST_F(Curl, TrustsTheRightCertificateAlone) {
  const struct {
    service::Certificate presented;
    const char* outcome;
  } rows[] = {
      {certificate, "200 {}"},
      {service::makeCertificate(kHost, -1h, 1h), "none"},  // of another authority
      {service::makeCertificate("other.example", -1h, 1h), "none"},
      {service::makeCertificate(kHost, -2h, -1h), "none"},
      {service::makeCertificate(kHost, 1h, 2h), "none"},
  };
  for (const auto& row : rows) {
    TLSServer server(row.presented, TLSServer::answering(TLSServer::reply("{}")));
    // Each but the second is trusted, so that only what is wrong with it counts.
    const bool isStranger = &row == &rows[1];
    EXPECT_EQ(outcome(*client(server, isStranger ? certificate : row.presented), request()), row.outcome);
  }
}

TEST_F(Curl, KeepsSecretsFromWhereRedirectsLead) {
  std::vector<std::string> requests;
  TLSServer other(certificate, TLSServer::answering(TLSServer::reply("there"), &requests));
  const std::string elsewhere = "127.0.0.1:" + std::to_string(other.port()) + "/x";
  const auto redirect = [](const std::string& status, const std::string& to) {
    return TLSServer::answering(TLSServer::reply("", status, "Location: " + to + "\r\n"));
  };
  EXPECT_EQ(outcome(redirect("302 Found", "https://" + elsewhere)), "200 there");
  EXPECT_EQ(outcome(redirect("307 Moved", "https://" + elsewhere)), "200 there");
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_EQ(requests[0].substr(0, 7), "GET /x ");
  EXPECT_EQ(requests[1].substr(0, 8), "POST /x ");
  for (const std::string& sent : requests) {
    EXPECT_EQ(sent.find("secret"), std::string::npos) << sent;
  }
  EXPECT_EQ(outcome(redirect("302 Found", "http://" + elsewhere)), "none");
  EXPECT_EQ(outcome(redirect("302 Found", "/again")), "none");  // for ever
}

TEST_F(Curl, RefusesWhatCannotBeSentSafely) {
  std::vector<std::string> requests;
  TLSServer server(certificate, TLSServer::answering(TLSServer::reply("{}"), &requests));
  HTTPRequest injected = request();
  injected.headers.emplace_back("X", "a\r\nY: b");
  HTTPRequest plain = request();
  plain.url = "http://127.0.0.1:" + std::to_string(server.port());
  HTTPRequest method = request();
  method.method = "GET";
  HTTPRequest url = request();
  url.url = "no url";
  for (const HTTPRequest& bad : {injected, plain, method, url}) {
    EXPECT_EQ(outcome(*client(server), bad), "none");
  }
  EXPECT_TRUE(requests.empty());
}

TEST_F(Curl, SharesFewConnectionsAmongManyRequests) {
  TLSServer server(certificate, TLSServer::answering(TLSServer::reply("{}")));
  const auto many = client(server);
  Outcomes outcomes;
  for (int i = 0; i < 200; ++i) many->execute(request(), outcomes.next());
  ASSERT_TRUE(outcomes.wait(200));
  EXPECT_EQ(outcomes.texts(), std::vector<std::string>(200, "200 {}"));
  EXPECT_EQ(outcomes.threads(), 1U);
  EXPECT_LE(server.connections(), 6);
}

TEST_F(Curl, TransfersGoOnWhileACallbackBlocksOrThrows) {
  std::mutex mutex;
  std::condition_variable changed;
  int served = 0;
  TLSServer server(certificate, [&](TLSConnection& connection) {
    while (!connection.readRequest().empty()) {
      connection.write(TLSServer::reply("{}"));
      const std::lock_guard lock(mutex);
      ++served;
      changed.notify_all();
    }
  });
  const auto serving = client(server);
  Outcomes outcomes;
  serving->execute(request(), [&](auto, auto) {
    std::unique_lock lock(mutex);
    EXPECT_TRUE(changed.wait_for(lock, kNever, [&] { return served == 11; }));
    throw std::runtime_error("a host's");
  });
  for (int i = 0; i < 10; ++i) serving->execute(request(), outcomes.next());
  EXPECT_TRUE(outcomes.wait(10));
}

TEST_F(Curl, ShutdownEndsAllAndCallsNothingLater) {
  TLSServer silent(certificate, [](TLSConnection& connection) {
    while (!connection.readRequest().empty()) {
    }
  });
  auto stuck = client(silent);
  Outcomes outcomes;
  for (int i = 0; i < 20; ++i) stuck->execute(request(), outcomes.next());
  stuck->shutdown();
  EXPECT_EQ(outcomes.texts(), std::vector<std::string>(20, "none"));
  stuck->execute(request(), outcomes.next());
  stuck->shutdown();
  EXPECT_EQ(outcomes.texts().size(), 20U);
}

TEST_F(Curl, MayBeShutDownOrDestroyedInsideACallback) {
  TLSServer server(certificate, TLSServer::answering(TLSServer::reply("{}")));
  for (const bool destroy : {false, true}) {
    // Shared with the callback, because nobody joins the thread of a client that was destroyed in it.
    const auto outcomes = std::make_shared<Outcomes>();
    const auto ended = std::make_shared<std::promise<std::size_t>>();
    std::shared_ptr<CurlHTTPClient> last = client(server);
    last->execute(request(), [&, outcomes, ended](auto, auto) {
      for (int i = 0; i < 5; ++i) last->execute(request(), outcomes->next());
      destroy ? last.reset() : last->shutdown();
      ended->set_value(outcomes->texts().size());
    });
    auto count = ended->get_future();
    ASSERT_EQ(count.wait_for(kNever), std::future_status::ready);
    EXPECT_EQ(count.get(), 5U);
  }
}

TEST_F(Curl, ExitsCleanlyWithRequestsInFlight) {
  // Nobody accepts, so nothing but the client is at work when the process ends.
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  socklen_t size = sizeof address;
  ASSERT_EQ(listen(listener, 64), 0);
  ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
  EXPECT_EXIT(
      {
        auto* const forgotten = new CurlHTTPClient({});
        HTTPRequest stuck = request();
        stuck.url = "https://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
        for (int i = 0; i < 20; ++i) forgotten->execute(stuck, [](auto, auto) {});
        std::exit(7);
      },
      testing::ExitedWithCode(7), "");
}

}  // namespace
