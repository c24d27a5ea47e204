// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "platform/DeviceModel.h"
#include "platform/Export.h"
#include "platform/HTTPClient.h"
#include "platform/JSON.h"
#include "platform/Location.h"
#include "platform/Log.h"
#include "platform/Preferences.h"
#include "platform/PropertyList.h"
#include "platform/RandomUUID.h"

/// What the library reaches its surroundings through: the boundary, its adapters, and the location
/// logic that they share.
namespace platform {

/// Everything through which the library reaches the outside. All but `log` are needed.
struct Services {
  /// Reaches the web service.
  std::shared_ptr<HTTPClient> http;
  /// Reads its replies.
  std::shared_ptr<JSON> json;
  /// Keeps the installation's identifier.
  std::shared_ptr<Preferences> preferences;
  /// Holds the application's credentials.
  std::shared_ptr<PropertyList> propertyList;
  /// Hears beacons and knows positions.
  std::shared_ptr<LocationService> location;
  /// Names the device to the web service.
  std::shared_ptr<DeviceModel> deviceModel;
  /// Makes the installation's identifier.
  std::shared_ptr<RandomUUID> randomUUID;
  /// Null when nobody reads the log.
  std::shared_ptr<Log> log = nullptr;
};

/// Gives the library its services for the life of the process: call it once, before the first
/// manager is created. They are never released, so that a callback that comes while the process
/// ends still finds them. Throws std::logic_error when a service is missing or some are installed
/// already.
BRIVANE_EXPORT void install(Services services);

/// The installed services. Any thread. Throws std::logic_error when none are.
BRIVANE_EXPORT const Services& services();

}  // namespace platform
