#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kvx::sim {

/// A command that only puts a number away and reads it back: "AG0" with three digits answers AG0128.
struct StoredSetting {
  std::string_view name;  ///< what a set command begins with
  int digits;             ///< the number's width; 0 is a plain number of any width, with a sign if it likes
  int low;
  int high;
  int initial;
  std::string_view query = {};  ///< what asks for it, when that is not its name
  std::string_view tail = {};   ///< what follows the number in an answer
};

/// The numbers of a rig that has a table of such commands.
class StoredSettings {
 public:
  explicit StoredSettings(std::span<const StoredSetting> table);

  enum class Outcome { kUnknown, kRefused, kStored };
  /// The answer to a query (without terminator), else nothing.
  std::optional<std::string> Answer(std::string_view query) const;
  Outcome Store(std::string_view command);
  int Get(std::string_view name) const;
  void Set(std::string_view name, int value);
  std::string Text(std::string_view name) const;

 private:
  std::size_t Find(std::string_view name) const;
  std::string Format(std::size_t index) const;

  std::span<const StoredSetting> table_;
  std::vector<int> values_;
};

}  // namespace kvx::sim
