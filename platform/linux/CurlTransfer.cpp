#include "platform/linux/CurlTransfer.h"

#include <strings.h>

#include <new>
#include <string_view>
#include <utility>

namespace platform {
namespace {

constexpr long kSecondsToConnect = 60;
/// A transfer that brings no byte for so long has failed.
constexpr long kSecondsOfSilence = 60;
constexpr long kMaxRedirects = 20;

bool isName(const std::string& header, const char* name) {
  return strcasecmp(header.c_str(), name) == 0;
}

bool hasLineBreak(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos;
}

}  // namespace

CurlTransfer::CurlTransfer(const CurlHTTPClient::Options& options)
    : options_(options), handle_(curl_easy_init()), usable_(handle_ != nullptr) {
  if (!usable_) return;
  set(CURLOPT_PATH_AS_IS, 1L);
  set(CURLOPT_PROTOCOLS_STR, "https");
  set(CURLOPT_POST, 1L);
  set(CURLOPT_ACCEPT_ENCODING, "");
  set(CURLOPT_WRITEFUNCTION, &CurlTransfer::receive);
  set(CURLOPT_WRITEDATA, this);

  set(CURLOPT_FOLLOWLOCATION, 1L);
  set(CURLOPT_MAXREDIRS, kMaxRedirects);
  set(CURLOPT_REDIR_PROTOCOLS_STR, "https");

  set(CURLOPT_SSL_VERIFYPEER, 1L);
  set(CURLOPT_SSL_VERIFYHOST, 2L);
  set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  if (!options_.caFile.empty()) set(CURLOPT_CAINFO, options_.caFile.c_str());
  if (!options_.connectTo.empty()) {
    append(connectTo_, options_.connectTo);
    set(CURLOPT_CONNECT_TO, connectTo_.get());
  }

  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_PIPEWAIT, 1L);  // a burst shares one connection where the service speaks HTTP/2
  set(CURLOPT_CONNECTTIMEOUT, kSecondsToConnect);
  set(CURLOPT_LOW_SPEED_LIMIT, 1L);
  set(CURLOPT_LOW_SPEED_TIME, kSecondsOfSilence);
}

bool CurlTransfer::begin(CurlRequest request) {
  current_ = std::move(request);
  const HTTPRequest& post = current_.request;
  if (!usable_ || post.method != "POST" || hasLineBreak(post.url) || !addHeaders()) return false;
  set(CURLOPT_URL, post.url.c_str());
  set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(post.body.size()));
  set(CURLOPT_POSTFIELDS, post.body.c_str());
  return usable_;
}

std::function<void()> CurlTransfer::finish(bool succeeded) {
  std::optional<HTTPResponse> response;
  std::optional<std::string> body;
  if (succeeded) {
    long status = 0;
    curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
    response = HTTPResponse{static_cast<int>(status)};
    body = std::move(body_);
  }
  body_.clear();
  return [completion = std::exchange(current_, {}).completion, response,
          body = std::move(body)]() mutable {
    if (completion) completion(response, std::move(body));
  };
}

bool CurlTransfer::addHeaders() {
  headers_.reset();
  append(headers_, "Expect:");  // or a long body would wait for a "100 Continue" that may not come
  for (const auto& [name, value] : current_.request.headers) {
    if (hasLineBreak(name) || hasLineBreak(value)) return false;
    // Curl counts the body itself, and knows when a redirect leaves it out.
    if (isName(name, "Content-Length")) continue;
    append(headers_, std::string(name).append(": ").append(value));
  }
  set(CURLOPT_HTTPHEADER, headers_.get());
  return true;
}

std::size_t CurlTransfer::receive(const char* bytes, std::size_t one, std::size_t count,
                                  void* transfer) {
  auto& self = *static_cast<CurlTransfer*>(transfer);
  const std::size_t size = one * count;
  if (size > self.options_.maxReplyBytes - self.body_.size()) return 0;  // fails the transfer
  self.body_.append(bytes, size);
  return size;
}

void CurlTransfer::append(List& list, const std::string& item) {
  curl_slist* longer = curl_slist_append(list.get(), item.c_str());
  if (longer == nullptr) throw std::bad_alloc();
  static_cast<void>(list.release());
  list.reset(longer);
}

template <typename Value>
void CurlTransfer::set(CURLoption option, Value value) {
  if (curl_easy_setopt(handle_.get(), option, value) != CURLE_OK) usable_ = false;
}

}  // namespace platform
