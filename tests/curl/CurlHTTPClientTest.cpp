#include <netinet/in.h>
#include <sys/socket.h>

#include <functional>
#include <future>
#include <sstream>
#include <stdexcept>

#include "tests/curl/CurlFixture.h"

namespace {

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

TEST_F(Curl, TrustsTheRightCertificateAlone) {
  const std::pair<service::Certificate, const char*> rows[] = {
      {certificate, "200 {}"},
      {service::makeCertificate("other.example", -1h, 1h), "none"},
      {service::makeCertificate(kHost, -2h, -1h), "none"},
      {service::makeCertificate(kHost, 1h, 2h), "none"},
  };
  for (const auto& [presented, expected] : rows) {
    TLSServer server(presented, TLSServer::answering(TLSServer::reply("{}")));
    // Each is trusted, so that only what is wrong with it counts.
    EXPECT_EQ(outcome(*client(server, presented), request()), expected);
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
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].substr(0, 7), "GET /x ");
  EXPECT_EQ(requests[0].find("secret"), std::string::npos) << requests[0];
  EXPECT_EQ(requests[0].find("a=b"), std::string::npos) << requests[0];
  EXPECT_EQ(outcome(redirect("307 Moved", "https://" + elsewhere)), "none");
  EXPECT_EQ(outcome(redirect("308 Moved", "https://" + elsewhere)), "none");
  EXPECT_EQ(outcome(redirect("302 Found", "http://" + elsewhere)), "none");
  TLSServer neighbour(certificate, redirect("307 Moved", "https://" + elsewhere));  // of another port alone
  HTTPRequest toNeighbour = request();
  toNeighbour.url = "https://127.0.0.1:" + std::to_string(neighbour.port());
  EXPECT_EQ(outcome(*client(neighbour), toNeighbour), "none");
  EXPECT_EQ(requests.size(), 1U);
}

TEST_F(Curl, FollowsRedirectsWithinTheHost) {
  for (const auto& [status, method] : {std::pair("302 Found", "GET"), {"307 Moved", "POST"}, {"308 Moved", "POST"}}) {
    std::string last;
    const auto serve = [&, status = status](TLSConnection& connection) {
      connection.readRequest();
      connection.write(TLSServer::reply("", status, "Location: https://API.brivane.example:443/x\r\n"));
      last = connection.readRequest();
      connection.write(TLSServer::reply("there"));
    };
    EXPECT_EQ(outcome(serve), "200 there");
    EXPECT_EQ(last.substr(0, last.find(' ')), method);
    EXPECT_NE(last.find("Bearer secret"), std::string::npos) << last;
    EXPECT_EQ(last.ends_with("a=b"), method == std::string("POST")) << last;
  }
  std::vector<std::string> requests;
  EXPECT_EQ(outcome(TLSServer::answering(TLSServer::reply("", "302 Found", "Location: /again\r\n"), &requests)),
            "none");
  EXPECT_EQ(requests.size(), 21U);
}

TEST_F(Curl, RefusesWhatCannotBeSentSafely) {
  std::vector<std::string> requests;
  TLSServer server(certificate, TLSServer::answering(TLSServer::reply("{}"), &requests));
  const std::function<void(HTTPRequest&)> spoilers[] = {
      [](auto& bad) { bad.headers.emplace_back("X", "a\r\nY: b"); },
      [&](auto& bad) { bad.url = "http://127.0.0.1:" + std::to_string(server.port()); },
      [](auto& bad) { bad.url = "no url"; },
      [](auto& bad) { bad.method = "GET"; },
  };
  for (const auto& spoil : spoilers) {
    HTTPRequest bad = request();
    spoil(bad);
    EXPECT_EQ(outcome(*client(server), bad), "none");
  }
  EXPECT_TRUE(requests.empty());
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
