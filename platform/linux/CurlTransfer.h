#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "platform/HTTPClient.h"
#include "platform/linux/CurlHTTPClient.h"

namespace platform {

/// One request on its way, as curl's easy handle, with its reply so far.
class CurlTransfer {
 public:
  /// `options` must outlive the transfer.
  CurlTransfer(HTTPRequest request, HTTPClient::Completion completion,
               const CurlHTTPClient::Options& options);

  /// Whether the request can go on the wire as it stands.
  bool isValid() const { return valid_; }
  CURL* handle() const { return handle_.get(); }

  /// The transfer that a handle belongs to.
  static CurlTransfer* of(CURL* handle);

  /// What the completion is to be called with, as one task. The transfer is spent afterwards.
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

  bool addHeaders();
  template <typename Value>
  void set(CURLoption option, Value value);

  HTTPRequest request_;
  HTTPClient::Completion completion_;
  const CurlHTTPClient::Options& options_;
  std::unique_ptr<CURL, Free> handle_;
  List headers_;
  List connectTo_;
  std::size_t headBytes_ = 0;  // of all heads and trailers
  bool headIsWhole_ = false;
  std::string body_;
  bool valid_ = true;
};

}  // namespace platform
