#pragma once

#include <vector>

#include "audio/audio_analysis.h"
#include "widgets/scope_view.h"
#include "widgets/spectrum_view.h"
#include "widgets/waterfall_view.h"

namespace kvx::audio {

// What the settings make of the instruments.

widgets::SpectrumScene SpectrumSceneOf(const SpectrumSettings& settings, bool difference);
widgets::WaterfallScene WaterfallSceneOf(const SpectrumSettings& settings);
widgets::ScopeScene ScopeSceneOf(const SpectrumSettings& settings);

/// What a spectrum shows of a frame: the trace or, with trace math, what it has more than the stored one; and the
/// stored one, moved by its offset, where it is wanted.
struct ShownTraces {
  std::vector<float> first;
  std::vector<float> second;
  bool difference = false;
  double bin_hertz = 0;
};
ShownTraces TracesOf(const SpectrumSettings& settings, const SpectrumFrame& frame, const std::vector<float>& stored);

}  // namespace kvx::audio
