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

/// One request after another on its way, as curl's easy handle, with its reply so far. To make a
/// handle costs more than to use it again.
class CurlTransfer {
 public:
  /// `options` must outlive the transfer.
  explicit CurlTransfer(const CurlHTTPClient::Options& options);

  /// Takes on a request; false when it cannot go on the wire as it stands. Either way `finish`
  /// follows before the next.
  bool begin(CurlRequest request);

  CURL* handle() const { return handle_.get(); }
  bool isUsable() const { return usable_; }

  /// What the completion is to be called with, as one task.
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

  CurlRequest current_;
  const CurlHTTPClient::Options& options_;
  std::unique_ptr<CURL, Free> handle_;
  List headers_;
  List connectTo_;
  std::size_t headBytes_ = 0;  // of all heads and trailers
  bool headIsWhole_ = false;
  std::string body_;
  /// Whether curl took every option; a handle that did not take one is used no more.
  bool usable_;
};

}  // namespace platform
