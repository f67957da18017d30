#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "functions/function_columns.h"

namespace kvx::console {

/// Which records a list shows.
struct FunctionFilter {
  std::string text;  ///< in any field, in any case; empty: everything
  std::string rig;   ///< of this rig only; empty: of every rig
  bool operator==(const FunctionFilter&) const = default;
};

/// A picture of the stored function-key records, filtered and in an order: by frequency as a number, by anything else
/// as text in any case, and equal ones as they are stored.
class FunctionList final {
 public:
  void Load(std::vector<functions::FunctionRecord> rows);
  void SetFilter(FunctionFilter filter);
  void SetOrder(int column, bool descending);

  const FunctionFilter& filter() const { return filter_; }
  int order_column() const { return column_; }
  bool descending() const { return descending_; }

  /// Records that are shown, and all of them.
  int size() const { return static_cast<int>(shown_.size()); }
  int total() const { return static_cast<int>(rows_.size()); }
  const functions::FunctionRecord& at(int index) const { return rows_[shown_.at(static_cast<std::size_t>(index))]; }
  /// Where the record of that place in the table is shown.
  std::optional<int> IndexOf(std::int64_t place) const;
  /// The places of what is shown, in its order.
  std::vector<std::int64_t> Places() const;

 private:
  void Arrange();
  void Sort();
  bool Passes(const functions::FunctionRecord& row) const;
  template <class Key, class KeyOf>
  void SortBy(KeyOf key_of);

  std::vector<functions::FunctionRecord> rows_;
  std::vector<std::size_t> shown_;
  FunctionFilter filter_;
  int column_ = functions::kFreqColumn;
  bool descending_ = false;
};

}  // namespace kvx::console
