#pragma once

#include <string>
#include <string_view>

#include "core/frequency.h"
#include "core/result.h"

namespace kvx::widgets {

// The places of the frequency display count from the right: place 0 is tens of hertz, place 2 kilohertz, place 7
// hundreds of megahertz.

inline constexpr int kDecimalPlaces = 2;  ///< behind the point of a frequency in kHz
inline constexpr int kPlaces = 8;         ///< always shown, as leading zeros if need be
inline constexpr int kKhzPlaces = kPlaces - kDecimalPlaces;

/// What one step of the digit at that place is worth.
Frequency StepOfPlace(int place);
int DigitAtPlace(Frequency frequency, int place);
/// kPlaces, or as many more as a frequency beyond 999999.99 kHz needs.
int PlacesShown(Frequency frequency);
/// How many of the shown places hold zeros before the first digit that counts; the one of kHz always counts.
int LeadingZeros(Frequency frequency);
/// "10 Hz", "1 kHz", "100 MHz".
std::string PlaceName(int place);

/// The frequency with the digit at `place` turned by so many steps; a carry or borrow runs through the places above.
/// Stops one step before 0 kHz would be passed, or the highest number of the shown places: the digits below stay.
Frequency TurnDigit(Frequency frequency, int place, int steps);

/// A frequency in kHz while the operator types it: at most six digits, then a point (or comma) and two decimals.
class DigitEntry final {
 public:
  bool active() const { return !text_.empty(); }
  const std::string& text() const { return text_; }
  /// The whole text is selected: what is typed next replaces it.
  bool selected() const { return selected_; }
  /// The text was refused by Confirm and has not been edited since.
  bool refused() const { return refused_; }

  /// Whether the character has a place here; nothing changes when it has none.
  bool Type(char c);
  void Backspace();
  void Drop();
  /// Starts with the frequency that is shown, selected.
  void Select(Frequency present);
  /// Takes over a number of kHz, "14025.3" or "14 025,30 kHz", in place of what was typed.
  Status Paste(std::string_view text);
  /// The frequency, and the entry is over; or why not, and the text stays to be mended. The rig is `offset` above it.
  Result<Frequency> Confirm(Frequency offset = {});

 private:
  std::string text_;
  bool selected_ = false;
  bool refused_ = false;
};

}  // namespace kvx::widgets
