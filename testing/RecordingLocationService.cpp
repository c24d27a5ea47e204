// SPDX-License-Identifier: Apache-2.0
#include "testing/RecordingLocationService.h"

#include <utility>

#include "platform/RealText.h"

namespace brivane::testing {

struct RecordingLocationService::State {
  State(std::shared_ptr<Journal> someJournal, std::string somePrefix)
      : journal(std::move(someJournal)), prefix(std::move(somePrefix)) {}

  void tell(const std::string& line) const {
    journal->write(prefix + line);
    if (react) react(line);
  }

  const std::shared_ptr<Journal> journal;
  const std::string prefix;
  std::int32_t status = platform::kCLAuthorizationStatusAuthorizedAlways;
  bool enabled = true;
  bool offersAlways = true;
  std::function<void(const std::string& line)> react;
};

class RecordingLocationService::Manager final : public platform::CLLocationManager {
 public:
  using Region = platform::CLBeaconRegion;

  explicit Manager(std::shared_ptr<const State> state) : state_(std::move(state)) {}

  void setDelegate(std::weak_ptr<platform::CLLocationManagerDelegate> delegate) override {
    state_->tell(delegate.expired() ? "no delegate" : "delegate");
  }
  bool offersRequestAlwaysAuthorization() const override { return state_->offersAlways; }
  void requestAlwaysAuthorization() override { state_->tell("ask"); }
  void startMonitoringForRegion(std::shared_ptr<const Region> /*region*/) override {
    state_->tell("monitor");
  }
  void stopMonitoringForRegion(const Region& /*region*/) override { state_->tell("unmonitor"); }
  void requestStateForRegion(std::shared_ptr<const Region> /*region*/) override {
    state_->tell("ask state");
  }
  void startRangingBeaconsInRegion(std::shared_ptr<const Region> /*region*/) override {
    state_->tell("range");
  }
  void stopRangingBeaconsInRegion(const Region& /*region*/) override { state_->tell("unrange"); }
  void setDesiredAccuracy(double accuracy) override {
    state_->tell("accuracy " + platform::realText(accuracy));
  }
  void setDistanceFilter(double distance) override {
    state_->tell("filter " + platform::realText(distance));
  }
  void startUpdatingLocation() override { state_->tell("update"); }
  void stopUpdatingLocation() override { state_->tell("stop"); }

 private:
  const std::shared_ptr<const State> state_;
};

RecordingLocationService::RecordingLocationService(std::shared_ptr<Journal> journal,
                                                   std::string prefix)
    : state_(std::make_shared<State>(std::move(journal), std::move(prefix))) {}

RecordingLocationService::~RecordingLocationService() = default;

void RecordingLocationService::setAuthorizationStatus(std::int32_t status) {
  state_->status = status;
}

void RecordingLocationService::setLocationServicesEnabled(bool enabled) {
  state_->enabled = enabled;
}

void RecordingLocationService::setOffersRequestAlwaysAuthorization(bool offers) {
  state_->offersAlways = offers;
}

void RecordingLocationService::onCall(std::function<void(const std::string& line)> react) {
  state_->react = std::move(react);
}

std::int32_t RecordingLocationService::authorizationStatus() const { return state_->status; }

bool RecordingLocationService::locationServicesEnabled() const { return state_->enabled; }

std::shared_ptr<platform::CLLocationManager> RecordingLocationService::createManager() {
  state_->tell("create");
  return std::make_shared<Manager>(state_);
}

}  // namespace brivane::testing
