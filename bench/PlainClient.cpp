#include "bench/PlainClient.h"

#include <stdexcept>

namespace bench {
namespace {

constexpr long kConnections = 6;

std::size_t receive(const char* bytes, std::size_t one, std::size_t count, void* reply) {
  static_cast<std::string*>(reply)->append(bytes, one * count);
  return one * count;
}

}  // namespace

PlainClient::PlainClient(const std::string& connectTo, const std::string& caFile, int parallel)
    : connectTo_(curl_slist_append(nullptr, connectTo.c_str())), multi_(curl_multi_init()) {
  curl_multi_setopt(multi_.get(), CURLMOPT_MAX_HOST_CONNECTIONS, kConnections);
  for (int i = 0; i < parallel; ++i) {
    CURL* const easy = easy_.emplace_back(curl_easy_init()).get();
    curl_easy_setopt(easy, CURLOPT_CONNECT_TO, connectTo_.get());
    curl_easy_setopt(easy, CURLOPT_CAINFO, caFile.c_str());
    curl_easy_setopt(easy, CURLOPT_PIPEWAIT, 1L);
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, receive);
  }
}

void PlainClient::authorize(const std::string& token) {
  headers_.reset(curl_slist_append(nullptr, ("Authorization: Bearer " + token).c_str()));
}

std::vector<std::string> PlainClient::post(const std::vector<Request>& requests) {
  std::vector<std::string> replies(requests.size());
  std::size_t begun = 0;
  std::size_t done = 0;
  for (; begun < std::min(easy_.size(), requests.size()); ++begun) {
    begin(easy_[begun].get(), requests[begun], replies[begun]);
  }
  while (done < requests.size()) {
    int running = 0;
    curl_multi_perform(multi_.get(), &running);
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
      if (message->data.result != CURLE_OK) {
        throw std::runtime_error(curl_easy_strerror(message->data.result));
      }
      CURL* const easy = message->easy_handle;
      curl_multi_remove_handle(multi_.get(), easy);
      ++done;
      if (begun == requests.size()) continue;
      begin(easy, requests[begun], replies[begun]);
      ++begun;
      running = 1;
    }
    if (done < requests.size()) curl_multi_poll(multi_.get(), nullptr, 0, 1000, nullptr);
  }
  return replies;
}

void PlainClient::begin(CURL* easy, const Request& request, std::string& reply) {
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_.get());
  curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
  curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request.body.c_str());
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &reply);
  curl_multi_add_handle(multi_.get(), easy);
}

}  // namespace bench
