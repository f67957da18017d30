#include "audio/best_decoder.h"

#include <gtest/gtest.h>

#include "audio/character_error_rate.h"
#include "shipped_letters.h"
#include "sim/receiver_audio.h"

namespace kvx::audio {
namespace {

constexpr int kRate = 8000;
constexpr const char* kText = "CQ TEST DE SM6XYZ UR 5NN NR 307 THE WX HR IS FINE ES RQJ4KP";

std::string Decode(sim::ReceiverAudio& audio, double seconds, double hertz) {
  BestDecoder decoder(kRate, hertz, Letters());
  std::string text;
  double last = 0;
  decoder.on_text = [&](const ReadText& read) {
    text += read.text;
    EXPECT_GE(read.seconds, last);
    last = read.seconds;
  };
  for (double done = 0; done < seconds; done += 0.5) decoder.Feed(audio.RenderSeconds(0.5));
  decoder.Finish();
  if (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

struct Case {
  const char* name;
  sim::ReceiverSettings settings;
  std::vector<sim::HeardStation> stations;
  std::size_t most_wrong;
};

// The hint is up to 40 Hz off and the speed is not told.
TEST(BestDecoder, ReadsFromTheFirstCharacterWhateverTheAir) {
  const std::vector<Case> cases{
      {"clean, slow", {}, {{.text = "KVX 73", .wpm = 8, .hertz = 610}}, 0},
      {"a short over", {}, {{.text = "TU", .wpm = 25, .hertz = 650, .start = 1}}, 0},
      {"clean, fast", {}, {{.text = kText, .wpm = 45, .hertz = 690, .start = 1}}, 0},
      {"far below the noise", {.snr_db = -6}, {{.text = kText, .wpm = 25, .hertz = 630}}, 2},
      {"a hand", {.snr_db = 10}, {{.text = kText, .wpm = 22, .hertz = 650, .jitter = 0.15}}, 3},
      {"fading, drifting",
       {.snr_db = 10},
       {{.text = kText, .wpm = 18, .hertz = 650, .drift = 4, .fade_hertz = 0.2, .fade_db = 15}},
       5},
      {"an equal neighbour",
       {.snr_db = 15},
       {{.text = kText, .wpm = 25, .hertz = 650},
        {.text = "VVV QRM QRM TEST", .wpm = 20, .hertz = 900, .repeat_after = 1}},
       0},
      {"drifting far", {.snr_db = 10}, {{.text = kText, .wpm = 18, .hertz = 650, .drift = -60}}, 0},
      {"impulses", {.snr_db = 10, .impulses_per_second = 10}, {{.text = kText, .wpm = 30, .hertz = 650}}, 1},
      {"loud impulses",
       {.snr_db = 10, .impulses_per_second = 10, .impulse_db = 40},
       {{.text = kText, .wpm = 30, .hertz = 650}},
       1},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    sim::ReceiverSettings settings = one.settings;
    settings.samples_per_second = kRate;
    sim::ReceiverAudio audio(settings, one.stations);
    const std::string read = Decode(audio, audio.Length(), 650);
    EXPECT_LE(EditDistance(one.stations[0].text, read), one.most_wrong) << read;
  }
}

TEST(BestDecoder, PrintsNothingOnNoise) {
  sim::ReceiverAudio audio({.samples_per_second = kRate, .snr_db = 0, .seed = 3}, {});
  EXPECT_EQ(Decode(audio, 120, 700), "");
}

TEST(BestDecoder, TakesNoToneThatComesAndGoesForText) {
  std::vector<sim::HeardStation> stations;
  for (int i = 0; i < 20; ++i) stations.push_back({.text = "T", .wpm = 3.6, .start = 1.5 * i});  // a second each
  sim::ReceiverAudio audio({.samples_per_second = kRate, .snr_db = 15}, stations);
  EXPECT_EQ(Decode(audio, audio.Length(), 700), "");
}

// They differ in speed, strength and tone; the pauses between them are short.
TEST(BestDecoder, ReadsStationsThatTakeTurns) {
  const std::vector<std::string> overs{"CQ DE SM6XYZ K", "SM6XYZ DE OH2ABC KN", "OH2ABC GM UR 579 BK", "FB 73 TU EE"};
  std::vector<sim::HeardStation> stations;
  std::string sent;
  double start = 0.5;
  for (std::size_t i = 0; i < overs.size(); ++i) {
    const bool first = i % 2 == 0;
    stations.push_back({.text = overs[i],
                        .wpm = first ? 18.0 : 30.0,
                        .hertz = first ? 700.0 : 710.0,
                        .level_db = first ? 0.0 : -8.0,
                        .start = start});
    start = sim::ReceiverAudio({}, stations).Length();  // a second after the last
    sent += (i > 0 ? " " : "") + overs[i];
  }
  sim::ReceiverAudio audio({.samples_per_second = kRate, .snr_db = 14}, stations);
  const std::string read = Decode(audio, start, 690);
  EXPECT_LE(EditDistance(sent, read), 2U) << read;
}

}  // namespace
}  // namespace kvx::audio
