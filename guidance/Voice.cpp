// SPDX-License-Identifier: Apache-2.0
#include "guidance/Voice.h"

#include <libspeechd.h>
#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

namespace guidance {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kBetweenTries{5};
/// What could not be said for so long is not news any more.
constexpr std::chrono::seconds kOld{10};

struct Free {
  void operator()(char* text) const { std::free(text); }  // NOLINT(*-no-malloc): the library's
};
using Text = std::unique_ptr<char, Free>;

std::string oneLine(std::string text) {
  std::ranges::replace(text, '\n', ' ');
  return text;
}

/// "es" of "es-ES" and "es_ES".
std::string_view primary(std::string_view language) {
  return language.substr(0, language.find_first_of("-_"));
}

/// A connection to the server, which says one thing at a time with one priority.
class Channel {
 public:
  Channel(std::string program, const char* name, SPDPriority priority)
      : program_(std::move(program)), name_(name), priority_(priority) {}

  /// Connects unless it is. Why that cannot be; empty when it is.
  std::string connect() {
    if (connection_) return "";
    char* reason = nullptr;
    connection_.reset(spd_open2(program_.c_str(), name_, nullptr, SPD_MODE_SINGLE, nullptr,
                                1 /* starts a server */, &reason));
    const Text held(reason);
    if (!connection_) return oneLine(held ? held.get() : "speech-dispatcher does not answer");
    const Text language(spd_get_language(connection_.get()));
    ownLanguage_ = language_ = language ? language.get() : "";
    ownRate_ = spd_get_voice_rate(connection_.get());
    return "";
  }
  void disconnect() { connection_.reset(); }

  void cancel() {
    if (connection_) spd_cancel(connection_.get());
  }

  /// False when the connection is lost.
  bool say(const Utterance& utterance, std::optional<int> rate) {
    setLanguage(utterance.language);
    if (const int wanted = rate.value_or(ownRate_); wanted != rate_) {
      spd_set_voice_rate(connection_.get(), wanted);
      rate_ = wanted;
    }
    cancel();
    return spd_say(connection_.get(), priority_, utterance.text.c_str()) >= 0;
  }

 private:
  struct Close {
    void operator()(SPDConnection* connection) const { spd_close(connection); }
  };

  /// The user's own voice is kept where it speaks the language.
  void setLanguage(const std::string& language) {
    const bool isOwn = language.empty() || primary(language) == primary(ownLanguage_);
    const std::string& wanted = isOwn ? ownLanguage_ : language;
    if (wanted == language_) return;
    spd_set_language(connection_.get(), wanted.c_str());
    language_ = wanted;
  }

  const std::string program_;
  const char* const name_;
  const SPDPriority priority_;
  std::unique_ptr<SPDConnection, Close> connection_;
  /// The user's, and what is set now.
  std::string ownLanguage_;
  std::string language_;
  int ownRate_ = 0;
  std::optional<int> rate_;
};

}  // namespace

struct Voice::State {
  explicit State(Options given)
      : options(std::move(given)),
        // Others' messages wait for each other, so that nothing talks over a screen reader; an
        // important one interrupts them. Cancelling on one channel leaves the other alone.
        ordinary(options.program, "places", SPD_MESSAGE),
        urgent(options.program, "troubles", SPD_IMPORTANT),
        thread([this] { run(); }) {}

  void run() {
    // A server that goes away would end the process.
    sigset_t all{};
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    std::unique_lock lock(mutex);
    for (bool goesOn = true; goesOn;) {
      goesOn = !quits;
      const bool silences = std::exchange(silenced, false);
      auto ordinaryNext = std::exchange(next, std::nullopt);
      auto urgentNext = std::exchange(nextUrgent, std::nullopt);
      const auto said = saidAt;
      const auto wantedRate = rate;
      lock.unlock();
      if (silences) {
        ordinary.cancel();
        urgent.cancel();
      }
      const bool works =
          deliver(urgent, urgentNext, wantedRate) && deliver(ordinary, ordinaryNext, wantedRate);
      lock.lock();
      if (!works && Clock::now() - said < kOld && !silenced) {
        if (!next) next = std::move(ordinaryNext);
        if (!nextUrgent) nextUrgent = std::move(urgentNext);
      }
      const auto hasWork = [this] { return quits || silenced || isNew; };
      if (works) {
        changed.wait(lock, hasWork);
      } else {
        changed.wait_for(lock, kBetweenTries, hasWork);
      }
      isNew = false;
    }
  }

  /// Says it, if there is something, through a connection that works. False when there is none.
  bool deliver(Channel& channel, std::optional<Utterance>& utterance, std::optional<int> at) {
    for (int tries = 0; tries < 2; ++tries) {
      const std::string reason = channel.connect();
      if (fault != reason && options.onFault) options.onFault(reason);
      fault = reason;
      if (!fault.empty()) return false;
      if (!utterance || channel.say(*utterance, at)) {
        utterance.reset();
        return true;
      }
      channel.disconnect();  // the server has gone, and may be had again
    }
    return false;
  }

  const Options options;

  // The thread's.
  Channel ordinary;
  Channel urgent;
  std::string fault;

  std::mutex mutex;
  std::condition_variable changed;
  std::optional<Utterance> next;
  std::optional<Utterance> nextUrgent;
  Clock::time_point saidAt;
  std::optional<int> rate = options.rate;
  bool isNew = false;
  bool silenced = false;
  bool quits = false;

  std::thread thread;
};

Voice::Voice(Options options) : state_(std::make_unique<State>(std::move(options))) {}

Voice::~Voice() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->quits = true;
  }
  state_->changed.notify_one();
  state_->thread.join();
}

void Voice::say(Utterance utterance) {
  {
    const std::lock_guard lock(state_->mutex);
    (utterance.urgent ? state_->nextUrgent : state_->next) = std::move(utterance);
    state_->saidAt = Clock::now();
    state_->isNew = true;
  }
  state_->changed.notify_one();
}

void Voice::stop() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->next.reset();
    state_->nextUrgent.reset();
    state_->silenced = true;
  }
  state_->changed.notify_one();
}

void Voice::setRate(std::optional<int> rate) {
  const std::lock_guard lock(state_->mutex);
  state_->rate = rate;
}

}  // namespace guidance
