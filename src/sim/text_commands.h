#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sim/front_panel.h"
#include "sim/stored_settings.h"
#include "sim/text_line.h"

namespace kvx::sim {

/// The command language that Kenwood and Yaesu share: two letters, a parameter, ";". Cuts what arrives into commands,
/// carries out those that are alike in both makers' rigs, hands the others to the rig's own table, then to its stored
/// numbers, and refuses the rest with "?;".
class TextCommands {
 public:
  /// One command of the rig's own; `run` gets what follows the name and refuses with false.
  struct Command {
    std::string_view name;
    std::function<bool(std::string_view data)> run;
  };
  /// Where the makers differ.
  struct Manner {
    std::string_view identity;          ///< what "ID" answers
    std::string_view overrun;           ///< the answer to a command that overran the input buffer
    std::size_t frequency_digits;       ///< of FA and FB
    std::size_t offset_digits;          ///< of RU and RD
    int farthest_offset_hz;             ///< of the clarifier
    std::optional<int> offset_step_hz;  ///< by which RU and RD go without a number, when they may
    std::string_view absent = {};       ///< names of the shared commands that this rig has not
  };

  TextCommands(FrontPanel& panel, const Manner& manner, std::span<const StoredSetting> stored,
               std::vector<Command> own);

  void Receive(std::string_view bytes);
  /// Sends a text and the ";" behind it; always true: what was answered is not refused.
  bool Answer(std::string_view text);
  /// Answers when there is no parameter, as a query without one wants it.
  bool AnswerBare(std::string_view data, std::string_view text) { return data.empty() && Answer(text); }
  /// Sets with 0 or 1, answers without a parameter.
  bool Switch(std::string_view name, bool& value, std::string_view data);

  std::string FrequencyText(int vfo) const;
  std::string AfText() const;
  const StoredSettings& settings() const { return settings_; }

 private:
  void Execute(const std::string& command);
  void AddShared();
  bool Frequency(int vfo, std::string_view data);
  bool ClearOffset(std::string_view data);
  bool MoveOffset(std::string_view data, int direction);
  bool AfGain(std::string_view data);
  bool Power(std::string_view data);

  FrontPanel& panel_;
  RigState& state_;
  Manner manner_;
  StoredSettings settings_;
  std::vector<Command> commands_;
  TextLine line_{';'};
};

}  // namespace kvx::sim
