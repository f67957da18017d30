#pragma once

#include <deque>
#include <functional>
#include <string>

#include "cat/dispatcher.h"
#include "core/loop.h"

namespace kvx::cat {

/// Commands of which only the newest counts: a frequency while the knob turns, a slider while it is dragged. On a line
/// that is free they go out at once. While earlier commands are still on a slow line they wait for their turn, and a
/// newer one of the same name takes the place of the one that waits, so that the rig is never far behind the operator
/// and the last one always arrives.
class LatestCommands {
 public:
  using Send = std::function<SendOutcome()>;

  LatestCommands(Loop& loop, const Dispatcher& dispatcher) : loop_(loop), dispatcher_(dispatcher) {}
  LatestCommands(const LatestCommands&) = delete;
  LatestCommands& operator=(const LatestCommands&) = delete;
  ~LatestCommands() { loop_.StopTimer(timer_); }

  /// Sends now or when the line is free. kSent for one that waits.
  SendOutcome SendLatest(const std::string& name, Send send);
  /// Sends all that waits now, in its order: before something is chosen that it was not meant for.
  void Flush();
  /// While it says no, nothing goes out by itself; unset: it may always. Resume tells that it may say yes again.
  std::function<bool()> may_send;
  void Resume();
  /// A command that had waited was not sent after all.
  std::function<void(SendOutcome outcome)> on_not_sent;
  /// Nothing that waits is sent any more.
  void Forget();

 private:
  struct Waiting {
    std::string name;
    Send send;
  };

  bool held() const { return may_send && !may_send(); }
  TimePoint NextTurn() const;
  void Wait(TimePoint turn);
  void TakeTurn();
  void SendFirst();

  Loop& loop_;
  const Dispatcher& dispatcher_;
  std::deque<Waiting> waiting_;  ///< the one that waits longest first
  Loop::TimerId timer_ = 0;
};

}  // namespace kvx::cat
