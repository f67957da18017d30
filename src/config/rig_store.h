#pragma once

#include <map>
#include <string>
#include <vector>

#include "config/rig_row.h"
#include "config/sqlite.h"
#include "core/result.h"

namespace kvx::config {

// The tables of `rigsetup.sqlite` and how rows go in and out. Nothing here begins or ends a transaction.

/// The text fields of table `rigfn`; its flags FNP1 to FNP9 follow them.
inline constexpr std::array<std::string_view, 14> kFunctionTextFields{
    "RigName", "Freq", "Mode", "FNT1", "FNT2", "FNT3", "FNT4", "FNT5", "FNT6", "FNT7", "FNT8", "FNT9", "Scan", "Desc"};
inline constexpr int kFunctionFlags = 9;

/// A row of an outside table: column name, in any case, to text.
using TextRow = std::map<std::string, std::string>;

/// Makes every table, column and index that is missing.
Status CompleteTables(Sqlite& store);

/// The rig row on which the statement (`SELECT * FROM RigSetup ...`) stands. Columns that are missing are empty fields.
RigRow ReadRig(const SqliteStatement& statement);
/// An outside row as a rig row; flags are "1" or "0".
RigRow RigFromText(const TextRow& columns);

/// Inserts rows that have a name; those whose name is there replace the old ones when `replace`, else are skipped.
/// Gives their number.
Result<int> InsertRigs(Sqlite& store, const std::vector<RigRow>& rows, bool replace);
/// Gives the rows' CW text commands to rigs of those names that never had any: of an older store, or imported.
Status FillCwCommands(Sqlite& store, const std::vector<RigRow>& rows);
/// Inserts function-key records, each in place of one with the same rig and frequency.
Status InsertFunctionRecords(Sqlite& store, const std::vector<TextRow>& rows);

/// What the store has noted about a source whose rows it took; empty when nothing.
Result<std::string> ReadMark(Sqlite& store, const std::string& source);
Status WriteMark(Sqlite& store, const std::string& source, const std::string& mark);

}  // namespace kvx::config
