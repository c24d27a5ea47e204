#include "tests/support/Town.h"

#include <fcntl.h>
#include <sys/prctl.h>
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
  if (pipe2(static_cast<int*>(ends), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  process_ = fork();
  if (process_ == 0) serve(faults, ends[1]);
  close(ends[1]);
  fromService_ = ends[0];
  readPort();
}

Town::~Town() {
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  close(fromService_);
}

void Town::recover() {
  kill(process_, SIGUSR1);
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

void Town::serve(const std::vector<std::string>& faults, int toParent) const {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  service::Service::Options options;
  options.certificate = certificate_;
  options.apiHost = BRIVANE_API_HOST;
  options.endpoints.network = Street::network();
  options.endpoints.tokenLifetime = 48h;
  for (const std::string& fault : faults) options.faults.push_back(service::Fault::parse(fault));
  sigset_t recovery;
  sigemptyset(&recovery);
  sigaddset(&recovery, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &recovery, nullptr);
  for (;;) {
    const service::Service service(options);
    options.port = service.port();
    if (write(toParent, &options.port, sizeof options.port) != sizeof options.port) _exit(1);
    int received = 0;
    sigwait(&recovery, &received);
    options.faults.clear();
  }
}

void Town::readPort() {
  if (read(fromService_, &port_, sizeof port_) != sizeof port_) throw std::runtime_error("no service");
}
