// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "service/Certificate.h"
#include "service/Endpoints.h"
#include "service/Faults.h"

namespace service {

/// The development service on the network: HTTPS on 127.0.0.1, from construction to destruction.
class Service {
 public:
  struct Options {
    Certificate certificate;
    /// Host name that clients ask for: part of every path.
    std::string apiHost;
    /// 0 for one that the system chooses.
    std::uint16_t port = 0;
    Endpoints::Settings endpoints;
    std::vector<Fault> faults;
    std::uint64_t seed = 0;
    /// Takes one line a request, on several threads at once; no credentials, tokens or bodies. May
    /// be empty.
    std::function<void(const std::string&)> log;
  };

  /// Throws std::system_error when the port cannot be had.
  explicit Service(Options options);
  ~Service();
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  std::uint16_t port() const;

 private:
  class Server;

  const std::unique_ptr<Server> server_;
};

}  // namespace service
