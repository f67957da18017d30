#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "audio/spectrum_settings.h"
#include "core/result.h"

namespace kvx::audio {

// The controls of the audio window by their names, as the window, the command line and SpecDisplay.pos share them.

/// Sets one: a number, a text, "TRUE" or "FALSE" (also on and off, 1 and 0); "TRUE" chooses an option button. kNotFound
/// for an unknown name, kInvalid for a value that it cannot hold.
Status SetControl(SpectrumSettings& settings, std::string_view control, std::string_view value);
/// What one is set to, as SetControl takes it. kNotFound.
Result<std::string> ControlValue(const SpectrumSettings& settings, std::string_view control);
/// What a control that is a number can hold.
struct NumberRange {
  int low = 0;
  int high = 0;
};
std::optional<NumberRange> ControlRange(std::string_view control);
/// What a control says of itself ("Ref: 0 dB", "Freeze"); empty for one that says nothing.
std::string ControlCaption(const SpectrumSettings& settings, std::string_view control);

/// What "Decode CW" sets.
void ApplyDecoderPreset(SpectrumSettings& settings);

/// The lines "NAME=value" of what is kept between runs.
std::string FormatControls(const SpectrumSettings& settings);
/// Reads them; lines that are none, or hold what the control cannot, leave it as it was.
void ParseControls(std::string_view content, SpectrumSettings& settings);
/// The file with these settings in it; lines of others stay in front.
std::string WithControls(std::string_view content, const SpectrumSettings& settings);

}  // namespace kvx::audio
