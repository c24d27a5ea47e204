// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/Export.h"
#include "platform/Location.h"
#include "platform/location/EventLoop.h"
#include "platform/location/PositionSource.h"

namespace brivane::testing {

/// Where a phone is, and whether its user lets applications know, as a test says. On the thread of
/// its loop.
class BRIVANE_EXPORT VirtualPositions {
 public:
  /// Granted, and nowhere.
  explicit VirtualPositions(std::shared_ptr<platform::EventLoop> loop);
  ~VirtualPositions();
  VirtualPositions(const VirtualPositions&) = delete;
  VirtualPositions& operator=(const VirtualPositions&) = delete;

  /// What `platform::LiveLocationService::Sources` asks for. It may outlive this, and finds nothing
  /// then.
  std::unique_ptr<platform::PositionSource> create(platform::PositionSource::Listener& listener);

  /// What the user or the device answers from now on, told at once where it was asked for. `reason`
  /// is one line for a person, empty when positions are granted.
  void setGrant(platform::PositionGrant grant, std::string reason);

  /// The phone is here from now on: told to who asks for positions, also later, while they are
  /// granted.
  void locate(const platform::CLLocation& position);

  /// How fine, in metres, the application asks for positions; absent while it does not.
  std::optional<double> accuracy() const;

 private:
  class Face;
  struct State;

  const std::shared_ptr<State> state_;
};

}  // namespace brivane::testing
