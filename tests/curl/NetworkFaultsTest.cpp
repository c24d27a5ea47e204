// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>

#include <algorithm>

#include "tests/curl/CurlFixture.h"

namespace {

using std::string_literals::operator""s;

// As much of HTTP/2 as a server needs that may stop anywhere. A frame has the length of its payload, its type, flags
// and stream, and its payload.

/// A whole reply, of status 200: a frame of headers, and one of data, the last of the stream.
std::string goodReply(std::uint32_t stream) {
  const std::string number = {0, 0, static_cast<char>(stream >> 8U), static_cast<char>(stream)};
  return "\0\0\1\1\4"s + number + "\x88" + "\0\0\4\0\1"s + number + "good";
}

/// What each side begins with: its settings. The client's are read, not looked at.
void greet(TLSConnection& connection) {
  connection.read(24);
  connection.write("\0\0\0\4\0\0\0\0\0"s);
}

/// The stream of the next request that has come whole; 0 when the peer has gone.
std::uint32_t readRequest(TLSConnection& connection) {
  for (;;) {
    const std::string head = connection.read(9);
    if (head.size() < 9) return 0;
    const auto at = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<std::uint8_t>(head[i])); };
    connection.read(at(0) << 16U | at(1) << 8U | at(2));
    const bool isEnd = at(3) <= 1 && (at(4) & 1U) != 0;  // data or headers, the last of the stream
    if (isEnd) return at(5) << 24U | at(6) << 16U | at(7) << 8U | at(8);
  }
}

/// What becomes of a connection after an answer.
enum class Then { stays, endsTLS, closes, resets, repeats, isMute, isMuteAndTheNetworkChanges };

/// One way to answer a request, and what the client must make of it.
struct Answer {
  std::string name;
  std::string bytes;
  std::string outcome = "none";
  Then then = Then::stays;
  std::string repeated = {};  // for ever, after `bytes`
};

const Answer kGood = {"good", TLSServer::reply("good"), "200 good"};
/// Over HTTP/2, where only its beginnings are sent.
const Answer kGood2 = {"good", goodReply(1), "200 good"};

class NetworkFaults : public Curl {
 protected:
  /// Gives each request the next answer; the last serves for all that come later.
  TLSServer::Serve answering(std::vector<Answer> answers, bool http2) {
    next_ = 0;
    return [this, answers, http2](TLSConnection& connection) {
      if (http2) greet(connection);
      while (const std::uint32_t stream = http2 ? readRequest(connection) : !connection.readRequest().empty()) {
        const Answer& answer = answers[std::min(next_++, answers.size() - 1)];
        connection.write(http2 ? goodReply(stream).substr(0, answer.bytes.size()) : answer.bytes);
        if (answer.then == Then::endsTLS) connection.endTLS();
        if (answer.then == Then::resets) connection.reset();
        if (answer.then == Then::isMuteAndTheNetworkChanges) client_->networkChanged();
        while (answer.then >= Then::isMute && !connection.read(1).empty()) {
        }
        for (std::string many; answer.then == Then::repeats;) {
          while (many.size() < 16000) many += answer.repeated;
          if (!connection.write(many)) return;
        }
        if (answer.then != Then::stays) return;
      }
    };
  }

  /// One request after another, each with its answer.
  void meet(const std::vector<Answer>& answers) {
    const bool http2 = answers.back().bytes == kGood2.bytes;
    Outcomes outcomes;
    const TLSServer server(certificate, answering(answers, http2), http2);
    client_ = client(server);
    for (std::size_t i = 0; i < answers.size(); ++i) {
      client_->execute(request(), outcomes.next());
      ASSERT_EQ(outcomes.wait(i + 1).size(), i + 1) << answers[i].name;
      EXPECT_EQ(outcomes.texts()[i], answers[i].outcome) << answers[i].name;
    }
    client_->shutdown();
    EXPECT_EQ(outcomes.texts().size(), answers.size());  // each completion once, also at the end
  }

  std::atomic<std::size_t> next_ = 0;
  std::unique_ptr<CurlHTTPClient> client_;
};

TEST_F(NetworkFaults, AreSurvivedWhereverTheReplyIsCut) {
  for (const Answer& good : {kGood, kGood2}) {
    const std::size_t firstLine = good.bytes == kGood.bytes ? 17 : 10;
    for (std::size_t cut = 0; cut < good.bytes.size(); ++cut) {
      for (const Then then : {Then::resets, Then::closes, Then::endsTLS}) {
        const std::string bytes = good.bytes.substr(0, cut);
        if (cut < firstLine) meet({{std::to_string(cut) + " bytes", bytes, "none", then}, good});
        // A connection that has served before, and brings nothing, is taken to have been dead already.
        const char* const outcome = cut < firstLine ? "200 good" : "none";
        meet({good, {std::to_string(cut) + " bytes later", bytes, outcome, then}, good});
      }
    }
  }
}

TEST_F(NetworkFaults, AreSurvivedWhereAConnectionIsDead) {
  const Answer mute = {"mute", "", "200 good", Then::isMute};
  meet({kGood2, mute, kGood2});  // takes ten seconds: the client has only time to tell by
  const Answer changes = {"mute", "", "200 good", Then::isMuteAndTheNetworkChanges};
  for (const Answer& good : {kGood, kGood2}) meet({changes, good, changes, good});
}

/// Our side of each connection to `port`. None is inherited by a program that the host starts, and each is given up
/// when the network no longer acknowledges what is sent, which no test can make it do.
int connectionsTo(std::uint16_t port) {
  int count = 0;
  for (int descriptor = 0; descriptor < 1024; ++descriptor) {
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size);  // leaves zeros for what is no connection
    if (peer.sin_family != AF_INET || ntohs(peer.sin_port) != port) continue;
    ++count;
    EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
    unsigned milliseconds = 0;
    getsockopt(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, &milliseconds, &(size = sizeof milliseconds));
    EXPECT_EQ(milliseconds, 5000U);
  }
  return count;
}

TEST_F(NetworkFaults, AreNoneWhenManyRequestsShareConnections) {
  for (const bool http2 : {false, true}) {
    const TLSServer server(certificate, answering({http2 ? kGood2 : kGood}, http2), http2);
    const auto serving = client(server);
    Outcomes outcomes;
    serving->execute(request(), [this](auto, auto) {
      EXPECT_FALSE(told->empty());                     // before the completion
      while (next_ <= 200) std::this_thread::yield();  // keeps the callbacks waiting, and no transfer
    });
    for (int i = 0; i < 200; ++i) serving->execute(request(), outcomes.next());
    EXPECT_EQ(outcomes.wait(200), std::vector<std::string>(200, "200 good"));
    EXPECT_LE(server.connections(), http2 ? 1 : 6);
    EXPECT_GT(connectionsTo(server.port()), 0);
  }
}

const std::string kGoodPacked("\x1f\x8b\b\0\0\0\0\0\2\3K\xcf\xcfO\1\0\x92N\x84l\4\0\0\0", 24);
/// A thousand and one letters, compressed.
const std::string kMuchPacked("\x1f\x8b\b\0\0\0\0\0\2\3\xab\xa8\30\5\xa3`\24\f{\0\0\a\20\x8e\xc5\xe9\3\0\0", 29);

std::string gzip(const std::string& body) { return TLSServer::reply(body, "200 OK", "Content-Encoding: gzip\r\n"); }

TEST_F(NetworkFaults, AreSurvived) {
  const std::string largest(1000, 'x');
  const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  const Answer faults[] = {
      {"the largest body", TLSServer::reply(largest), "200 " + largest},
      {"too large a body", TLSServer::reply(largest + "x")},
      {"a body without end", "HTTP/1.1 200 OK\r\n\r\n", "none", Then::repeats, "x"},
      {"a compressed body", gzip(kGoodPacked), "200 good"},
      {"a compressed body that grows", gzip(kMuchPacked)},
      {"a compressed body that is cut off", gzip(kGoodPacked.substr(0, 20))},
      {"one with another checksum", gzip(kGoodPacked.substr(0, 17) + "x" + kGoodPacked.substr(18))},
      {"one that goes on", gzip(kGoodPacked + "x")},
      {"an unknown coding", TLSServer::reply("good", "200 OK", "Content-Encoding: br\r\n")},

      {"fields without end", "HTTP/1.1 200 OK\r\n", "none", Then::repeats, "X: y\r\n"},
      {"interim replies without end", "", "none", Then::repeats, "HTTP/1.1 100 Continue\r\nX: y\r\n\r\n"},
      {"trailers without end", chunked + "0\r\n", "none", Then::repeats, "X: y\r\n"},
      {"an interim reply", "HTTP/1.1 100 Continue\r\n\r\n" + kGood.bytes, "200 good"},
      {"a head cut off after an interim reply", "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\n", "none",
       Then::endsTLS},
  };
  for (const Answer& fault : faults) meet({fault, kGood});
}

}  // namespace
