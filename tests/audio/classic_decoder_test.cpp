#include "audio/classic_decoder.h"

#include <gtest/gtest.h>

#include "audio/character_error_rate.h"
#include "sim/receiver_audio.h"

namespace kvx::audio {
namespace {

constexpr const char* kText = "CQ TEST DE SM6XYZ UR 5NN NR 307 THE WX HR IS FINE ES RQJ4KP";

/// The text, and when its parts came, in seconds after the end of their last mark.
struct Decoded {
  std::string text;
  double slowest = 0;
};

Decoded Decode(sim::ReceiverAudio& audio, int rate, double seconds, double hertz) {
  const WordList words("THE\n");
  ClassicDecoder decoder(rate, hertz, words);
  Decoded result;
  double now = 0;
  decoder.on_text = [&](const ReadText& read) {
    result.text.erase(result.text.size() - static_cast<std::size_t>(read.erase));
    result.text += read.text;
    if (now > 8 && now < seconds && read.text != " ") result.slowest = std::max(result.slowest, now - read.seconds);
  };
  for (; now < seconds; now += 0.02) decoder.Feed(audio.RenderSeconds(0.02));
  decoder.Finish();
  if (!result.text.empty() && result.text.back() == ' ') result.text.pop_back();
  return result;
}

struct Case {
  const char* name;
  int rate;
  sim::ReceiverSettings settings;
  std::vector<sim::HeardStation> stations;
  std::size_t most_wrong;
};

// The hint is up to 50 Hz off and the speed is not told.
TEST(ClassicDecoder, ReadsFromTheFirstCharacterWhateverTheAir) {
  const std::vector<Case> cases{
      {"clean, slow", 44'100, {}, {{.text = "KVX 73", .wpm = 5, .hertz = 610}}, 0},
      {"clean, fast", 22'050, {}, {{.text = kText, .wpm = 45, .hertz = 700}}, 0},
      {"dots first", 8000, {}, {{.text = "EISH5 EXPLAINED", .wpm = 25, .hertz = 690}}, 0},
      {"a neighbour's clicks first",
       8000,
       {},
       {{.text = kText, .wpm = 25, .hertz = 650, .start = 1},
        {.text = "TEST DE PA3XYZ QRL?", .wpm = 28, .hertz = 900, .repeat_after = 0.3}},
       0},
      {"at the noise", 11'025, {.snr_db = 0}, {{.text = kText, .wpm = 30, .hertz = 605}}, 3},
      {"below the noise", 8000, {.snr_db = -6}, {{.text = kText, .wpm = 18, .hertz = 630}}, 12},
      {"a hand", 8000, {.snr_db = 20}, {{.text = kText, .wpm = 22, .hertz = 650, .jitter = 0.15}}, 4},
      {"fading, drifting",
       48'000,
       {.snr_db = 10},
       {{.text = kText, .wpm = 18, .hertz = 650, .drift = 30, .fade_hertz = 0.2, .fade_db = 15}},
       4},
      {"an equal neighbour",
       16'000,
       {.snr_db = 20},
       {{.text = kText, .wpm = 25, .hertz = 650},
        {.text = "VVV QRM QRM TEST", .wpm = 20, .hertz = 900, .repeat_after = 1}},
       1},
      {"impulses", 8000, {.snr_db = 10, .impulses_per_second = 10}, {{.text = kText, .wpm = 30, .hertz = 650}}, 2},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    sim::ReceiverSettings settings = one.settings;
    settings.samples_per_second = one.rate;
    sim::ReceiverAudio audio(settings, one.stations);
    const Decoded read = Decode(audio, one.rate, audio.Length(), 650);
    EXPECT_LE(EditDistance(one.stations[0].text, read.text), one.most_wrong) << read.text;
    EXPECT_LE(read.slowest, 0.2 + 0.6 * 3.6 / one.stations[0].wpm + 1.2 / one.stations[0].wpm);
  }
}

TEST(ClassicDecoder, PrintsNothingOnNoiseAndTellsWhatItMoves) {
  sim::ReceiverAudio noise({.snr_db = 0, .seed = 3}, {});
  EXPECT_EQ(Decode(noise, 8000, 90, 700).text, "");

  sim::ReceiverAudio audio({}, {{.text = "PARIS PARIS PARIS PARIS", .wpm = 20, .hertz = 720}});
  const WordList words("");
  ClassicDecoder decoder(8000, 700, words);
  EXPECT_EQ(decoder.controls().Thresh, 880);
  decoder.Feed(audio.RenderSeconds(8));
  EXPECT_NEAR(decoder.controls().Thresh, 105 + 30, 4);  // the carrier's amplitude is 0.3
  EXPECT_NEAR(decoder.controls().CenterF, 954, 3);      // 720 / 2 * 2.65
  EXPECT_EQ(decoder.controls().CWSp, 20);
  EXPECT_TRUE(decoder.reception().signal);
}

TEST(ClassicDecoder, FollowsTheNextStationAtAnotherSpeed) {
  sim::ReceiverAudio audio(
      {.snr_db = 10}, {{.text = "CQ CQ DE SM6XYZ SM6XYZ K", .wpm = 15, .hertz = 700},
                       {.text = "SM6XYZ DE OH2ABC UR 599 599 IN HELSINKI BK", .wpm = 38, .hertz = 712, .start = 29}});
  const std::string read = Decode(audio, 8000, audio.Length(), 700).text;
  EXPECT_LE(EditDistance("CQ CQ DE SM6XYZ SM6XYZ K SM6XYZ DE OH2ABC UR 599 599 IN HELSINKI BK", read), 3U) << read;
}

}  // namespace
}  // namespace kvx::audio
