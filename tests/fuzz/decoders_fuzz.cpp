#include <cmath>
#include <vector>

#include "audio/best_decoder.h"
#include "input.h"

namespace {

constexpr double kSamplesPerSecond = 8000;
constexpr double kHertz = 700;
constexpr double kTurn = 6.283185307179586;

}  // namespace

/// Sound of any loudness: each byte is a stretch of tone or of nothing, or of samples that are no sound at all.
KVX_FUZZ(input) {
  using namespace kvx::audio;
  static const LetterModel letters("");
  BestDecoder decoder(kSamplesPerSecond, kHertz, letters);
  decoder.on_text = [](const ReadText& read) {
    kvx::fuzz::Demand(read.confidence >= 0 && read.confidence <= 1, "a confidence is 0..1");
  };
  std::vector<float> samples;
  for (std::int64_t at = 0; !input.empty() && at < 60 * kSamplesPerSecond;) {
    const std::uint8_t what = input.Byte();
    samples.assign(static_cast<std::size_t>(what >> 2) * 32 + 1, 0);
    const double loudness = std::ldexp(1.0, -static_cast<int>(input.Byte() % 24)) * ((what & 1) != 0 ? 1 : 0);
    for (float& sample : samples)
      sample = static_cast<float>(loudness * std::sin(kTurn * kHertz * static_cast<double>(at++) / kSamplesPerSecond));
    if ((what & 2) != 0) samples.front() = 1;
    decoder.Feed(samples);
  }
  decoder.Finish();
}
