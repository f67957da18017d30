#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "core/loop.h"

namespace kvx::keyer {

/// Which symbol a WinKeyer is sending. It tells so only in some of its modes, so this is a clock: the Morse length of
/// each symbol at the speed, set right by every echoed character and every status byte that comes. A keyer whose own
/// clock is a little off is learnt from the moments at which it has run out of text. Without I/O: every call says what
/// time it is.
class WinkeyProgress {
 public:
  /// `lead`: how long the keyer holds PTT before the first element of a text. Forgets what it knew.
  void Reset(int wpm, Duration lead);
  /// A symbol, as the letters that are sent for it, that will have reached the keyer at `arrives`.
  void Give(std::string_view symbol, TimePoint arrives);
  /// Nothing is in the keyer any more.
  void Clear();
  void SetSpeed(TimePoint now, int wpm);

  // What happened; true when the symbols or the flow have changed.
  bool Advance(TimePoint now);
  bool Echo(TimePoint now, char character);
  bool Status(TimePoint now, std::uint8_t status);

  std::size_t size() const { return given_.size(); }
  /// How long the keyer has still to send.
  Duration ahead(TimePoint now) const;
  /// The keyer wants no more for the moment.
  bool full() const { return full_; }
  /// When to call Advance.
  std::optional<TimePoint> next() const;

 private:
  /// An unknown keyer is taken to be a little fast: then it never waits for text, and what is in it grows by at most so
  /// much.
  static constexpr int kUnknownPace = 990;

  struct Given {
    std::string symbol;
    TimePoint arrives;
  };

  Duration Length(const Given& given) const;
  Duration Grace() const;
  static bool Matches(const Given& given, char echo);
  void Pop(TimePoint next_begins);
  bool Idle(TimePoint now);
  void Learn(TimePoint now);

  std::deque<Given> given_;  ///< the first of them is being sent
  std::deque<Given> late_;   ///< taken to be over, but not echoed
  TimePoint began_{};        ///< when the first has begun, or will
  int wpm_ = 25;
  Duration lead_{0};
  int pace_ = kUnknownPace;  ///< real time by nominal time, per mille
  bool echoes_ = false;      ///< the keyer has echoed a character
  bool busy_ = false;        ///< it said so, and has not said otherwise
  bool full_ = false;
  TimePoint full_until_{};  ///< a lost status byte must not stop a text for ever
  TimePoint run_began_{};   ///< of the text since the keyer was last without one
  Duration run_length_{0};
  bool run_counts_ = false;  ///< nothing has disturbed it
};

}  // namespace kvx::keyer
