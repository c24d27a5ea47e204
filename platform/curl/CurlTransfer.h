// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <curl/curl.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/HTTPClient.h"
#include "platform/curl/CurlHTTPClient.h"
#include "platform/curl/Gunzip.h"

namespace platform {

/// A request that waits for its turn or its reply.
struct CurlRequest {
  HTTPRequest request;
  HTTPClient::Completion completion;
  std::chrono::steady_clock::time_point begun = std::chrono::steady_clock::now();
  /// Whether it must not go out on a connection that others have used.
  bool needsNewConnection = false;
  /// How many replies had come over the connections of the time when it was sent.
  std::size_t repliesBefore = 0;
};

/// What came of a request: response and body, or why there is none.
struct CurlReply {
  std::optional<HTTPResponse> response;
  std::optional<std::string> body;
  std::string fault;
};

/// One request on its way, as curl's easy handle, with its reply so far.
class CurlTransfer {
 public:
  /// `options` must outlive the transfer.
  CurlTransfer(const CurlHTTPClient::Options& options, CurlRequest request);

  /// Whether it can go on the wire as it stands.
  bool isUsable() const { return refusal_ == nullptr; }
  CURL* handle() const { return handle_.get(); }

  /// Whether it failed with `result` because the connection that it was sent on, which had served
  /// others, was dead: not even the first line of a reply came back.
  bool metDeadConnection(CURLcode result) const;

  /// What came of it, when curl ended it with `result`. Once; the request may be taken afterwards.
  CurlReply reply(CURLcode result);
  CurlRequest takeRequest() { return std::move(request_); }

 private:
  struct Free {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };
  using List = std::unique_ptr<curl_slist, Free>;

  // What curl calls. It is written in C, which no exception may pass.
  template <bool (CurlTransfer::*step)(std::string_view)>
  static std::size_t onBytes(const char* bytes, std::size_t one, std::size_t count, void* transfer);
  static int onRequest(void* transfer, char*, char*, int, int port);
  static curl_socket_t openSocket(void* transfer, curlsocktype, curl_sockaddr* address);
  template <typename Step>
  bool guard(Step step);

  // False gives the transfer up.
  bool take(std::string_view bytes);
  bool takeHead(std::string_view line);
  bool mayBeSent(int port);
  bool takesBodyAway() const;

  void findCoding();
  void limitAcknowledgement(int port) const;
  void setUp();
  void setUpRequest();
  void append(List& list, const std::string& item);
  template <typename Value>
  void set(CURLoption option, Value value);
  /// Gives the transfer up, for a reason of ours; the first one counts. False.
  bool refuse(const char* reason);

  const CurlHTTPClient::Options& options_;
  CurlRequest request_;
  std::array<char, CURL_ERROR_SIZE> curlFault_{};  // outlives the handle, which writes to it
  std::unique_ptr<CURL, Free> handle_;
  List headers_;
  List connectTo_;
  std::array<curl_socket_t, 2> sockets_{-1, -1};  // the last one opened for IPv4 and for IPv6
  bool onUsedConnection_ = false;
  std::size_t headBytes_ = 0;  // of all heads and trailers
  bool headIsWhole_ = false;
  std::size_t bodyBytes_ = 0;  // as they arrive
  std::optional<Gunzip> gunzip_;
  std::string body_;
  const char* refusal_ = nullptr;
};

}  // namespace platform
