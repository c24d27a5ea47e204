// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "platform/Export.h"
#include "platform/HTTPClient.h"
#include "platform/Log.h"
#include "platform/TransferOutcome.h"

namespace platform {

/// HTTPS over libcurl: HTTP/2 where the service offers it, connections kept alive, at most six to
/// one host, certificates always checked. A connection that has served is given up when what was
/// sent is not acknowledged within 5 seconds, or brings no byte of a reply within about 10; what
/// waits on it is sent again, once, on a new one. A transfer fails when it brings no byte for 60
/// seconds, when the heads and trailers of its replies exceed 256 KiB together, and when its body
/// is compressed but cut off or broken. Redirects are followed to https alone. Neither the
/// Authorization header nor the body follows to another host or port: a redirect that would take
/// the body there (307, 308) is a failure. The proxy that the environment names (https_proxy,
/// all_proxy, but for the hosts in no_proxy) is used.
///
/// Two threads: one moves bytes, one calls completions. Neither takes a signal that is sent to the
/// process. Every operation may be called on any thread.
class BRIVANE_EXPORT CurlHTTPClient final : public HTTPClient {
 public:
  /// What a host may choose.
  struct Options {
    /// "HOST:PORT:OTHERHOST:OTHERPORT": connections for the first go to the second; the URL, the
    /// name that the certificate must bear and all else stay those of the first. Empty for none.
    std::string connectTo = {};
    /// File of the certificates to trust, PEM; empty for the system's.
    std::string caFile = {};
    /// A body that is larger, compressed or not, counts as a failure of the transport.
    std::size_t maxReplyBytes = std::size_t{10} << 20U;
    /// Takes a line for each exception that left a completion. May be null.
    std::shared_ptr<Log> log = nullptr;
    /// Told how each transfer ended, on the callback thread, just before its completion is called.
    /// May be empty. An exception that leaves it ends like one that leaves a completion.
    std::function<void(const TransferOutcome&)> onTransfer = {};
  };

  /// What it runs on: the versions of libcurl, the TLS library and others, one line.
  static std::string version();

  /// Throws std::invalid_argument, which names the file, when `caFile` cannot be read or holds no
  /// certificate, and another std::exception when the threads or libcurl cannot be set up.
  explicit CurlHTTPClient(Options options);
  /// Shuts down. Safe inside a completion.
  ~CurlHTTPClient() override;

  /// A method other than POST is a failure of the transport.
  void execute(HTTPRequest request, Completion completion) override;

  /// Gives all connections up: what is under way is sent again on new ones, which may ask the
  /// service a second time. To be called when the device has changed networks or wakes from sleep:
  /// connections of before lead nowhere, and only time would tell. Cheap when nothing is under way.
  /// On Linux, GNetworkMonitor's "network-changed" and logind's PrepareForSleep(false) say when.
  void networkChanged();

  /// Ends every request, and returns when each completion has been called. Inside a completion it
  /// calls the others itself.
  void shutdown();

 private:
  struct Parts;

  const Options options_;
  const std::unique_ptr<Parts> parts_;
};

}  // namespace platform
