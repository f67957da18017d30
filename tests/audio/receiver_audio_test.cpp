#include "sim/receiver_audio.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

#include "audio/character_error_rate.h"
#include "fakes/virtual_loop.h"
#include "platform/samples.h"
#include "sim/receiver_input.h"

namespace kvx::audio {
namespace {

constexpr int kRate = 8000;

double Power(std::span<const float> samples) {
  double sum = 0;
  for (const float sample : samples) sum += sample * sample;
  return sum / static_cast<double>(samples.size());
}

/// The amplitude of a tone in a piece of audio.
double ToneIn(std::span<const float> samples, double hertz) {
  std::complex<double> sum;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    sum += static_cast<double>(samples[i]) *
           std::polar(1.0, -2 * std::numbers::pi * hertz * static_cast<double>(i) / kRate);
  }
  return 2 * std::abs(sum) / static_cast<double>(samples.size());
}

TEST(ReceiverAudio, KeysItsStationsAtTheirTimesAndTones) {
  // At 12 wpm a dot lasts 0.1 s. "ET": dot at 0.5, dash at 0.9.
  sim::ReceiverAudio audio({}, {{.text = "ET", .wpm = 12, .hertz = 700, .start = 0.5},
                                {.text = "T", .wpm = 12, .hertz = 1000, .level_db = -6}});
  EXPECT_NEAR(audio.Length(), 0.5 + 0.1 * (1 + 3 + 3 + 3) + 1, 1e-9);
  const std::vector<float> samples = audio.RenderSeconds(1.5);
  const auto amplitude = [&](double from, double to, double hertz) {
    return ToneIn(std::span(samples).subspan(static_cast<std::size_t>(from * kRate),
                                             static_cast<std::size_t>((to - from) * kRate)),
                  hertz);
  };
  EXPECT_NEAR(amplitude(0.51, 0.59, 700), 0.3, 0.01);
  EXPECT_NEAR(amplitude(0.62, 0.88, 700), 0, 0.005);
  EXPECT_NEAR(amplitude(0.92, 1.18, 700), 0.3, 0.01);
  EXPECT_NEAR(amplitude(0.05, 0.25, 1000), 0.15, 0.005);
}

TEST(ReceiverAudio, NoiseHasThePowerThatItIsToldIn2500Hertz) {
  const sim::ReceiverSettings settings{.samples_per_second = kRate, .snr_db = -3, .seed = 5};
  sim::ReceiverAudio noise(settings, {});
  sim::ReceiverAudio both(settings, {{.text = "TTTTTTTTTT", .wpm = 5}});
  const std::vector<float> alone = noise.RenderSeconds(20);
  const std::vector<float> keyed = both.RenderSeconds(0.7);
  const double carrier = ToneIn(keyed, 700);
  const double snr = carrier * carrier / 2 / (Power(alone) * 2500 / (kRate / 2.0));
  EXPECT_NEAR(10 * std::log10(snr), -3, 0.5);
}

TEST(EditDistance, CountsWhatIsMissingAddedAndWrong) {
  EXPECT_EQ(EditDistance("CQ DE SM6XYZ", "CQ DE SM6XYZ"), 0U);
  EXPECT_EQ(EditDistance("CQ DE SM6XYZ", "CQDE SN6XYZE"), 3U);
  EXPECT_EQ(EditDistance("", "EE"), 2U);
  EXPECT_EQ(EditDistance("TEST", ""), 4U);
}

TEST(ReceiverInput, HearsTheBandAtTheDialAndItsOwnKeyInsteadWhileThatIsDown) {
  using namespace std::chrono_literals;
  VirtualLoop loop;
  sim::OwnStation own;
  double dial = 14'025'000;
  own.dial_hertz = [&dial] { return dial; };
  sim::ReceiverInput input(loop, own);
  std::vector<float> heard;
  input.on_samples = [&](std::span<const std::int16_t> samples) {
    for (const std::int16_t sample : samples) heard.push_back(platform::ToFloat(sample));
  };
  ASSERT_TRUE(input.Open(kRate));
  const auto tone = [&](double hertz) {
    heard.clear();
    loop.RunFor(6s);
    EXPECT_EQ(heard.size(), 6U * kRate);
    return ToneIn(heard, hertz);
  };
  loop.RunFor(1s);
  EXPECT_GT(tone(510), 0.05) << "the first call";
  dial += 3 * 5000 + 100;
  EXPECT_GT(tone(410), 0.05) << "the same, 100 Hz and some bands further up";

  own.Key(true, loop.Now(), 640);
  loop.RunFor(500ms);
  heard.clear();
  loop.RunFor(1s);
  EXPECT_NEAR(ToneIn(heard, 640), 0.244, 0.01);
  EXPECT_LT(Power(heard), 0.244 * 0.244 / 2 * 1.02) << "nothing else";
  own.Key(false, loop.Now(), 640);
  loop.RunFor(1s);
  heard.clear();
  loop.RunFor(1s);
  EXPECT_LT(ToneIn(heard, 640), 0.01);
  EXPECT_GT(Power(heard), 1e-4) << "the band is back";
}

}  // namespace
}  // namespace kvx::audio
