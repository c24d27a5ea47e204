#include "platform/linux/LiveLocation.h"

#include <utility>

namespace platform {
namespace {

using namespace std::chrono_literals;

/// What a busy application may be late without time standing still for it.
constexpr Duration kLateness = 1s;

}  // namespace

std::shared_ptr<CLLocationManager> LiveLocation::createManager(
    const Options& options, const std::shared_ptr<PermissionBoard>& board) {
  auto live = std::make_shared<LiveLocation>(options, board);
  board->add(live);
  auto manager = live->core_.createManager();
  CLLocationManager* const plain = manager.get();
  live->wake();  // its status is to be told
  return {plain, [manager = std::move(manager), live = std::move(live)](void*) mutable {
            manager.reset();
            end(std::move(live));
          }};
}

LiveLocation::LiveLocation(const Options& options, std::shared_ptr<PermissionBoard> board)
    : context_(MainContext::ofThisThread()),
      options_(options),
      board_(std::move(board)),
      told_(board_->published()),
      core_({.exitPeriod = options_.exitPeriod,
             .authorization = told_.status,
             .servicesEnabled = told_.servicesEnabled,
             .onOperation = [this] { wake(); }}),
      timer_(context_, [this] { enter([this] { update(); }); }) {
  core_.setScanning(false, now());
}

void LiveLocation::end(std::shared_ptr<LiveLocation> live) {
  const MainContext context = live->context_;
  if (g_main_context_acquire(context.get()) == FALSE) {
    // Another thread runs it, now.
    context.post([live = std::move(live)] { live->close(); });
    return;
  }
  live->close();
  live.reset();
  g_main_context_release(context.get());
}

void LiveLocation::close() {
  closed_ = true;
  if (depth_ > 0) self_ = shared_from_this();
  if (bluetooth_) bluetooth_->close();
  if (positions_) positions_->close();
  timer_.set(std::nullopt);
}

void LiveLocation::wake() {
  if (awake_.exchange(true)) return;
  context_.post([weak = weak_from_this()] {
    const auto live = weak.lock();
    if (live) live->enter([&live] { live->update(); });
  });
}

/// Every way in. After each call to a delegate the manager may be gone.
template <typename Deed>
void LiveLocation::enter(Deed deed) {
  if (closed_) return;
  ++depth_;
  deed();
  --depth_;
  if (closed_) {
    // The source that called is still below; it is gone once the context runs again.
    if (depth_ == 0) context_.post([self = std::move(self_)] {});
    return;
  }
  arm();
  if (depth_ == 0 && std::exchange(postponed_, false)) wake();
}

void LiveLocation::update() {
  awake_ = false;
  core_.advance(now());
  if (!closed_) updatePermission();
  if (closed_) return;
  // A delegate that runs its main loop itself may be called by a source that would go now.
  postponed_ = depth_ > 1;
  if (!postponed_) updateSources();
}

void LiveLocation::updateSources() {
  const auto before = std::exchange(wanted_, core_.wanted());
  const bool begins = before.beacons.empty() && !wanted_.beacons.empty();
  const bool asks = wanted_.authorization && !before.authorization;
  if (asks) board_->update([](LocationPermission& permission) { permission.ask(); });
  // At each start of a run anew, so that the user's change of mind counts.
  if (asks || (begins && !board_->get().arePositionsGranted())) asksForPositions_ = true;
  updateBluetooth(wanted_.beacons);
  if (!closed_) updatePositions();
}

void LiveLocation::updatePermission() {
  const Permission permission = board_->get().current();
  if (permission == told_) return;
  // A host becomes ready when it hears of its authorisation, but only while services are on: that
  // there are no positions is told after that, or there would be no beacons either.
  const auto always = kCLAuthorizationStatusAuthorizedAlways;
  if (permission.status == always && told_.status != always) tell({always, true});
  if (!closed_ && permission != told_) tell(permission);
}

void LiveLocation::tell(const Permission& permission) {
  told_ = permission;
  board_->publish(permission);
  core_.setAuthorization(permission.status, permission.servicesEnabled);
}

void LiveLocation::updateBluetooth(const std::set<UUID>& networks) {
  const bool asks = wanted_.authorization && !board_->get().isBluetoothKnown();
  const bool needed = asks || !networks.empty();
  if (bluetooth_ && needed && bluetooth_->networks() == networks) return;
  if (bluetooth_) {
    bluetooth_.reset();
    core_.setScanning(false, now());
  }
  if (!needed || closed_) return;
  fault_.clear();
  bluetooth_ = std::make_unique<BlueZRadio>(
      context_,
      BlueZRadio::Options{
          .adapter = options_.adapter,
          .networks = networks,
          .log = options_.log,
          .onHeard = [this](const auto& heard) { enter([&] { onHeard(heard); }); },
          .onStatus = [this](const auto& status) { enter([&] { onBluetooth(status); }); }});
}

void LiveLocation::updatePositions() {
  if (options_.desktopId.empty()) {
    if (wanted_.positions && !std::exchange(saidWithoutPositions_, true)) {
      core_.failPositions("there are no positions without a desktop ID for GeoClue");
    }
    return;
  }
  const bool needed = wanted_.positions || asksForPositions_;
  if (positions_ && needed && positions_->accuracy() == wanted_.accuracy) return;
  positions_.reset();
  if (!needed) return;
  positions_ = std::make_unique<GeoCluePositions>(
      context_,
      GeoCluePositions::Options{
          .desktopId = options_.desktopId,
          .accuracy = wanted_.accuracy,
          .onPosition = [this](const auto& at) { enter([&] { core_.locate(at, now()); }); },
          .onGrant = [this](auto grant,
                            const auto& reason) { enter([&] { onGrant(grant, reason); }); }});
}

void LiveLocation::onHeard(const Advertisement& advertisement) {
  if (options_.onAdvertisement) options_.onAdvertisement(advertisement);
  if (!closed_) core_.hear(advertisement, now());
}

void LiveLocation::onBluetooth(const BlueZRadio::Status& status) {
  if (status.refused) {
    board_->update([&](auto& permission) { permission.setBluetoothRefused(*status.refused); });
    wake();
  }
  core_.setScanning(status.listening, now());
  if (closed_) return;
  if (options_.onBluetooth) options_.onBluetooth({status.listening, status.fault});
  if (closed_ || status.fault == fault_) return;
  fault_ = status.fault;
  if (!fault_.empty()) core_.failBeacons(fault_);
}

void LiveLocation::onGrant(PositionGrant grant, const std::string& reason) {
  if (grant != PositionGrant::kPending) asksForPositions_ = false;
  board_->update([grant](auto& permission) { permission.setPositions(grant); });
  wake();
  if (reason.empty()) return;
  if (options_.onNoPositions) options_.onNoPositions(reason);
  if (!closed_) core_.failPositions(reason);
}

/// The time of our logic. While the application blocks, frames wait and nothing can be told: that
/// time does not count, or what waits would be told in a burst, and regions left that were not.
Instant LiveLocation::now() {
  const Instant real = monotonicNow() - behind_;
  const Duration late = armed_ ? real - *armed_ : Duration(0);
  if (late <= kLateness) return real;
  behind_ += late;
  return *armed_;
}

void LiveLocation::arm() {
  armed_ = core_.nextDeadline();
  timer_.set(armed_ ? std::optional(*armed_ + behind_) : std::nullopt);
}

}  // namespace platform
