#include "config/mdb_import.h"

#include <mdbtools.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

#include "core/text.h"
#include "platform/isolated.h"

namespace kvx::config {
namespace {

constexpr std::size_t kLongestText = 64U << 10;  // bytes of one field
constexpr std::size_t kMostRows = 20'000;        // of one table; a broken page chain may run in a circle
constexpr const char* kRigTable = "RigSetup";
constexpr const char* kFunctionTable = "rigfn";

/// A list of texts as one run of bytes: each with its length before it, "5:hello".
void Pack(std::string& packed, std::string_view text) {
  packed += std::to_string(text.size()) + ':';
  packed += text;
}

/// Takes texts off again; nothing at the end or when the bytes are no such list.
class Unpacker {
 public:
  explicit Unpacker(std::string_view packed) : rest_(packed) {}

  std::optional<std::string> Take() {
    const std::size_t colon = rest_.find(':');
    const auto size = ParseNumber(rest_.substr(0, colon), 0, static_cast<std::int64_t>(rest_.size()));
    if (colon == std::string_view::npos || !size) return std::nullopt;
    const auto length = static_cast<std::size_t>(*size);
    if (length > rest_.size() - colon - 1) return std::nullopt;
    std::string text(rest_.substr(colon + 1, length));
    rest_.remove_prefix(colon + 1 + length);
    return text;
  }
  bool empty() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

/// One table as libmdb reads it, row by row. Lives in the isolated process alone and frees nothing.
class TableReader {
 public:
  explicit TableReader(MdbCatalogEntry* entry) : table_(mdb_read_table(entry)) {
    if (table_ == nullptr || mdb_read_columns(table_) == nullptr || table_->columns->len != table_->num_cols) return;
    for (unsigned i = 0; i < table_->num_cols; ++i) {
      buffers_.emplace_back(new char[kLongestText]());
      lengths_.emplace_back(new int(0));
      mdb_bind_column(table_, static_cast<int>(i) + 1, buffers_[i].get(), lengths_[i].get());
    }
    mdb_rewind_table(table_);
  }

  /// Appends every row, packed: the table's name, the number of fields that are not Null, then their names and values.
  /// What is wrong, else empty.
  std::string PackRows(const std::string& name, std::string& packed) {
    if (buffers_.empty()) return "the columns of its table cannot be read";
    std::size_t rows = 0;
    while (mdb_fetch_row(table_) != 0) {
      if (++rows > kMostRows) return "its rows have no end";
      const auto nulls = Nulls();
      if (!nulls) return "a row of it is lost";
      Pack(packed, name);
      Pack(packed, std::to_string(std::count(nulls->begin(), nulls->end(), false)));
      for (unsigned i = 0; i < table_->num_cols; ++i) {
        if ((*nulls)[i]) continue;
        const auto value = Value(i);
        if (!value) return "a text of it is lost";
        Pack(packed, column(i)->name);
        Pack(packed, *value);
      }
    }
    return rows < table_->num_rows ? "rows of it are lost" : "";
  }

 private:
  MdbColumn* column(unsigned i) const { return static_cast<MdbColumn*>(g_ptr_array_index(table_->columns, i)); }

  /// Which fields of the row in hand are Null: what is bound is the same for a Null and an empty text. A Yes/No has its
  /// value where others say whether they are Null.
  std::optional<std::vector<bool>> Nulls() const {
    constexpr int kStartBits = 0x1FFF;  // above: the row is deleted, is kept elsewhere
    int start = 0;
    std::size_t size = 0;
    if (mdb_find_row(mdb(), static_cast<int>(table_->cur_row) - 1, &start, &size) != 0) return std::nullopt;
    std::vector<MdbField> fields(table_->num_cols);
    const int count = mdb_crack_row(table_, start & kStartBits, size, fields.data());
    std::vector<bool> nulls(table_->num_cols, true);
    for (int i = 0; i < count; ++i) {
      const auto at = static_cast<unsigned>(fields[static_cast<std::size_t>(i)].colnum);
      if (at >= table_->num_cols) return std::nullopt;
      const bool null = fields[static_cast<std::size_t>(i)].is_null != 0;
      nulls[at] = null && column(at)->col_type != MDB_BOOL;
    }
    return count < 0 ? std::nullopt : std::optional(nulls);
  }

  /// The field's text; nothing when it has one that cannot be read whole.
  std::optional<std::string> Value(unsigned i) const {
    MdbColumn* const field = column(i);
    if (field->col_type == MDB_OLE) return OleValue(field);
    const auto length = static_cast<std::size_t>(std::max(*lengths_[i], 0));
    if (field->col_type != MDB_MEMO) return std::string(buffers_[i].get(), std::min(length, kLongestText));
    const std::size_t stored = StoredLength(field);
    const bool lost = length == 0 && stored > kEmptyMemo;
    if (lost || stored >= kLongestText / 2) return std::nullopt;
    return std::string(buffers_[i].get(), std::min(length, kLongestText));
  }

  std::optional<std::string> OleValue(MdbColumn* field) const {
    if (field->cur_value_len == 0) return std::string();
    std::size_t size = 0;
    const auto* bytes = static_cast<const char*>(mdb_ole_read_full(mdb(), field, &size));
    if (bytes == nullptr || size != StoredLength(field)) return std::nullopt;
    return std::string(bytes, size);
  }

  /// How long a memo says it is: the first four bytes of its value in the row, two flag bits above.
  std::size_t StoredLength(const MdbColumn* field) const {
    const bool inside = field->cur_value_start >= 0 && field->cur_value_start + 4 <= MDB_PGSIZE;
    if (field->cur_value_len < MDB_MEMO_OVERHEAD || !inside) return 0;
    return static_cast<std::size_t>(mdb_get_int32(mdb()->pg_buf, field->cur_value_start)) & 0x3FFFFFFF;
  }

  MdbHandle* mdb() const { return table_->entry->mdb; }

  static constexpr std::size_t kEmptyMemo = 2;  // a mark of how it is compressed, and nothing behind it

  MdbTableDef* table_;
  std::vector<std::unique_ptr<char[]>> buffers_;
  std::vector<std::unique_ptr<int>> lengths_;
};

/// Packs the tables of those names; what is wrong with the file, else empty.
std::string PackFile(const platform::Path& file, const std::vector<std::string>& names, std::string& packed) {
  MdbHandle* const mdb = mdb_open(file.c_str(), MDB_NOFLAGS);
  if (mdb == nullptr) return "it is no Access database";
  std::error_code error;
  const auto size = std::filesystem::file_size(file, error);
  if (error || size % static_cast<std::uintmax_t>(mdb->fmt->pg_size) != 0) return "it is cut short";
  mdb_set_bind_size(mdb, kLongestText);
  mdb_set_boolean_fmt_numbers(mdb);
  if (mdb_read_catalog(mdb, MDB_TABLE) == nullptr) return "its list of tables cannot be read";
  bool has_first = false;
  for (unsigned i = 0; i < mdb->num_catalog; ++i) {
    auto* const entry = static_cast<MdbCatalogEntry*>(g_ptr_array_index(mdb->catalog, i));
    const auto name = std::find_if(names.begin(), names.end(),
                                   [entry](const auto& wanted) { return EqualNoCase(entry->object_name, wanted); });
    if (name == names.end()) continue;
    const std::string fault = TableReader(entry).PackRows(*name, packed);
    if (!fault.empty()) return fault;
    has_first |= name == names.begin();
  }
  return has_first ? "" : "it has no table " + names.front();
}

std::optional<MdbTables> Unpack(Unpacker unpacker) {
  MdbTables tables;
  while (!unpacker.empty()) {
    const auto table = unpacker.Take();
    const auto fields = unpacker.Take();
    if (!table || !fields) return std::nullopt;
    MdbRow row;
    for (std::int64_t i = LeadingNumber(*fields); i > 0; --i) {
      const auto name = unpacker.Take();
      auto value = unpacker.Take();
      if (!name || !value) return std::nullopt;
      row[*name] = *std::move(value);
    }
    tables[*table].push_back(std::move(row));
  }
  return tables;
}

}  // namespace

Result<MdbTables> ReadMdbTables(const platform::Path& file, const std::vector<std::string>& names) {
  const auto damaged = [&file](const std::string& why) {
    return Error{ErrorCode::kDamaged, file.string() + " cannot be imported: " + why};
  };
  std::error_code error;
  if (!std::filesystem::exists(file, error)) return Error{ErrorCode::kNotFound, file.string() + " does not exist"};
  const Result<std::string> packed = platform::RunIsolated([file, names] {
    std::string rows;
    std::string result;
    Pack(result, PackFile(file, names, rows));
    return result + rows;
  });
  if (!packed) return Error{packed.error().code, damaged("reading failed, " + packed.error().message).message};
  Unpacker unpacker(*packed);
  const auto fault = unpacker.Take();
  if (fault && !fault->empty()) return damaged(*fault);
  auto tables = fault ? Unpack(unpacker) : std::nullopt;
  if (!tables) return damaged("reading failed");
  return *std::move(tables);
}

Result<MdbContent> ReadMdb(const platform::Path& file) {
  auto tables = ReadMdbTables(file, {kRigTable, kFunctionTable});
  if (!tables) return tables.error();
  return MdbContent{.rig_setup = std::move((*tables)[kRigTable]), .rigfn = std::move((*tables)[kFunctionTable])};
}

}  // namespace kvx::config
