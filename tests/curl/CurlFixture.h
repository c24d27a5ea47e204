// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>

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
      texts_.push_back((response ? std::to_string(response->statusCode) + " " : "") + body.value_or("none"));
      changed_.notify_all();
    };
  }
  /// As soon as there are so many.
  std::vector<std::string> wait(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, kNever, [&] { return texts_.size() >= count; });
    return texts_;
  }
  std::vector<std::string> texts() { return wait(0); }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> texts_;
};

/// What it takes to reach a server.
struct Reach {
  /// A client whose requests go to `server`, and which trusts `trusted`, or else `certificate`.
  std::unique_ptr<CurlHTTPClient> client(const TLSServer& server, const service::Certificate* trusted = nullptr) {
    return std::make_unique<CurlHTTPClient>(
        CurlHTTPClient::Options{.connectTo = std::string(kHost) + ":443:127.0.0.1:" + std::to_string(server.port()),
                                .caFile = folder.write("ca.pem", (trusted ? *trusted : certificate).certificatePEM),
                                .maxReplyBytes = 1000,
                                .onTransfer = [all = told](const auto& transfer) { all->push_back(transfer); }});
  }

  const TemporaryFolder folder;
  const service::Certificate certificate = service::makeCertificate(kHost, -1h, 1h);
  /// Shared with clients, because one inside another may outlive this.
  const std::shared_ptr<std::vector<platform::TransferOutcome>> told =
      std::make_shared<std::vector<platform::TransferOutcome>>();
};

class Curl : public testing::Test, protected Reach {
 protected:
  static HTTPRequest request(const std::string& path = "/", const std::string& authority = kHost) {
    return {.url = "https://" + authority + path,
            .method = "POST",
            .headers = {{"Authorization", "Bearer secret"}, {"Content-Length", "3"}},
            .body = "a=b"};
  }

  /// The outcome of one request, which ends the client.
  static std::string outcome(CurlHTTPClient& client, const HTTPRequest& request) {
    Outcomes outcomes;
    client.execute(request, outcomes.next());
    outcomes.wait(1);
    client.shutdown();  // or a second call could still come
    return outcomes.texts().size() == 1 ? outcomes.texts()[0] : "not one";
  }
};
