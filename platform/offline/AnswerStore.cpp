// SPDX-License-Identifier: Apache-2.0
#include "platform/offline/AnswerStore.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "platform/Mutex.h"
#include "platform/offline/Database.h"

namespace platform {
namespace {

constexpr std::int64_t kVersion = 1;
/// The rows' numbers are their order of use: what was used last has the highest.
constexpr const char* kTable =
    "CREATE TABLE answers(used INTEGER PRIMARY KEY, account BLOB NOT NULL, question BLOB NOT NULL, "
    "body BLOB NOT NULL, received INTEGER NOT NULL, unknown INTEGER NOT NULL, "
    "UNIQUE(account, question))";
/// Of what is in use, how much makes room at once: to count is dear.
constexpr std::int64_t kShareToEvict = 10;
/// What was used as lately as half of all keeps its place: a look-up is a read, and seldom a write.
constexpr std::int64_t kShareThatIsLate = 2;

std::int64_t secondsOf(AnswerStore::Clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

/// A failure shows when the file is opened.
const std::string& withFolder(const std::string& path) {
  constexpr int kOwnerOnlyFolder = 0700;
  const std::unique_ptr<char, decltype(&g_free)> folder(g_path_get_dirname(path.c_str()), &g_free);
  g_mkdir_with_parents(folder.get(), kOwnerOnlyFolder);
  return path;
}

/// A damaged file may say anything.
AnswerStore::Clock::time_point timeOf(std::int64_t seconds) {
  constexpr std::int64_t kLatest = 1LL << 32U;  // in the next century
  return AnswerStore::Clock::time_point(
      std::chrono::seconds(std::clamp(seconds, std::int64_t{0}, kLatest)));
}

/// A database of answers, with what is asked of it.
struct Answers {
  explicit Answers(const std::string& path) : database(withFolder(path)) {}

  Database database;
  const bool hasTable = createTable();
  Statement find = database.prepare(
      "SELECT used, (SELECT max(used) FROM answers), received, unknown, body FROM answers "
      "WHERE account = ? AND question = ?");
  Statement touch = database.prepare(
      "UPDATE answers SET used = (SELECT max(used) + 1 FROM answers) WHERE used = ?");
  Statement keep = database.prepare(
      "INSERT OR REPLACE INTO answers(account, question, body, received, unknown) "
      "VALUES(?, ?, ?, ?, ?)");
  Statement pages = database.prepare(
      "SELECT page_count - freelist_count FROM pragma_page_count, pragma_freelist_count");
  Statement evict = database.prepare(
      "DELETE FROM answers WHERE used IN (SELECT used FROM answers ORDER BY used LIMIT ?)");
  const std::int64_t bytesOfPage = database.number("PRAGMA page_size");
  /// How many may be added before they are counted again.
  std::int64_t room = 0;

  bool createTable() const {
    Transaction transaction(database);
    const std::int64_t version = database.number("PRAGMA user_version");
    if (version > kVersion) {
      throw DatabaseFault(SQLITE_NOTADB, "the file is of a later version");
    }
    if (version == 0) {
      database.execute(kTable);
      database.execute(("PRAGMA user_version = " + std::to_string(kVersion)).c_str());
    }
    transaction.commit();
    return true;
  }

  std::int64_t count() const { return database.number("SELECT count(*) FROM answers"); }

  void noteUse(std::int64_t used) const {
    try {
      touch.execute(used);
    } catch (const DatabaseFault&) {
      // On a full disk, or while another process writes, the answer counts as unused.
    }
  }

  void makeRoom(const AnswerStore::Options& options) {
    if (room-- <= 0) {
      const std::int64_t surplus = count() - options.maxAnswers;
      if (surplus > 0) evict.execute(surplus + options.maxAnswers / kShareToEvict);
      room = options.maxAnswers - count();
    }
    while (pages.number() * bytesOfPage > options.maxBytes) {
      const std::int64_t left = count();
      if (left == 0) return;
      evict.execute(left / kShareToEvict + 1);
    }
  }
};

}  // namespace

struct AnswerStore::State {
  explicit State(Options given) : options(std::move(given)) {}

  /// Does `work` with the database and returns what it returns; nothing, once the fault is told,
  /// where it fails. A damaged file is replaced, and `work` done with the new one.
  template <typename Work>
  auto with(Work work) -> std::optional<decltype(work(std::declval<Answers&>()))> {
    std::string fault;
    auto result = [&]() -> std::optional<decltype(work(std::declval<Answers&>()))> {
      const MutexLock lock(mutex);
      for (int tries = 0; tries < 2; ++tries) {
        try {
          if (!answers) answers = std::make_unique<Answers>(options.path);
          return work(*answers);
        } catch (const DatabaseFault& failure) {
          fault = failure.what();
          if (!failure.isDamage()) break;
          setAside();
          fault += "; it is set aside";
        }
      }
      return std::nullopt;
    }();
    tell(fault);
    return result;
  }

  /// Like `with`, for what changes the file.
  template <typename Work>
  void write(Work work) {
    const bool isWritten = with([&](Answers& all) {
                             Transaction transaction(all.database);
                             work(all);
                             transaction.commit();
                             return true;
                           }).has_value();
    const MutexLock lock(mutex);
    if (isWritten) told.clear();
  }

  void setAside() BRIVANE_REQUIRES(mutex) {
    // Another process may have put a new file in its place, which is left alone.
    const bool isThere = !answers || !answers->database.hasMoved();
    answers.reset();
    if (!isThere) return;
    std::rename(options.path.c_str(), (options.path + ".damaged").c_str());
    for (const char* part : {"-wal", "-shm"}) std::remove((options.path + part).c_str());
  }

  void tell(const std::string& fault) {
    if (fault.empty() || !options.onFault) return;
    {
      const MutexLock lock(mutex);
      if (std::exchange(told, fault) == fault) return;
    }
    options.onFault(options.path + ": " + fault);
  }

  std::chrono::seconds lifetimeOf(bool isUnknown) const {
    return isUnknown ? options.unknownLifetime : options.lifetime;
  }

  const Options options;
  Mutex mutex;
  std::unique_ptr<Answers> answers BRIVANE_GUARDED_BY(mutex);
  std::string told BRIVANE_GUARDED_BY(mutex);
};

std::string AnswerStore::pathFor(const std::string& application) {
  const bool isName = !application.empty() && application != "." && application != ".." &&
                      application.find_first_of(std::string("/\0", 2)) == std::string::npos;
  if (!isName) throw std::invalid_argument("'" + application + "' identifies no application");
  return std::string(g_get_user_data_dir()) + "/" + application + "/answers.sqlite";
}

AnswerStore::AnswerStore(Options options) : state_(std::make_unique<State>(std::move(options))) {
  state_->with([](Answers&) { return true; });
}

AnswerStore::~AnswerStore() = default;

std::optional<AnswerStore::Answer> AnswerStore::find(std::string_view account,
                                                     std::string_view question) {
  const auto now = state_->options.now();
  const auto found = state_->with([&](Answers& all) -> std::optional<Answer> {
    std::int64_t used = 0;
    std::int64_t latest = 0;
    Answer answer;
    {
      auto rows = all.find.run(account, question);
      if (!rows.next()) return std::nullopt;
      used = rows.integer(0);
      latest = rows.integer(1);
      answer.received = timeOf(rows.integer(2));
      if (now - answer.received > state_->lifetimeOf(rows.integer(3) != 0)) return std::nullopt;
      answer.body = rows.text(4);
    }
    if (latest - used > state_->options.maxAnswers / kShareThatIsLate) all.noteUse(used);
    return answer;
  });
  return found ? *found : std::nullopt;
}

void AnswerStore::keep(std::string_view account, std::string_view question, std::string_view body,
                       bool isUnknown) {
  const std::int64_t now = secondsOf(state_->options.now());
  state_->write([&](Answers& all) {
    all.keep.execute(account, question, body, now, std::int64_t{isUnknown});
    all.makeRoom(state_->options);
  });
}

void AnswerStore::forget(std::string_view account, std::string_view question) {
  state_->write([&](const Answers& all) {
    all.database.prepare("DELETE FROM answers WHERE account = ? AND question = ?")
        .execute(account, question);
  });
}

void AnswerStore::forget(std::string_view account) {
  state_->write([&](const Answers& all) {
    all.database.prepare("DELETE FROM answers WHERE account = ?").execute(account);
  });
}

void AnswerStore::forget() {
  state_->write([](const Answers& all) { all.database.execute("DELETE FROM answers"); });
  // What was deleted is still in the file, and in the one before it.
  state_->with([](const Answers& all) {
    all.database.execute("VACUUM");
    all.database.execute("PRAGMA wal_checkpoint(TRUNCATE)");
    return true;
  });
}

std::int64_t AnswerStore::count() {
  return state_->with([](const Answers& all) { return all.count(); }).value_or(0);
}

}  // namespace platform
