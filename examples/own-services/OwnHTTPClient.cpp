// SPDX-License-Identifier: Apache-2.0
#include "OwnHTTPClient.h"

#define CPPHTTPLIB_OPENSSL_SUPPORT
#include <httplib.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <utility>

Worker::Worker() : thread_([this] { run(); }) {}

Worker::~Worker() { end(); }

void Worker::end() {
  {
    const std::lock_guard lock(mutex_);
    ends_ = true;
  }
  changed_.notify_one();
  if (thread_.joinable()) thread_.join();
}

void Worker::post(std::function<void()> task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  changed_.notify_one();
}

void Worker::run() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return ends_ || !tasks_.empty(); });
    if (tasks_.empty()) return;
    const auto task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    try {
      task();
    } catch (
        const std::exception& fault) {  // of a completion: it ends here, the next one is served
      std::fprintf(stderr, "own-services: %s\n", fault.what());
    }
    lock.lock();
  }
}

OwnHTTPClient::OwnHTTPClient(std::string address, std::string certificates)
    : address_(std::move(address)), certificates_(std::move(certificates)) {}

void OwnHTTPClient::execute(platform::HTTPRequest request, Completion completion) {
  transfers_.post([this, request = std::move(request), completion = std::move(completion)] {
    send(request, completion);
  });
}

void OwnHTTPClient::shutdown() {
  transfers_.end();  // these tell their ends to the completions
  completions_.end();
}

void OwnHTTPClient::send(const platform::HTTPRequest& request, const Completion& completion) {
  // "https://HOST/PATH": the certificate is checked for HOST, wherever the connection goes.
  const std::string address = request.url.substr(request.url.find("//") + 2);
  const std::string host = address.substr(0, address.find('/'));
  const std::string path = address.substr(host.size());
  const std::size_t colon = address_.find(':');
  httplib::SSLClient client(host, std::stoi(address_.substr(colon + 1)));
  client.set_hostname_addr_map({{host, address_.substr(0, colon)}});
  client.set_ca_cert_path(certificates_);
  httplib::Headers headers;
  for (const auto& [name, value] : request.headers) {
    if (name != "Content-Length") headers.emplace(name, value);  // httplib sends its own
  }
  const auto result = client.Post(path, headers, request.body, "");
  std::optional<platform::HTTPResponse> response;
  std::optional<std::string> body;
  if (result) {
    response.emplace().statusCode = result->status;
    body = result->body;
  } else {
    std::fprintf(stderr, "own-services: %s\n", httplib::to_string(result.error()).c_str());
  }
  completions_.post([completion, response, body] { completion(response, body); });
}
