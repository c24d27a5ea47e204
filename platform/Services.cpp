// SPDX-License-Identifier: Apache-2.0
#include "platform/Services.h"

#include <atomic>
#include <stdexcept>
#include <string>
#include <utility>

#include "platform/ForgetServices.h"

namespace platform {
namespace {

std::atomic<const Services*> installedServices = nullptr;

void require(bool present, const char* name) {
  if (!present) {
    throw std::logic_error(std::string("platform::install: no ") + name + " service was given");
  }
}

}  // namespace

void install(Services services) {
  require(services.http != nullptr, "http");
  require(services.json != nullptr, "json");
  require(services.preferences != nullptr, "preferences");
  require(services.propertyList != nullptr, "propertyList");
  require(services.location != nullptr, "location");
  require(services.deviceModel != nullptr, "deviceModel");
  require(services.randomUUID != nullptr, "randomUUID");
  auto owned = std::make_unique<const Services>(std::move(services));
  const Services* none = nullptr;
  if (!installedServices.compare_exchange_strong(none, owned.get())) {
    throw std::logic_error("platform::install: services are installed already");
  }
  static_cast<void>(owned.release());  // for the life of the process
}

const Services& services() {
  const Services* installed = installedServices.load(std::memory_order_acquire);
  if (installed == nullptr) {
    throw std::logic_error("no services: call platform::install(services) before anything else");
  }
  return *installed;
}

}  // namespace platform

void brivane::internal::forgetServices() { delete platform::installedServices.exchange(nullptr); }
