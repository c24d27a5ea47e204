// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Export.h"
#include "platform/Location.h"
#include "testing/Journal.h"

namespace brivane::testing {

/// A location service that finds nothing: it writes down what it is asked for, and a test reports
/// to the delegate by itself. For what depends on the order of such calls; `Phone` has a location
/// service that works. Any thread; set up on one, while nobody calls.
///
/// Lines read "create", and of its managers "delegate" or "no delegate", "ask" (for permanent
/// authorisation), "monitor", "unmonitor", "ask state", "range", "unrange", "accuracy 10", "filter
/// 20", "update" and "stop".
class BRIVANE_EXPORT RecordingLocationService final : public platform::LocationService {
 public:
  /// Each line goes into `journal` behind `prefix`. The user permits everything.
  explicit RecordingLocationService(std::shared_ptr<Journal> journal, std::string prefix = "");
  ~RecordingLocationService() override;

  /// What is answered from now on.
  void setAuthorizationStatus(std::int32_t status);
  void setLocationServicesEnabled(bool enabled);
  void setOffersRequestAlwaysAuthorization(bool offers);

  /// Has `react` called inside each call, with its line but without the prefix: what another thread
  /// might do just then.
  void onCall(std::function<void(const std::string& line)> react);

  std::int32_t authorizationStatus() const override;
  bool locationServicesEnabled() const override;
  std::shared_ptr<platform::CLLocationManager> createManager() override;

 private:
  class Manager;
  struct State;

  const std::shared_ptr<State> state_;
};

}  // namespace brivane::testing
