#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>

#include "core/result.h"
#include "keyer/cw_macros.h"
#include "platform/files.h"

namespace kvx::keyer {

inline constexpr int kCwFunctions = 12;

/// The stored texts of the function buttons and the values of their macros, kept in `KeyScreen.txt` of the station
/// folder, one `NAME=value` a line: F1 to F12, MYCALL, NR, CUTRST, CUTNR. The first three characters of a text are the
/// button's title and are not sent. The other station's call and report are of the moment and are not kept.
class CwFunctions {
 public:
  CwFunctions(platform::Files& files, platform::Path folder) : files_(files), file_(folder / "KeyScreen.txt") {}

  /// A missing file leaves the texts that a new station has. An error names the file, and nothing is taken from it.
  Status Load();

  /// The whole stored text of function 1 to 12.
  const std::string& text(int number) const { return texts_.at(static_cast<std::size_t>(number - 1)); }
  std::string title(int number) const;
  /// What is sent.
  std::string message(int number) const;
  /// Keeps a text, line ends and tabs as blanks. kInvalid when it is too long.
  Status SetText(int number, std::string_view text);

  const MacroValues& values() const { return values_; }
  Status SetCall(std::string_view call);
  Status SetRst(std::string_view rst);
  Status SetNumber(int number);
  Status SetMyCall(std::string_view call);
  Status SetCut(bool rst, bool number);

  std::function<void()> on_change;

 private:
  Status Save();
  void TakeLine(std::string_view name, std::string_view value);

  platform::Files& files_;
  platform::Path file_;
  std::array<std::string, kCwFunctions> texts_;
  MacroValues values_;
};

}  // namespace kvx::keyer
