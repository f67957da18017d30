#include "audio/audio_analysis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "core/text.h"
#include "fakes/fake_audio_input.h"
#include "fakes/manual_worker.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"
#include "platform/samples.h"
#include "platform/wav_file.h"
#include "sim/receiver_audio.h"

namespace kvx::audio {
namespace {

using namespace std::chrono_literals;

struct Bench {
  Bench() {
    audio.on_notice = [this](const std::string& line) { notices.push_back(line); };
  }
  /// The next samples of a tone, in chunks of one odd size.
  void Hear(int count, int chunk = 441, double hertz = 750, double amplitude = 0.5) {
    std::vector<std::int16_t> samples;
    for (int i = 0; i < count; ++i) {
      const double turn = 2 * std::numbers::pi * hertz * at++ / card.rate;
      samples.push_back(static_cast<std::int16_t>(std::lround(amplitude * 32767 * std::sin(turn))));
    }
    for (int from = 0; from < count; from += chunk) {
      card.Hear(std::span(samples).subspan(static_cast<std::size_t>(from),
                                           static_cast<std::size_t>(std::min(chunk, count - from))));
      loop.RunFor(20ms);
      if (!lazy) worker.Work();
    }
  }
  void Set(const char* control, const std::string& value) {
    EXPECT_TRUE(audio.Set(control, value)) << control;
    worker.Work();
  }
  static std::size_t Strongest(const std::vector<float>& levels) {
    return static_cast<std::size_t>(std::max_element(levels.begin(), levels.end()) - levels.begin());
  }

  TemporaryFolder folder;
  SystemFiles files;
  VirtualLoop loop;
  ManualWorker worker;
  FakeAudioInput card;
  FakeAudioDevices devices;
  std::string made;
  std::vector<std::string> notices;
  bool lazy = false;
  int at = 0;
  AudioAnalysis audio{
      {.loop = loop,
       .files = files,
       .folder = folder.path(),
       .data = KVX_DATA,
       .worker = worker,
       .devices = &devices,
       .make_input = [this](const std::string& source) -> Result<std::unique_ptr<platform::AudioInput>> {
         made += source + ";";
         if (source == "nonsense") return Error{ErrorCode::kInvalid, "nonsense is no source"};
         return std::unique_ptr<platform::AudioInput>(std::make_unique<LentAudioInput>(card));
       }}};
};

TEST(AudioAnalysis, TransformsEachSampleOnce) {
  Bench bench;
  bench.Set("cboBins", "1024");
  bench.audio.Start();
  EXPECT_EQ(bench.audio.source_state(), "open");
  bench.Hear(1023, 7);
  EXPECT_EQ(bench.audio.counts().frames, 0);
  bench.Hear(1);
  ASSERT_EQ(bench.audio.counts().frames, 1);
  const SpectrumFrame& first = bench.audio.frame();
  ASSERT_EQ(first.levels.size(), 513U);
  EXPECT_EQ(Bench::Strongest(first.levels), 16U);            // 750 Hz of 48000 / 1024 a bin
  EXPECT_NEAR(first.levels[16], 20 * std::log10(0.5), 0.1);  // full scale is 0 dB
  EXPECT_EQ(bench.audio.level(), 94);
  bench.Hear(48'000 - 1024, 961);
  EXPECT_EQ(bench.audio.counts().samples, 48'000);
  EXPECT_EQ(bench.audio.counts().frames, 46);  // 47104 samples
  EXPECT_EQ(bench.audio.frame().number, 46);
  // Other bins: the 896 samples that wait, and no others, are in the next frames.
  bench.Set("cboBins", "64");
  EXPECT_EQ(bench.audio.counts().frames, 46 + 14);
  EXPECT_EQ(bench.card.opens, 1);
  bench.Set("cboBins", "16384");
  bench.Hear(16'384);
  EXPECT_EQ(bench.audio.counts().frames, 46 + 14 + 1);
  EXPECT_EQ(bench.audio.frame().scope.size(), 16'384U);
  EXPECT_EQ(bench.audio.counts().lost, 0);
}

TEST(AudioAnalysis, SilenceAndTheModesOfTheTrace) {
  Bench bench;
  bench.Set("cboBins", "256");
  bench.Set("optMaxhold", "TRUE");
  bench.audio.Start();
  bench.Hear(256, 256, 750, 0);
  for (const float level : bench.audio.frame().trace) EXPECT_NEAR(level, -140, 0.001);
  bench.Hear(256, 256);
  EXPECT_TRUE(bench.audio.Press("cmdStore"));
  const std::vector<float> loud = bench.audio.frame().trace;
  bench.Hear(1024, 256, 750, 0);
  EXPECT_EQ(bench.audio.frame().trace, loud);
  bench.Set("optAverage", "TRUE");
  bench.Set("scrAVG", "1");
  bench.Hear(256, 256, 3000);
  EXPECT_EQ(bench.audio.frame().trace, bench.audio.frame().levels);
  EXPECT_EQ(bench.audio.trace2(), loud);
  // Frozen, the display stands still; what is heard is counted.
  EXPECT_TRUE(bench.audio.Press("CmdSwitch"));
  const auto frames = bench.audio.counts().frames;
  bench.Hear(512, 256, 750);
  EXPECT_EQ(bench.audio.counts().frames, frames + 2);
  EXPECT_EQ(bench.audio.frame().number, frames);
  EXPECT_EQ(bench.audio.Caption("CmdSwitch"), "Start");
}

TEST(AudioAnalysis, AWorkerThatFallsBehindCostsSamplesAndNoMemory) {
  Bench bench;
  bench.audio.Start();
  bench.lazy = true;
  bench.Hear(7 * 48'000, 960);
  EXPECT_EQ(bench.audio.counts().lost, 2 * 48'000);
  bench.worker.Work();
  EXPECT_EQ(bench.audio.counts().frames, 5 * 48'000 / 4096);
  bench.lazy = false;
  bench.Hear(4096);
  EXPECT_EQ(bench.audio.counts().lost, 2 * 48'000);
}

TEST(AudioAnalysis, TakesALostSourceUpAgain) {
  Bench bench;
  bench.card.absent = true;
  bench.audio.Start();
  EXPECT_TRUE(bench.audio.running());
  EXPECT_EQ(bench.audio.source_state(), "This computer has no sound input");
  bench.loop.RunFor(60s);
  EXPECT_EQ(bench.notices, std::vector<std::string>{"This computer has no sound input"});
  bench.card.absent = false;
  bench.loop.RunFor(31s);
  EXPECT_EQ(bench.audio.source_state(), "open");
  bench.Hear(4096);
  bench.card.Lose();
  EXPECT_EQ(bench.notices.back(), "The sound input has gone");
  EXPECT_EQ(bench.audio.level(), 0);
  bench.devices.on_changed();  // it has been plugged in
  EXPECT_EQ(bench.audio.source_state(), "open");
  bench.Hear(4096);
  EXPECT_EQ(bench.audio.counts().frames, 2);
  // Another rate opens it anew; a source that cannot be is told of, and ends capture.
  bench.Set("cboSRate", "11025");
  EXPECT_EQ(bench.card.rate, 11'025);
  bench.Hear(4096);
  EXPECT_EQ(bench.audio.frame().samples_per_second, 11'025);
  EXPECT_EQ(Bench::Strongest(bench.audio.frame().levels), 279U);  // 750 Hz
  bench.Set("source", "nonsense");
  EXPECT_FALSE(bench.audio.running());
  EXPECT_EQ(bench.notices.back(), "nonsense is no source");
  EXPECT_EQ(bench.loop.timers(), 0U);
}

TEST(AudioAnalysis, KeepsItsSettingsAndRecords) {
  Bench bench;
  bench.audio.Save();
  EXPECT_FALSE(bench.files.Exists(bench.folder / "SpecDisplay.pos"));  // whoever never uses it gets no file
  bench.folder.Put("SpecDisplay.pos", "SpecDisplay=5 6 700 800 normal\nscrAVG=7\nsource=some card\n");
  bench.audio.Load();
  EXPECT_EQ(bench.audio.settings().scrAVG, 7);
  EXPECT_FALSE(bench.audio.Record(bench.folder / "early.wav"));
  bench.audio.Start();
  EXPECT_EQ(bench.made, "some card;");
  EXPECT_TRUE(bench.audio.Record(bench.folder / "heard.wav"));
  bench.Hear(5000, 441);
  EXPECT_TRUE(bench.audio.StopRecording());
  bench.Hear(100);
  bench.audio.TuneTo(712.4);
  bench.audio.Stop();
  bench.worker.Work();
  bench.audio.Save();
  EXPECT_EQ(bench.folder.Get("SpecDisplay.pos").find("SpecDisplay=5 6 700 800 normal\ncboSRate=48000\n"), 0U);
  EXPECT_NE(bench.folder.Get("SpecDisplay.pos").find("\nCrossIt=712\n"), std::string::npos);
  auto reader = platform::WavReader::Open(bench.folder / "heard.wav");
  ASSERT_TRUE(reader);
  EXPECT_EQ(reader->length(), 5000);
  EXPECT_EQ(reader->format().samples_per_second, 48'000);
}

TEST(AudioAnalysis, DecodesWhatItHears) {
  for (const std::string decoder : {"best", "classic"}) {
    Bench bench;
    bench.Set("decoder", decoder);
    EXPECT_TRUE(bench.audio.Press("DCW"));
    EXPECT_FALSE(bench.audio.Press("cmdNothing"));
    bench.worker.Work();
    EXPECT_EQ(bench.audio.Caption("DCW"), "Stop Decode");
    EXPECT_EQ(bench.audio.source_state(), "open");
    EXPECT_EQ(bench.audio.settings().CrossIt, 500);
    EXPECT_EQ(bench.audio.settings().Thresh, 880);
    bench.Set("cboSRate", "11025");
    bench.audio.TuneTo(690);
    sim::ReceiverAudio receiver({.samples_per_second = 11'025, .snr_db = 15},
                                {{.text = "CQ CQ DE K1ABC K1ABC 6EY K", .wpm = 22, .hertz = 700, .start = 1}});
    for (int i = 0; i < 100; ++i) {
      bench.card.Hear(platform::To16Bits(receiver.RenderSeconds(0.3)));
      bench.worker.Work();
      if (i == 50) EXPECT_NEAR(bench.audio.settings().CenterF, 700 / 2 * 2.65, 10) << decoder;
      if (i == 50 && decoder == "classic") EXPECT_NE(bench.audio.settings().Thresh, 880);
    }
    EXPECT_EQ(bench.audio.frame().bins, 256);
    ASSERT_EQ(bench.audio.signals().size(), 1U) << decoder;
    EXPECT_EQ(bench.audio.signals()[0].callsigns, std::vector<std::string>{"K1ABC"});
    bench.audio.Stop();
    bench.worker.Work();
    EXPECT_FALSE(bench.audio.reception().signal);
    EXPECT_EQ(bench.audio.signals().size(), 1U);
    bench.audio.Start();
    bench.Hear(100);
    EXPECT_TRUE(bench.audio.signals().empty()) << "those of the last source";
    const std::vector<DecodedText>& text = bench.audio.text();
    ASSERT_EQ(text.size(), decoder == "best" ? 1U : 3U);
    EXPECT_NE(text[0].text.find("CQ DE K1ABC K1ABC "), std::string::npos) << text[0].text;
    if (decoder == "best") continue;
    EXPECT_TRUE(text[1].corrected && text[1].text == "THE") << text[1].text;
    EXPECT_EQ(Trim(text[2].text), "Y K");
  }
}

}  // namespace
}  // namespace kvx::audio
