// SPDX-License-Identifier: Apache-2.0
#include "testing/VirtualRadio.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "testing/ForEachAlive.h"

namespace brivane::testing {

using platform::Radio;

struct VirtualRadio::State {
  std::shared_ptr<platform::EventLoop> loop;
  Radio::Status status{.listening = true, .refused = false};
  std::vector<std::weak_ptr<Face>> faces;
};

/// What one listener gets to hear of the radio.
class VirtualRadio::Face : public std::enable_shared_from_this<Face> {
 public:
  Face(std::shared_ptr<State> state, Radio::Listener& listener)
      : state_(std::move(state)), listener_(listener) {}

  const std::optional<Radio::Wanted>& wanted() const { return wanted_; }

  void listen(const Radio::Wanted& wanted) {
    wanted_ = wanted;
    state_->loop->post([weak = weak_from_this()] {
      if (const auto face = weak.lock()) face->tell();
    });
  }
  void stop() {
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
  Radio::Listener& listener_;
  std::optional<Radio::Wanted> wanted_;
  std::optional<Radio::Status> told_;
};

VirtualRadio::VirtualRadio(std::shared_ptr<platform::EventLoop> loop)
    : state_(std::make_shared<State>()) {
  state_->loop = std::move(loop);
}

VirtualRadio::~VirtualRadio() = default;

std::unique_ptr<Radio> VirtualRadio::create(Radio::Listener& listener) {
  class Handle final : public Radio {
   public:
    explicit Handle(std::shared_ptr<Face> face) : face_(std::move(face)) {}
    ~Handle() override { face_->stop(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    void listen(const Wanted& wanted) override { face_->listen(wanted); }
    void stop() override { face_->stop(); }

   private:
    const std::shared_ptr<Face> face_;
  };
  auto face = std::make_shared<Face>(state_, listener);
  std::erase_if(state_->faces, [](const auto& each) { return each.expired(); });
  state_->faces.push_back(face);
  return std::make_unique<Handle>(std::move(face));
}

void VirtualRadio::setStatus(Radio::Status status) {
  state_->status = std::move(status);
  forEachAlive(state_->faces, [](Face& face) { face.tell(); });
}

void VirtualRadio::hear(const platform::Advertisement& advertisement) {
  forEachAlive(state_->faces, [&](Face& face) { face.hear(advertisement); });
}

std::optional<Radio::Wanted> VirtualRadio::wanted() const {
  std::optional<Radio::Wanted> all;
  forEachAlive(state_->faces, [&all](const Face& face) {
    if (!face.wanted()) return;
    if (!all) all.emplace();
    all->networks.insert(face.wanted()->networks.begin(), face.wanted()->networks.end());
    all->everyFrame = all->everyFrame || face.wanted()->everyFrame;
  });
  return all;
}

}  // namespace brivane::testing
