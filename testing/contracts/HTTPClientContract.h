// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/HTTPClient.h"

namespace brivane::testing {

/// What platform/HTTPClient.h promises. `Harness` has a server that the client reaches under any
/// name that it chooses:
///
///   std::shared_ptr<platform::HTTPClient> create();
///   /// The URL of a path. "/echo" is answered with status 200 and the request's body, "/headers"
///   with
///   /// its header lines that begin with "X-", each as "X-Name: value\n"; "/refused" with status
///   500
///   /// and the body "no"; "/cut" with the beginning of a reply, and "/silent" never.
///   std::string url(const std::string& path);
///   /// Waits until `done`, which becomes true inside a completion.
///   void waitUntil(const std::function<bool()>& done);
template <typename Harness>
class HTTPClientContract : public ::testing::Test {
 protected:
  using Headers = std::vector<std::pair<std::string, std::string>>;

  platform::HTTPRequest request(const std::string& path, const std::string& body = "",
                                Headers headers = {}) {
    headers.emplace_back("Content-Length", std::to_string(body.size()));
    return {
        .url = harness.url(path), .method = "POST", .headers = std::move(headers), .body = body};
  }
  static std::string text(const std::optional<platform::HTTPResponse>& response,
                          const std::optional<std::string>& body) {
    return (response ? std::to_string(response->statusCode) : "no status") + " " +
           body.value_or("no body");
  }
  /// What one request ends with.
  std::string outcome(platform::HTTPRequest asked) {
    const auto result = std::make_shared<std::string>();
    const auto done = std::make_shared<std::atomic<bool>>();
    client->execute(std::move(asked), [=](auto response, auto body) {
      *result = text(response, body);
      *done = true;
    });
    harness.waitUntil([&] { return done->load(); });
    return *result;
  }

  Harness harness;
  std::shared_ptr<platform::HTTPClient> client = harness.create();
};

TYPED_TEST_SUITE_P(HTTPClientContract);

TYPED_TEST_P(HTTPClientContract, SendsWhatItIsGivenAndTellsWhatItGets) {
  const std::string body = "a=b&\xC3\xB1 c\r\n=%41+";
  EXPECT_EQ(this->outcome(this->request("/echo", body)), "200 " + body);
  EXPECT_EQ(this->outcome(this->request(
                "/headers", "", {{"X-B", "1, 2"}, {"X-A", "\"=\""}, {"X-C", "a\r\nX-D: b"}})),
            "200 X-B: 1, 2\nX-A: \"=\"\n");
  EXPECT_EQ(this->outcome(this->request("/refused")), "500 no");
  EXPECT_EQ(this->outcome(this->request("/cut")), "no status no body");
  EXPECT_EQ(this->outcome(this->request("/echo")), "200 ");
}

TYPED_TEST_P(HTTPClientContract, CompletesEachOnceLaterAndOneAfterAnother) {
  constexpr int kThreads = 4, kEach = 10;
  static thread_local bool executing = false;
  std::atomic<int> completed = 0;
  std::atomic<bool> busy = false;
  std::atomic<std::thread::id> thread;
  const auto complete = [&](const auto&...) {
    EXPECT_FALSE(executing);
    EXPECT_FALSE(busy.exchange(true));
    const auto me = std::this_thread::get_id();
    EXPECT_TRUE(thread.exchange(me) == (completed == 0 ? std::thread::id() : me));
    busy = false;
    ++completed;
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < kEach; ++j) {
        executing = true;
        this->client->execute(this->request("/echo", "x"), complete);
        executing = false;
      }
    });
  }
  for (std::thread& each : threads) each.join();
  this->harness.waitUntil([&] { return completed >= kThreads * kEach; });
  this->client.reset();  // calls the rest, and there is none
  EXPECT_EQ(completed, kThreads * kEach);
}

TYPED_TEST_P(HTTPClientContract, ServesTheNextAfterACompletionThatThrowsOrAsksAgain) {
  const auto completed = std::make_shared<std::atomic<int>>();
  this->client->execute(this->request("/echo"), [=](const auto&...) {
    ++*completed;
    throw std::runtime_error("a host's own");
  });
  this->client->execute(this->request("/echo"), [=, this](const auto&...) {
    ++*completed;
    this->client->execute(this->request("/echo"), [=](const auto&...) { ++*completed; });
  });
  this->harness.waitUntil([&] { return *completed >= 3; });
  EXPECT_EQ(*completed, 3);
}

TYPED_TEST_P(HTTPClientContract, FailsWhatIsUnderWayWhenItGoes) {
  std::vector<std::string> outcomes;
  for (int i = 0; i < 20; ++i) {
    this->client->execute(this->request("/silent"), [&](const auto& response, const auto& body) {
      outcomes.push_back(this->text(response, body));
    });
  }
  this->client.reset();
  EXPECT_EQ(outcomes, std::vector<std::string>(20, "no status no body"));
}

REGISTER_TYPED_TEST_SUITE_P(HTTPClientContract, SendsWhatItIsGivenAndTellsWhatItGets,
                            CompletesEachOnceLaterAndOneAfterAnother,
                            ServesTheNextAfterACompletionThatThrowsOrAsksAgain,
                            FailsWhatIsUnderWayWhenItGoes);

}  // namespace brivane::testing
