#include "tests/support/Town.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "platform/PropertyList.h"
#include "platform/files/KeyFilePreferences.h"
#include "platform/json/SimdJSON.h"
#include "platform/posix/SystemRandomUUID.h"
#include "platform/posix/UnameDeviceModel.h"
#include "service/Service.h"
#include "tests/support/Street.h"

namespace {

using namespace std::chrono_literals;

class Credentials final : public platform::PropertyList {
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override {
    if (key == "BrivaneAPIKey") return "dev-key";
    return key == "BrivaneAPISecret" ? "dev-secret" : "To name doors.";
  }
};

}  // namespace

Town::Town(const std::vector<std::string>& faults)
    : certificate_(service::makeCertificate(BRIVANE_API_HOST, -1h, 48h)),
      certificateFile_(folder_.write("ca.pem", certificate_.certificatePEM)) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, &ends[0]) != 0) throw std::runtime_error("no socket");
  process_ = fork();
  close(ends[process_ == 0 ? 0 : 1]);
  if (process_ == 0) serve(faults, ends[1]);
  service_ = ends[0];
  readPort();
}

Town::~Town() {
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  close(service_);
}

void Town::recover() {
  send(service_, "", 1, 0);
  readPort();
}

std::shared_ptr<platform::CurlHTTPClient> Town::makeClient() const {
  return std::make_shared<platform::CurlHTTPClient>(platform::CurlHTTPClient::Options{
      .connectTo = std::string(BRIVANE_API_HOST) + ":443:127.0.0.1:" + std::to_string(port_),
      .caFile = certificateFile_});
}

platform::Services Town::services(std::shared_ptr<platform::HTTPClient> http,
                                  std::shared_ptr<platform::LocationService> location) const {
  return {.http = std::move(http),
          .json = std::make_shared<platform::SimdJSON>(),
          .preferences = std::make_shared<platform::KeyFilePreferences>(file("preferences")),
          .propertyList = std::make_shared<Credentials>(),
          .location = std::move(location),
          .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
          .randomUUID = std::make_shared<platform::SystemRandomUUID>()};
}

void Town::serve(const std::vector<std::string>& faults, int parent) const {
  service::Service::Options options;
  options.certificate = certificate_;
  options.apiHost = BRIVANE_API_HOST;
  options.endpoints.network = Street::network();
  options.endpoints.tokenLifetime = 48h;
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

void Town::readPort() {
  if (read(service_, &port_, sizeof port_) != sizeof port_) throw std::runtime_error("no service");
}
