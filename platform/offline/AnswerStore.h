// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Export.h"

namespace platform {

/// Keeps what the service answered in an SQLite database that its owner alone can read, for
/// OfflineHTTPClient. Several processes may use one file. A process that is killed loses at most
/// the answer that it was writing, a device that loses its power the latest ones.
///
/// Nothing here throws for what the disk does: an answer that cannot be kept is lost, one that
/// cannot be read is not there, and `onFault` is told. Any thread; each call may wait for the disk,
/// and up to a second for another process.
class BRIVANE_EXPORT AnswerStore final {
 public:
  /// The clock by which answers get old.
  using Clock = std::chrono::system_clock;

  /// Where and how long answers are kept.
  struct Options {
    /// The file, created with its folder when it is missing. One that is damaged, or of
    /// a later version of this library, is renamed to end in ".damaged", which replaces the one
    /// before, and an empty one takes its place.
    std::string path;
    /// Beyond so many the answers that were longest unused go first.
    std::int64_t maxAnswers = 100'000;
    /// The same for what they take in the file.
    std::int64_t maxBytes = std::int64_t{50} << 20;
    /// How long an answer is given that says that the beacon is unknown.
    std::chrono::seconds unknownLifetime = std::chrono::hours(24);
    /// How long any other is. When the clock has been set back, an answer from after now counts as
    /// new.
    std::chrono::seconds lifetime = std::chrono::hours(90 * 24);
    /// Reads the clock.
    std::function<Clock::time_point()> now = &Clock::now;
    /// Told what is wrong with the file, one line for a person, on the thread that met it; once
    /// until something can be written again. Must not use this store. May be empty.
    std::function<void(const std::string&)> onFault = {};
  };

  /// What the service said.
  struct Answer {
    /// The body of the reply.
    std::string body;
    /// When the service gave it.
    Clock::time_point received;
  };

  /// Where an application keeps its own: the file "answers.sqlite" in a folder of the user's data
  /// ($XDG_DATA_HOME, or ~/.local/share) that bears the application's identifier, such as
  /// "org.example.Walk". Throws std::invalid_argument for an identifier that cannot name a folder.
  static std::string pathFor(const std::string& application);

  /// Opens the file.
  explicit AnswerStore(Options options);
  /// Closes the file.
  ~AnswerStore();
  AnswerStore(const AnswerStore&) = delete;
  AnswerStore& operator=(const AnswerStore&) = delete;

  /// What the service answered this account to this question; absent when nothing is kept, or it is
  /// too old.
  std::optional<Answer> find(std::string_view account, std::string_view question);

  /// Keeps an answer of now, in place of an earlier one.
  void keep(std::string_view account, std::string_view question, std::string_view body,
            bool isUnknown);

  /// Forgets one answer.
  void forget(std::string_view account, std::string_view question);
  /// Forgets all answers of an account.
  void forget(std::string_view account);
  /// Forgets all answers, and leaves nothing of them in the file.
  void forget();

  /// How many answers are kept, also those that are too old to be given.
  std::int64_t count();

 private:
  struct State;

  const std::unique_ptr<State> state_;
};

}  // namespace platform
