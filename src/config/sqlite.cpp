#include "config/sqlite.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>

namespace kvx::config {
namespace {

constexpr int kLongestValue = 16 << 20;  // bytes; a rig row needs some thousands

ErrorCode CodeOf(int result) {
  switch (result & 0xFF) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
      return ErrorCode::kDamaged;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return ErrorCode::kBusy;
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
      return ErrorCode::kDenied;
    case SQLITE_ERROR:
      return ErrorCode::kInvalid;
    default:
      return ErrorCode::kIo;
  }
}

Error FailureOf(sqlite3* connection, const std::string& name) {
  return {CodeOf(sqlite3_errcode(connection)), name + ": " + sqlite3_errmsg(connection)};
}

}  // namespace

void Sqlite::Closer::operator()(sqlite3* connection) const {
  sqlite3_close_v2(connection);
}
void SqliteStatement::Finalizer::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

Result<Sqlite> Sqlite::Open(const platform::Path& file, std::chrono::milliseconds patience) {
  std::error_code error;
  if (!std::filesystem::exists(file, error)) return Error{ErrorCode::kNotFound, file.string() + " does not exist"};
  if (!std::filesystem::is_regular_file(file, error))
    return Error{ErrorCode::kDamaged, file.string() + " is no ordinary file"};
  const platform::Path whole = std::filesystem::absolute(file, error);  // never taken for a "file:" address
  return OpenNamed(whole.string(), SQLITE_OPEN_READWRITE, file.string(), patience);
}

Result<Sqlite> Sqlite::OpenInMemory(const std::string& name, std::string_view content) {
  auto database = OpenNamed(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, name, kPatience);
  if (!database || content.empty()) return database;
  auto* bytes = static_cast<unsigned char*>(sqlite3_malloc64(content.size()));  // which the connection frees
  if (bytes == nullptr) return Error{ErrorCode::kIo, name + ": not enough memory"};
  std::copy(content.begin(), content.end(), bytes);
  const auto size = static_cast<sqlite3_int64>(content.size());
  const int taken = sqlite3_deserialize(database->connection_.get(), "main", bytes, size, size,
                                        SQLITE_DESERIALIZE_FREEONCLOSE | SQLITE_DESERIALIZE_RESIZEABLE);
  if (taken != SQLITE_OK) return database->Failure();
  return database;
}

Result<Sqlite> Sqlite::OpenNamed(const std::string& path, int flags, std::string name,
                                 std::chrono::milliseconds patience) {
  sqlite3* connection = nullptr;
  const int result = sqlite3_open_v2(path.c_str(), &connection, flags, nullptr);
  Sqlite database(connection, std::move(name));
  if (result != SQLITE_OK) return database.Failure();
  sqlite3_extended_result_codes(connection, 1);
  sqlite3_busy_timeout(connection, static_cast<int>(patience.count()));
  sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, kLongestValue);
  const Status set = database.Run("PRAGMA synchronous=FULL; PRAGMA cell_size_check=ON");
  if (!set.ok()) return set.error();
  return database;
}

Error Sqlite::Failure() const {
  return FailureOf(connection_.get(), name_);
}

Status Sqlite::Run(const std::string& sql) {
  if (sqlite3_exec(connection_.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) return Failure();
  return Ok();
}

Result<SqliteStatement> Sqlite::Prepare(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  const int result =
      sqlite3_prepare_v2(connection_.get(), sql.data(), static_cast<int>(sql.size()), &statement, nullptr);
  if (result != SQLITE_OK) return Failure();
  return SqliteStatement(statement, name_);
}

Result<bool> Sqlite::HasRow(const std::string& sql) {
  Result<SqliteStatement> statement = Prepare(sql);
  if (!statement) return statement.error();
  return statement->Step();
}

Result<std::string> Sqlite::Serialize() {
  sqlite3_int64 size = 0;
  const std::unique_ptr<unsigned char, void (*)(void*)> bytes(sqlite3_serialize(connection_.get(), "main", &size, 0),
                                                              sqlite3_free);
  if (!bytes) return Error{ErrorCode::kIo, name_ + ": not enough memory"};
  return std::string(bytes.get(), bytes.get() + size);
}

void SqliteStatement::Bind(int index, std::string_view text) {
  sqlite3_bind_text64(statement_.get(), index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void SqliteStatement::Bind(int index, std::int64_t number) {
  sqlite3_bind_int64(statement_.get(), index, number);
}

void SqliteStatement::BindNull(int index) {
  sqlite3_bind_null(statement_.get(), index);
}

Result<bool> SqliteStatement::Step() {
  const int result = sqlite3_step(statement_.get());
  if (result == SQLITE_ROW) return true;
  if (result == SQLITE_DONE) {
    sqlite3_reset(statement_.get());
    return false;
  }
  const Error error = FailureOf(sqlite3_db_handle(statement_.get()), name_);
  sqlite3_reset(statement_.get());
  return error;
}

int SqliteStatement::columns() const {
  return sqlite3_column_count(statement_.get());
}

std::string SqliteStatement::ColumnName(int column) const {
  const char* name = sqlite3_column_name(statement_.get(), column);
  return name != nullptr ? name : "";
}

std::string SqliteStatement::Text(int column) const {
  const unsigned char* text = sqlite3_column_text(statement_.get(), column);
  if (text == nullptr) return "";
  return std::string(text, text + sqlite3_column_bytes(statement_.get(), column));
}

bool SqliteStatement::IsNull(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

std::int64_t SqliteStatement::Number(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

Status SetAsideCompanions(platform::Files& files, const platform::Path& store) {
  for (const char* ending : {"-journal", "-wal", "-shm"}) {
    platform::Path left = store;
    left += ending;
    if (!files.Exists(left)) continue;
    const Status moved = files.Rename(left, platform::SetAsideName(files, left));
    if (!moved.ok()) return moved;
  }
  return Ok();
}

}  // namespace kvx::config
