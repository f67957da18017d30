#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kvx::sim {

/// Cuts what arrives into commands that end in one character. A command longer than the rig's input buffer is lost
/// whole.
class TextLine {
 public:
  static constexpr std::size_t kLongest = 128;

  explicit TextLine(char terminator) : terminator_(terminator) {}

  /// A command without its terminator, or the news that one was too long.
  struct Command {
    std::string text;
    bool overrun = false;
  };
  /// Takes one byte; a command when it was the last one of it.
  std::optional<Command> Take(char byte);
  /// What has come of the next command.
  std::string_view pending() const { return pending_; }

 private:
  char terminator_;
  std::string pending_;
  bool overrun_ = false;
};

/// The text as digits and nothing else, `digits` of them, else nothing.
std::optional<int> FixedDigits(std::string_view text, std::size_t digits);

}  // namespace kvx::sim
