// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "BrivaneSDK/BVNetwork.h"
#include "bindings/c/Failure.h"
#include "bindings/c/HostServices.h"
#include "bindings/c/Observer.h"
#include "bindings/c/brivane_adapters.h"
#include "platform/Services.h"
#include "platform/TransferOutcome.h"
#include "platform/curl/CurlHTTPClient.h"
#include "platform/files/KeyFilePreferences.h"
#include "platform/files/PlistPropertyList.h"
#include "platform/files/StandardErrorLog.h"
#include "platform/json/SimdJSON.h"
#include "platform/linux/LinuxLocationService.h"
#include "platform/linux/NetworkWatch.h"
#include "platform/offline/AnswerStore.h"
#include "platform/offline/OfflineHTTPClient.h"
#include "platform/replay/ReplayLocationService.h"

namespace brivane::internal {
namespace {

struct Adapters final : brivane_adapters {
  std::shared_ptr<platform::CurlHTTPClient> curl;
  std::shared_ptr<platform::OfflineHTTPClient> offline;
  std::shared_ptr<platform::ReplayLocationService> replay;
  std::optional<platform::NetworkWatch> network;
};

using OnTransfer = std::function<void(const platform::TransferOutcome&)>;

/// Empty when nobody listens.
OnTransfer toldTo(const brivane_observer* observer) {
  if (observer == nullptr || observer->on_transfer == nullptr) return {};
  return [to = *observer](const platform::TransferOutcome& outcome) {
    const auto kept = outcome.keptSince.value_or(std::chrono::system_clock::time_point());
    const brivane_transfer plain = {
        .endpoint = outcome.endpoint.c_str(),
        .status = outcome.status.value_or(0),
        .fault = orNull(outcome.fault),
        .milliseconds = outcome.duration.count(),
        .source = static_cast<brivane_source>(outcome.source),
        .kept_since = std::chrono::system_clock::to_time_t(kept),
    };
    to.on_transfer(to.user, &plain);
  };
}

std::shared_ptr<platform::CurlHTTPClient> curlClient(const brivane_adapters_options& options,
                                                     std::shared_ptr<platform::Log> log) {
  platform::CurlHTTPClient::Options curl;
  curl.caFile = orEmpty(options.ca_file);
  curl.log = std::move(log);
  if (options.connect_to) {
    curl.connectTo = std::string(BVNetwork::apiHost()) + ":443:" + options.connect_to;
  }
  if (!options.offline) curl.onTransfer = toldTo(options.observer);
  return std::make_shared<platform::CurlHTTPClient>(curl);
}

std::shared_ptr<platform::OfflineHTTPClient> offlineClient(
    const brivane_adapters_options& options, std::shared_ptr<platform::HTTPClient> inner,
    std::shared_ptr<platform::Log> log) {
  platform::OfflineHTTPClient::Options offline;
  offline.inner = std::move(inner);
  offline.store = std::make_shared<platform::AnswerStore>(
      platform::AnswerStore::Options{.path = platform::AnswerStore::pathFor(options.application)});
  offline.json = std::make_shared<platform::SimdJSON>();
  offline.allowOffline = true;
  offline.log = std::move(log);
  offline.onTransfer = toldTo(options.observer);
  if (options.observer && options.observer->on_network) {
    offline.onNetwork = [to = *options.observer](bool isThere) { to.on_network(to.user, isThere); };
  }
  return std::make_shared<platform::OfflineHTTPClient>(std::move(offline));
}

std::shared_ptr<platform::ReplayLocationService> recording(
    const brivane_adapters_options& options) {
  platform::ReplayLocationService::Options replay;
  replay.capture = options.capture;
  replay.speed = options.speed > 0.0 ? options.speed : 1.0;
  return std::make_shared<platform::ReplayLocationService>(std::move(replay));
}

std::shared_ptr<platform::LocationService> listening(const brivane_adapters_options& options,
                                                     std::shared_ptr<platform::Log> log) {
  platform::LinuxLocationService::Options live;
  live.adapter = orEmpty(options.adapter);
  if (options.positions) live.desktopId = options.application;
  live.live = observedBy(options.observer);
  live.live.log = std::move(log);
  return std::make_shared<platform::LinuxLocationService>(live);
}

}  // namespace
}  // namespace brivane::internal

using namespace brivane::internal;

brivane_adapters* brivane_adapters_create(const brivane_adapters_options* options,
                                          brivane_failure* failure) {
  brivane_adapters* made = nullptr;
  guarded(failure, [&] {
    const brivane_adapters_options& wanted = required(options, "options");
    require(wanted.info != nullptr, "info");
    require(wanted.application != nullptr, "application");
    auto all = std::make_unique<Adapters>();
    if (wanted.log) all->services.log = std::make_shared<platform::StandardErrorLog>();
    all->services.propertyList = std::make_shared<platform::PlistPropertyList>(wanted.info);
    all->services.preferences = std::make_shared<platform::KeyFilePreferences>(
        platform::KeyFilePreferences::pathFor(wanted.application));
    all->services.http = all->curl = curlClient(wanted, all->services.log);
    if (wanted.offline) {
      all->services.http = all->offline = offlineClient(wanted, all->curl, all->services.log);
    }
    if (wanted.capture) {
      all->services.location = all->replay = recording(wanted);
    } else {
      all->services.location = listening(wanted, all->services.log);
      all->network.emplace([curl = all->curl.get()] { curl->networkChanged(); });
    }
    made = all.release();
  });
  return made;
}

brivane_status brivane_adapters_replay(brivane_adapters* adapters, brivane_failure* failure) {
  return guarded(failure, [&] {
    auto& replay = static_cast<Adapters*>(adapters)->replay;
    if (!replay) throw std::logic_error("there is no capture to be replayed");
    replay->run();
  });
}

void brivane_adapters_shutdown(brivane_adapters* adapters) {
  const std::unique_ptr<Adapters> owned(static_cast<Adapters*>(adapters));
  if (!owned) return;
  quietly([&] {
    owned->curl->shutdown();
    if (owned->offline) owned->offline->shutdown();
  });
}
