#include "platform/curl/CurlHTTPClient.h"

#include <curl/curl.h>

#include <utility>

#include "platform/curl/CurlWorker.h"
#include "platform/curl/SerialQueue.h"

namespace platform {

struct CurlHTTPClient::Parts {
  explicit Parts(const Options& options)
      : callbacks(options.log),
        worker(options, [this](std::function<void()> task) { callbacks.post(std::move(task)); }) {}

  SerialQueue callbacks;
  CurlWorker worker;
};

std::string CurlHTTPClient::version() { return curl_version(); }

CurlHTTPClient::CurlHTTPClient(Options options)
    : options_(std::move(options)), parts_(std::make_unique<Parts>(options_)) {}

CurlHTTPClient::~CurlHTTPClient() { shutdown(); }

void CurlHTTPClient::execute(HTTPRequest request, Completion completion) {
  parts_->worker.add({std::move(request), std::move(completion)});
}

void CurlHTTPClient::shutdown() {
  parts_->worker.stop();
  parts_->callbacks.close();
}

}  // namespace platform
