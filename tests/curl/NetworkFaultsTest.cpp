#include <algorithm>
#include <atomic>

#include "tests/curl/CurlFixture.h"
#include "tests/support/HTTP2.h"

namespace {

/// What becomes of a connection after an answer.
enum class Then { stays, endsTLS, closes, resets, repeats };

/// One way to answer a request, and what the client must make of it.
struct Answer {
  std::string name;
  std::string bytes;
  std::string outcome = "none";
  Then then = Then::stays;
  std::string repeated = {};  // for ever, after `bytes`
};

void give(const Answer& answer, TLSConnection& connection) {
  connection.write(answer.bytes);
  if (answer.then == Then::endsTLS) connection.endTLS();
  if (answer.then == Then::resets) connection.reset();
  if (answer.then != Then::repeats) return;
  std::string many;
  while (many.size() < 16000) many += answer.repeated;
  while (connection.write(many)) {
  }
}

class NetworkFaults : public Curl {
 protected:
  /// One request after another, each with the next answer; the last serves for all that come later.
  void meet(const std::vector<Answer>& answers, bool http2 = false) {
    Outcomes outcomes;
    std::atomic<std::size_t> next = 0;
    const auto serve = [&](TLSConnection& connection) {
      if (http2) http2::greet(connection);
      while (http2 ? http2::readRequest(connection) != 0 : !connection.readRequest().empty()) {
        const Answer& answer = answers[std::min(next++, answers.size() - 1)];
        give(answer, connection);
        if (answer.then != Then::stays) return;
      }
    };
    const TLSServer server(certificate, serve, http2);
    const auto serving = client(server);
    for (std::size_t i = 0; i < answers.size(); ++i) {
      serving->execute(request(), outcomes.next());
      ASSERT_TRUE(outcomes.wait(i + 1)) << answers[i].name;
      EXPECT_EQ(outcomes.texts()[i], answers[i].outcome) << answers[i].name;
    }
    serving->shutdown();
    EXPECT_EQ(outcomes.texts().size(), answers.size());  // each completion once, also at the end
  }
};

/// A reply, on the first stream of its connection if it is HTTP/2.
Answer good(bool http2 = false) {
  return {"good", http2 ? http2::reply(1, "good") : TLSServer::reply("good"), "200 good"};
}

TEST_F(NetworkFaults, AreSurvivedWhereverTheReplyIsCut) {
  for (const bool http2 : {false, true}) {
    const std::string bytes = good(http2).bytes;
    for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
      for (const Then then : {Then::resets, Then::closes, Then::endsTLS}) {
        meet({{std::to_string(cut) + " bytes", bytes.substr(0, cut), "none", then}, good(http2)}, http2);
      }
    }
  }
}

TEST_F(NetworkFaults, AreNoneWhenManyRequestsShareConnections) {
  const auto serve = [](TLSConnection& connection) {
    http2::greet(connection);
    while (const std::uint32_t stream = http2::readRequest(connection)) connection.write(http2::reply(stream, "good"));
  };
  const TLSServer http1(certificate, TLSServer::answering(good().bytes));
  const TLSServer http2(certificate, serve, true);
  for (const auto& [server, connections] : {std::pair(&http1, 6), {&http2, 1}}) {
    const auto serving = client(*server);
    Outcomes outcomes;
    for (int i = 0; i < 200; ++i) serving->execute(request(), outcomes.next());
    EXPECT_TRUE(outcomes.wait(200));
    EXPECT_EQ(outcomes.texts(), std::vector<std::string>(200, "200 good"));
    EXPECT_LE(server->connections(), connections);
  }
}

const std::string kGood("\x1f\x8b\b\0\0\0\0\0\2\3K\xcf\xcfO\1\0\x92N\x84l\4\0\0\0", 24);
/// A thousand and one letters, compressed.
const std::string kMuch("\x1f\x8b\b\0\0\0\0\0\2\3\xab\xa8\30\5\xa3`\24\f{\0\0\a\20\x8e\xc5\xe9\3\0\0", 29);

std::string gzip(const std::string& body) { return TLSServer::reply(body, "200 OK", "Content-Encoding: gzip\r\n"); }

TEST_F(NetworkFaults, AreSurvived) {
  const std::string largest(1000, 'x');
  const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  const Answer faults[] = {
      {"an error", TLSServer::reply("oops", "500 No"), "500 oops"},
      {"no body", TLSServer::reply("", "204 Empty"), "204 "},
      {"the largest body", TLSServer::reply(largest), "200 " + largest},
      {"too large a body", TLSServer::reply(largest + "x")},
      {"too large in chunks", chunked + "3E9\r\n" + largest + "x\r\n0\r\n\r\n"},
      {"a body without end", "HTTP/1.1 200 OK\r\n\r\n", "none", Then::repeats, "x"},
      {"a compressed body", gzip(kGood), "200 good"},
      {"a compressed body that grows", gzip(kMuch)},
      {"a compressed body that is cut off", gzip(kGood.substr(0, 20))},
      {"one of which nothing is left", gzip(kGood.substr(0, 3))},
      {"one with another checksum", gzip(kGood.substr(0, 17) + "x" + kGood.substr(18))},
      {"one that goes on", gzip(kGood + kGood)},
      {"no compression", gzip("good")},
      {"an unknown coding", TLSServer::reply("good", "200 OK", "Content-Encoding: br\r\n")},

      {"fields without end", "HTTP/1.1 200 OK\r\n", "none", Then::repeats, "X: y\r\n"},
      {"interim replies without end", "", "none", Then::repeats, "HTTP/1.1 100 Continue\r\nX: y\r\n\r\n"},
      {"trailers without end", chunked + "0\r\n", "none", Then::repeats, "X: y\r\n"},
      {"bare line feeds", "HTTP/1.1 200 OK\nContent-Length: 4\n\ngood", "200 good"},
      {"an interim reply", "HTTP/1.1 100 Continue\r\n\r\n" + good().bytes, "200 good"},
      {"only an interim reply", "HTTP/1.1 100 Continue\r\n\r\n", "none", Then::endsTLS},
  };
  for (const Answer& fault : faults) meet({fault, good()});
}

}  // namespace
