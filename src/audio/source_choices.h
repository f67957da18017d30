#pragma once

#include <string>
#include <vector>

#include "platform/audio_input.h"

namespace kvx::audio {

/// Where sound can be taken from, as it is offered.
struct SourceChoice {
  std::string source;  ///< for SpectrumSettings::source
  std::string label;

  bool operator==(const SourceChoice&) const = default;
};

/// The capture devices, monitors marked as such, the simulated receiver, and what is in use where that is none of them.
std::vector<SourceChoice> SourceChoices(const std::vector<platform::AudioDevice>& devices, const std::string& in_use);
/// The source that plays a WAV file.
std::string WavSource(const std::string& file);

}  // namespace kvx::audio
