// SPDX-License-Identifier: Apache-2.0
#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bindings/c/Failure.h"
#include "bindings/c/HostLoop.h"
#include "bindings/c/HostServices.h"
#include "bindings/c/Observer.h"
#include "bindings/c/brivane.h"
#include "platform/Location.h"
#include "platform/location/Advertisement.h"
#include "platform/location/Instant.h"
#include "platform/location/LiveLocationService.h"
#include "platform/location/PositionSource.h"
#include "platform/location/Radio.h"

namespace brivane::internal {
namespace {

using platform::PositionGrant;
using platform::PositionSource;
using platform::Radio;

/// What the host has told of one source, and who listens to it now. On the loop's thread.
template <typename Source, typename Status>
struct Feed {
  /// The source that was started last: one that is left over from an earlier manager is not heard.
  const Source* current = nullptr;
  typename Source::Listener* listener = nullptr;
  std::optional<Status> status;
};

struct Grant {
  PositionGrant grant = PositionGrant::kPending;
  std::string reason;
};

/// The host as a radio and as a source of positions.
struct LiveHost {
  explicit LiveHost(const brivane_live_host& table)
      : host(table), loop(std::make_shared<HostLoop>(table)) {}

  const brivane_live_host host;
  const std::shared_ptr<HostLoop> loop;
  Feed<Radio, Radio::Status> radio;
  Feed<PositionSource, Grant> positions;

  void tellRadio() const {
    if (radio.listener && radio.status) radio.listener->radioChanged(*radio.status);
  }
  void tellPositions() const {
    if (!positions.listener || !positions.status) return;
    positions.listener->positionGrantChanged(positions.status->grant, positions.status->reason);
  }
};

class HostRadio final : public Radio {
 public:
  HostRadio(std::shared_ptr<LiveHost> live, Listener& listener)
      : live_(std::move(live)), listener_(listener) {}
  ~HostRadio() override { end(); }
  HostRadio(const HostRadio&) = delete;
  HostRadio& operator=(const HostRadio&) = delete;

  void listen(const Wanted& wanted) override {
    live_->radio.current = this;
    live_->radio.listener = &listener_;
    std::vector<std::string> texts;
    for (const auto& network : wanted.networks) texts.push_back(network.UUIDString());
    std::vector<const char*> networks;
    networks.reserve(texts.size());
    for (const auto& text : texts) networks.push_back(text.c_str());
    const brivane_wanted plain = {.networks = networks.data(),
                                  .network_count = networks.size(),
                                  .every_frame = wanted.everyFrame};
    const brivane_live_host& host = live_->host;
    if (host.listen) host.listen(host.user, &plain);
    live_->loop->post([live = live_] { live->tellRadio(); });
  }

  void stop() override { end(); }

 private:
  void end() {
    if (live_->radio.current != this) return;
    live_->radio.current = nullptr;
    live_->radio.listener = nullptr;
    if (live_->host.stop_listening) live_->host.stop_listening(live_->host.user);
  }

  const std::shared_ptr<LiveHost> live_;
  Listener& listener_;
};

class HostPositions final : public PositionSource {
 public:
  HostPositions(std::shared_ptr<LiveHost> live, Listener& listener)
      : live_(std::move(live)), listener_(listener) {}
  ~HostPositions() override { end(); }
  HostPositions(const HostPositions&) = delete;
  HostPositions& operator=(const HostPositions&) = delete;

  void start(double accuracy) override {
    live_->positions.current = this;
    live_->positions.listener = &listener_;
    live_->host.start_positions(live_->host.user, accuracy);
    live_->loop->post([live = live_] { live->tellPositions(); });
  }

  void stop() override { end(); }

 private:
  void end() {
    if (live_->positions.current != this) return;
    live_->positions.current = nullptr;
    live_->positions.listener = nullptr;
    if (live_->host.stop_positions) live_->host.stop_positions(live_->host.user);
  }

  const std::shared_ptr<LiveHost> live_;
  Listener& listener_;
};

platform::LiveLocationService::Sources sourcesOf(const std::shared_ptr<LiveHost>& live) {
  platform::LiveLocationService::Sources sources;
  sources.eventLoop = [live]() -> std::shared_ptr<platform::EventLoop> {
    if (live->loop->isOnThread()) return live->loop;
    throw std::logic_error("a manager is created on the thread that calls brivane_live_run");
  };
  sources.radio = [live](Radio::Listener& listener) {
    return std::make_unique<HostRadio>(live, listener);
  };
  if (live->host.start_positions) {
    sources.positions = [live](PositionSource::Listener& listener) {
      return std::make_unique<HostPositions>(live, listener);
    };
  }
  return sources;
}

/// The service that the host feeds, and what feeds it.
struct Fed final : brivane_live {
  explicit Fed(const brivane_live_host& host) : live(std::make_shared<LiveHost>(host)) {}

  const std::shared_ptr<LiveHost> live;
};

const std::shared_ptr<LiveHost>& of(brivane_live* live) { return static_cast<Fed*>(live)->live; }

}  // namespace
}  // namespace brivane::internal

using namespace brivane::internal;

brivane_live* brivane_live_create(const brivane_live_host* host, const brivane_observer* observer,
                                  brivane_failure* failure) {
  brivane_live* made = nullptr;
  guarded(failure, [&] {
    auto fed = std::make_unique<Fed>(required(host, "host"));
    require(host->wake != nullptr, "wake");
    fed->service =
        std::make_shared<platform::LiveLocationService>(sourcesOf(fed->live), observedBy(observer));
    made = fed.release();
  });
  return made;
}

void brivane_live_destroy(brivane_live* live) {
  const std::unique_ptr<Fed> owned(static_cast<Fed*>(live));
}

int64_t brivane_live_run(brivane_live* live) {
  const auto wait = quietly([&] { return of(live)->loop->run(); });
  return wait ? wait->count() : -1;
}

void brivane_live_hear(brivane_live* live, const brivane_frame* frame) {
  quietly([&] {
    const auto& host = of(live);
    platform::Advertisement heard{.company = frame->company,
                                  .data = {frame->data, frame->data + frame->length},
                                  .rssi = frame->rssi};
    const platform::Instant time =
        frame->time < 0 ? host->loop->now() : platform::Instant(platform::Duration(frame->time));
    host->loop->post([host, heard = std::move(heard), time] {
      if (host->radio.listener) host->radio.listener->radioHeard(heard, time);
    });
  });
}

void brivane_live_locate(brivane_live* live, double latitude, double longitude, double accuracy) {
  quietly([&] {
    const platform::CLLocation position{.coordinate = {latitude, longitude},
                                        .horizontalAccuracy = accuracy};
    of(live)->loop->post([host = of(live), position] {
      if (host->positions.listener) host->positions.listener->positionFound(position);
    });
  });
}

void brivane_live_set_radio(brivane_live* live, bool listening, brivane_consent consent,
                            brivane_radio_fault fault, const char* text) {
  quietly([&] {
    Radio::Status status{.listening = listening,
                         .kind = static_cast<Radio::FaultKind>(fault),
                         .fault = orEmpty(text)};
    if (consent != BRIVANE_CONSENT_PENDING) status.refused = consent != BRIVANE_CONSENT_GRANTED;
    of(live)->loop->post([host = of(live), status = std::move(status)] {
      host->radio.status = status;
      host->tellRadio();
    });
  });
}

void brivane_live_set_positions(brivane_live* live, brivane_consent consent, const char* reason) {
  quietly([&] {
    Grant grant{.grant = static_cast<PositionGrant>(consent), .reason = orEmpty(reason)};
    of(live)->loop->post([host = of(live), grant = std::move(grant)] {
      host->positions.status = grant;
      host->tellPositions();
    });
  });
}
