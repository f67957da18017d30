#pragma once

#include <array>
#include <functional>
#include <string_view>

#include "cat/dispatcher.h"
#include "cat/latest_commands.h"
#include "core/console.h"
#include "core/loop.h"

namespace kvx::cat {

/// A value that the operator has just set: until the rig has had time to follow, reports that still tell the old value
/// are not shown, so that the display never jumps back.
template <class T>
class Settling {
 public:
  void Expect(T value, TimePoint until) {
    expected_ = std::move(value);
    until_ = until;
  }
  /// Whether a report of `value` may be shown at `now`.
  bool Accepts(const T& value, TimePoint now) {
    if (now < until_ && value != expected_) return false;
    until_ = {};
    return true;
  }

 private:
  T expected_{};
  TimePoint until_{};
};

/// The operator's core operations: each updates the console's own state first and then sends the matching key of the
/// rig definition. Also the other direction: what the rig has told reaches the console's state here.
class Operations {
 public:
  Operations(Loop& loop, Console& console, Dispatcher& dispatcher, const config::RigDefinition& rig)
      : loop_(loop), console_(console), dispatcher_(dispatcher), rig_(rig), latest_(loop, dispatcher) {}
  Operations(const Operations&) = delete;
  Operations& operator=(const Operations&) = delete;

  SendOutcome SetCW();
  SendOutcome SetUpper();
  SendOutcome SetLower();
  SendOutcome SetAM();
  SendOutcome SetFM();
  SendOutcome SetRTTY();
  /// A mode by its name, any case: LSB, USB, CW, CWN (CW narrow), AM, FM, FMN, RTTY. kNotFound for another text.
  Result<SendOutcome> SetModeByName(std::string_view name);

  /// Sets the narrow box; a mode in use that has both widths is sent again.
  SendOutcome SetNarrow(bool narrow);

  /// Whether the rig transmits on the VFO that it is told to choose, so that choosing one ends split.
  bool ChoosingEndsSplit() const;
  SendOutcome VFOA_Click();
  SendOutcome VFOB_Click();

  /// Sends the displayed frequency with the rig's frequency template (of VFO B when that is the one in use). While
  /// earlier commands are still on a slow line it waits for them, and only the last of several frequencies goes out.
  SendOutcome SendFreq();
  /// Shows a frequency and sends it.
  SendOutcome TuneTo(Frequency frequency);
  /// Called at the end of each frequency send; once for several of which only the last has gone out.
  std::function<void()> on_frequency_sent;
  /// Called at the beginning of every operation that sets frequency, mode or VFO from the console.
  std::function<void()> on_operation;

  /// Sends the command of a slider, whose value the console's state holds. On a slow line only its last value goes out.
  SendOutcome SendSlider(int number);

  /// Sends what still waits for a slow line, in its order: before another VFO, rig number, mode or band is chosen,
  /// which it was not meant for.
  void SendWaiting() { latest_.Flush(); }
  /// Called for a command that was taken, had to wait, and was not sent after all.
  void SetOnNotSent(std::function<void(SendOutcome)> handler) { latest_.on_not_sent = std::move(handler); }

  /// Something that the rig has told.
  void Follow(const Reply& reply);
  /// A frequency of the VFO in use, as the rig tells it.
  void UpdateFreq(Frequency rig_frequency);
  /// Shows a frequency and lets everything that depends on it follow.
  void FChange(Frequency displayed);

  /// Another rig, or the same one anew: nothing that was meant for the one before is sent or expected any more.
  void Forget();

 private:
  std::string_view Width(std::string_view narrow_key, std::string_view wide_key) const;
  SendOutcome SetMode(std::string_view caption, std::string_view key);
  SendOutcome ChooseVfo(char vfo, std::string_view select, std::string_view read);
  SendOutcome SendTuning();
  SendOutcome SendFreqNow();
  void Operated() const {
    if (on_operation) on_operation();
  }
  /// When the rig will have followed what is sent now.
  TimePoint SettledAt() const;
  void FollowMode(const std::string& caption);
  void FollowVfo(char vfo);
  void ShowSplitEnded();
  void FollowSlider(std::size_t index, int value);
  void KeepVfoFrequency(char vfo, Frequency rig_frequency);

  Loop& loop_;
  Console& console_;
  Dispatcher& dispatcher_;
  const config::RigDefinition& rig_;
  Settling<Frequency> frequency_;
  Settling<std::string> mode_;
  Settling<char> vfo_;
  std::array<Settling<int>, config::kSliders> sliders_;
  LatestCommands latest_;
  bool tells_sent_ = false;  ///< the frequency that goes out next was asked for, and is no repetition for a mode
};

}  // namespace kvx::cat
