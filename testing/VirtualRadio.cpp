// SPDX-License-Identifier: Apache-2.0
#include "testing/VirtualRadio.h"

#include <algorithm>
#include <utility>

#include "testing/Present.h"

namespace brivane::testing {

using platform::Radio;

struct VirtualRadio::State {
  std::shared_ptr<platform::EventLoop> loop;
  Radio::Status status{.listening = true, .refused = false};
  Present<Face> faces;
};

/// What one listener gets to hear of the radio.
class VirtualRadio::Face final : public Radio {
 public:
  Face(std::shared_ptr<State> state, Listener& listener)
      : state_(std::move(state)), listener_(listener) {
    state_->faces.add(self_);
  }

  const std::optional<Radio::Wanted>& wanted() const { return wanted_; }

  void listen(const Wanted& wanted) override {
    wanted_ = wanted;
    state_->loop->post([weak = std::weak_ptr(self_)] {
      if (const auto face = weak.lock()) face->tell();
    });
  }
  void stop() override {
    wanted_.reset();
    told_.reset();
  }

  /// Tells the status, unless it was told already.
  void tell() {
    if (!wanted_) return;
    Radio::Status status = state_->status;
    status.listening = status.listening && !wanted_->networks.empty();
    if (told_ == status) return;
    told_ = status;
    listener_.radioChanged(status);
  }

  void hear(const platform::Advertisement& advertisement) {
    if (!wanted_ || wanted_->networks.empty() || !state_->status.listening) return;
    listener_.radioHeard(advertisement, state_->loop->now());
  }

 private:
  const std::shared_ptr<State> state_;
  Listener& listener_;
  /// For those who must know whether this is still there.
  const std::shared_ptr<Face> self_{this, [](Face*) {}};
  std::optional<Radio::Wanted> wanted_;
  std::optional<Radio::Status> told_;
};

VirtualRadio::VirtualRadio(std::shared_ptr<platform::EventLoop> loop)
    : state_(std::make_shared<State>()) {
  state_->loop = std::move(loop);
}

VirtualRadio::~VirtualRadio() = default;

std::unique_ptr<Radio> VirtualRadio::create(Radio::Listener& listener) {
  return std::make_unique<Face>(state_, listener);
}

void VirtualRadio::setStatus(Radio::Status status) {
  state_->status = std::move(status);
  state_->faces.forEach([](Face& face) { face.tell(); });
}

void VirtualRadio::hear(const platform::Advertisement& advertisement) {
  state_->faces.forEach([&](Face& face) { face.hear(advertisement); });
}

std::optional<Radio::Wanted> VirtualRadio::wanted() const {
  std::optional<Radio::Wanted> all;
  state_->faces.forEach([&all](const Face& face) {
    if (!face.wanted()) return;
    if (!all) all.emplace();
    all->networks.insert(face.wanted()->networks.begin(), face.wanted()->networks.end());
    all->everyFrame = all->everyFrame || face.wanted()->everyFrame;
  });
  return all;
}

}  // namespace brivane::testing
