// SPDX-License-Identifier: Apache-2.0
#include "host/Session.h"

#include <charconv>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "BrivaneSDK/BVException.h"
#include "BrivaneSDK/BVNetwork.h"
#include "host/Failure.h"
#include "host/WarningPreferences.h"
#include "platform/Services.h"
#include "platform/files/PlistPropertyList.h"
#include "platform/files/StandardErrorLog.h"
#include "platform/json/SimdJSON.h"
#include "platform/location/LocationCore.h"
#include "platform/posix/SystemRandomUUID.h"
#include "platform/posix/UnameDeviceModel.h"

namespace host {
namespace {

constexpr std::chrono::seconds kPatience{30};
constexpr double kPatienceForUser = 120.0;  // seconds
/// Longer than any request lasts.
constexpr std::chrono::seconds kUntilAnswered{24 * 3600};

std::shared_ptr<platform::Log> logFor(const ServiceOptions& options) {
  return options.log ? std::make_shared<platform::StandardErrorLog>() : nullptr;
}

bool isHostAndPort(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  if (colon == 0 || colon == std::string_view::npos) return false;
  const std::string_view port = text.substr(colon + 1);
  std::uint16_t number = 0;
  const auto read = std::from_chars(port.data(), port.data() + port.size(), number);
  return read.ec == std::errc() && read.ptr == port.data() + port.size() && number > 0;
}

std::shared_ptr<platform::CurlHTTPClient> curlClient(
    const ServiceOptions& options,
    std::function<void(const platform::TransferOutcome&)> onTransfer) {
  platform::CurlHTTPClient::Options curl;
  curl.log = logFor(options);
  curl.onTransfer = std::move(onTransfer);
  if (!options.connect.empty()) {
    if (!isHostAndPort(options.connect)) {
      throw Failure(kUsageFailure, "--connect: '" + options.connect + "' is not HOST:PORT");
    }
    curl.connectTo = std::string(BVNetwork::apiHost()) + ":443:" + options.connect;
  }
  curl.caFile = options.ca;
  try {
    return std::make_shared<platform::CurlHTTPClient>(curl);
  } catch (const std::invalid_argument& fault) {
    throw Failure(kUsageFailure, std::string("--ca: ") + fault.what());
  }
}

std::function<void()> wakerOf(const MainLoop* loop) {
  return [loop] {
    if (loop != nullptr) loop->wake();
  };
}

std::string serviceName() { return "the service at " + std::string(BVNetwork::apiHost()); }

}  // namespace

Session::Session(const ServiceOptions& options, Waiting waiting, Screen& screen)
    : options_(options),
      loop_(waiting.loop),
      screen_(screen),
      transfers_(std::make_unique<Transfers>([&screen](const std::string& failure) {
        screen.complain(serviceName() + ": " + failure);
      })),
      curl_(curlClient(options,
                       [this](const auto& outcome) {
                         if (!options_.offline) note(outcome);
                       })),
      kept_(options.offline ? std::make_unique<KeptAnswers>(
                                  KeptAnswers::Options{
                                      .inner = curl_,
                                      .log = logFor(options),
                                      .onTransfer = [this](const auto& outcome) { note(outcome); },
                                      .wake = wakerOf(waiting.loop)},
                                  screen)
                            : nullptr),
      lockstep_(waiting.inOrder ? std::make_shared<platform::LockstepHTTPClient>(client())
                                : nullptr),
      http_(std::make_shared<WatchedHTTPClient>(
          lockstep_ ? std::static_pointer_cast<platform::HTTPClient>(lockstep_) : client(),
          wakerOf(waiting.loop))) {}

Session::~Session() { endRequests(); }

std::shared_ptr<platform::HTTPClient> Session::client() const {
  return kept_ ? kept_->client() : curl_;
}

void Session::note(const platform::TransferOutcome& outcome) {
  if (interrupted_) return;  // what an interrupt ends has not failed
  transfers_->note(outcome);
  announcer_->noteAnswer(outcome);
}

void Session::endRequests() {
  curl_->shutdown();
  if (kept_) kept_->shutdown();
}

void Session::install(std::shared_ptr<platform::LocationService> location) const {
  platform::install({.http = http_,
                     .json = std::make_shared<platform::SimdJSON>(),
                     .preferences = std::make_shared<WarningPreferences>(screen_),
                     .propertyList = std::make_shared<platform::PlistPropertyList>(options_.info),
                     .location = std::move(location),
                     .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
                     .randomUUID = std::make_shared<platform::SystemRandomUUID>(),
                     .log = logFor(options_)});
}

std::shared_ptr<BVManager> Session::connect(const std::shared_ptr<Announcer>& announcer) {
  if (!announcer_) announcer_ = announcer;
  announcer->expectReady();
  std::shared_ptr<BVManager> manager;
  try {
    manager = BVManager::initWithDelegate(announcer);
  } catch (const BVException& fault) {
    throw Failure(kUsageFailure, options_.info + ": " + fault.reason());
  }
  const bool answered = waitFor(kPatience);
  if (isInterrupted()) return nullptr;
  if (!answered) failWith("not ready after 30 seconds");
  failUnlessAnswered("not ready");
  if (kept_) kept_->sessionBegan();
  if (!waitForAuthorization()) return isInterrupted() ? nullptr : manager;
  if (!announcer->isReady()) failWith("not ready: its answer cannot be read");
  return manager;
}

void Session::networkChanged() {
  curl_->networkChanged();
  if (kept_) kept_->networkChanged();
}

std::optional<KeptAnswers::Clock::time_point> Session::renewal() const {
  return kept_ ? kept_->renewal() : std::nullopt;
}

void Session::waitUntilAnswered() const { waitFor(kUntilAnswered); }

bool Session::waitFor(std::chrono::seconds limit) const {
  if (lockstep_) lockstep_->release();
  if (loop_ == nullptr) return http_->waitUntilIdle(limit);
  return loop_->runUntil([this] { return http_->isIdle(); }, static_cast<double>(limit.count()));
}

bool Session::waitForAuthorization() const {
  const auto status = [] { return platform::services().location->authorizationStatus(); };
  if (loop_ != nullptr) {
    loop_->runUntil(
        [&] {
          return isInterrupted() || status() != platform::kCLAuthorizationStatusNotDetermined;
        },
        kPatienceForUser);
  }
  return status() == platform::kCLAuthorizationStatusAuthorizedAlways;
}

void Session::failWith(const std::string& complaint) const {
  throw Failure(kServiceFailure, serviceName() + ": " + complaint + ": " + transfers_->latest());
}

void Session::failUnlessAnswered(const std::string& complaint) const {
  if (!transfers_->latestSucceeded()) failWith(complaint);
}

void Session::rest(std::chrono::seconds time) const {
  if (loop_ != nullptr) {
    loop_->runUntil([this] { return isInterrupted(); }, static_cast<double>(time.count()));
    return;
  }
  constexpr std::chrono::milliseconds kStep(50);
  for (auto left = std::chrono::milliseconds(time); left > kStep && !isInterrupted();
       left -= kStep) {
    std::this_thread::sleep_for(kStep);
  }
}

void Session::interrupt() {
  interrupted_ = true;
  endRequests();
  if (loop_ != nullptr) loop_->wake();
}

std::shared_ptr<platform::LocationService> locationWithoutSources() {
  return std::make_shared<platform::LocationCore>(
      platform::LocationCore::Options{.permission = platform::alwaysPermitted});
}

}  // namespace host
