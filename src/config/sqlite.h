#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/result.h"
#include "platform/files.h"

struct sqlite3;
struct sqlite3_stmt;

namespace kvx::config {

class SqliteStatement;

/// One connection to an SQLite database, closed at its end. Errors name the file; kDamaged means that its content is no
/// database or broken, kInvalid that a table or column is missing.
class Sqlite {
 public:
  static constexpr std::chrono::milliseconds kPatience{500};

  /// Opens an existing file for reading and writing; a file that cannot be written is opened for reading.
  /// `patience`: how long each step waits while another program writes, until it is kBusy.
  static Result<Sqlite> Open(const platform::Path& file, std::chrono::milliseconds patience = kPatience);
  /// A database in memory, `name` for messages; empty, or with the bytes of a database's file as its content.
  static Result<Sqlite> OpenInMemory(const std::string& name, std::string_view content = {});

  /// Runs statements that need no values and give none.
  Status Run(const std::string& sql);
  Result<SqliteStatement> Prepare(const std::string& sql);
  /// Whether the statement gives a row.
  Result<bool> HasRow(const std::string& sql);
  /// The whole database as the bytes of its file.
  Result<std::string> Serialize();

 private:
  friend class SqliteStatement;
  struct Closer {
    void operator()(sqlite3* connection) const;
  };

  Sqlite(sqlite3* connection, std::string name) : connection_(connection), name_(std::move(name)) {}
  static Result<Sqlite> OpenNamed(const std::string& path, int flags, std::string name,
                                  std::chrono::milliseconds patience);
  Error Failure() const;

  std::unique_ptr<sqlite3, Closer> connection_;
  std::string name_;
};

/// A prepared statement with its values bound, columns and values counted from 0 and 1 as SQLite does. Ends before its
/// Sqlite.
class SqliteStatement {
 public:
  /// Binds a value; texts by their length, NUL bytes included.
  void Bind(int index, std::string_view text);
  void Bind(int index, std::int64_t number);
  void BindNull(int index);
  /// Goes to the next row: true when there is one. After the last row the statement can be bound and run again.
  Result<bool> Step();

  int columns() const;
  std::string ColumnName(int column) const;
  /// The value as text, empty for a Null.
  std::string Text(int column) const;
  bool IsNull(int column) const;
  std::int64_t Number(int column) const;

 private:
  friend class Sqlite;
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const;
  };

  SqliteStatement(sqlite3_stmt* statement, std::string name) : statement_(statement), name_(std::move(name)) {}

  std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
  std::string name_;
};

/// Sets aside what a database that is gone has left beside its file: it would be applied to a new one of that name.
Status SetAsideCompanions(platform::Files& files, const platform::Path& store);

}  // namespace kvx::config
