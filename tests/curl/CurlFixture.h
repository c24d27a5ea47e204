#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/curl/CurlHTTPClient.h"
#include "tests/support/TLSServer.h"
#include "tests/support/TemporaryFolder.h"

using namespace std::chrono_literals;
using platform::CurlHTTPClient;
using platform::HTTPRequest;

inline constexpr const char* kHost = "api.brivane.example";
inline constexpr auto kNever = 30s;  // a wait that lasts so long has failed; the client itself gives up after 60 s

/// The outcomes of requests, gathered on the callback thread.
class Outcomes {
 public:
  platform::HTTPClient::Completion next() {
    return [this](auto response, auto body) {
      const std::lock_guard lock(mutex_);
      texts_.push_back(response ? std::to_string(response->statusCode) + " " + body.value_or("?")
                                : body.value_or("none"));
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

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> texts_;
};

class Curl : public testing::Test {
 protected:
  static HTTPRequest request(const std::string& path = "/", const std::string& authority = kHost) {
    return {.url = "https://" + authority + path,
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
                                .onTransfer = [this](const auto& outcome) { told_.push_back(outcome); }});
  }
  std::unique_ptr<CurlHTTPClient> client(const TLSServer& server) { return client(server, certificate); }

  /// The outcome of one request.
  std::string outcome(CurlHTTPClient& client, const HTTPRequest& request) {
    Outcomes outcomes;
    told_.clear();
    client.execute(request, outcomes.next());
    if (!outcomes.wait(1)) return "never";
    client.shutdown();  // or a second call could still come
    EXPECT_EQ(outcomes.texts().size(), 1U);
    EXPECT_EQ(told_.size(), 1U);
    EXPECT_EQ(told_[0].fault.empty(), told_[0].status.has_value());
    told = std::move(told_[0]);
    return outcomes.texts().front();
  }
  /// The outcome of one request to a server that behaves so.
  std::string outcome(const TLSServer::Serve& serve) {
    const TLSServer server(certificate, serve);
    return outcome(*client(server), request());
  }

  const TemporaryFolder folder;
  const service::Certificate certificate = service::makeCertificate(kHost, -1h, 1h);
  platform::TransferOutcome told;  // of the last request

 private:
  std::vector<platform::TransferOutcome> told_;
};
