// SPDX-License-Identifier: Apache-2.0
#include "testing/VirtualPositions.h"

#include <algorithm>
#include <utility>

#include "testing/Present.h"

namespace brivane::testing {

using platform::PositionGrant;
using platform::PositionSource;

struct VirtualPositions::State {
  std::shared_ptr<platform::EventLoop> loop;
  PositionGrant grant = PositionGrant::kGranted;
  std::string reason;
  std::optional<platform::CLLocation> position;
  Present<Face> faces;
};

/// What one listener gets to know of the positions.
class VirtualPositions::Face final : public PositionSource {
 public:
  Face(std::shared_ptr<State> state, Listener& listener)
      : state_(std::move(state)), listener_(listener) {
    state_->faces.add(self_);
  }

  std::optional<double> accuracy() const { return accuracy_; }

  void start(double accuracy) override {
    accuracy_ = accuracy;
    told_.reset();
    state_->loop->post([weak = std::weak_ptr(self_)] {
      if (const auto face = weak.lock()) face->tellAll();
    });
  }
  void stop() override { accuracy_.reset(); }

  /// Tells the answer, unless it was told since the start.
  void tellGrant() {
    if (!accuracy_ || told_ == state_->grant) return;
    told_ = state_->grant;
    listener_.positionGrantChanged(state_->grant, state_->reason);
  }
  void tellPosition() {
    if (!accuracy_ || state_->grant != PositionGrant::kGranted || !state_->position) return;
    listener_.positionFound(*state_->position);
  }

 private:
  void tellAll() {
    tellGrant();
    tellPosition();
  }

  const std::shared_ptr<State> state_;
  Listener& listener_;
  /// For those who must know whether this is still there.
  const std::shared_ptr<Face> self_{this, [](Face*) {}};
  std::optional<double> accuracy_;
  std::optional<PositionGrant> told_;
};

VirtualPositions::VirtualPositions(std::shared_ptr<platform::EventLoop> loop)
    : state_(std::make_shared<State>()) {
  state_->loop = std::move(loop);
}

VirtualPositions::~VirtualPositions() = default;

std::unique_ptr<PositionSource> VirtualPositions::create(PositionSource::Listener& listener) {
  return std::make_unique<Face>(state_, listener);
}

void VirtualPositions::setGrant(PositionGrant grant, std::string reason) {
  state_->grant = grant;
  state_->reason = std::move(reason);
  state_->faces.forEach([](Face& face) { face.tellGrant(); });
}

void VirtualPositions::locate(const platform::CLLocation& position) {
  state_->position = position;
  state_->faces.forEach([](Face& face) { face.tellPosition(); });
}

std::optional<double> VirtualPositions::accuracy() const {
  std::optional<double> finest;
  state_->faces.forEach([&finest](const Face& face) {
    const auto asked = face.accuracy();
    if (asked) finest = std::min(finest.value_or(*asked), *asked);
  });
  return finest;
}

}  // namespace brivane::testing
