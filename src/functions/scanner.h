#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/listeners.h"
#include "functions/function_memory.h"
#include "functions/scan_list.h"

namespace kvx::functions {

/// What a scan goes through.
enum class ScanSource { kRows, kMemories };

constexpr Duration kShortestDwell = std::chrono::milliseconds(100);
constexpr Duration kLongestScanTime = std::chrono::hours(1);

/// How a scan goes.
struct ScanSettings {
  Duration dwell = std::chrono::seconds(2);          ///< on a row where nothing is heard
  Duration hang = std::chrono::seconds(3);           ///< after the level has fallen, until the scan goes on
  Duration settle = std::chrono::milliseconds(300);  ///< after tuning, until the level counts: what the meter tells
                                                     ///< before is the row before
  std::optional<int> level;                          ///< the mark above which the scan stays; nothing: it never stays
  bool down = false;

  bool operator==(const ScanSettings&) const = default;
};

/// Where a scan is.
struct ScanState {
  enum class Phase { kStopped, kListening, kHeld };
  Phase phase = Phase::kStopped;
  std::optional<ScanStop> stop;  ///< the row that is heard, or was last
  std::string why;               ///< why it is stopped
};

/// "scan held 14200.00 net", "scan stopped the mode was changed".
std::string ScanText(const ScanState& state);

/// Steps through the stored rows marked for scanning, between a start and an end frequency, or through the memory
/// channels that are not to be skipped, round and round. Whatever the operator does to frequency, mode, VFO or band,
/// here or at the rig, ends it; so do transmitting and CW from any source, a function key, a text typed for one, and a
/// rig port that closes.
class Scanner final {
 public:
  Scanner(Loop& loop, Console& console, FunctionMemory& functions, const FunctionStore& store, const Dialogs& dialogs);
  Scanner(const Scanner&) = delete;
  Scanner& operator=(const Scanner&) = delete;

  /// The row where the scan begins or ends.
  void SetStart(Frequency frequency);
  void SetEnd(Frequency frequency);
  std::optional<Frequency> start_frequency() const { return start_; }
  std::optional<Frequency> end_frequency() const { return end_; }
  void SetSettings(const ScanSettings& settings);
  const ScanSettings& settings() const { return settings_; }

  /// Begins with the stop nearest to the beginning. What keeps it from beginning is shown and given back.
  Status Start(ScanSource source = ScanSource::kRows);
  void Stop(const std::string& why = {});
  /// Goes on to the next row now, also from one where it stays.
  void Skip();
  bool running() const { return state_.phase != ScanState::Phase::kStopped; }
  const ScanState& state() const { return state_; }

  /// The operator is about to set something on the rig.
  void OperatorActs();

  /// What is heard, in the units of `settings().level`.
  std::function<int()> level;
  /// Why `level` is not what is heard now; empty: it is.
  std::function<std::string()> deaf;
  /// The highest that this can be.
  std::function<int()> full_scale;
  /// The memory channels to be scanned, upwards.
  std::function<std::vector<ScanStop>()> channels;
  /// Tunes to a memory channel.
  std::function<Result<cat::SendOutcome>(int channel)> recall;
  /// Whether a text is being keyed.
  std::function<bool()> sending;
  /// Told whenever the state is another one.
  Listeners changed;

 private:
  Task Run();
  Task Listen();
  Result<bool> BeginReading();
  Result<bool> ReadOn();
  bool StopsMayDiffer() const;
  bool TuneNext();
  void CheckHearing();
  bool IsLoud();
  bool transmits() const;
  std::string Obstacle() const;
  void Follow(Field field);
  void Enter(ScanState::Phase phase);

  Loop& loop_;
  Console& console_;
  FunctionMemory& functions_;
  const FunctionStore& store_;
  const Dialogs& dialogs_;
  std::optional<Frequency> start_;
  std::optional<Frequency> end_;
  ScanSource source_ = ScanSource::kRows;
  ScanSettings settings_;
  ScanState state_;
  std::vector<ScanStop> stops_;
  std::optional<RowReader> reader_;  ///< while the stops are being read
  std::optional<ScanList> list_;     ///< those that it has read
  std::string stamp_;                ///< of the store when they were read; empty: they are to be read anew
  std::size_t next_ = 0;
  TimePoint tuned_at_{};
  std::string deaf_;        ///< why the level did not count when it was last looked at
  TimePoint hears_from_{};  ///< what the level told before is of no moment that counts
  bool acting_ = false;
  Signal skip_;
  Console::Subscription subscription_;
  Task listen_;
  Task run_;
};

}  // namespace kvx::functions
