#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "platform/HTTPClient.h"
#include "platform/curl/CurlHTTPClient.h"

namespace platform {

/// A request that waits for its turn.
struct CurlRequest {
  HTTPRequest request;
  HTTPClient::Completion completion;
};

/// One request on its way, as curl's easy handle, with its reply so far.
class CurlTransfer {
 public:
  /// `options` must outlive the transfer.
  CurlTransfer(const CurlHTTPClient::Options& options, CurlRequest request);

  /// Whether it can go on the wire as it stands.
  bool isUsable() const { return usable_; }
  CURL* handle() const { return handle_.get(); }

  /// What the completion is to be called with, as one task. Ends the transfer.
  std::function<void()> finish(bool succeeded);

 private:
  struct Free {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };
  using List = std::unique_ptr<curl_slist, Free>;

  static std::size_t receive(const char* bytes, std::size_t one, std::size_t count, void* transfer);
  static std::size_t receiveHead(const char* line, std::size_t one, std::size_t count,
                                 void* transfer);
  static int allow(void* transfer, char*, char*, int, int);
  static void append(List& list, const std::string& item);

  void setUp();
  void setUpRequest();
  template <typename Value>
  void set(CURLoption option, Value value);

  const CurlHTTPClient::Options& options_;
  CurlRequest request_;
  std::unique_ptr<CURL, Free> handle_;
  List headers_;
  List connectTo_;
  std::size_t headBytes_ = 0;  // of all heads and trailers
  bool headIsWhole_ = false;
  std::string body_;
  /// Whether curl took every option, and the request is one that may be sent.
  bool usable_;
};

}  // namespace platform
