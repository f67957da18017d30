#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>

#include "cat/band_plan.h"
#include "cat/bands.h"
#include "cat/dispatcher.h"
#include "cat/operations.h"
#include "config/station_settings.h"
#include "core/console.h"

namespace kvx::cat {

/// Choosing bands and tuning within them: the band buttons, limits, step box, wheel, knob and base frequency, and the memory of
/// the last frequency and mode on each band.
class BandOperations {
 public:
  using Memory = std::array<config::BandMemory, config::kBandMemoryEntries>;

  /// `memory` is the settings' own, so that saving them keeps it.
  BandOperations(Console& console, Dispatcher& dispatcher, Operations& operations, Memory& memory);

  void setband160() { ChooseBand(160); }
  void SetBand80() { ChooseBand(80); }
  void setband60() { ChooseBand(60); }
  void SetBand40() { ChooseBand(40); }
  void setband30() { ChooseBand(30); }
  void SetBand20() { ChooseBand(20); }
  void setband17() { ChooseBand(17); }
  void SetBand15() { ChooseBand(15); }
  void setband12() { ChooseBand(12); }
  void setband10() { ChooseBand(10); }
  void setband6() { ChooseBand(6); }
  void setband2() { ChooseBand(2); }
  void setband220() { ChooseBand(220); }
  void setband440() { ChooseBand(440); }
  void setband35() { ChooseBand(35); }
  /// The band button of that number (35 is 902 MHz). False when no button has it.
  bool PressBand(int number);

  /// Shows what the band plan says of the displayed frequency in the message area, when that has changed.
  void SetPriv();
  /// The plan that SetPriv looks up; an empty one says nothing.
  void UsePlan(BandPlan plan) { plan_ = std::move(plan); }
  const BandPlan& plan() const { return plan_; }
  /// Sets the tuning limits of the band and shows them, unless the operator tunes without limits.
  void SetLimits();
  /// A click on the step box: .05 and 1 kHz in turn. After start-up the first click only turns "0.05" into ".05".
  void ClickStep();
  /// The mouse wheel: one step down for a movement below 1, else one step up.
  SendOutcome TurnWheel(int movement);
  /// The knob: so many steps up (or, negative, down) in one go, sent once.
  SendOutcome TurnKnob(int steps);
  /// A frequency typed into the display and confirmed: it is tuned to and becomes the reference.
  SendOutcome SetBaseFrequency(Frequency frequency);
  /// Remembers frequency and mode in use on the band being left; at shut-down on the last one.
  void RememberBand();

  Frequency step() const { return step_; }

 private:
  void ChooseBand(int number);
  void SetDirectLimits(const Band& band);
  void SendModeKeys();
  SendOutcome Tune(Frequency wanted, int knob_steps);
  void MoveKnobReadout(int steps);
  void FollowFrequency();

  Console& console_;
  Dispatcher& dispatcher_;
  Operations& operations_;
  Memory& memory_;
  BandPlan plan_;
  std::string shown_privilege_;
  Frequency step_{500};                   ///< 0.05 kHz
  std::optional<config::BandMemory> used_;  ///< the last frequency and mode in use on the band, once there was one
  bool choosing_ = false;
  Console::Subscription subscription_;
};

}  // namespace kvx::cat
