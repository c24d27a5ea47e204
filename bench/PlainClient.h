// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <curl/curl.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace bench {

/// What somebody would write who needs a burst of requests and knows libcurl: one multi handle, so
/// many easy handles used again and again, connections kept. All on the calling thread.
class PlainClient {
 public:
  /// An address, and the body that is posted there.
  using Request = std::pair<std::string, std::string>;

  /// `connectTo` as curl takes it; `parallel` is how many requests are under way at once; all bear
  /// `token`.
  PlainClient(const std::string& connectTo, const std::string& caFile, int parallel,
              const std::string& token)
      : connectTo_(curl_slist_append(nullptr, connectTo.c_str())),
        headers_(curl_slist_append(nullptr, ("Authorization: Bearer " + token).c_str())),
        multi_(curl_multi_init()),
        transfers_(static_cast<std::size_t>(parallel)) {
    curl_multi_setopt(multi_.get(), CURLMOPT_MAX_HOST_CONNECTIONS, 6L);
    for (Transfer& transfer : transfers_) {
      CURL* const easy = curl_easy_init();
      transfer.easy.reset(easy);
      curl_easy_setopt(easy, CURLOPT_PRIVATE, &transfer);
      curl_easy_setopt(easy, CURLOPT_CONNECT_TO, connectTo_.get());
      curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_.get());
      curl_easy_setopt(easy, CURLOPT_CAINFO, caFile.c_str());
      curl_easy_setopt(easy, CURLOPT_PIPEWAIT, 1L);
      curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
      curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, receive);
      curl_easy_setopt(easy, CURLOPT_WRITEDATA, &transfer.reply);
    }
  }

  /// Posts all, and calls `onReply` with the number of a request and the body of its reply. Throws
  /// std::runtime_error when one fails.
  template <typename OnReply>
  void post(const std::vector<Request>& requests, OnReply onReply) {
    begun_ = 0;
    for (Transfer& transfer : transfers_) begin(transfer, requests);
    for (std::size_t done = 0; done < requests.size();) {
      int running = 0;
      curl_multi_poll(multi_.get(), nullptr, 0, 1000, nullptr);
      curl_multi_perform(multi_.get(), &running);
      while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &running)) {
        if (message->data.result != CURLE_OK) {
          throw std::runtime_error(curl_easy_strerror(message->data.result));
        }
        Transfer* transfer = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
        curl_multi_remove_handle(multi_.get(), message->easy_handle);
        onReply(transfer->request, transfer->reply);
        ++done;
        begin(*transfer, requests);
      }
    }
  }

 private:
  /// Both kinds of handle are void* to the compiler.
  template <auto kCleanUp>
  struct Free {
    void operator()(auto* handle) const { kCleanUp(handle); }
  };
  using List = std::unique_ptr<curl_slist, Free<curl_slist_free_all>>;
  struct Transfer {
    std::unique_ptr<CURL, Free<curl_easy_cleanup>> easy;
    std::size_t request = 0;
    std::string reply;
  };

  static std::size_t receive(const char* bytes, std::size_t one, std::size_t count, void* reply) {
    static_cast<std::string*>(reply)->append(bytes, one * count);
    return one * count;
  }

  void begin(Transfer& transfer, const std::vector<Request>& requests) {
    if (begun_ == requests.size()) return;
    transfer.request = begun_++;
    transfer.reply.clear();
    CURL* const easy = transfer.easy.get();
    const auto& [url, body] = requests[transfer.request];
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body.c_str());
    curl_multi_add_handle(multi_.get(), easy);
  }

  List connectTo_;
  List headers_;
  std::unique_ptr<CURLM, Free<curl_multi_cleanup>> multi_;
  std::vector<Transfer> transfers_;
  std::size_t begun_ = 0;
};

}  // namespace bench
