#include "platform/linux/LinuxLocationService.h"

#include <utility>

#include "platform/linux/LiveLocation.h"
#include "platform/linux/PermissionBoard.h"

namespace platform {

LinuxLocationService::LinuxLocationService(Options options)
    : options_(std::move(options)),
      board_(std::make_shared<PermissionBoard>(!options_.desktopId.empty())) {}

LinuxLocationService::~LinuxLocationService() = default;

std::int32_t LinuxLocationService::authorizationStatus() const {
  return board_->published().status;
}

bool LinuxLocationService::locationServicesEnabled() const {
  return board_->published().servicesEnabled;
}

std::shared_ptr<CLLocationManager> LinuxLocationService::createManager() {
  return LiveLocation::createManager(options_, board_);
}

}  // namespace platform
