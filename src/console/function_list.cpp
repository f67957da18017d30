#include "console/function_list.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "core/frequency.h"
#include "core/text.h"

namespace kvx::console {

using functions::FunctionRecord;

void FunctionList::Load(std::vector<FunctionRecord> rows) {
  rows_ = std::move(rows);
  Arrange();
}

void FunctionList::SetFilter(FunctionFilter filter) {
  filter_ = std::move(filter);
  Arrange();
}

void FunctionList::SetOrder(int column, bool descending) {
  column_ = column;
  descending_ = descending;
  Arrange();
}

void FunctionList::Arrange() {
  shown_.clear();
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    if (Passes(rows_[i])) shown_.push_back(i);
  }
  Sort();
}

bool FunctionList::Passes(const FunctionRecord& row) const {
  if (!filter_.rig.empty() && !EqualNoCase(row.rig, filter_.rig)) return false;
  if (filter_.text.empty()) return true;
  for (const std::string* text : {&row.freq, &row.description, &row.rig, &row.mode, &row.scan}) {
    if (ContainsNoCase(*text, filter_.text)) return true;
  }
  return std::any_of(row.texts.begin(), row.texts.end(),
                     [this](const auto& text) { return text && ContainsNoCase(*text, filter_.text); });
}

void FunctionList::Sort() {
  if (column_ == functions::kFreqColumn) {
    // What is no frequency comes last.
    return SortBy<std::int64_t>([](const FunctionRecord& row) {
      const auto frequency = ParseKhz(row.freq);
      return frequency ? frequency->decihertz : std::numeric_limits<std::int64_t>::max();
    });
  }
  if (const auto key = functions::PressKey(column_))
    return SortBy<bool>([key](const FunctionRecord& row) { return row.presses[*key]; });
  SortBy<std::string>([this](const FunctionRecord& row) { return Lower(functions::FieldText(row, column_)); });
}

template <class Key, class KeyOf>
void FunctionList::SortBy(KeyOf key_of) {
  std::vector<std::pair<Key, std::size_t>> keys;
  keys.reserve(shown_.size());
  for (const std::size_t row : shown_) keys.emplace_back(key_of(rows_[row]), row);
  std::stable_sort(keys.begin(), keys.end(), [this](const auto& a, const auto& b) {
    return descending_ ? b.first < a.first : a.first < b.first;
  });
  for (std::size_t i = 0; i < keys.size(); ++i) shown_[i] = keys[i].second;
}

std::optional<int> FunctionList::IndexOf(std::int64_t place) const {
  for (int index = 0; index < size(); ++index) {
    if (at(index).place == place) return index;
  }
  return std::nullopt;
}

std::vector<std::int64_t> FunctionList::Places() const {
  std::vector<std::int64_t> places;
  places.reserve(shown_.size());
  for (const std::size_t row : shown_) places.push_back(rows_[row].place);
  return places;
}

}  // namespace kvx::console
