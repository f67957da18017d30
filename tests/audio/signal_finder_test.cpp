#include "audio/signal_finder.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "audio/callsign_picker.h"
#include "audio/character_error_rate.h"
#include "shipped_letters.h"
#include "sim/receiver_audio.h"

namespace kvx::audio {
namespace {

constexpr int kRate = 8000;

/// Hears the audio to its end and tells how many signals were listed at most.
std::size_t Hear(SignalFinder& finder, sim::ReceiverAudio& audio, double seconds) {
  std::size_t most = 0;
  finder.on_change = [&] { most = std::max(most, finder.signals().size()); };
  for (double done = 0; done < seconds; done += 0.25) finder.Feed(audio.RenderSeconds(0.25));
  finder.Finish();
  return most;
}

TEST(SignalFinder, ReadsEightSignalsAtOnceEachUnderItsTone) {
  std::vector<sim::HeardStation> stations;
  for (int i = 0; i < 8; ++i) {
    const std::string call = "OH" + std::to_string(i) + "KX" + std::string(1, static_cast<char>('A' + i));
    stations.push_back({.text = "CQ CQ DE " + call + " " + call + " K",
                        .wpm = 16.0 + 3 * i,
                        .hertz = 400.0 + 250 * i + 7 * (i % 3),
                        .level_db = -2.0 * (i * 5 % 8),
                        .start = 0.4 * i});
  }
  sim::ReceiverAudio audio({.samples_per_second = kRate, .snr_db = 12}, stations);
  SignalFinder finder(kRate, Letters());
  EXPECT_EQ(Hear(finder, audio, audio.Length()), stations.size());
  ASSERT_EQ(finder.signals().size(), stations.size());
  for (std::size_t i = 0; i < stations.size(); ++i) {
    const HeardSignal& heard = finder.signals()[i];
    EXPECT_NEAR(heard.hertz, stations[i].hertz, 3);
    EXPECT_NEAR(heard.wpm, stations[i].wpm, 2);
    EXPECT_LE(EditDistance(stations[i].text, heard.text), 2U) << heard.text;
    EXPECT_EQ(heard.callsigns, std::vector<std::string>{stations[i].text.substr(9, 6)});
  }
}

TEST(SignalFinder, ListsNoNoiseNoCarrierAndNoOvertone) {
  sim::ReceiverAudio noise({.samples_per_second = kRate, .snr_db = 0, .impulses_per_second = 5, .seed = 3}, {});
  SignalFinder silent(kRate, Letters());
  EXPECT_EQ(Hear(silent, noise, 40), 0U);

  sim::ReceiverAudio audio({.samples_per_second = kRate, .snr_db = 20},
                           {{.text = "T", .wpm = 0.05, .hertz = 1500}, {.text = "CQ DE SM6XYZ SM6XYZ K", .wpm = 25}});
  SignalFinder beside(kRate, Letters());
  EXPECT_EQ(Hear(beside, audio, 18), 1U);

  sim::ReceiverAudio loud({.samples_per_second = kRate, .snr_db = 20}, {{.text = "CQ DE SM6XYZ SM6XYZ K", .wpm = 25}});
  SignalFinder overdriven(kRate, Letters());
  for (int i = 0; i < 30; ++i) {
    std::vector<float> samples = loud.RenderSeconds(0.5);
    for (float& sample : samples) sample = std::clamp(sample, -0.1F, 0.1F);
    overdriven.Feed(samples);
    ASSERT_LE(overdriven.signals().size(), 1U) << overdriven.signals().back().hertz;
  }
}

TEST(SignalFinder, KeepsTheNumberThroughAPauseAndForgetsASilentSignal) {
  sim::ReceiverAudio audio({.samples_per_second = kRate, .snr_db = 10},
                           {{.text = "CQ DE SM6XYZ K", .wpm = 25, .hertz = 600},
                            {.text = "SM6XYZ DE OH2ABC K", .wpm = 20, .hertz = 606, .start = 20}});
  SignalFinder finder(kRate, Letters());
  for (int second = 0; second < 40; ++second) finder.Feed(audio.RenderSeconds(1));
  ASSERT_EQ(finder.signals().size(), 1U);
  EXPECT_EQ(finder.signals()[0].number, 1);
  EXPECT_EQ(finder.signals()[0].text, "CQ DE SM6XYZ K SM6XYZ DE OH2ABC K ");
  for (int second = 0; second < 40; ++second) finder.Feed(audio.RenderSeconds(1));
  EXPECT_TRUE(finder.signals().empty());
}

TEST(CallsignPicker, TellsCallsignsFromOtherWords) {
  struct Case {
    const char* text;
    double confidence;
    std::vector<std::string> callsigns;
  };
  const std::vector<Case> cases{
      {"CQ CQ DE SM6XYZ K", 0.5, {"SM6XYZ"}},
      {"SM6XYZ UR 5NN", 0.5, {}},
      {"SM6XYZ UR5NN 599 TEST TU 73 QRZ R5NN", 0.99, {"SM6XYZ"}},
      {"SM6XYZ SM6XYZ", 0.5, {"SM6XYZ"}},
      {"DL/SM6XYZ/P OH2A/M 9A1AA 3DA0RU A92AA K1A 4X4/G3A",
       0.99,
       {"DL/SM6XYZ/P", "OH2A/M", "9A1AA", "3DA0RU", "A92AA", "K1A", "4X4/G3A"}},
      {"IC7300 FT817ND TS590S 100W 5W 20M K3 R2 1/2 //", 0.99, {}},
      {"DE SP100XYZ", 0.99, {"SP100XYZ"}},
      {"W1AW K3LR W1AW", 0.99, {"K3LR", "W1AW"}},
  };
  for (const Case& one : cases) {
    CallsignPicker picker;
    for (const char character : std::string(one.text)) picker.Add(std::string(1, character), one.confidence);
    picker.EndWord();
    EXPECT_EQ(picker.callsigns(), one.callsigns) << one.text;
  }
}

}  // namespace
}  // namespace kvx::audio
