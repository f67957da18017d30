#include "accessories/tuner_segments.h"

#include <algorithm>

namespace kvx::accessories {

const TunerSegment& SegmentOf(Frequency frequency) {
  return *std::find_if(kTunerSegments.begin(), kTunerSegments.end() - 1,
                       [frequency](const TunerSegment& segment) { return segment.Holds(frequency); });
}

const TunerSegment* SegmentOfKey(std::string_view key) {
  const auto* found = std::find_if(kTunerSegments.begin(), kTunerSegments.end(),
                                   [key](const TunerSegment& segment) { return segment.key == key; });
  return found == kTunerSegments.end() ? nullptr : found;
}

std::string RangeText(const TunerSegment& segment) {
  constexpr Frequency kLastDigit = Frequency::FromHz(10);
  if (segment.to == 0) return "all other frequencies";
  return KhzText(Frequency::FromKhz(segment.from)) + " to " + KhzText(Frequency::FromKhz(segment.to) - kLastDigit) +
         " kHz";
}

}  // namespace kvx::accessories
