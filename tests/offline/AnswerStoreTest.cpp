// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <utility>

#include "platform/offline/AnswerStore.h"
#include "tests/support/TemporaryFolder.h"

namespace platform {
namespace {

class AnswerStoreTest : public testing::Test {
 protected:
  AnswerStore::Options options(std::int64_t maxAnswers = 100'000, std::int64_t maxBytes = 50 << 20) {
    return {.path = path_, .maxAnswers = maxAnswers, .maxBytes = maxBytes, .onFault = [this](const std::string& fault) {
              faults_.append(fault.substr(fault.find(": ") + 2)).append("|");
            }};
  }
  static std::string found(AnswerStore& store, int question) {
    const auto answer = store.find("a", std::to_string(question));
    return answer ? answer->body : "-";
  }
  static void keep(AnswerStore& store, int question) {
    store.keep("a", std::to_string(question), "body " + std::to_string(question), false);
  }
  void execute(const char* statement) const {
    sqlite3* database = nullptr;
    sqlite3_open(path_.c_str(), &database);
    EXPECT_EQ(sqlite3_exec(database, statement, nullptr, nullptr, nullptr), SQLITE_OK) << statement;
    sqlite3_close(database);
  }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.path() / "answers";
  std::string faults_;
};

TEST_F(AnswerStoreTest, LetsGoOfWhatWasLongestUnused) {
  AnswerStore store(options(3));
  for (int question = 1; question <= 3; ++question) keep(store, question);
  EXPECT_EQ(found(store, 1), "body 1");
  keep(store, 4);
  EXPECT_EQ(found(store, 1) + found(store, 2) + found(store, 3), "body 1-body 3");
  EXPECT_EQ(store.count(), 3);
  store.forget();
  EXPECT_EQ(store.count(), 0);

  AnswerStore small(options(100'000, 200'000));
  const std::string body(1000, 'b');
  for (int question = 0; question < 1000; ++question) small.keep("a", std::to_string(question), body, false);
  EXPECT_EQ(small.find("a", "0"), std::nullopt);
  EXPECT_GT(small.count(), 100);
  EXPECT_LT(std::filesystem::file_size(path_), 250'000);
}

TEST_F(AnswerStoreTest, SurvivesItsProcess) {
  int told[2];
  ASSERT_EQ(pipe(&told[0]), 0);
  const pid_t writer = fork();
  if (writer == 0) {
    AnswerStore store(options());
    for (int question = 0;; ++question) {
      keep(store, question);
      if (write(told[1], &question, sizeof question) < 0) _exit(1);
    }
  }
  close(told[1]);
  int kept = 0;
  while (kept < 500 && read(told[0], &kept, sizeof kept) > 0) {
  }
  kill(writer, SIGKILL);
  waitpid(writer, nullptr, 0);
  while (read(told[0], &kept, sizeof kept) > 0) {
  }
  close(told[0]);
  AnswerStore store(options());
  EXPECT_GE(store.count(), kept + 1);
  EXPECT_LE(store.count(), kept + 2);
  EXPECT_EQ(found(store, kept), "body " + std::to_string(kept));
  EXPECT_EQ(faults_, "");
}

TEST_F(AnswerStoreTest, IsSharedByProcesses) {
  constexpr int kEach = 300;
  const auto keepAll = [this](int from) {
    AnswerStore store(options());
    for (int question = from; question < from + kEach; ++question) keep(store, question);
    return faults_.empty() ? 0 : 1;
  };
  const pid_t other = fork();
  if (other == 0) _exit(keepAll(0));
  EXPECT_EQ(keepAll(kEach), 0) << faults_;
  int status = -1;
  waitpid(other, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(AnswerStore(options()).count(), 2 * kEach);
}

TEST_F(AnswerStoreTest, SetsADamagedFileAside) {
  const std::function<void()> damages[] = {
      [this] { folder_.write("answers", "no database, and long enough to be read as if it were one"); },
      [this] { execute("PRAGMA user_version = 2"); },
      [this] {  // the pages behind the first
        const auto size = std::filesystem::file_size(path_);
        std::filesystem::resize_file(path_, 4096);
        std::filesystem::resize_file(path_, size);
      }};
  for (const auto& damage : damages) {
    {
      AnswerStore store(options());
      keep(store, 1);
    }
    damage();
    faults_.clear();
    AnswerStore store(options());
    EXPECT_EQ(found(store, 1), "-");
    keep(store, 2);
    EXPECT_EQ(found(store, 2), "body 2");
    EXPECT_TRUE(faults_.ends_with("; it is set aside|")) << faults_;
    EXPECT_TRUE(std::filesystem::remove(path_ + ".damaged"));
  }
}

TEST_F(AnswerStoreTest, GoesOnWithAFullDisk) {
  const auto limit = [](sqlite3* database, char**, const void*) {
    return sqlite3_exec(database, "PRAGMA max_page_count = 12", nullptr, nullptr, nullptr);
  };
  using Extension = int (*)(sqlite3*, char**, const void*);
  sqlite3_auto_extension(reinterpret_cast<void (*)()>(static_cast<Extension>(limit)));
  AnswerStore store(options());
  for (int question = 0; question < 1000; ++question) keep(store, question);
  EXPECT_EQ(found(store, 1), "body 1");
  EXPECT_EQ(faults_, "database or disk is full|");
  sqlite3_reset_auto_extension();
}

TEST_F(AnswerStoreTest, IsReadableByItsOwnerAlone) {
  folder_.write("answers", "");
  AnswerStore store(options());
  keep(store, 1);
  for (const char* part : {"", "-wal", "-shm"}) {
    struct stat file = {};
    ASSERT_EQ(stat((path_ + part).c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777U, 0600U) << part;
  }
  auto nowhere = options();
  nowhere.path = path_ + "/answers";
  EXPECT_EQ(found(*std::make_unique<AnswerStore>(nowhere), 1), "-");
  EXPECT_EQ(faults_, "unable to open database file|");
}

}  // namespace
}  // namespace platform
