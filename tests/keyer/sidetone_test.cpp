#include "keyer/sidetone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "core/hex_text.h"
#include "fakes/fake_sound_output.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"
#include "keyer/morse.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

/// '#' while the envelope is up, for each dot of a symbol: taken in its middle.
std::string Shape(const Samples& samples, int wpm) {
  std::string shape;
  const double dot = static_cast<double>(DotLength(wpm).count()) * kToneRate / 1e9;
  for (double at = dot / 2; at < static_cast<double>(samples.size()); at += dot) {
    int most = 0;
    const auto begin = static_cast<std::size_t>(at - dot / 8);
    for (std::size_t i = begin; i < begin + static_cast<std::size_t>(dot / 4); ++i)
      most = std::max(most, std::abs(samples[i]));
    shape += most > 1000 ? '#' : '.';
  }
  return shape;
}

/// How strong a frequency is in the whole of the samples, against a steady tone of full length: dB.
double Strength(const Samples& samples, double hertz, double reference) {
  double re = 0;
  double im = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double window =
        0.5 - 0.5 * std::cos(2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(samples.size()));
    const double angle = 2 * std::numbers::pi * hertz * static_cast<double>(i) / kToneRate;
    re += samples[i] * window * std::cos(angle);
    im += samples[i] * window * std::sin(angle);
  }
  return 20 * std::log10(std::hypot(re, im) / reference + 1e-12);
}

TEST(Sidetone, SymbolsHaveTheirElementsAndGapsAtEverySpeed) {
  for (const int wpm : {5, 20, 60, 99}) {
    EXPECT_EQ(Shape(RenderSymbol({}, "A", wpm), wpm), "#.###...") << wpm;
    EXPECT_EQ(Shape(RenderSymbol({}, "AR", wpm), wpm), "#.###.#.###.#...") << wpm;
    EXPECT_EQ(Shape(RenderSymbol({}, " ", wpm), wpm), "....") << wpm;
  }
  EXPECT_TRUE(RenderSymbol({}, "\x7f", 20).empty());
}

TEST(Sidetone, NothingClicks) {
  // Keyed hard, 700 Hz has -79 to -103 dB there over such a text; with clean edges less than -110.
  for (const int wpm : {12, 30, 60}) {
    Samples text;
    for (const char* symbol : {"C", "Q", " ", "H", "5"}) {
      const Samples samples = RenderSymbol({.hertz = 700, .volume = 100}, symbol, wpm);
      text.insert(text.end(), samples.begin(), samples.end());
    }
    const double reference = std::pow(10, Strength(text, 700, 1) / 20);
    for (const double hertz : {1500.0, 2000.0, 4000.0})
      EXPECT_LT(Strength(text, hertz, reference), -105) << wpm << " wpm, " << hertz;
  }
  int step = 0;  // from one sample to the next: a sine of 700 Hz itself makes 0.2 of its amplitude
  const Samples held = RenderTone({.hertz = 700, .volume = 100}, 0, 4000);
  int before = 0;
  for (const std::int16_t sample : held) step = std::max(step, std::abs(sample - std::exchange(before, sample)));
  EXPECT_LT(step, 32'650 / 4);
  EXPECT_LT(std::abs(held[10]), 1000) << "it rises";
}

TEST(Sidetone, PitchAndVolumeAreThoseOfTheTone) {
  const Samples held = RenderTone({.hertz = 440, .volume = 40}, 0, kToneRate);
  const auto most = *std::max_element(held.begin(), held.end());
  EXPECT_NEAR(most, 40 * 326.5, 2);
  int crossings = 0;
  for (std::size_t i = 1; i < held.size(); ++i) crossings += held[i - 1] < 0 && held[i] >= 0;
  EXPECT_NEAR(crossings, 440, 1);
}

TEST(Sidetone, TheWaveFileIsWhatPlayersRead) {
  TemporaryFolder folder;
  SystemFiles files;
  ASSERT_TRUE(KeepCwWave(files, folder.path(), {.hertz = 600, .volume = 100}).ok());
  const std::string file = folder.Get("cw.wav");
  ASSERT_EQ(file.size(), 44U + 44'100U);
  // PCM, mono, 22050 samples of 16 bits a second; 44136 bytes behind the size, 44100 of them sound.
  EXPECT_EQ(
      SpacedHex(file.substr(0, 44)),
      "52 49 46 46 68 AC 00 00 57 41 56 45 66 6D 74 20 10 00 00 00 01 00 01 00 22 56 00 00 44 AC 00 00 02 00 10 00 "
      "64 61 74 61 44 AC 00 00");
  Samples sound(22'050);
  std::memcpy(sound.data(), &file[44], 44'100);
  EXPECT_NEAR(*std::max_element(sound.begin(), sound.end()), 32'650, 5);
  ASSERT_TRUE(KeepCwWave(files, folder.path(), {.hertz = 800, .volume = 10}).ok());
  EXPECT_NE(folder.Get("cw.wav"), file) << "another tone";
}

struct Bench {
  VirtualLoop loop;
  FakeSoundOutput output{loop};
  Sidetone sidetone{loop, output};
};

TEST(Sidetone, ConsecutiveSymbolsJoinAndTheSoundNeverFallsFarBehind) {
  Bench bench;
  bench.sidetone.Begin("A", 20);
  EXPECT_TRUE(bench.output.played.empty()) << "it is off";
  ASSERT_TRUE(bench.sidetone.Switch(true).ok());
  bench.sidetone.Begin("A", 20);
  bench.loop.RunFor(MorseLength("A", 20));
  bench.sidetone.Begin("R", 20);
  EXPECT_EQ(Shape(bench.output.played, 20), "#.###...#.###.#...");
  // A keyer that is faster than it says, for a whole minute.
  for (int i = 0; i < 150; ++i) {
    bench.sidetone.Begin("E", 20);
    bench.loop.RunFor(MorseLength("E", 20) * 8 / 10);
    ASSERT_LT(bench.output.remaining(), 600ms);
  }
}

TEST(Sidetone, AHeldToneSoundsWithoutAGapAndEndsAtOnce) {
  Bench bench;
  ASSERT_TRUE(bench.sidetone.Switch(true).ok());
  bench.sidetone.Key(true);
  for (int i = 0; i < 200; ++i) {
    bench.loop.RunFor(25ms);
    ASSERT_GT(bench.output.remaining(), 0ms) << "after " << i * 25 << " ms";
    ASSERT_LT(bench.output.remaining(), 200ms);
  }
  const Samples wanted = RenderTone({}, 0, bench.output.played.size());
  EXPECT_EQ(bench.output.played, wanted) << "one tone, not pieces";
  bench.sidetone.Key(false);
  EXPECT_EQ(bench.output.remaining(), 0ms);
  const std::size_t count = bench.output.played.size();
  bench.loop.RunFor(1s);
  EXPECT_EQ(bench.output.played.size(), count);
}

TEST(Sidetone, AMachineWithoutSoundSaysSoAndALostOneIsTakenUpAgain) {
  Bench bench;
  std::vector<std::string> notices;
  bench.sidetone.on_notice = [&](const std::string& line) { notices.push_back(line); };
  bench.output.absent = true;
  const Status refused = bench.sidetone.Switch(true);
  ASSERT_FALSE(refused.ok());
  EXPECT_EQ(refused.error().message, "There is no sound output");
  EXPECT_FALSE(bench.sidetone.is_on());
  bench.output.absent = false;
  ASSERT_TRUE(bench.sidetone.Switch(true).ok());
  bench.sidetone.Key(true);
  bench.output.absent = true;
  bench.output.Lose();
  bench.loop.RunFor(20s);
  bench.output.absent = false;
  bench.loop.RunFor(3s);
  EXPECT_EQ(notices, (std::vector<std::string>{"The sound output has gone", "The side tone sounds again"}));
  EXPECT_GT(bench.output.remaining(), 0ms) << "the key is still down";
  bench.output.Lose();
  bench.sidetone.Key(false);
  bench.sidetone.Silence();
  bench.loop.RunFor(3s);
  EXPECT_TRUE(bench.output.is_open());
  EXPECT_EQ(bench.output.remaining(), 0ms);
}

TEST(Sidetone, ATrialSoundsWhileItIsOff) {
  Bench bench;
  ASSERT_TRUE(bench.sidetone.Listen({.hertz = 500, .volume = 30}, 20).ok());
  EXPECT_EQ(Shape(bench.output.played, 20), "###.#.###.#...###.###.#.###...");
  bench.loop.RunFor(1s);
  EXPECT_TRUE(bench.output.is_open());
  bench.loop.RunFor(2s);
  EXPECT_FALSE(bench.output.is_open()) << "given free again";
}

}  // namespace
}  // namespace kvx::keyer
