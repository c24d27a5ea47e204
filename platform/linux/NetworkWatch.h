// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>

#include "platform/Export.h"

namespace platform {

/// Notices that the connections of before lead nowhere: the device has changed networks, or has
/// woken from sleep. A host passes that on, for instance to CurlHTTPClient::networkChanged.
///
/// It lives on the thread that makes it and calls there, while the GLib main context runs that is
/// the default of that thread; never from inside the constructor, nor after the destructor.
/// Networks it knows from GNetworkMonitor, sleep from logind; without one of them it tells of the
/// other.
class BRIVANE_EXPORT NetworkWatch {
 public:
  /// Calls `onChange` at each change until it is destroyed; not empty.
  explicit NetworkWatch(std::function<void()> onChange);
  ~NetworkWatch();
  NetworkWatch(const NetworkWatch&) = delete;
  NetworkWatch& operator=(const NetworkWatch&) = delete;

 private:
  struct State;

  const std::unique_ptr<State> state_;
};

}  // namespace platform
