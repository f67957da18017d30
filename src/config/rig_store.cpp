#include "config/rig_store.h"

#include <set>

namespace kvx::config {
namespace {

constexpr std::string_view kCwTextField = "CWText";
constexpr std::string_view kCwStopField = "CWStop";

struct Column {
  std::string name;
  std::string type;
};

std::vector<Column> RigColumns() {
  std::vector<Column> columns;
  for (const std::string_view field : kRigTextFields) columns.push_back({std::string(field), "TEXT"});
  columns.push_back({std::string(kHexField), "INTEGER"});
  columns.push_back({std::string(kReverseField), "INTEGER"});
  return columns;
}

std::vector<Column> FunctionColumns() {
  std::vector<Column> columns;
  for (const std::string_view field : kFunctionTextFields) columns.push_back({std::string(field), "TEXT"});
  for (int i = 1; i <= kFunctionFlags; ++i) columns.push_back({"FNP" + std::to_string(i), "INTEGER"});
  return columns;
}

std::string Definition(const Column& column) {
  return '"' + column.name + "\" " + column.type;
}

Result<std::set<std::string>> ColumnsOf(Sqlite& store, const std::string& table) {
  Result<SqliteStatement> statement = store.Prepare("SELECT upper(name) FROM pragma_table_info('" + table + "')");
  if (!statement) return statement.error();
  std::set<std::string> names;
  while (true) {
    const Result<bool> row = statement->Step();
    if (!row) return row.error();
    if (!*row) return names;
    names.insert(statement->Text(0));
  }
}

Status CompleteTable(Sqlite& store, const std::string& table, const std::vector<Column>& columns) {
  const Result<std::set<std::string>> present = ColumnsOf(store, table);
  if (!present) return present.error();
  std::string sql;
  for (const Column& column : columns) {
    if (present->contains(Upper(column.name))) continue;
    const std::string before = present->empty() ? ", " : "ALTER TABLE " + table + " ADD COLUMN ";
    sql += before + Definition(column) + (present->empty() ? "" : ";");
  }
  if (present->empty()) sql = "CREATE TABLE " + table + " (" + sql.substr(2) + ")";
  return store.Run(sql);
}

std::string InsertStatement(const std::string& table, const std::vector<Column>& columns) {
  std::string names;
  std::string marks;
  for (const Column& column : columns) {
    names += (names.empty() ? "\"" : ", \"") + column.name + '"';
    const bool null = column.name == kCwTextField || column.name == kCwStopField;  // nobody has said anything yet
    marks += std::string(marks.empty() ? "" : ", ") + (null ? "NULLIF(?, '')" : "?");
  }
  return "INSERT INTO " + table + " (" + names + ") VALUES (" + marks + ")";
}

/// Runs a statement whose rows are of no interest.
Status Finish(SqliteStatement& statement) {
  while (true) {
    const Result<bool> row = statement.Step();
    if (!row) return row.error();
    if (!*row) return Ok();
  }
}

Status InsertRig(SqliteStatement& insert, const RigRow& row) {
  int index = 0;
  for (const std::string_view field : kRigTextFields) insert.Bind(++index, row[field]);
  insert.Bind(++index, std::int64_t{row.send_as_hex});
  insert.Bind(++index, std::int64_t{row.rev_data});
  return Finish(insert);
}

Status DeleteRigs(Sqlite& store, const std::vector<RigRow>& rows) {
  Result<SqliteStatement> statement = store.Prepare("DELETE FROM RigSetup WHERE RigName = ? COLLATE NOCASE");
  if (!statement) return statement.error();
  for (const RigRow& row : rows) {
    statement->Bind(1, row.name());
    const Status status = Finish(*statement);
    if (!status.ok()) return status;
  }
  return Ok();
}

bool IsYes(std::string_view text) {
  return ParseYesNo(text).value_or(false);
}

void SetField(RigRow& row, const std::string& column, std::string value) {
  if (EqualNoCase(column, kHexField)) {
    row.send_as_hex = IsYes(value);
  } else if (EqualNoCase(column, kReverseField)) {
    row.rev_data = IsYes(value);
  } else {
    row.Set(column, std::move(value));
  }
}

/// The value of a column; null for a column that the row does not have.
const std::string* FindValue(const TextRow& row, std::string_view column) {
  for (const auto& [name, value] : row) {
    if (EqualNoCase(name, column)) return &value;
  }
  return nullptr;
}

std::string ValueOf(const TextRow& row, std::string_view column) {
  const std::string* value = FindValue(row, column);
  return value != nullptr ? *value : std::string();
}

void BindFunctionRecord(SqliteStatement& insert, const TextRow& row) {
  int index = 0;
  for (const Column& column : FunctionColumns()) {
    const std::string* value = FindValue(row, column.name);
    if (column.type != "TEXT") {
      insert.Bind(++index, std::int64_t{value != nullptr && IsYes(*value)});
    } else if (value != nullptr) {
      insert.Bind(++index, *value);
    } else {
      insert.BindNull(++index);
    }
  }
}

}  // namespace

Status CompleteTables(Sqlite& store) {
  const Status rigs = CompleteTable(store, "RigSetup", RigColumns());
  if (!rigs.ok()) return rigs;
  const Status functions = CompleteTable(store, "rigfn", FunctionColumns());
  if (!functions.ok()) return functions;
  return store.Run(
      "CREATE INDEX IF NOT EXISTS RigName ON RigSetup (RigName COLLATE NOCASE);"
      "CREATE INDEX IF NOT EXISTS RigNameFreq ON rigfn (RigName COLLATE NOCASE, Freq);"
      "CREATE TABLE IF NOT EXISTS imported (source TEXT PRIMARY KEY COLLATE NOCASE, mark TEXT)");
}

RigRow ReadRig(const SqliteStatement& statement) {
  RigRow row;
  for (int i = 0; i < statement.columns(); ++i) SetField(row, statement.ColumnName(i), statement.Text(i));
  return row;
}

RigRow RigFromText(const TextRow& columns) {
  RigRow row;
  for (const auto& [column, value] : columns) SetField(row, column, value);
  return row;
}

Result<int> InsertRigs(Sqlite& store, const std::vector<RigRow>& rows, bool replace) {
  if (replace) {
    const Status deleted = DeleteRigs(store, rows);
    if (!deleted.ok()) return deleted.error();
  }
  Result<SqliteStatement> find = store.Prepare("SELECT count(*) FROM RigSetup WHERE RigName = ? COLLATE NOCASE");
  if (!find) return find.error();
  Result<SqliteStatement> insert = store.Prepare(InsertStatement("RigSetup", RigColumns()));
  if (!insert) return insert.error();
  int count = 0;
  for (const RigRow& row : rows) {
    find->Bind(1, row.name());
    const Result<bool> found = find->Step();
    if (!found) return found.error();
    const bool there = find->Number(0) != 0;
    const Status ended = Finish(*find);
    if (!ended.ok()) return ended.error();
    if (row.name().empty() || (there && !replace)) continue;
    const Status status = InsertRig(*insert, row);
    if (!status.ok()) return status.error();
    ++count;
  }
  return count;
}

Status FillCwCommands(Sqlite& store, const std::vector<RigRow>& rows) {
  Result<SqliteStatement> update = store.Prepare(
      "UPDATE RigSetup SET CWText = ?, CWStop = ? WHERE RigName = ? COLLATE NOCASE AND CWText IS NULL AND CWStop IS "
      "NULL");
  if (!update) return update.error();
  for (const RigRow& row : rows) {
    if (row[kCwTextField].empty()) continue;
    update->Bind(1, row[kCwTextField]);
    update->Bind(2, row[kCwStopField]);
    update->Bind(3, row.name());
    if (const Status updated = Finish(*update); !updated) return updated;
  }
  return Ok();
}

Status InsertFunctionRecords(Sqlite& store, const std::vector<TextRow>& rows) {
  Result<SqliteStatement> remove = store.Prepare("DELETE FROM rigfn WHERE RigName = ? COLLATE NOCASE AND Freq = ?");
  if (!remove) return remove.error();
  for (const TextRow& row : rows) {
    remove->Bind(1, ValueOf(row, "RigName"));
    remove->Bind(2, ValueOf(row, "Freq"));
    const Status status = Finish(*remove);
    if (!status.ok()) return status;
  }
  Result<SqliteStatement> insert = store.Prepare(InsertStatement("rigfn", FunctionColumns()));
  if (!insert) return insert.error();
  for (const TextRow& row : rows) {
    BindFunctionRecord(*insert, row);
    const Status status = Finish(*insert);
    if (!status.ok()) return status;
  }
  return Ok();
}

Result<std::string> ReadMark(Sqlite& store, const std::string& source) {
  const Result<bool> noted = store.HasRow("SELECT 1 FROM sqlite_schema WHERE type = 'table' AND name = 'imported'");
  if (!noted) return noted.error();
  if (!*noted) return std::string();
  Result<SqliteStatement> statement = store.Prepare("SELECT mark FROM imported WHERE source = ?");
  if (!statement) return statement.error();
  statement->Bind(1, source);
  const Result<bool> row = statement->Step();
  if (!row) return row.error();
  return *row ? statement->Text(0) : std::string();
}

Status WriteMark(Sqlite& store, const std::string& source, const std::string& mark) {
  Result<SqliteStatement> statement = store.Prepare("INSERT OR REPLACE INTO imported (source, mark) VALUES (?, ?)");
  if (!statement) return statement.error();
  statement->Bind(1, source);
  statement->Bind(2, mark);
  return Finish(*statement);
}

}  // namespace kvx::config
