#pragma once

#include <curl/curl.h>

#include <memory>
#include <string>
#include <vector>

namespace bench {

/// What somebody would write who needs a burst of requests and knows libcurl: one multi handle, so
/// many easy handles used again and again, connections kept. All on the calling thread.
class PlainClient {
 public:
  struct Request {
    std::string url;
    std::string body;
  };

  /// `connectTo` as curl takes it; `parallel` is how many requests are under way at once.
  PlainClient(const std::string& connectTo, const std::string& caFile, int parallel);

  /// Posts all; the replies' bodies, in the order of the requests. Throws std::runtime_error when
  /// one fails.
  std::vector<std::string> post(const std::vector<Request>& requests);

  /// Sends this header from now on.
  void authorize(const std::string& token);

 private:
  /// Both kinds of handle are void* to the compiler.
  template <auto kCleanUp>
  struct Free {
    void operator()(auto* handle) const { kCleanUp(handle); }
  };
  using List = std::unique_ptr<curl_slist, Free<curl_slist_free_all>>;
  using Multi = std::unique_ptr<CURLM, Free<curl_multi_cleanup>>;
  using Easy = std::unique_ptr<CURL, Free<curl_easy_cleanup>>;

  void begin(CURL* easy, const Request& request, std::string& reply);

  List connectTo_;
  List headers_;
  Multi multi_;
  std::vector<Easy> easy_;
};

}  // namespace bench
