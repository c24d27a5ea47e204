// SPDX-License-Identifier: Apache-2.0
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bindings/c/Failure.h"
#include "bindings/c/HostServices.h"
#include "platform/HTTPClient.h"
#include "platform/posix/SerialQueue.h"

using brivane::internal::quietly;

struct brivane_completion {
  platform::HTTPClient::Completion call;
  std::shared_ptr<platform::SerialQueue> queue;
};

namespace brivane::internal {
namespace {

class HostHTTPClient final : public platform::HTTPClient {
 public:
  explicit HostHTTPClient(const brivane_http& table) : table_(table) {
    require(table.execute != nullptr, "http.execute");
  }

  void execute(platform::HTTPRequest request, Completion completion) override {
    std::vector<brivane_header> headers;
    for (const auto& [name, value] : request.headers) {
      headers.push_back({name.c_str(), value.c_str()});
    }
    const brivane_request plain = {
        .url = request.url.c_str(),
        .method = request.method.c_str(),
        .headers = headers.data(),
        .header_count = headers.size(),
        .body = request.body.data(),
        .body_length = request.body.size(),
    };
    table_.execute(table_.user, &plain, new brivane_completion{std::move(completion), queue_});
  }

 private:
  const brivane_http table_;
  /// Brings the completions in order, whichever threads the host has.
  const std::shared_ptr<platform::SerialQueue> queue_ =
      std::make_shared<platform::SerialQueue>(nullptr);
};

void complete(brivane_completion* completion, std::optional<platform::HTTPResponse> response,
              std::optional<std::string> body) {
  const std::unique_ptr<brivane_completion> owned(completion);
  owned->queue->post([call = std::move(owned->call), response, body = std::move(body)] {
    quietly([&] { call(response, body); });
  });
}

}  // namespace

std::shared_ptr<platform::HTTPClient> hostHTTPClient(const brivane_http& table) {
  return std::make_shared<HostHTTPClient>(table);
}

}  // namespace brivane::internal

void brivane_complete(brivane_completion* completion, int status, const char* body,
                      size_t body_length) {
  quietly([&] {
    brivane::internal::complete(completion, platform::HTTPResponse{status},
                                body_length > 0 ? std::string(body, body_length) : std::string());
  });
}

void brivane_complete_failed(brivane_completion* completion) {
  quietly([&] { brivane::internal::complete(completion, std::nullopt, std::nullopt); });
}
