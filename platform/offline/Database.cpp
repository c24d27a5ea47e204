// SPDX-License-Identifier: Apache-2.0
#include "platform/offline/Database.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr mode_t kOwnerOnly = 0600;
/// For so long another process may write before we give up.
constexpr int kMillisecondsToWait = 1000;

void check(sqlite3* connection, int code) {
  if (code != SQLITE_OK) throw DatabaseFault(code, sqlite3_errmsg(connection));
}

/// SQLite would create it for everybody to read. Its other files take the mode of this one.
void createForOwner(const std::string& path) {
  const int file = open(path.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, kOwnerOnly);
  if (file >= 0) {
    close(file);
  } else {
    chmod(path.c_str(), kOwnerOnly);
  }
}

}  // namespace

bool DatabaseFault::isDamage() const { return kind() == SQLITE_CORRUPT || kind() == SQLITE_NOTADB; }

bool DatabaseFault::isBusy() const { return kind() == SQLITE_BUSY; }

int DatabaseFault::kind() const {
  constexpr int kWithoutItsDetail = 0xFF;
  return code_ & kWithoutItsDetail;
}

Statement::Statement(sqlite3* connection, const char* text) {
  sqlite3_stmt* statement = nullptr;
  check(connection,
        sqlite3_prepare_v3(connection, text, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
  statement_.reset(statement);
}

void Statement::bind(int place, std::int64_t value) const {
  sqlite3_bind_int64(statement_.get(), place, value);
}

void Statement::bind(int place, std::string_view value) const {
  sqlite3_bind_blob64(statement_.get(), place, value.data(), value.size(), SQLITE_STATIC);
}

Statement::Run::~Run() {
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

bool Statement::Run::next() {
  const int result = sqlite3_step(statement_);
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) check(sqlite3_db_handle(statement_), result);
  return false;
}

std::string Statement::Run::text(int column) const {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
  const int size = sqlite3_column_bytes(statement_, column);
  return bytes == nullptr ? std::string() : std::string(bytes, static_cast<std::size_t>(size));
}

Database::Database(const std::string& path) {
  createForOwner(path);
  sqlite3* connection = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  const int result = sqlite3_open_v2(path.c_str(), &connection, flags, nullptr);
  connection_.reset(connection);
  if (connection == nullptr) throw DatabaseFault(result, sqlite3_errstr(result));
  check(connection, result);
  sqlite3_busy_timeout(connection, kMillisecondsToWait);
  // What a damaged file says of itself is not believed.
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  execute("PRAGMA cell_size_check = ON");
  writeAhead();
  execute("PRAGMA synchronous = NORMAL");
}

void Database::writeAhead() const {
  for (int waited = 0;; ++waited) {
    try {
      return execute("PRAGMA journal_mode = WAL");
    } catch (const DatabaseFault& fault) {
      if (!fault.isBusy() || waited == kMillisecondsToWait) throw;
      sqlite3_sleep(1);
    }
  }
}

bool Database::hasMoved() const {
  int moved = 0;
  sqlite3_file_control(connection_.get(), nullptr, SQLITE_FCNTL_HAS_MOVED, &moved);
  return moved != 0;
}

Transaction::~Transaction() {
  if (!isOpen_) return;
  try {
    database_.execute("ROLLBACK");
  } catch (const DatabaseFault&) {
    // SQLite has taken it back by itself, as it does on a full disk.
  }
}

void Transaction::commit() {
  database_.execute("COMMIT");
  isOpen_ = false;
}

}  // namespace platform
