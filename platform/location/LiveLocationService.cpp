// SPDX-License-Identifier: Apache-2.0
#include "platform/location/LiveLocationService.h"

#include <map>
#include <utility>

#include "platform/Mutex.h"
#include "platform/location/Consent.h"
#include "platform/location/LiveListening.h"

namespace platform {
namespace {

/// Held by each manager of a loop: the listening ends with the last of them.
class Lease {
 public:
  explicit Lease(std::shared_ptr<LiveListening> live) : live_(std::move(live)) {}
  ~Lease() { LiveListening::end(std::move(live_)); }
  Lease(const Lease&) = delete;
  Lease& operator=(const Lease&) = delete;

  LiveListening& operator*() const { return *live_; }

 private:
  std::shared_ptr<LiveListening> live_;
};

}  // namespace

struct LiveLocationService::State {
  State(Sources someSources, Options someOptions)
      : sources(std::move(someSources)),
        options(std::move(someOptions)),
        consent(std::make_shared<Consent>(static_cast<bool>(sources.positions))) {}

  /// What runs for the managers of the calling thread's loop.
  std::shared_ptr<Lease> lease() {
    const auto loop = sources.eventLoop();
    MutexLock lock(mutex);
    std::erase_if(leases, [](const auto& each) { return each.second.expired(); });
    if (auto present = leases[loop->identity()].lock()) return present;
    lock.unlock();
    auto made = std::make_shared<Lease>(LiveListening::begin(loop, sources, options, consent));
    lock.lock();
    leases[loop->identity()] = made;
    return made;
  }

  const Sources sources;
  const Options options;
  const std::shared_ptr<Consent> consent;
  Mutex mutex;
  std::map<const void*, std::weak_ptr<Lease>> leases BRIVANE_GUARDED_BY(mutex);
};

LiveLocationService::LiveLocationService(Sources sources, Options options)
    : state_(std::make_unique<State>(std::move(sources), std::move(options))) {}

LiveLocationService::~LiveLocationService() = default;

std::int32_t LiveLocationService::authorizationStatus() const {
  return state_->consent->published().status;
}

bool LiveLocationService::locationServicesEnabled() const {
  return state_->consent->published().servicesEnabled;
}

std::shared_ptr<CLLocationManager> LiveLocationService::createManager() {
  auto lease = state_->lease();
  auto manager = (**lease).createManager();
  CLLocationManager* const plain = manager.get();
  // The manager goes before what runs for it.
  return {plain, [manager = std::move(manager), lease = std::move(lease)](void*) mutable {
            manager.reset();
            lease.reset();
          }};
}

}  // namespace platform
