// SPDX-License-Identifier: Apache-2.0
#include "platform/curl/CurlTransfer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>

#include <exception>
#include <string_view>
#include <utility>

namespace platform {
namespace {

constexpr long kSecondsToConnect = 60;
/// A transfer that brings no byte for so long has failed.
constexpr long kSecondsOfSilence = 60;
/// The same for one that was sent on a connection which has served before, until the first byte:
/// that connection may be dead, and another be had. In practice about ten, because curl averages
/// the speed over five seconds.
constexpr long kSecondsOfSilenceOnUsedConnection = 5;
constexpr long kMaxRedirects = 20;
/// A connection is dead when what was sent has not been acknowledged for so long.
constexpr unsigned kMillisecondsToAcknowledge = 5000;
/// A connection on which nothing moves is tried so often, and once more when that is not answered.
constexpr long kSecondsToProbe = 30;
constexpr long kSecondsToProbeAgain = 5;
/// Curl keeps all fields of heads and trailers, the latter without a bound of its own.
constexpr std::size_t kMaxHeadBytes = std::size_t{256} << 10U;

/// Names of hosts and of header fields are the same in upper and lower case.
bool isSame(const std::string& one, const std::string& other) {
  return strcasecmp(one.c_str(), other.c_str()) == 0;
}

bool hasLineBreak(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos;
}

/// Host and port of a URL, as curl reads it.
std::optional<std::string> authority(const char* url) {
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parsed(curl_url(), &curl_url_cleanup);
  if (curl_url_set(parsed.get(), CURLUPART_URL, url, 0) != CURLUE_OK) return std::nullopt;
  std::string all;
  for (const CURLUPart part : {CURLUPART_HOST, CURLUPART_PORT}) {
    char* text = nullptr;
    if (curl_url_get(parsed.get(), part, &text, CURLU_DEFAULT_PORT) != CURLUE_OK) {
      return std::nullopt;
    }
    all.append(text).append(":");
    curl_free(text);
  }
  return all;
}

bool leadsAway(const std::string& from, const char* to) {
  if (from == to) return false;
  const auto home = authority(from.c_str());
  const auto there = authority(to);
  return !home || !there || !isSame(*home, *there);
}

/// 0 when it has none.
int localPort(curl_socket_t socket) {
  sockaddr_in6 address{};  // an IPv4 address has its port at the same place
  socklen_t size = sizeof address;
  if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
  return ntohs(address.sin6_port);
}

}  // namespace

CurlTransfer::CurlTransfer(const CurlHTTPClient::Options& options, CurlRequest request)
    : options_(options), request_(std::move(request)), handle_(curl_easy_init()) {
  if (handle_) {
    setUp();
    setUpRequest();
  } else {
    refuse("libcurl has no memory");
  }
}

void CurlTransfer::setUp() {
  set(CURLOPT_ERRORBUFFER, curlFault_.data());
  set(CURLOPT_PATH_AS_IS, 1L);
  set(CURLOPT_PROTOCOLS_STR, "https");
  set(CURLOPT_POST, 1L);
  set(CURLOPT_ACCEPT_ENCODING, "gzip");
  set(CURLOPT_HTTP_CONTENT_DECODING, 0L);
  set(CURLOPT_WRITEFUNCTION, &CurlTransfer::onBytes<&CurlTransfer::take>);
  set(CURLOPT_WRITEDATA, this);
  set(CURLOPT_HEADERFUNCTION, &CurlTransfer::onBytes<&CurlTransfer::takeHead>);
  set(CURLOPT_HEADERDATA, this);

  set(CURLOPT_FOLLOWLOCATION, 1L);
  set(CURLOPT_MAXREDIRS, kMaxRedirects);
  set(CURLOPT_REDIR_PROTOCOLS_STR, "https");
  set(CURLOPT_PREREQFUNCTION, &CurlTransfer::onRequest);
  set(CURLOPT_PREREQDATA, this);

  set(CURLOPT_SSL_VERIFYPEER, 1L);
  set(CURLOPT_SSL_VERIFYHOST, 2L);
  set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  if (!options_.caFile.empty()) set(CURLOPT_CAINFO, options_.caFile.c_str());
  if (!options_.connectTo.empty()) {
    append(connectTo_, options_.connectTo);
    set(CURLOPT_CONNECT_TO, connectTo_.get());
  }

  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_QUICK_EXIT, 1L);  // a name server that does not answer is not waited for
  set(CURLOPT_OPENSOCKETFUNCTION, &CurlTransfer::openSocket);
  set(CURLOPT_OPENSOCKETDATA, this);
  set(CURLOPT_TCP_KEEPALIVE, 1L);
  set(CURLOPT_TCP_KEEPIDLE, kSecondsToProbe);
  set(CURLOPT_TCP_KEEPINTVL, kSecondsToProbeAgain);
  set(CURLOPT_FRESH_CONNECT, request_.needsNewConnection ? 1L : 0L);
  set(CURLOPT_PIPEWAIT, 1L);  // a burst shares one connection where the service speaks HTTP/2
  set(CURLOPT_CONNECTTIMEOUT, kSecondsToConnect);
  set(CURLOPT_LOW_SPEED_LIMIT, 1L);
  set(CURLOPT_LOW_SPEED_TIME, kSecondsOfSilence);
}

void CurlTransfer::setUpRequest() {
  const HTTPRequest& post = request_.request;
  append(headers_, "Expect:");  // or a long body would wait for a "100 Continue" that may not come
  for (const auto& [name, value] : post.headers) {
    // A token that is no token, from a service out of order, must not keep the next login from it.
    if (hasLineBreak(name) || hasLineBreak(value)) continue;
    // Curl counts the body itself, and knows when a redirect leaves it out.
    if (isSame(name, "Content-Length")) continue;
    append(headers_, std::string(name).append(": ").append(value));
  }
  if (hasLineBreak(post.url)) refuse("the URL holds a line break");
  if (post.method != "POST") refuse("the method is not POST");
  set(CURLOPT_HTTPHEADER, headers_.get());
  set(CURLOPT_URL, post.url.c_str());
  set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(post.body.size()));
  set(CURLOPT_POSTFIELDS, post.body.c_str());
}

bool CurlTransfer::metDeadConnection(CURLcode result) const {
  // What resets a single stream is alive.
  return result != CURLE_OK && result != CURLE_HTTP2_STREAM && refusal_ == nullptr &&
         onUsedConnection_ && headBytes_ == 0;
}

CurlReply CurlTransfer::reply(CURLcode result) {
  // Curl takes a head that is cut off for a whole one.
  if (result == CURLE_OK && !headIsWhole_) refuse("the head of the reply was cut off");
  if (result == CURLE_OK && gunzip_ && !gunzip_->isWhole()) refuse("the reply was cut off");
  if (refusal_ != nullptr) return {{}, {}, refusal_};
  if (result != CURLE_OK) {
    return {{}, {}, curlFault_[0] != 0 ? curlFault_.data() : curl_easy_strerror(result)};
  }
  long status = 0;
  curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
  return {HTTPResponse{static_cast<int>(status)}, std::move(body_), {}};
}

bool CurlTransfer::refuse(const char* reason) {
  if (refusal_ == nullptr) refusal_ = reason;
  return false;
}

bool CurlTransfer::take(std::string_view bytes) {
  const std::size_t limit = options_.maxReplyBytes;
  if (bytes.size() > limit - std::exchange(bodyBytes_, bodyBytes_ + bytes.size())) {
    return refuse("the reply is too large");
  }
  if (bodyBytes_ == bytes.size()) findCoding();
  if (gunzip_) {
    const char* const fault = gunzip_->unpack(bytes, body_, limit);
    if (fault != nullptr) refuse(fault);
  } else {
    body_.append(bytes);
  }
  return refusal_ == nullptr;
}

void CurlTransfer::findCoding() {
  curl_header* field = nullptr;
  if (curl_easy_header(handle(), "Content-Encoding", 0, CURLH_HEADER, -1, &field) != CURLHE_OK) {
    return;
  }
  if (field->amount == 1 && isSame(field->value, "gzip")) {
    gunzip_.emplace();
  } else if (!isSame(field->value, "identity")) {
    refuse("the reply is coded otherwise than was asked for");
  }
}

bool CurlTransfer::takeHead(std::string_view line) {
  if (line.size() > kMaxHeadBytes - headBytes_) return refuse("the head of the reply is too large");
  if (headBytes_ == 0) set(CURLOPT_LOW_SPEED_TIME, kSecondsOfSilence);
  headBytes_ += line.size();
  if (line.starts_with("HTTP/")) headIsWhole_ = false;
  if (line == "\r\n" || line == "\n") headIsWhole_ = true;
  return true;
}

curl_socket_t CurlTransfer::openSocket(void* transfer, curlsocktype, curl_sockaddr* address) {
  // A program that the host starts must not hold the service's connections open.
  const int type = address->socktype | SOCK_CLOEXEC;
  auto& last = static_cast<CurlTransfer*>(transfer)->sockets_[address->family == AF_INET6 ? 1 : 0];
  return last = socket(address->family, type, address->protocol);
}

/// Once it is connected: until then there is more time, in which the network may return.
void CurlTransfer::limitAcknowledgement(int port) const {
  for (const curl_socket_t socket : sockets_) {
    if (localPort(socket) != port) continue;
    setsockopt(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, &kMillisecondsToAcknowledge,
               sizeof kMillisecondsToAcknowledge);
  }
}

bool CurlTransfer::mayBeSent(int port) {
  long made = 0;
  curl_easy_getinfo(handle(), CURLINFO_NUM_CONNECTS, &made);
  if (made > 0) limitAcknowledgement(port);
  // Others that are sent at the same time may share a connection as new as its first request.
  onUsedConnection_ = made == 0 && request_.repliesBefore > 0 && headBytes_ == 0;
  set(CURLOPT_LOW_SPEED_TIME,
      onUsedConnection_ ? kSecondsOfSilenceOnUsedConnection : kSecondsOfSilence);
  return !takesBodyAway() || refuse("a redirect would take the request's body to another host");
}

/// A redirect that keeps the method keeps the body, and with it the secrets.
bool CurlTransfer::takesBodyAway() const {
  const char* url = nullptr;
  const char* method = nullptr;
  curl_easy_getinfo(handle(), CURLINFO_EFFECTIVE_URL, &url);
  curl_easy_getinfo(handle(), CURLINFO_EFFECTIVE_METHOD, &method);
  return std::string_view(method) == "POST" && leadsAway(request_.request.url, url);
}

template <bool (CurlTransfer::*step)(std::string_view)>
std::size_t CurlTransfer::onBytes(const char* bytes, std::size_t one, std::size_t count,
                                  void* transfer) {
  const std::string_view all(bytes, one * count);
  return static_cast<CurlTransfer*>(transfer)->guard([&](auto& self) { return (self.*step)(all); })
             ? all.size()
             : CURL_WRITEFUNC_ERROR;
}

int CurlTransfer::onRequest(void* transfer, char*, char*, int, int port) {
  return static_cast<CurlTransfer*>(transfer)->guard(
             [=](auto& self) { return self.mayBeSent(port); })
             ? CURL_PREREQFUNC_OK
             : CURL_PREREQFUNC_ABORT;
}

template <typename Step>
bool CurlTransfer::guard(Step step) {
  try {
    return step(*this);
  } catch (const std::exception&) {
    return refuse("no memory is left for the reply");
  }
}

void CurlTransfer::append(List& list, const std::string& item) {
  curl_slist* longer = curl_slist_append(list.get(), item.c_str());
  if (longer == nullptr) {
    refuse("libcurl has no memory");
    return;
  }
  static_cast<void>(list.release());
  list.reset(longer);
}

template <typename Value>
void CurlTransfer::set(CURLoption option, Value value) {
  if (curl_easy_setopt(handle_.get(), option, value) == CURLE_OK) return;
  refuse("libcurl refused an option");
}

}  // namespace platform
