#pragma once

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/loop.h"
#include "core/result.h"
#include "keyer/cw_backend.h"

namespace kvx::keyer {

/// The queue of what is to be sent: takes symbols as fast as they are typed and gives them to the keyer few at a time,
/// so that what has not been given can be taken back. Each symbol is given once, in its order, whatever the keyer does;
/// what a keyer that is lost has not sent is dropped and never sent again.
class CwSender {
 public:
  static constexpr std::size_t kMostWaiting = 4000;

  explicit CwSender(Loop& loop) : loop_(loop) {}
  CwSender(const CwSender&) = delete;
  CwSender& operator=(const CwSender&) = delete;

  /// Sends with that keyer from now on, and follows its events; null: with none. What waited is dropped without a word.
  void Use(CwBackend* backend);

  /// Appends symbols; a keyer that is not open is opened. kClosed without a keyer, kBusy when they do not fit: then
  /// none is taken.
  Status Type(const std::vector<std::string>& symbols);
  /// Takes back up to so many of the last symbols that have not been given to the keyer; how many it took.
  std::size_t Backspace(std::size_t count = 1);
  /// Stops at once and forgets what waits. Ends a pause.
  void Abort();
  /// After what the keyer has been given it waits, also for what is typed later. Only Abort ends it otherwise.
  void Pause(bool on);
  void SetSpeed(int wpm);

  /// Symbols that have been typed and not been sent to their end.
  std::size_t unsent() const { return given_.size() + waiting_.size(); }
  bool sending() const { return !given_.empty() || !waiting_.empty(); }
  bool paused() const { return paused_; }
  /// The symbol being sent, empty when there is none.
  const std::string& current() const;
  /// As text: what is still to be sent, the symbol being sent not among it.
  std::string waiting() const;
  std::size_t waiting_count() const;
  /// How long all that is left will take.
  Duration left() const;
  /// The latest symbols that were sent or begun, as text.
  const std::string& sent() const { return sent_; }
  /// How many have been begun since the start.
  std::uint64_t begun() const { return begun_; }
  /// So many of those begun last, fewer when that is long ago.
  std::vector<std::string> latest(std::uint64_t count) const;
  /// The latest texts that were sent, each from the silence before it to the silence after it; the last one at the end.
  const std::deque<std::string>& history() const { return history_; }

  std::function<void()> on_change;                                    ///< anything of the above is different
  std::function<void(const std::string& line)> on_notice;             ///< one line for the operator
  std::function<void(const std::string& symbol, int wpm)> on_symbol;  ///< a symbol begins
  std::function<void()> on_silence;                                   ///< all has been sent, or it was stopped
  std::function<void()> on_ready;                                     ///< the keyer has become ready
  std::function<void()> on_stopped;                                   ///< something else has stopped the keyer
  std::function<void(bool was_sending)> on_gone;                      ///< it could not be opened, or has gone

 private:
  void Feed();
  void Progress();
  void Begin();
  void Gone(const std::string& why);
  void Drop(const std::string& why);
  void Clear();
  void Changed() const;

  Loop& loop_;
  CwBackend* backend_ = nullptr;
  std::deque<std::string> waiting_;  ///< not given to the keyer
  std::deque<std::string> given_;    ///< the first of them is being sent
  bool begun_first_ = false;         ///< on_symbol has told of the first given one
  TimePoint first_began_{};
  bool paused_ = false;
  int wpm_ = 25;
  std::deque<std::string> latest_;
  std::string sent_;
  std::string text_;  ///< since the last silence
  std::uint64_t begun_ = 0;
  std::deque<std::string> history_;
};

}  // namespace kvx::keyer
