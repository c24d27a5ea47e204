// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/LinuxLocationService.h"

#include <memory>

#include "platform/linux/BlueZRadio.h"
#include "platform/linux/GeoCluePositions.h"
#include "platform/linux/MainContext.h"

namespace platform {
namespace {

LiveLocationService::Sources sourcesFor(const LinuxLocationService::Options& options) {
  LiveLocationService::Sources sources;
  sources.eventLoop = [] { return std::make_shared<MainContext>(MainContext::ofThisThread()); };
  sources.radio = [adapter = options.adapter, log = options.live.log](Radio::Listener& listener) {
    return std::make_unique<BlueZRadio>(MainContext::ofThisThread(), adapter, log, listener);
  };
  if (options.desktopId.empty()) return sources;
  sources.positions = [desktopId = options.desktopId](PositionSource::Listener& listener) {
    return std::make_unique<GeoCluePositions>(MainContext::ofThisThread(), desktopId, listener);
  };
  return sources;
}

}  // namespace

LinuxLocationService::LinuxLocationService(const Options& options)
    : LiveLocationService(sourcesFor(options), options.live) {}

}  // namespace platform
