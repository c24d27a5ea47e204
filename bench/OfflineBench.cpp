// SPDX-License-Identifier: Apache-2.0

// A look-up in the store of answers, beside a bare prepared statement on the same file; and how
// long the first match takes on a street that is known, with the service 300 ms away: with the
// store and without, and with the store when the network is known to be away.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <semaphore>
#include <string>

#include "bench/Services.h"
#include "platform/offline/OfflineHTTPClient.h"
#include "platform/posix/SerialQueue.h"

namespace {

constexpr int kAnswers = 10'000;
constexpr std::chrono::milliseconds kDistance(300);

/// A service so far away, or none.
class DistantService final : public platform::HTTPClient {
 public:
  void execute(platform::HTTPRequest /*request*/, Completion completion) override {
    if (isAway) {
      queue_.post([completion] { completion(std::nullopt, std::nullopt); });
      return;
    }
    queue_.postAt(platform::SerialQueue::Clock::now() + kDistance, [completion] {
      completion(platform::HTTPResponse{200},
                 R"({"access_token":"t",)" + bench::resolveReply(1).substr(1));
    });
  }

  std::atomic<bool> isAway = false;

 private:
  platform::SerialQueue queue_{nullptr};
};

/// What is installed, for all benchmarks of the process.
struct Route final : platform::HTTPClient {
  void execute(platform::HTTPRequest request, Completion completion) override {
    to->execute(std::move(request), std::move(completion));
  }
  std::shared_ptr<platform::HTTPClient> to;
};

class WaitingHost final : public bench::Host {
 public:
  void didIsReady() override { heard.release(); }
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& /*match*/) override {
    heard.release();
  }
  std::counting_semaphore<> heard{0};
};

std::string path() {
  return std::filesystem::temp_directory_path() /
         ("brivane-bench-" + std::to_string(getpid()) + ".sqlite");
}

std::string question(int number) { return "beacon " + std::to_string(number % kAnswers); }

std::shared_ptr<platform::AnswerStore> store() {
  return std::make_shared<platform::AnswerStore>(platform::AnswerStore::Options{.path = path()});
}

void lookUp(benchmark::State& state) {
  const auto answers = store();
  int next = 0;
  for (auto _ : state) {
    if (!answers->find("account", question(next += 7))) state.SkipWithError("an answer is missing");
  }
}

void prepared(benchmark::State& state) {
  sqlite3* database = nullptr;
  sqlite3_stmt* statement = nullptr;
  sqlite3_open(path().c_str(), &database);
  sqlite3_prepare_v2(database, "SELECT body FROM answers WHERE account = ? AND question = ?", -1,
                     &statement, nullptr);
  int next = 0;
  for (auto _ : state) {
    const std::string asked = question(next += 7);
    sqlite3_bind_blob(statement, 1, "account", 7, SQLITE_STATIC);
    sqlite3_bind_blob(statement, 2, asked.data(), static_cast<int>(asked.size()), SQLITE_STATIC);
    if (sqlite3_step(statement) != SQLITE_ROW) state.SkipWithError("an answer is missing");
    benchmark::DoNotOptimize(
        std::string(static_cast<const char*>(sqlite3_column_blob(statement, 0)),
                    static_cast<std::size_t>(sqlite3_column_bytes(statement, 0))));
    sqlite3_reset(statement);
  }
  sqlite3_finalize(statement);
  sqlite3_close(database);
}

/// A street that has been walked before.
class Street {
 public:
  Street(Route& route, bool keeps) {
    route.to =
        keeps ? std::make_shared<platform::OfflineHTTPClient>(platform::OfflineHTTPClient::Options{
                    .inner = service_,
                    .store = store(),
                    .json = std::make_shared<platform::SimdJSON>()})
              : std::static_pointer_cast<platform::HTTPClient>(service_);
    manager_ = BVManager::initWithDelegate(host_);
    host_->heard.acquire();
    walk();
  }

  void leaveNetwork() {
    service_->isAway = true;
    walk();
  }

  /// From the first report to the first match.
  void walk() {
    manager_->stopDetection();
    manager_->startDetection();  // forgets the answers
    bench::report(*manager_, bench::beacons(1));
    host_->heard.acquire();
  }

 private:
  const std::shared_ptr<DistantService> service_ = std::make_shared<DistantService>();
  const std::shared_ptr<WaitingHost> host_ = std::make_shared<WaitingHost>();
  std::shared_ptr<BVManager> manager_;
};

void firstMatch(benchmark::State& state, const std::shared_ptr<Route>& route, bool keeps,
                bool isAway) {
  Street street(*route, keeps);
  if (isAway) street.leaveNetwork();
  for (auto _ : state) street.walk();
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const auto route = std::make_shared<Route>();
  bench::install(route);
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("LookUp", lookUp);
  RegisterBenchmark("Prepared", prepared);
  RegisterBenchmark("Without", firstMatch, route, false, false)->UseRealTime()->Iterations(1);
  RegisterBenchmark("With", firstMatch, route, true, false)->UseRealTime()->Iterations(1);
  RegisterBenchmark("Away", firstMatch, route, true, true)->UseRealTime()->Iterations(1);
  const auto answers = store();
  for (int i = 0; i < kAnswers; ++i) {
    answers->keep("account", question(i), bench::resolveReply(i), false);
  }
  benchmark::RunSpecifiedBenchmarks();
  route->to = nullptr;
  for (const char* part : {"", "-wal", "-shm"}) std::filesystem::remove(path() + part);
}
