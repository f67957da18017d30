#include "console/audio_commands.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "console/status.h"
#include "console_fixture.h"
#include "fakes/fake_audio_input.h"
#include "fakes/manual_worker.h"

namespace kvx::console {
namespace {

/// A station with a sound card, and its command line.
struct AudioBench {
  AudioBench() {
    AddAudioCommands(commands, loop, station);
    station.Start();
    commands.Ready();
    loop.RunFor(1ms);
  }
  std::string Do(const std::string& line) {
    lines.clear();
    commands.Take(line);
    loop.RunFor(1ms);
    worker.Work();
    for (const std::string& answer : lines) {
      if (answer.starts_with("ok") || answer.starts_with("error") || answer.starts_with("{")) return answer;
    }
    return "";
  }
  bool Told(const std::string& line) const { return std::find(lines.begin(), lines.end(), line) != lines.end(); }
  void Hear(int count, double amplitude) {
    std::vector<std::int16_t> samples;
    for (int i = 0; i < count; ++i) {
      const double turn = 2 * std::numbers::pi * 750 * i / card.rate;
      samples.push_back(static_cast<std::int16_t>(std::lround(amplitude * 32767 * std::sin(turn))));
    }
    loop.RunFor(20ms);
    card.Hear(samples);
    worker.Work();
  }

  TemporaryFolder folder;
  SystemFiles files;
  VirtualLoop loop;
  FakeSerialPort port;
  ManualWorker worker;
  FakeAudioInput card;
  FakeAudioDevices devices;
  std::vector<std::string> lines;
  Station station{{.loop = loop,
                   .files = files,
                   .rig_port = port,
                   .folder = folder.path(),
                   .data = KVX_DATA,
                   .worker = &worker,
                   .audio_devices = &devices,
                   .audio_input = [this](const std::string& source) -> Result<std::unique_ptr<platform::AudioInput>> {
                     if (source == "tin can") return Error{ErrorCode::kInvalid, "a tin can is no sound input"};
                     return std::unique_ptr<platform::AudioInput>(std::make_unique<LentAudioInput>(card));
                   }}};
  CommandLine commands{loop, station, [this](const std::string& line) { lines.push_back(line); }};
};

TEST(AudioCommands, EachSaysWhatItDid) {
  struct Row {
    const char* command;
    const char* answer;  ///< how it begins
  };
  AudioBench bench;
  for (const Row& row : {
           Row{"audio",
               "ok audio off, stopped, source default, 48000 samples a second, 4096 bins, 0 samples, 0 frames"},
           Row{"audio spectrum", "error: there is no spectrum yet"},
           Row{"audio record /tmp/x.wav", "error: nothing is captured that could be recorded"},
           Row{"audio devices", "ok [{\"id\":\"\",\"name\":\"System default\",\"monitor\":false}]"},
           Row{"audio set cboBins 64", "ok audio cboBins 64"},
           Row{"audio set scrAVG", "ok audio scrAVG 4"},
           Row{"audio set scrAVG many", "error: scrAVG takes 1 to 100"},
           Row{"audio press CmdSwitch", "ok audio CmdSwitch: Start"},
           Row{"audio press CmdSwitch", "ok audio CmdSwitch: Freeze"},
           Row{"audio press nothing", "error: there is no button nothing"},
           Row{"audio tune 712", "ok audio tune 712"},
           Row{"audio tune -3", "error: audio tune takes a tone in Hz"},
           Row{"audio on", "ok audio on, open, source default"},
           Row{"audio source card 2", "ok audio source card 2, open"},
           Row{"audio source tin can", "ok audio source tin can, a tin can is no sound input"},
           Row{"audio on", "error: a tin can is no sound input"},
           Row{"audio source default", "ok audio source default, open"},
           Row{"audio text", "ok "},
           Row{"audio signals", "ok []"},
           Row{"audio hum", "error: audio takes on, off, devices, source, set, press, tune, spectrum, text, signals"},
       }) {
    const std::string answer = bench.Do(row.command);
    EXPECT_TRUE(answer.starts_with(row.answer)) << row.command << " -> " << answer;
  }
  bench.Do("audio off");
  EXPECT_TRUE(bench.Told("audio stopped"));
  bench.Do("audio on");
  EXPECT_TRUE(bench.Told("audio open"));
  bench.Hear(64, 1);
  // 750 Hz is bin 1 of 64 at 48000; the window gives its neighbours a half each.
  EXPECT_EQ(bench.Do("audio spectrum 700 1500"),
            "ok {\"frame\":1,\"from\":750.0,\"step\":750.000000,\"trace\":[0.0,-6.0]}");
  EXPECT_NE(
      bench.Do("status").find("\"audio\":{\"state\":\"open\",\"on\":true,\"source\":\"\",\"rate\":48000,\"bins\":64,"
                              "\"samples\":64,\"frames\":1,\"lost\":0,\"level\":100,"),
      std::string::npos);
}

TEST(AudioCommands, AScanListensToTheSoundWhileThereIsAny) {
  AudioBench bench;
  functions::Scanner& scanner = bench.station.functions.scanner;
  bench.station.console.SMeter.Set(17);
  bench.station.console.Polling.Set(false);
  EXPECT_EQ(scanner.level(), 17);
  EXPECT_EQ(scanner.deaf(), "the rig is not polled");
  bench.Do("audio on");
  bench.Hear(4096, 0.1);
  EXPECT_EQ(scanner.level(), 80);
  EXPECT_EQ(scanner.full_scale(), 100);
  EXPECT_EQ(scanner.deaf(), "");
  bench.card.Lose();
  EXPECT_EQ(scanner.level(), 17);
}

}  // namespace
}  // namespace kvx::console
