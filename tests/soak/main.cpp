// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "BrivaneSDK/BVManager.h"
#include "host/WatchedHTTPClient.h"
#include "platform/Services.h"
#include "platform/replay/LockstepHTTPClient.h"
#include "platform/replay/ReplayLocationService.h"
#include "tests/soak/Ledger.h"
#include "tests/soak/Street.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Town.h"

// Walks the library through a day, or so many minutes, of ranging in virtual time, past a service
// that fails at times. Prints what it holds, and fails when it holds more and more or when anything
// was lost.
//   brivane-soak [MINUTES]

namespace soak {
namespace {

using namespace std::chrono_literals;

constexpr int kMinutesOfADay = 24 * 60;
constexpr int kSecondsBetweenStarts = 600;
constexpr int kSecondsToWarmUp = 3600;
constexpr int kSecondsBetweenSamples = 3600;
/// What a heap may grow by without having a leak.
constexpr long kMostGrowth = 1 << 20;
constexpr auto kEver = 24h;

struct Held {
  long memory = 0;  // bytes
  std::ptrdiff_t descriptors = 0;
};

Held held() {
  long pages = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return {resident * sysconf(_SC_PAGESIZE), std::distance(begin(descriptors), end(descriptors))};
}

/// One walk with all that it needs.
class Walk {
 public:
  explicit Walk(int minutes) {
    Street::record(capture_, minutes * 60);
    platform::ReplayLocationService::Options options;
    options.capture = capture_;
    options.waitUntilIdle = [this] { beforeTheNextSecond(); };
    replay_ = std::make_shared<platform::ReplayLocationService>(std::move(options));
    platform::install(town_.services(ledger_, replay_));
  }
  ~Walk() { curl_->shutdown(); }
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;

  /// Whether all went well.
  bool run() {
    logIn();
    std::printf("hours  MiB    descriptors  requests  matches\n");
    replay_->run();
    return judge();
  }

 private:
  void logIn() {
    for (int attempt = 0; attempt < 10 && !ledger_->isReady(); ++attempt) {
      manager_ = BVManager::initWithDelegate(ledger_);
      waitUntilAnswered();
    }
    if (!manager_->startDetection()) throw std::runtime_error("the service lets nobody in");
  }

  void waitUntilAnswered() {
    lockstep_->release();
    watched_->waitUntilIdle(kEver);
  }

  void beforeTheNextSecond() {
    waitUntilAnswered();
    const auto second = static_cast<int>(replay_->now().time_since_epoch() / 1s);
    if (second == second_) return;
    second_ = second;
    ledger_->judge(second);
    if (second % kSecondsBetweenStarts == 0) {
      ledger_->restart();
      manager_->startDetection();
    }
    if (second == kSecondsToWarmUp) warm_ = held();
    if (second % kSecondsBetweenSamples == 0) print(held());
  }

  void print(const Held& now) const {
    std::printf("%5.2f  %5.2f  %11td  %8lld  %7lld\n", second_ / 3600.0, static_cast<double>(now.memory) / (1 << 20),
                now.descriptors, static_cast<long long>(ledger_->requests()),
                static_cast<long long>(ledger_->matches()));
    std::fflush(stdout);
  }

  bool judge() const {
    const Held now = held();
    print(now);
    for (const std::string& fault : ledger_->faults()) std::fprintf(stderr, "%s\n", fault.c_str());
    if (second_ < kSecondsToWarmUp) return ledger_->faults().empty();
    const bool isFlat = now.memory - warm_.memory <= kMostGrowth && now.descriptors <= warm_.descriptors;
    std::printf("since the first hour: %+ld KiB, %+td descriptors\n", (now.memory - warm_.memory) / 1024,
                now.descriptors - warm_.descriptors);
    return isFlat && ledger_->faults().empty();
  }

  const TemporaryFolder folder_;
  const std::string capture_ = folder_.path() / "day.btsnoop";
  const Town town_{Street::network(), {"drop=0.005", "reset=0.005", "bad-json=0.005", "status-500=0.005"}};
  const std::shared_ptr<platform::CurlHTTPClient> curl_ = town_.makeClient();
  const std::shared_ptr<platform::LockstepHTTPClient> lockstep_ = std::make_shared<platform::LockstepHTTPClient>(curl_);
  const std::shared_ptr<host::WatchedHTTPClient> watched_ =
      std::make_shared<host::WatchedHTTPClient>(lockstep_, nullptr);
  const std::shared_ptr<Ledger> ledger_ = std::make_shared<Ledger>(watched_);
  std::shared_ptr<platform::ReplayLocationService> replay_;
  std::shared_ptr<BVManager> manager_;
  Held warm_;
  int second_ = 0;
};

}  // namespace
}  // namespace soak

int main(int argc, char** argv) {
  int minutes = soak::kMinutesOfADay;
  if (argc > 1) {
    const std::string_view text(argv[1]);
    const auto read = std::from_chars(text.data(), text.data() + text.size(), minutes);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size() || minutes < 1) {
      std::fprintf(stderr, "brivane-soak: '%s' is no number of minutes\n", argv[1]);
      return 2;
    }
  }
  return soak::Walk(minutes).run() ? 0 : 1;
}
