// From the start of a host's process to its first bytes on the wire.
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// A port of loopback where nobody answers.
class Listener {
 public:
  Listener() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket_, any, size) != 0 || listen(socket_, 8) != 0 ||
        getsockname(socket_, any, &size) != 0) {
      throw std::runtime_error("no loopback port");
    }
    address_ = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  }
  ~Listener() { close(socket_); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  const std::string& address() const { return address_; }

  /// Waits for a connection and its first byte; when that came.
  Clock::time_point waitForByte() const {
    const int peer = accept(socket_, nullptr, nullptr);
    char byte = 0;
    const bool came = recv(peer, &byte, 1, 0) == 1;
    const auto now = Clock::now();
    close(peer);
    if (!came) throw std::runtime_error("nothing came");
    return now;
  }

 private:
  const int socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  std::string address_;
};

/// A process whose standard output is read.
class Process {
 public:
  explicit Process(std::vector<std::string> arguments) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    std::vector<char*> raw;
    for (std::string& argument : arguments) raw.push_back(argument.data());
    raw.push_back(nullptr);
    if (posix_spawn(&id_, raw[0], &actions, nullptr, raw.data(), environ) != 0) {
      throw std::runtime_error("cannot start " + arguments[0]);
    }
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    output_ = ends[0];
  }
  ~Process() {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
    close(output_);
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// The number that it printed first.
  long long number() const {
    std::array<char, 32> text{};
    if (read(output_, text.data(), text.size() - 1) <= 0) throw std::runtime_error("no number");
    return std::strtoll(text.data(), nullptr, 10);
  }

 private:
  pid_t id_ = 0;
  int output_ = -1;
};

void start(benchmark::State& state, std::vector<std::string> command) {
  const Listener listener;
  command[3] = listener.address();
  double sinceMain = 0.0;
  for (auto _ : state) {
    const auto before = Clock::now();
    const Process host(command);
    const auto sent = listener.waitForByte();
    state.SetIterationTime(std::chrono::duration<double>(sent - before).count());
    const Clock::time_point main{std::chrono::nanoseconds(host.number())};
    sinceMain += std::chrono::duration<double, std::milli>(sent - main).count();
  }
  state.counters["sinceMain"] = sinceMain / static_cast<double>(state.iterations());
}

}  // namespace

/// usage: StartBench [--benchmark…] START_HOST INFO.plist CA.pem
int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (argc != 4) return 2;
  for (const std::string kind : {"library", "plain"}) {
    benchmark::RegisterBenchmark(("Start/" + kind).c_str(), start,
                                 std::vector<std::string>{argv[1], kind, argv[2], "", argv[3]})
        ->UseManualTime()
        ->Iterations(5)
        ->Unit(benchmark::kMillisecond);
  }
  benchmark::RunSpecifiedBenchmarks();
}
