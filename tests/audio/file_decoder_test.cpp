#include "audio/file_decoder.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "audio/tone_search.h"
#include "platform/samples.h"
#include "platform/wav_file.h"
#include "sim/receiver_audio.h"

namespace kvx::audio {
namespace {

TEST(FileDecoding, TakesItsArgumentsOrNamesTheWrongOne) {
  const auto good = ParseFileDecoding({"--tone", "650.5", "a.wav", "--mode", "classic"});
  ASSERT_TRUE(good);
  EXPECT_EQ(good->file, "a.wav");
  EXPECT_EQ(good->hertz, 650.5);
  EXPECT_EQ(good->mode, DecoderMode::kClassic);
  const std::vector<std::pair<std::vector<std::string>, std::string>> wrong{
      {{}, "decode needs a WAV file"},
      {{"a.wav", "b.wav"}, "decode takes one file, not also b.wav"},
      {{"a.wav", "--tone", "7"}, "--tone takes 200 to 2500 Hz, not \"7\""},
      {{"a.wav", "--tone"}, "--tone takes 200 to 2500 Hz, not \"\""},
      {{"a.wav", "--mode", "good"}, "--mode takes classic or best, not \"good\""},
      {{"a.wav", "--speed", "20"}, "decode does not know --speed"},
  };
  for (const auto& [arguments, message] : wrong) {
    const auto parsed = ParseFileDecoding(arguments);
    ASSERT_FALSE(parsed);
    EXPECT_EQ(parsed.error().message, message);
  }
}

// A carrier ten times as strong, and a weaker station, are not what is read.
TEST(FileDecoder, ReadsTheStrongestKeyedToneOfARecording) {
  constexpr int kRate = 11'025;
  const std::string file = testing::TempDir() + "decode.wav";
  sim::ReceiverAudio audio({.samples_per_second = kRate, .snr_db = 20},
                           {{.text = "CQ CQ DE SM6XYZ SM6XYZ K", .wpm = 22, .hertz = 820, .level_db = -14, .start = 1},
                            {.text = "VVV VVV VVV", .wpm = 18, .hertz = 1150, .level_db = -24, .repeat_after = 1}});
  std::vector<float> samples = audio.RenderSeconds(audio.Length());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] += 0.3F * static_cast<float>(std::sin(0.25 * static_cast<double>(i)));  // 439 Hz
  }
  auto writer = platform::WavWriter::Create(file, kRate);
  ASSERT_TRUE(writer);
  ASSERT_TRUE(writer->Write(platform::To16Bits(samples)));
  ASSERT_TRUE(writer->Close());
  for (const DecoderMode mode : {DecoderMode::kClassic, DecoderMode::kBest}) {
    auto decoder = FileDecoder::Open({.file = file, .mode = mode}, "CQ\nDE\n");
    ASSERT_TRUE(decoder);
    EXPECT_EQ((*decoder)->hertz(), 0);  // a long recording is not read through before its first step
    WordGatherer gatherer;
    std::vector<std::string> words;
    (*decoder)->on_text = [&](const ReadText& text) {
      if (const std::string word = gatherer.Add(text); !word.empty()) words.push_back(word);
    };
    while ((*decoder)->Step(1)) {
    }
    EXPECT_NEAR((*decoder)->hertz(), 820, 12);
    ASSERT_GE(words.size(), 2U);
    EXPECT_EQ(words[1], "CQ ");
  }
  std::filesystem::remove(file);
}

TEST(ToneSearch, FindsNothingInNoise) {
  sim::ReceiverAudio audio({.snr_db = 0, .seed = 5}, {});
  ToneSearch search(8000);
  search.Feed(audio.RenderSeconds(60));
  EXPECT_EQ(search.Strongest(), std::nullopt);
}

TEST(WordGatherer, TakesBackWhatHasBeenCorrected) {
  WordGatherer gatherer;
  EXPECT_EQ(gatherer.Add({.text = "6"}) + gatherer.Add({.text = "E"}), "");
  EXPECT_EQ(gatherer.Add({.text = "THE", .erase = 2, .corrected = true}), "");
  EXPECT_EQ(gatherer.Add({.text = " "}), "THE ");
  EXPECT_EQ(gatherer.TakeRest(), "");
}

}  // namespace
}  // namespace kvx::audio
