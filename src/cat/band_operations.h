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

/// Choosing bands and tuning within them: the band buttons, limits, step box, wheel, knob and base frequency, and the
/// memory of the last frequency and mode on each band.
class BandOperations {
 public:
  using Memory = std::array<config::BandMemory, config::kBandMemoryEntries>;

  /// `memory` is the settings' own, so that saving them keeps it.
  BandOperations(Console& console, Dispatcher& dispatcher, Operations& operations, Memory& memory);

  SendOutcome setband160() { return ChooseBand(160); }
  SendOutcome SetBand80() { return ChooseBand(80); }
  SendOutcome setband60() { return ChooseBand(60); }
  SendOutcome SetBand40() { return ChooseBand(40); }
  SendOutcome setband30() { return ChooseBand(30); }
  SendOutcome SetBand20() { return ChooseBand(20); }
  SendOutcome setband17() { return ChooseBand(17); }
  SendOutcome SetBand15() { return ChooseBand(15); }
  SendOutcome setband12() { return ChooseBand(12); }
  SendOutcome setband10() { return ChooseBand(10); }
  SendOutcome setband6() { return ChooseBand(6); }
  SendOutcome setband2() { return ChooseBand(2); }
  SendOutcome setband220() { return ChooseBand(220); }
  SendOutcome setband440() { return ChooseBand(440); }
  SendOutcome setband35() { return ChooseBand(35); }
  /// The band button of that number (35 is 902 MHz). Nothing when no button has it.
  std::optional<SendOutcome> PressBand(int number);

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
  SendOutcome ChooseBand(int number);
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
  Frequency step_{500};                     ///< 0.05 kHz
  std::optional<config::BandMemory> used_;  ///< the last frequency and mode in use on the band, once there was one
  bool choosing_ = false;
  Console::Subscription subscription_;
};

}  // namespace kvx::cat
