#include "audio/display_scenes.h"

#include "audio/spectrum_trace.h"

namespace kvx::audio {

widgets::SpectrumScene SpectrumSceneOf(const SpectrumSettings& settings, bool difference) {
  return {.from = settings.txtFMin,
          .to = settings.txtFMax,
          .highest = settings.cboSRate / 2.0,
          .reference = static_cast<double>(settings.scrReflvl),
          .per_division = static_cast<double>(settings.scrdBdiv),
          .difference = difference,
          .grid = settings.scrGridBrightness,
          .ground = settings.scrBckBrightness,
          .plain = settings.chkBW,
          .marker = static_cast<double>(settings.CrossIt),
          .centre = static_cast<double>(settings.CenterF),
          .threshold = settings.Thresh};
}

widgets::WaterfallScene WaterfallSceneOf(const SpectrumSettings& settings) {
  return {.from = settings.txtFMin,
          .to = settings.txtFMax,
          .highest = settings.cboSRate / 2.0,
          .marker = static_cast<double>(settings.CrossIt),
          .colors = settings.chkBW ? "Grey" : settings.colors,
          .overwriting = settings.chkOverWrite};
}

widgets::ScopeScene ScopeSceneOf(const SpectrumSettings& settings) {
  return {.samples_per_second = settings.cboSRate,
          .grid = settings.scrGridBrightness,
          .ground = settings.scrBckBrightness,
          .plain = settings.chkBW,
          .threshold = settings.Thresh};
}

ShownTraces TracesOf(const SpectrumSettings& settings, const SpectrumFrame& frame, const std::vector<float>& stored) {
  ShownTraces traces;
  if (frame.bins > 0) traces.bin_hertz = static_cast<double>(frame.samples_per_second) / frame.bins;
  const bool has_second = !stored.empty() && stored.size() == frame.trace.size();
  const std::vector<float> second =
      has_second ? ShiftedTrace(stored, static_cast<float>(settings.scrT2Offset)) : std::vector<float>();
  traces.difference = has_second && settings.trace_math;
  traces.first = traces.difference ? TraceDifference(frame.trace, second) : frame.trace;
  if (settings.trace2 && !traces.difference) traces.second = second;
  return traces;
}

}  // namespace kvx::audio
