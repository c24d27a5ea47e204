#include <zlib.h>

#include <algorithm>
#include <span>

#include "tests/curl/CurlFixture.h"
#include "tests/support/HTTP2.h"

namespace {

/// What becomes of a connection after the answer.
enum class Then { stays, endsTLS, closes, resets, drips, repeats };

/// One way to answer a request, and what the client must make of it.
struct Fault {
  std::string name;
  std::string bytes;
  Then then = Then::closes;
  std::string outcome = "none";
  std::string repeated = {};  // for ever, after `bytes`
};

std::string operator*(const std::string& text, std::size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  while (times-- > 0) all += text;
  return all;
}

/// Stands in a fault's bytes for the HTTP/2 stream that the request came on.
constexpr std::uint32_t kStream = 0x7ABCDEF1;

std::string onStream(std::uint32_t stream, std::string bytes) {
  const std::string from = http2::number(kStream, 4);
  for (std::size_t at = 0; (at = bytes.find(from, at)) != std::string::npos; at += 4) {
    bytes.replace(at, 4, http2::number(stream, 4));
  }
  return bytes;
}

/// Answers, and says whether the connection stays.
bool answer(TLSConnection& connection, const Fault& fault, std::uint32_t stream) {
  const std::string bytes = onStream(stream, fault.bytes);
  if (fault.then == Then::drips) {
    // Each is a TLS record, so that it is read by itself.
    return std::ranges::all_of(bytes, [&](char byte) { return connection.write({byte}); });
  }
  connection.write(bytes);
  if (fault.then == Then::endsTLS) connection.endTLS();
  if (fault.then == Then::resets) connection.reset();
  if (fault.then == Then::repeats) {
    const std::string many = onStream(stream, fault.repeated) * (1 + 16000 / fault.repeated.size());
    while (connection.write(many)) {
    }
  }
  return fault.then == Then::stays;
}

/// A client that meets one fault after another, and a good reply after each.
class NetworkFaults : public Curl {
 protected:
  NetworkFaults(bool http2, const std::string& goodReply) : good_{"good", goodReply, Then::stays, "200 good"} {
    const auto serve = [this, http2](TLSConnection& connection) {
      if (http2) http2::greet(connection);
      for (;;) {
        const std::uint32_t stream =
            http2 ? http2::readRequest(connection) : static_cast<std::uint32_t>(!connection.readRequest().empty());
        if (stream == 0 || !answer(connection, current(), stream)) return;
      }
    };
    server_ = std::make_unique<TLSServer>(certificate, serve, http2);
    client_ = client(*server_);
  }

  void TearDown() override {
    client_->shutdown();
    EXPECT_EQ(outcomes_.texts().size(), requests_);  // each completion once, also at the end
  }

  Fault current() {
    const std::lock_guard lock(mutex_);
    return fault_;
  }
  void serve(const Fault& fault) {
    const std::lock_guard lock(mutex_);
    fault_ = fault;
  }

  std::string next(const HTTPRequest& request) {
    client_->execute(request, outcomes_.next());
    if (!outcomes_.wait(++requests_)) return "never";
    return outcomes_.texts().size() == requests_ ? outcomes_.texts().back() : "more than once";
  }
  std::string next(const Fault& fault) {
    serve(fault);
    return next(request());
  }

  /// Many at once, over so many connections at most.
  void sendMany(int connections) {
    requests_ = 200;
    for (std::size_t i = 0; i < requests_; ++i) client_->execute(request(), outcomes_.next());
    ASSERT_TRUE(outcomes_.wait(requests_));
    EXPECT_EQ(outcomes_.texts(), std::vector<std::string>(requests_, good_.outcome));
    EXPECT_EQ(outcomes_.threads(), 1U);
    EXPECT_LE(server_->connections(), connections);
  }

  /// Each, and a good reply after each.
  void meetAll(std::span<const Fault> faults) {
    for (const Fault& fault : faults) {
      // After one that never ends, the outcomes would be those of others.
      ASSERT_EQ(next(fault), fault.outcome) << fault.name;
      ASSERT_EQ(next(good_), good_.outcome) << "after " << fault.name;
    }
  }

  /// Every way to lose a connection after every byte of a reply but the last.
  void meetEveryCut() {
    std::vector<Fault> faults;
    for (std::size_t cut = 0; cut < good_.bytes.size(); ++cut) {
      const std::string bytes = good_.bytes.substr(0, cut);
      const std::string name = std::to_string(cut) + " bytes and ";
      faults.push_back({name + "a reset", bytes, Then::resets});
      faults.push_back({name + "the end of the connection", bytes, Then::closes});
      faults.push_back({name + "the end of TLS", bytes, Then::endsTLS});
    }
    meetAll(faults);
  }

  const Fault good_;
  std::mutex mutex_;
  Fault fault_ = good_;
  Outcomes outcomes_;
  std::size_t requests_ = 0;
  std::unique_ptr<TLSServer> server_;
  std::unique_ptr<CurlHTTPClient> client_;
};

// HTTP/1.1

class HTTP1Faults : public NetworkFaults {
 protected:
  HTTP1Faults() : NetworkFaults(false, TLSServer::reply("good")) {}
};

std::string head(const std::string& fields, const std::string& status = "200 OK") {
  return "HTTP/1.1 " + status + "\r\n" + fields + "\r\n\r\n";
}

std::string chunked(const std::string& chunks) { return head("Transfer-Encoding: chunked") + chunks; }

std::string coded(const std::string& coding, const std::string& body) {
  return TLSServer::reply(body, "200 OK", "Content-Encoding: " + coding + "\r\n");
}

/// Ten million zeros.
std::string bomb(int windowBits) {
  std::vector<Bytef> zeros(10'000'000);
  std::vector<Bytef> packed(15'000);
  z_stream stream{};
  deflateInit2(&stream, 9, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
  stream.next_in = zeros.data();
  stream.avail_in = static_cast<uInt>(zeros.size());
  stream.next_out = packed.data();
  stream.avail_out = static_cast<uInt>(packed.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  deflateEnd(&stream);
  return {packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(stream.total_out)};
}

TEST_F(HTTP1Faults, AreNoneWhenManyRequestsShareConnections) { sendMany(6); }

TEST_F(HTTP1Faults, AreSurvivedBeforeARequestIsSent) {
  const auto willing = TLSServer::answering(good_.bytes);
  const TLSServer stranger(service::makeCertificate(kHost, -1h, 1h), willing);
  const TLSServer nameless({}, willing);
  const std::uint16_t closed = TLSServer(certificate, willing).port();
  for (const std::uint16_t port : {stranger.port(), nameless.port(), closed}) {
    HTTPRequest astray = request();
    astray.url = "https://127.0.0.1:" + std::to_string(port);
    ASSERT_EQ(next(astray), "none");
    ASSERT_EQ(next(request()), good_.outcome);
  }
}

TEST_F(HTTP1Faults, AreSurvivedWhereverTheReplyIsCut) { meetEveryCut(); }

TEST_F(HTTP1Faults, AreSurvived) {
  const std::string large(1001, 'x');
  const Fault faults[] = {
      {"good", good_.bytes, Then::stays, "200 good"},
      {"a byte at a time", good_.bytes, Then::drips, "200 good"},
      {"an error", TLSServer::reply("oops", "500 No"), Then::stays, "500 oops"},
      {"no body", head("Content-Length: 0", "204 Empty"), Then::stays, "204 "},
      {"the largest", TLSServer::reply(large.substr(1)), Then::stays, "200 " + large.substr(1)},
      {"too large", TLSServer::reply(large), Then::stays},
      {"too large in chunks", chunked("3E9\r\n" + large + "\r\n0\r\n\r\n"), Then::stays},
      {"too large without end", head("X: y"), Then::repeats, "none", "x"},
      {"ended by TLS", head("X: y") + "good", Then::endsTLS, "200 good"},
      {"ended by anybody", head("X: y") + "good", Then::closes, "200 good"},

      {"nonsense", "nonsense\r\n\r\n"},
      {"a head of zeros", std::string(100, '\0') + "\r\n\r\n"},
      {"a version to come", "HTTP/7.0 200 OK\r\n\r\n"},
      {"status of five digits", head("Content-Length: 0", "20000 OK")},
      {"a zero byte in a field", head(std::string("X: \0y", 5))},
      {"a field without name", head(": y\r\nContent-Length: 4") + "good", Then::closes, "200 good"},
      {"endless fields", "HTTP/1.1 200 OK\r\n", Then::repeats, "none", "X: y\r\n"},
      {"an endless field", "HTTP/1.1 200 OK\r\nX: ", Then::repeats, "none", "y"},
      {"endless interim replies", "", Then::repeats, "none", "HTTP/1.1 100 Continue\r\nX: y\r\n\r\n"},
      {"endless trailers", chunked("0\r\n"), Then::repeats, "none", "X: y\r\n"},
      {"trailers", chunked("4\r\ngood\r\n0\r\nX: y\r\n\r\n"), Then::stays, "200 good"},
      {"an interim reply", "HTTP/1.1 100 Continue\r\n\r\n" + good_.bytes, Then::stays, "200 good"},
      {"only an interim reply", "HTTP/1.1 100 Continue\r\n\r\n", Then::endsTLS},
      {"bare line feeds", "HTTP/1.1 200 OK\nContent-Length: 4\n\ngood", Then::stays, "200 good"},
      {"another protocol", head("Upgrade: x", "101 Switching")},

      {"chunk too long", chunked("5\r\ngood\r\n0\r\n\r\n"), Then::closes, "200 good\r"},
      {"chunk too short", chunked("2\r\ngood\r\n0\r\n\r\n")},
      {"chunk negative", chunked("-4\r\ngood\r\n0\r\n\r\n")},
      {"chunk huge", chunked("FFFFFFFFFFFFFFFF\r\ngood\r\n0\r\n\r\n")},
      {"chunk size too long", chunked("00000000000000004\r\ngood\r\n0\r\n\r\n")},
      {"chunk size no number", chunked("x\r\ngood\r\n0\r\n\r\n")},
      {"no last chunk", chunked("4\r\ngood\r\n"), Then::endsTLS},
      {"a last chunk cut off", chunked("4\r\ngood\r\n0\r\n"), Then::endsTLS},

      {"length too long", head("Content-Length: 5") + "good", Then::endsTLS},
      {"length too short", head("Content-Length: 2") + "good", Then::stays, "200 go"},
      {"length negative", head("Content-Length: -4") + "good", Then::endsTLS},
      {"length huge", head("Content-Length: 99999999999999999999") + "good", Then::endsTLS, "200 good"},
      {"length no number", head("Content-Length: x") + "good", Then::endsTLS},
      {"two lengths", head("Content-Length: 4\r\nContent-Length: 2") + "good", Then::stays, "200 go"},
      {"length and chunks", head("Content-Length: 2\r\nTransfer-Encoding: chunked") + "4\r\ngood\r\n0\r\n\r\n",
       Then::stays, "200 good"},
      {"two replies", good_.bytes + TLSServer::reply("evil"), Then::stays, "200 good"},

      {"gzip bomb", coded("gzip", bomb(15 + 16)), Then::stays},
      {"deflate bomb", coded("deflate", bomb(15)), Then::stays},
      {"raw deflate bomb", coded("deflate", bomb(-15)), Then::stays},
      {"brotli", coded("br", std::string("\x8b\x01\x80good\x03")), Then::stays, "200 good"},
      {"no brotli", coded("br", "good"), Then::stays, "200 "},
      {"no gzip", coded("gzip", "good"), Then::stays},
      {"gzip cut off", coded("gzip", bomb(15 + 16).substr(0, 12)), Then::stays, "200 "},
      {"many codings", coded(std::string("gzip, ") * 100 + "gzip", "good"), Then::stays},
      {"unknown coding", coded("rot13", "good"), Then::stays},

      {"redirect to nowhere", TLSServer::reply("", "302 Found"), Then::stays, "302 "},
      {"redirect to nonsense", head("Location: https://[\r\nContent-Length: 0", "302 Found"), Then::stays},
      {"redirect to a file", head("Location: file:///etc/hostname\r\nContent-Length: 0", "302 Found"), Then::stays},
  };
  meetAll(faults);
}

// HTTP/2

class HTTP2Faults : public NetworkFaults {
 protected:
  HTTP2Faults() : NetworkFaults(true, http2::reply(kStream, "good")) {}
};

std::string fields(const std::string& block, int flags = http2::kEndHeaders) {
  return http2::frame(http2::kHeaders, flags, kStream, block);
}

std::string status(const std::string& code = "200") { return http2::field(":status", code); }

std::string data(const std::string& bytes, int flags = http2::kEndStream) {
  return http2::frame(http2::kData, flags, kStream, bytes);
}

std::string reset(std::uint32_t error) { return http2::frame(http2::kReset, 0, kStream, http2::number(error, 4)); }

std::string goAway(std::uint32_t last, std::uint32_t error) {
  return http2::frame(http2::kGoAway, 0, 0, http2::number(last, 4) + http2::number(error, 4));
}

TEST_F(HTTP2Faults, AreNoneWhenManyRequestsShareAConnection) { sendMany(1); }

TEST_F(HTTP2Faults, AreSurvivedWhereverTheReplyIsCut) { meetEveryCut(); }

TEST_F(HTTP2Faults, AreSurvivedWithAnyErrorCode) {
  std::vector<Fault> faults;
  for (std::uint32_t error = 0; error < 16; ++error) {
    const std::string name = "error " + std::to_string(error);
    const std::string half = fields(status()) + data("go", 0);
    faults.push_back({"stream " + name, reset(error), Then::stays});
    faults.push_back({"stream half way, " + name, half + reset(error), Then::stays});
    faults.push_back({"connection " + name, goAway(0, error)});
    faults.push_back({"connection half way, " + name, half + goAway(kStream, error)});
  }
  meetAll(faults);
}

TEST_F(HTTP2Faults, AreSurvived) {
  using namespace http2;
  const std::string begun = fields(status());
  const Fault faults[] = {
      {"good", good_.bytes, Then::stays, "200 good"},
      {"a byte at a time", good_.bytes, Then::drips, "200 good"},
      {"the last on its connection", goAway(kStream, 0) + good_.bytes, Then::stays, "200 good"},
      {"an unknown frame", frame(99, 255, kStream, "x") + good_.bytes, Then::stays, "200 good"},
      {"an interim reply", fields(status("103")) + good_.bytes, Then::stays, "200 good"},
      {"trailers", begun + data("good", 0) + fields(field("x", "y"), kEndHeaders | kEndStream), Then::stays,
       "200 good"},
      {"too large", begun + data(std::string(1001, 'x')), Then::stays},
      {"gzip bomb", fields(status() + field("content-encoding", "gzip")) + data(bomb(15 + 16)), Then::stays},

      {"HTTP/1.1", TLSServer::reply("good"), Then::stays},
      {"noise", std::string("\x12\x34\x56") * 1000},
      {"zeros", std::string(3000, '\0')},
      {"a frame too large", frame(kData, kEndStream, kStream, std::string(20000, 'x')), Then::stays},
      {"a frame that ends nowhere", number(0xFFFFFF, 3) + number(0, 2) + number(kStream, 4) + "good"},
      {"data before the head", data("good"), Then::stays},
      {"data on no stream", frame(kData, kEndStream, 0, "good"), Then::stays},
      {"data on another's stream", frame(kData, kEndStream, 0x7001, "good"), Then::stays},
      {"more padding than data", data("\x7fgood", kEndStream | kPadded), Then::stays},
      {"a reply to no request", frame(kHeaders, kEndHeaders, 2, status()), Then::stays},
      {"a pushed reply", frame(kPush, kEndHeaders, kStream, number(2, 4) + status())},
      {"settings of half a setting", frame(kSettings, 0, 0, "good"), Then::stays},
      {"settings out of range", frame(kSettings, 0, 0, number(5, 2) + number(0, 4)), Then::stays},
      {"a window of nothing", frame(kWindow, 0, 0, number(0, 4)), Then::stays},
      {"windows beyond all bounds", frame(kWindow, 0, 0, number(0x7FFFFFFF, 4)), Then::stays},
      {"a short ping", frame(kPing, 0, 0, "good"), Then::stays},
      {"a continuation of nothing", frame(kContinuation, kEndHeaders, kStream, status()), Then::stays},
      {"a head interrupted", fields(status(), 0) + data("good"), Then::stays},

      {"no status", fields(field("x", "y")) + data("good"), Then::stays},
      {"two statuses", fields(status() + status()) + data("good"), Then::stays},
      {"a status of letters", fields(status("abc")) + data("good"), Then::stays},
      {"an unknown field of the protocol", fields(status() + field(":x", "y")) + data("good"), Then::stays},
      {"a field in capitals", fields(status() + field("X", "y")) + data("good"), Then::stays},
      {"a line break in a field", fields(status() + field("x", "y\r\nz: a")) + data("good"), Then::stays},
      {"a field for one connection", fields(status() + field("connection", "close")) + data("good"), Then::stays},
      {"a field of no table", fields("\xff\xff\xff\xff\x7f"), Then::stays},
      {"a field cut off", fields(status() + number(0, 1) + "\x7fx"), Then::stays},
      {"length too long", fields(status() + field("content-length", "5")) + data("good"), Then::stays},
      {"length too short", fields(status() + field("content-length", "2")) + data("good"), Then::stays},
      {"length negative", fields(status() + field("content-length", "-4")) + data("good"), Then::stays},

      {"endless fields", fields(status(), 0), Then::repeats, "none", frame(kContinuation, 0, kStream, field("x", "y"))},
      {"endless nothing", fields(status(), 0), Then::repeats, "none", frame(kContinuation, 0, kStream, "")},
      {"endless interim replies", "", Then::repeats, "none", fields(status("103") + field("x", "y"))},
      {"endless resets of others", "", Then::repeats, "none", frame(kReset, 0, 0x7001, number(0, 4))},
  };
  meetAll(faults);
}

}  // namespace
