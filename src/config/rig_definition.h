#pragma once

#include <array>
#include <string>

#include "config/rig_row.h"

namespace kvx::config {

inline constexpr int kSliders = 11;
inline constexpr int kFunctions = 9;

/// The range of a slider as its set field's suffix "{max-min}" gives it.
struct SliderBounds {
  int maximum = 255;
  int minimum = 0;
  bool operator==(const SliderBounds&) const = default;
};

/// The set field of each slider, #1 first; empty for the tone slider #2, which no rig command belongs to.
inline constexpr std::array<std::string_view, kSliders> kSliderFields{
    "MEMO4", "", "SET ALPHA", "SET BRAVO", "SET CHAR", "USER4", "AFGain", "RFGain", "Power", "Filter", "Notch"};

/// The console's working state for the selected rig: its row with every default applied and every suffix read.
/// Replaced whole at each rig selection.
struct RigDefinition {
  RigRow row;
  std::string name;                                       ///< as the row spells it; empty when no rig is loaded
  std::string family;                                     ///< RigType, upper case
  std::array<std::string, kFunctions> captions;           ///< Cap1..Cap9, or their digit
  std::array<std::string, kSliders> slider_captions;      ///< from SSScan
  std::array<std::string, kSliders> slider_descriptions;  ///< from MEMO3
  std::array<SliderBounds, kSliders> slider_bounds;
  int split_function = 0;    ///< 1 to 9: the function that switches split on and, pressed again, off; 0: none
  int cw_full_scale = 255;   ///< MEMO4's maximum; 254 for the family ICOM
  std::string memo5_first;   ///< VFO-to-memory command
  std::string memo5_second;  ///< command that sets the frequency of VFO B

  /// Commands are bytes written as hexadecimal pairs. (A KENWOOD row that asks for hexadecimal is sent and answered as
  /// text.)
  bool binary() const { return row.send_as_hex && family != "KENWOOD"; }
  /// Replies have neither name nor end mark: a reply is whatever comes after its query.
  bool nameless() const { return binary() && family == "YAESU"; }
  /// Commands of exactly five bytes, each acknowledged by one.
  bool five_byte() const { return nameless() && !row.rev_data; }
};

/// Applies the loading rules to a row.
RigDefinition LoadDefinition(RigRow row);

/// The bounds suffix of a slider's set field; 0 to 255 without one.
SliderBounds ReadBounds(std::string_view set_field);

}  // namespace kvx::config
