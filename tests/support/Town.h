#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Services.h"
#include "platform/curl/CurlHTTPClient.h"
#include "service/Certificate.h"
#include "tests/support/TemporaryFolder.h"

/// The development service for the Street, failing at times, and what the library needs to reach it. The service has a
/// process of its own, because tests end and fork theirs; so a Town is made before any thread.
class Town {
 public:
  /// `faults` as the service's option --fault takes them.
  explicit Town(const std::vector<std::string>& faults);
  ~Town();
  Town(const Town&) = delete;
  Town& operator=(const Town&) = delete;

  std::uint16_t port() const { return port_; }
  std::string file(const std::string& name) const { return folder_.path() / name; }

  /// From now on nothing fails any more. Ends all connections.
  void recover();

  /// A client whose requests go to the service.
  std::shared_ptr<platform::CurlHTTPClient> makeClient() const;

  /// The library on real adapters and these two.
  platform::Services services(std::shared_ptr<platform::HTTPClient> http,
                              std::shared_ptr<platform::LocationService> location) const;

 private:
  [[noreturn]] void serve(const std::vector<std::string>& faults, int parent) const;
  void readPort();

  const TemporaryFolder folder_;
  const service::Certificate certificate_;
  const std::string certificateFile_;
  int service_ = -1;
  pid_t process_ = 0;
  std::uint16_t port_ = 0;
};
