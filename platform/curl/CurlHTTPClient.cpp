// SPDX-License-Identifier: Apache-2.0
#include "platform/curl/CurlHTTPClient.h"

#include <curl/curl.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "platform/curl/CurlWorker.h"
#include "platform/curl/ExitList.h"
#include "platform/posix/SerialQueue.h"

namespace platform {
namespace {

/// Without a certificate every transfer would fail, with a reason that names no file.
CurlHTTPClient::Options checked(CurlHTTPClient::Options options) {
  const std::string& file = options.caFile;
  if (file.empty()) return options;
  std::ifstream stream(file, std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(stream), {});
  for (const char* begin : {"-----BEGIN CERTIFICATE-----", "-----BEGIN TRUSTED CERTIFICATE-----"}) {
    if (text.find(begin) != text.npos) return options;
  }
  throw std::invalid_argument(file + ": no certificate can be read from it");
}

}  // namespace

struct CurlHTTPClient::Parts {
  explicit Parts(const Options& options)
      : onTransfer(options.onTransfer),
        callbacks(options.log),
        worker(options, [this](CurlRequest request, CurlReply reply) {
          deliver(std::move(request), std::move(reply));
        }) {
    exitList.add(this, [this] {
      callbacks.abandon();
      worker.stop();
    });
  }
  ~Parts() { exitList.remove(this); }
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;

  void deliver(CurlRequest request, CurlReply reply) {
    if (onTransfer) {
      using std::chrono::duration_cast, std::chrono::milliseconds, std::chrono::steady_clock;
      TransferOutcome outcome{
          .endpoint = endpointOf(request.request.url),
          .status = {},
          .fault = std::move(reply.fault),
          .duration = duration_cast<milliseconds>(steady_clock::now() - request.begun),
          .source = TransferOutcome::Source::kService,
          .keptSince = {}};
      if (reply.response) outcome.status = reply.response->statusCode;
      callbacks.post([tell = onTransfer, outcome = std::move(outcome)] { tell(outcome); });
    }
    callbacks.post([completion = std::move(request.completion), response = reply.response,
                    body = std::move(reply.body)]() mutable {
      if (completion) completion(response, std::move(body));
    });
  }

  ExitList& exitList = ExitList::get();
  const std::function<void(const TransferOutcome&)> onTransfer;
  SerialQueue callbacks;
  CurlWorker worker;
};

std::string CurlHTTPClient::version() { return curl_version(); }

CurlHTTPClient::CurlHTTPClient(Options options)
    : options_(checked(std::move(options))), parts_(std::make_unique<Parts>(options_)) {}

CurlHTTPClient::~CurlHTTPClient() { shutdown(); }

void CurlHTTPClient::execute(HTTPRequest request, Completion completion) {
  parts_->worker.add({std::move(request), std::move(completion)});
}

void CurlHTTPClient::networkChanged() { parts_->worker.retireConnections(); }

void CurlHTTPClient::shutdown() {
  parts_->worker.stop();
  parts_->callbacks.close();
}

}  // namespace platform
