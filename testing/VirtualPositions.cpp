// SPDX-License-Identifier: Apache-2.0
#include "testing/VirtualPositions.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "testing/ForEachAlive.h"

namespace brivane::testing {

using platform::PositionGrant;
using platform::PositionSource;

struct VirtualPositions::State {
  std::shared_ptr<platform::EventLoop> loop;
  PositionGrant grant = PositionGrant::kGranted;
  std::string reason;
  std::optional<platform::CLLocation> position;
  std::vector<std::weak_ptr<Face>> faces;
};

/// What one listener gets to know of the positions.
class VirtualPositions::Face : public std::enable_shared_from_this<Face> {
 public:
  Face(std::shared_ptr<State> state, PositionSource::Listener& listener)
      : state_(std::move(state)), listener_(listener) {}

  std::optional<double> accuracy() const { return accuracy_; }

  void start(double accuracy) {
    accuracy_ = accuracy;
    told_.reset();
    state_->loop->post([weak = weak_from_this()] {
      if (const auto face = weak.lock()) face->tellAll();
    });
  }
  void stop() { accuracy_.reset(); }

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
  PositionSource::Listener& listener_;
  std::optional<double> accuracy_;
  std::optional<PositionGrant> told_;
};

VirtualPositions::VirtualPositions(std::shared_ptr<platform::EventLoop> loop)
    : state_(std::make_shared<State>()) {
  state_->loop = std::move(loop);
}

VirtualPositions::~VirtualPositions() = default;

std::unique_ptr<PositionSource> VirtualPositions::create(PositionSource::Listener& listener) {
  class Handle final : public PositionSource {
   public:
    explicit Handle(std::shared_ptr<Face> face) : face_(std::move(face)) {}
    ~Handle() override { face_->stop(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    void start(double accuracy) override { face_->start(accuracy); }
    void stop() override { face_->stop(); }

   private:
    const std::shared_ptr<Face> face_;
  };
  auto face = std::make_shared<Face>(state_, listener);
  std::erase_if(state_->faces, [](const auto& each) { return each.expired(); });
  state_->faces.push_back(face);
  return std::make_unique<Handle>(std::move(face));
}

void VirtualPositions::setGrant(PositionGrant grant, std::string reason) {
  state_->grant = grant;
  state_->reason = std::move(reason);
  forEachAlive(state_->faces, [](Face& face) { face.tellGrant(); });
}

void VirtualPositions::locate(const platform::CLLocation& position) {
  state_->position = position;
  forEachAlive(state_->faces, [](Face& face) { face.tellPosition(); });
}

std::optional<double> VirtualPositions::accuracy() const {
  std::optional<double> finest;
  forEachAlive(state_->faces, [&finest](const Face& face) {
    const auto asked = face.accuracy();
    if (asked) finest = std::min(finest.value_or(*asked), *asked);
  });
  return finest;
}

}  // namespace brivane::testing
