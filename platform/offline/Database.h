// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace platform {

/// What SQLite refused, in its words.
class DatabaseFault : public std::runtime_error {
 public:
  DatabaseFault(int code, const std::string& message) : std::runtime_error(message), code_(code) {}

  /// Whether the file is no database, or no longer a whole one.
  bool isDamage() const;
  /// Whether another process is using the file.
  bool isBusy() const;

 private:
  int kind() const;

  int code_;
};

/// A statement that is prepared once and run often.
class Statement {
 public:
  Statement(sqlite3* connection, const char* text);

  /// One run of a statement: its rows, as long as this lives.
  class Run {
   public:
    explicit Run(sqlite3_stmt* statement) : statement_(statement) {}
    ~Run();
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    /// Goes to the next row; false when there is none. Throws DatabaseFault.
    bool next();
    std::int64_t integer(int column) const { return sqlite3_column_int64(statement_, column); }
    std::string text(int column) const;

   private:
    sqlite3_stmt* const statement_;
  };

  /// Begins a run with these values for its parameters, which must live as long. Nothing is done
  /// before the first `next`.
  template <typename... Values>
  Run run(const Values&... values) const {
    int place = 0;
    (bind(++place, values), ...);
    return Run(statement_.get());
  }

  /// Runs it to its end.
  template <typename... Values>
  void execute(const Values&... values) const {
    Run rows = run(values...);
    while (rows.next()) {
    }
  }

  /// The one number that it answers.
  template <typename... Values>
  std::int64_t number(const Values&... values) const {
    Run rows = run(values...);
    return rows.next() ? rows.integer(0) : 0;
  }

 private:
  struct Free {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  void bind(int place, std::int64_t value) const;
  void bind(int place, std::string_view value) const;

  std::unique_ptr<sqlite3_stmt, Free> statement_;
};

/// One connection to a database file. One thread at a time.
class Database {
 public:
  /// Opens `path`, and creates it, for its owner alone, when it is missing. Throws DatabaseFault.
  explicit Database(const std::string& path);

  Statement prepare(const char* text) const { return {connection_.get(), text}; }
  void execute(const char* text) const { prepare(text).execute(); }
  std::int64_t number(const char* text) const { return prepare(text).number(); }

  /// Whether another file stands at the path by now, or none.
  bool hasMoved() const;

 private:
  struct Free {
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
  };

  /// Has a new file keep its journal beside it. SQLite does not wait by itself for another process
  /// that does the same at this moment.
  void writeAhead() const;

  std::unique_ptr<sqlite3, Free> connection_;
};

/// Changes that are made all or not at all: taken back unless they are committed.
class Transaction {
 public:
  /// Waits for another writer, and keeps others from writing.
  explicit Transaction(const Database& database) : database_(database) {
    database_.execute("BEGIN IMMEDIATE");
  }
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit();

 private:
  const Database& database_;
  bool isOpen_ = true;
};

}  // namespace platform
