// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <iostream>
#include <limits>
#include <mutex>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "service/CertificateStore.h"
#include "service/Network.h"
#include "service/ReadFile.h"
#include "service/Service.h"

namespace {

constexpr int kSystemFailure = 1;
constexpr int kUsageFailure = 2;

/// Prints a line at once.
void print(const std::string& line) {
  if (std::printf("%s\n", line.c_str()) < 0 || std::fflush(stdout) != 0) {
    throw std::system_error(errno, std::generic_category(), "standard output");
  }
}

struct Arguments {
  std::string network;
  std::string credentials;
  std::string state = service::CertificateStore::defaultFolder().string();
  std::uint16_t port = 0;
  std::uint32_t tokenLifetime = 3600;
  std::vector<std::string> faults;
  std::uint64_t seed = 0;
  bool log = false;
};

void describe(CLI::App& app, Arguments& arguments) {
  app.add_option("NETWORK", arguments.network, "File of the places and their beacons, JSON")
      ->required();
  app.set_version_flag("--version", "brivane-service " BRIVANE_VERSION);
  app.add_option("--port", arguments.port, "Port of 127.0.0.1; the system chooses one without it")
      ->check(CLI::Range(0, 65535));
  app.add_option(
      "--credentials", arguments.credentials,
      "JSON file of the client that may log in: {\"key\":…,\"secret\":…}; without it the "
      "key is dev-key and the secret dev-secret");
  app.add_option("--state", arguments.state, "Folder of the certificate and its key")
      ->capture_default_str();
  app.add_option("--token-lifetime", arguments.tokenLifetime, "Seconds that a token is good for")
      ->check(CLI::Range(std::int64_t{0}, std::int64_t{1} << 31))
      ->capture_default_str();
  app.add_option("--fault", arguments.faults,
                 "Make requests go wrong at a rate from 0 to 1: drop=RATE, reset=RATE, "
                 "bad-json=RATE, status-500=RATE, delay=RATE:MILLISECONDS; separated by commas")
      ->delimiter(',');
  app.add_option("--seed", arguments.seed, "Chooses which requests go wrong")
      ->check(CLI::Range(std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max()))
      ->capture_default_str();
  app.add_flag("--log", arguments.log, "Print a line for each request");
}

service::Credentials readCredentials(const std::string& path) {
  if (path.empty()) return {};
  const auto json = nlohmann::json::parse(service::readFile(path), nullptr, false);
  if (!json.is_object() || !json.value("/key"_json_pointer, nlohmann::json()).is_string() ||
      !json.value("/secret"_json_pointer, nlohmann::json()).is_string()) {
    throw std::runtime_error(path + R"(: not a JSON object with the texts "key" and "secret")");
  }
  return {json["key"], json["secret"]};
}

service::Service::Options optionsFrom(const Arguments& arguments,
                                      const service::CertificateStore& store) {
  service::Service::Options options;
  options.apiHost = BRIVANE_API_HOST;
  options.port = arguments.port;
  options.seed = arguments.seed;
  for (const std::string& fault : arguments.faults) {
    try {
      options.faults.push_back(service::Fault::parse(fault));
    } catch (const std::invalid_argument& wrong) {
      throw std::runtime_error(std::string("--fault: ") + wrong.what());
    }
  }
  options.endpoints.network = service::Network::load(arguments.network);
  options.endpoints.credentials = readCredentials(arguments.credentials);
  options.endpoints.tokenLifetime = std::chrono::seconds(arguments.tokenLifetime);
  options.certificate = store.open(options.apiHost);
  options.endpoints.publicKey = service::publicKeyPEM(options.certificate.certificatePEM);
  if (arguments.log) {
    options.log = [](const std::string& line) {
      std::printf("%s\n", line.c_str());
      std::fflush(stdout);
    };
  }
  return options;
}

/// Serves until Ctrl-C or a request to terminate.
void serve(const Arguments& arguments) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::signal(SIGPIPE, SIG_IGN);  // NOLINT: before any other thread

  const service::CertificateStore store(arguments.state);
  const service::Service running(optionsFrom(arguments, store));
  print("brivane-service listening on 127.0.0.1:" + std::to_string(running.port()) +
        ", certificate " + store.certificatePath().string());
  int received = 0;
  sigwait(&signals, &received);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("A stand-in for the network's web service, for development: HTTPS on 127.0.0.1.",
               "brivane-service");
  Arguments arguments;
  describe(app, arguments);
  try {
    app.parse(argc, argv);
    serve(arguments);
    return 0;
  } catch (const CLI::Success& request) {
    app.exit(request);
    return std::cout.flush() ? 0 : kSystemFailure;
  } catch (const std::system_error& refused) {
    std::fprintf(stderr, "brivane-service: %s\n", refused.what());
    return kSystemFailure;
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "brivane-service: %s\n", fault.what());
    return kUsageFailure;
  }
}
