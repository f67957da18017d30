#pragma once

#include <functional>

#include "cat/answers_due.h"
#include "cat/dispatcher.h"
#include "cat/reply_parser.h"
#include "core/console.h"
#include "core/loop.h"

namespace kvx::cat {

/// Keeps the display in step with the rig: asks for S-meter, mode and frequency on the beat of the UTC clock, writes
/// the rig's init string once, and serves the fast meter poll of the FT-DX models.
class Poller {
 public:
  Poller(Loop& loop, Console& console, RigLink& link, Dispatcher& dispatcher, ReplyParser& parser,
         const config::RigDefinition& rig);

  /// Starts the fast timer (10 ms).
  void Start();
  void Stop();
  /// One beat: the text of RIGGMT has changed.
  void Tick();
  /// Starts one poll cycle; does nothing while one is running.
  void PollRig();
  /// A rig has been selected: counter, init string and the order of the queries begin anew.
  void RigSelected();
  /// The port has been opened: the rig behind it gets its init string (again).
  void PortOpened();
  /// Polling has been switched on or off.
  void PollingSwitched() { fast_timer_needed_.Notify(); }
  /// A reply has been read.
  void Heard(Reply::Kind kind);
  /// What a slider is set to, or where the other VFO is, has been asked for.
  void LevelAsked();
  /// A rig that is slower than its line still works off what it has been asked.
  bool still_answering() const;
  /// Input has come; `complete` when a whole reply was in it.
  void InputArrived(bool complete);

  int counter() const { return counter_; }
  bool cycle_running() const { return !cycle_.done(); }

  std::function<void()> on_cycle_end;  ///< refreshes what depends on the frequency

 private:
  bool blocked() const { return *console_.Transmitting || *console_.Tuning; }
  bool line_is_busy() const { return link_.bytes_unsent() > 0; }
  void GiveUp() { counter_ = -2; }
  void PollKenwood();
  bool tells_status(Reply::Kind kind) const;
  std::string_view FrequencyKey() const;
  Task PollOthers();
  Task Ask(std::string key);
  Task FastTimer();
  Task WriteInitString();
  bool init_due() const;
  bool fast_meter() const;
  bool just_after_midnight() const;
  void WriteFastMeter();

  Loop& loop_;
  Console& console_;
  RigLink& link_;
  Dispatcher& dispatcher_;
  ReplyParser& parser_;
  const config::RigDefinition& rig_;
  int counter_ = 0;
  std::size_t next_query_ = 0;
  AnswersDue due_;  ///< KENWOOD: one a cycle, and the levels
  int levels_due_ = 0;
  bool meter_heard_ = false;  ///< KENWOOD: what comes now answers the second query of a cycle
  TimePoint cycle_start_{};
  bool line_awaited_ = false;  ///< a cycle is due and tries again at every beat until the line is free
  bool asked_ = false;         ///< the last Ask had something to write
  bool answered_ = false;      ///< a whole reply came since the last Ask
  bool mode_is_next_ = false;  ///< KENWOOD with the meter on: this cycle also asks for frequency and mode
  bool init_sent_ = false;
  std::uint64_t arrivals_ = 0;
  Signal answer_;
  Signal fast_timer_needed_;
  Task cycle_;
  Task fast_timer_;
  Task init_;
};

}  // namespace kvx::cat
