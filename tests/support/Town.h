// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/Services.h"
#include "platform/curl/CurlHTTPClient.h"
#include "platform/files/KeyFilePreferences.h"
#include "platform/json/SimdJSON.h"
#include "platform/posix/SystemRandomUUID.h"
#include "platform/posix/UnameDeviceModel.h"
#include "service/Service.h"
#include "testing/FixedPropertyList.h"
#include "tests/support/TemporaryFolder.h"

/// The development service, failing at times, and what the library needs to reach it. The service has a
/// process of its own, because tests end and fork theirs; so a Town is made before any thread.
class Town {
 public:
  /// `faults` as the service's option --fault takes them.
  Town(const service::Network& network, const std::vector<std::string>& faults) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, &ends[0]) != 0) throw std::runtime_error("no socket");
    process_ = fork();
    close(ends[process_ == 0 ? 0 : 1]);
    if (process_ == 0) serve(network, faults, ends[1]);
    service_ = ends[0];
    readPort();
  }
  ~Town() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    close(service_);
  }
  Town(const Town&) = delete;
  Town& operator=(const Town&) = delete;

  /// From now on nothing fails any more. Ends all connections.
  void recover() {
    send(service_, "", 1, 0);
    readPort();
  }

  /// A client whose requests go to the service.
  std::shared_ptr<platform::CurlHTTPClient> makeClient() const {
    return std::make_shared<platform::CurlHTTPClient>(platform::CurlHTTPClient::Options{
        .connectTo = std::string(BRIVANE_API_HOST) + ":443:127.0.0.1:" + std::to_string(port_),
        .caFile = certificateFile_});
  }

  /// The library on real adapters and these two.
  platform::Services services(std::shared_ptr<platform::HTTPClient> http,
                              std::shared_ptr<platform::LocationService> location) const {
    return {.http = std::move(http),
            .json = std::make_shared<platform::SimdJSON>(),
            .preferences = std::make_shared<platform::KeyFilePreferences>(folder_.path() / "preferences"),
            .propertyList =
                std::make_shared<brivane::testing::FixedPropertyList>(brivane::testing::FixedPropertyList::complete()),
            .location = std::move(location),
            .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
            .randomUUID = std::make_shared<platform::SystemRandomUUID>()};
  }

 private:
  [[noreturn]] void serve(const service::Network& network, const std::vector<std::string>& faults, int parent) const {
    service::Service::Options options;
    options.certificate = certificate_;
    options.apiHost = BRIVANE_API_HOST;
    options.endpoints.network = network;
    options.endpoints.credentials = {"key", "secret"};
    options.endpoints.tokenLifetime = std::chrono::hours(48);
    for (const std::string& fault : faults) options.faults.push_back(service::Fault::parse(fault));
    for (;;) {
      const service::Service service(options);
      options.port = service.port();
      send(parent, &options.port, sizeof options.port, 0);
      char recovery = 0;
      if (read(parent, &recovery, 1) != 1) _exit(0);  // the test has gone
      options.faults.clear();
    }
  }
  void readPort() {
    if (read(service_, &port_, sizeof port_) != sizeof port_) throw std::runtime_error("no service");
  }

  const TemporaryFolder folder_;
  const service::Certificate certificate_ =
      service::makeCertificate(BRIVANE_API_HOST, -std::chrono::hours(1), std::chrono::hours(48));
  const std::string certificateFile_ = folder_.write("ca.pem", certificate_.certificatePEM);
  int service_ = -1;
  pid_t process_ = 0;
  std::uint16_t port_ = 0;
};
