// SPDX-License-Identifier: Apache-2.0

// How it works. Everything happens on the thread of one event loop, and every way in goes through
// `enter`: a call of the radio or the positions, the timer, and `update`, which `wake` posts after
// each operation of a manager and each change of consent. Inside, the core calls delegates, and a
// delegate may do anything: start or stop detection (posts an update), run the loop itself (enters
// again, deeper), or drop its manager (closes this).
//
// Three things follow. The sources are started and stopped for new wishes only by an update that is
// entered first of all, never below a call of theirs: `postponed_`. A source may be stopped, but
// never destroyed, below its own call: when this is closed there, `self_` keeps all until the loop
// runs again. And after each call that leads to a delegate this may be closed.
//
// The logic's time is the loop's, less the time for which the application blocked the loop.

#include "platform/location/LiveListening.h"

#include <algorithm>
#include <utility>

namespace platform {
namespace {

using namespace std::chrono_literals;

/// What a busy application may be late without time standing still for it.
constexpr Duration kLateness = 1s;

}  // namespace

std::shared_ptr<LiveListening> LiveListening::begin(std::shared_ptr<EventLoop> loop,
                                                    const Sources& sources, const Options& options,
                                                    const std::shared_ptr<Consent>& consent) {
  std::shared_ptr<LiveListening> live(
      new LiveListening(std::move(loop), sources, options, consent));
  consent->add(live);
  return live;
}

LiveListening::LiveListening(std::shared_ptr<EventLoop> loop, const Sources& sources,
                             Options options, std::shared_ptr<Consent> consent)
    : loop_(std::move(loop)),
      options_(std::move(options)),
      consent_(std::move(consent)),
      told_(consent_->published()),
      core_({.exitPeriod = options_.exitPeriod,
             .permission = [consent = consent_] { return consent->published(); },
             .offersRequestAlwaysAuthorization = true,
             .onOperation = [this] { wake(); },
             .log = options_.log}),
      slept_(loop_->slept()),
      timer_(loop_->createTimer([this] { enter([this] { update(); }); })),
      radio_(sources.radio(*this)),
      positions_(sources.positions ? sources.positions(*this) : nullptr) {
  core_.setScanning(false, loop_->now());
}

LiveListening::~LiveListening() = default;

void LiveListening::end(std::shared_ptr<LiveListening> live) {
  EventLoop& loop = *live->loop_;
  loop.invoke([live = std::move(live)] { live->close(); });
}

void LiveListening::close() {
  closed_ = true;
  if (depth_ > 0) self_ = shared_from_this();
  radio_->stop();
  if (positions_) positions_->stop();
  timer_->set(std::nullopt);
}

void LiveListening::wake() {
  if (awake_.exchange(true)) return;
  loop_->post([weak = weak_from_this()] {
    if (const auto live = weak.lock()) live->enter([&live] { live->update(); });
  });
}

/// Every way in. After each call to a delegate the managers may be gone.
template <typename Deed>
void LiveListening::enter(Deed deed) {
  if (closed_) return;
  noticeSleep();
  ++depth_;
  deed();
  --depth_;
  if (closed_) {
    // The source that called is still on the stack; it goes when the loop runs again.
    if (depth_ == 0) loop_->post([self = std::move(self_)] {});
    return;
  }
  setTimer();
  if (depth_ == 0 && std::exchange(postponed_, false)) wake();
}

void LiveListening::update() {
  awake_ = false;
  core_.advance(now());
  if (!closed_) tellPermission();
  if (closed_) return;
  postponed_ = depth_ > 1;
  if (!postponed_) updateSources();
}

/// Tells each change once. When permanent authorisation and "location services are off" are known
/// at the same time, authorisation is told first, and by itself: an application becomes ready when
/// it hears of that, but only while the services are on, and beacons need no positions.
void LiveListening::tellPermission() {
  const Permission permission = consent_->current();
  if (permission == told_) return;
  const auto always = kCLAuthorizationStatusAuthorizedAlways;
  if (permission.status == always && told_.status != always) tell({always, true});
  if (!closed_ && permission != told_) tell(permission);
}

void LiveListening::tell(const Permission& permission) {
  told_ = permission;
  consent_->publish(permission);
  if (options_.onPermission) options_.onPermission(permission, consent_->reason());
  if (!closed_) core_.tellPermission();
}

void LiveListening::updateSources() {
  const auto before = std::exchange(wanted_, core_.wanted());
  const bool begins = before.beacons.empty() && !wanted_.beacons.empty();
  const bool asks = wanted_.authorization && !before.authorization;
  if (asks) consent_->ask();
  // At each start of detection anew, so that the user's change of mind counts.
  if (asks || (begins && !consent_->arePositionsGranted())) {
    asksForPositions_ = true;
    accuracy_.reset();
  }
  updateRadio();
  if (!closed_) updatePositions();
}

void LiveListening::updateRadio() {
  const bool asks = wanted_.authorization && !consent_->isRadioKnown();
  if (!asks && wanted_.beacons.empty()) {
    if (!std::exchange(sought_, std::nullopt)) return;
    radio_->stop();
    core_.setScanning(false, now());
    return;
  }
  const Radio::Wanted sought{.networks = wanted_.beacons, .everyFrame = wanted_.everyFrame};
  if (sought_ == sought) return;
  if (!sought_ || sought_->networks != sought.networks) fault_.clear();
  sought_ = sought;
  radio_->listen(sought);
}

void LiveListening::updatePositions() {
  if (!positions_) {
    if (wanted_.positions && !std::exchange(saidWithoutPositions_, true)) {
      core_.failPositions("there is no source of positions");
    }
    return;
  }
  if (!wanted_.positions && !asksForPositions_) {
    if (std::exchange(accuracy_, std::nullopt)) positions_->stop();
    return;
  }
  if (accuracy_ == wanted_.accuracy) return;
  accuracy_ = wanted_.accuracy;
  positions_->start(wanted_.accuracy);
}

void LiveListening::radioHeard(const Advertisement& advertisement, Instant time) {
  enter([&] {
    if (options_.onAdvertisement) options_.onAdvertisement(advertisement);
    if (closed_) return;
    const Instant latest = now();
    const Instant heard = std::min(time - behind_, latest);
    // Only at the time that it is does a frame from before an exit period count for nothing.
    if (latest - heard > kLateness) core_.advance(latest);
    if (closed_) return;
    core_.hear(advertisement, heard);
    if (!closed_ && !wanted_.everyFrame) wake();  // every frame may be of use from now on
  });
}

void LiveListening::radioChanged(const Radio::Status& status) {
  enter([&] {
    if (status.refused) {
      consent_->setRadioRefused(*status.refused, status.fault);
      wake();  // the question is answered, also when that changes nothing
    }
    core_.setScanning(status.listening, now());
    if (closed_) return;
    if (options_.onRadio) options_.onRadio(status);
    if (closed_ || status.fault == fault_) return;
    fault_ = status.fault;
    if (!fault_.empty()) core_.failBeacons(fault_);
  });
}

void LiveListening::positionFound(const CLLocation& position) {
  enter([&] { core_.locate(position, now()); });
}

void LiveListening::positionGrantChanged(PositionGrant grant, const std::string& reason) {
  enter([&] {
    // A source that is not granted goes on asking, unless the user said no.
    if (grant == PositionGrant::kGranted || grant == PositionGrant::kDenied) {
      asksForPositions_ = false;
    }
    consent_->setPositions(grant, reason);
    wake();
    if (reason.empty()) return;
    if (options_.onNoPositions) options_.onNoPositions(reason);
    if (!closed_) core_.failPositions(reason);
  });
}

/// The time of the logic. While the application blocks, frames wait and nothing can be told: that
/// time does not count, or what waits would be told in a burst, and regions left that were not.
Instant LiveListening::now() {
  const Instant real = loop_->now() - behind_;
  const Duration late = armed_ ? real - *armed_ : Duration::zero();
  if (late <= kLateness) return real;
  behind_ += late;
  return *armed_;
}

void LiveListening::noticeSleep() {
  const Duration asleep = loop_->slept() - slept_;
  slept_ += asleep;
  if (asleep > kLateness) core_.sleep(asleep);
}

void LiveListening::setTimer() {
  armed_ = core_.nextDeadline();
  timer_->set(armed_ ? std::optional(*armed_ + behind_) : std::nullopt);
}

}  // namespace platform
