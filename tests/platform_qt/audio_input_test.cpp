#include "platform/qt/qt_audio_input.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <QLocalSocket>
#include <QProcess>
#include <QStandardPaths>
#include <algorithm>
#include <cstdlib>
#include <thread>

#include "event_loop.h"
#include "fakes/temporary_folder.h"
#include "platform/posix/pulse_input.h"
#include "platform/posix/pulse_output.h"
#include "platform/qt/qt_loop.h"
#include "platform/wav_file.h"

namespace kvx {
namespace {

using platform::QtAudioDevices;
using platform::QtAudioInput;

constexpr int kRate = 48'000;

/// A sound server of the test's own. What is played to it can be captured. It and its player end with the test however
/// that ends: whoever runs the tests waits for all that write where they do. The test ends within a minute.
class SoundServer {
 public:
  SoundServer() {
    ::alarm(60);
    for (QProcess* process : {&server_, &player_})
      process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    ::setenv("PULSE_SERVER", ("unix:" + socket()).c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", folder_.path().c_str(), 1);
    ::setenv("PULSE_RUNTIME_PATH", folder_.path().c_str(), 1);
    ::setenv("HOME", folder_.path().c_str(), 1);
    const std::string rate = " rate=" + std::to_string(kRate) + " channels=1 format=s16le";
    // The socket comes last: who can connect finds everything there.
    folder_.Put("server.pa", "load-module module-null-sink sink_name=receiver norewinds=1" + rate +
                                 "\nload-module module-remap-source source_name=radio master=receiver.monitor remix=no"
                                 " channels=1 source_properties=device.description=Radio" +
                                 "\nload-module module-native-protocol-unix auth-anonymous=1 socket=" + socket() +
                                 "\n");
  }
  ~SoundServer() {
    Stop();
    ::alarm(0);
  }

  static bool IsInstalled() {
    return !QStandardPaths::findExecutable("pulseaudio").isEmpty() &&
           !QStandardPaths::findExecutable("paplay").isEmpty();
  }
  bool Start() {
    server_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server_.start("pulseaudio", {"-n", "-F", QString::fromStdString((folder_ / "server.pa").string()),
                                 "--exit-idle-time=-1", "--daemonize=no", "--log-level=error"});
    return WaitFor([this] {
      QLocalSocket connection;
      connection.connectToServer(QString::fromStdString(socket()));
      return connection.waitForConnected(100);
    });
  }
  void Stop() {
    if (player_.state() != QProcess::NotRunning) {
      player_.kill();
      EXPECT_TRUE(player_.waitForFinished(5000));
    }
    if (server_.state() == QProcess::NotRunning) return;
    server_.kill();
    EXPECT_TRUE(server_.waitForFinished(5000));
    std::filesystem::remove(socket());
    std::filesystem::remove(folder_ / "pid");
  }
  void Play(const std::vector<std::int16_t>& samples) {
    auto file = platform::WavWriter::Create(folder_ / "played.wav", kRate);
    ASSERT_TRUE(file && file->Write(samples));
    player_.start("paplay", {"--device=receiver", QString::fromStdString((folder_ / "played.wav").string())});
  }

 private:
  std::string socket() const { return (folder_ / "native").string(); }

  TemporaryFolder folder_;
  QProcess server_;
  QProcess player_;
};

/// Samples of which any sixteen tell where they are.
std::vector<std::int16_t> Unmistakable(std::size_t count) {
  std::vector<std::int16_t> samples;
  std::uint32_t state = 1;
  for (std::size_t i = 0; i < count; ++i) {
    state = state * 1'664'525 + 1'013'904'223;
    samples.push_back(static_cast<std::int16_t>((state >> 16) | 1));  // never 0
  }
  return samples;
}

/// What was heard from the first sample that is not silence to the next that is.
std::vector<std::int16_t> FirstSound(const std::vector<std::int16_t>& heard) {
  const auto first = std::find_if(heard.begin(), heard.end(), [](std::int16_t sample) { return sample != 0; });
  return {first, std::find(first, heard.end(), 0)};
}

/// Plays to the server and takes it from a source, without and with a busy engine; then the server dies.
void CheckCapture(SoundServer& server, platform::AudioInput& input, bool stall) {
  std::vector<std::int16_t> heard;
  std::string lost;
  input.on_samples = [&](std::span<const std::int16_t> samples) {
    heard.insert(heard.end(), samples.begin(), samples.end());
  };
  input.on_lost = [&](const std::string& why) { lost = why; };
  const Status opened = input.Open(kRate);
  ASSERT_TRUE(opened) << opened.error().message;
  ASSERT_TRUE(WaitFor([&] { return heard.size() > 4800; }));
  const std::vector<std::int16_t> played = Unmistakable(2 * kRate);
  server.Play(played);
  ASSERT_TRUE(WaitFor([&] { return heard.back() != 0; }));
  if (stall) std::this_thread::sleep_for(std::chrono::seconds(1));
  ASSERT_TRUE(WaitFor([&, limit = heard.size() + played.size() + 4800] { return heard.size() > limit; }));
  const std::vector<std::int16_t> sound = FirstSound(heard);
  EXPECT_EQ(sound.size(), played.size());
  EXPECT_TRUE(sound == played);

  server.Stop();
  EXPECT_TRUE(WaitFor([&] { return !lost.empty(); }));
  EXPECT_FALSE(input.is_open());
  EXPECT_FALSE(input.Open(kRate));
}

TEST(QtAudioInput, TakesEverySampleOnceAndTellsTheServersDeath) {
  if (!SoundServer::IsInstalled()) GTEST_SKIP() << "pulseaudio is not installed";
  SoundServer server;
  ASSERT_TRUE(server.Start());
  const auto devices = QtAudioDevices().Devices();
  ASSERT_EQ(devices.size(), 2U);
  EXPECT_EQ(devices[1].id + " " + devices[1].name, "radio Radio");
  QtAudioInput input("Microsoft Sound Mapper");
  CheckCapture(server, input, false);
  EXPECT_EQ(QtAudioInput("radio x").Open(kRate).error().message, "There is no sound input radio x");
}

TEST(PulseInput, TakesEverySampleOnceAndIsThereAgainWithTheServer) {
  if (!SoundServer::IsInstalled()) GTEST_SKIP() << "pulseaudio is not installed";
  platform::QtLoop loop;
  SoundServer server;
  platform::PulseDevices devices(loop);
  int changes = 0;
  devices.on_changed = [&] { ++changes; };
  EXPECT_TRUE(devices.Devices().empty());
  platform::PulseInput input(loop, "Monitor of Null Output");
  EXPECT_EQ(input.Open(kRate).error().code, ErrorCode::kNotFound);
  ASSERT_TRUE(server.Start());
  EXPECT_TRUE(WaitFor([&] { return changes == 1; }));
  const auto list = devices.Devices();
  ASSERT_EQ(list.size(), 3U);
  EXPECT_EQ(list[1], (platform::AudioDevice{"receiver.monitor", "Monitor of Null Output", true}));
  EXPECT_EQ(list[2], (platform::AudioDevice{"radio", "Radio", false}));
  CheckCapture(server, input, true);

  EXPECT_TRUE(WaitFor([&] { return changes == 2; }));
  ASSERT_TRUE(server.Start());
  EXPECT_TRUE(WaitFor([&] { return changes == 3; }));
  platform::PulseInput usual(loop, "");
  std::size_t heard = 0;
  usual.on_samples = [&](std::span<const std::int16_t> samples) { heard += samples.size(); };
  ASSERT_TRUE(usual.Open(11'025));
  EXPECT_TRUE(WaitFor([&] { return heard > 2000; }));
  EXPECT_EQ(platform::PulseInput(loop, "radio x").Open(kRate).error().message, "There is no sound input radio x");
}

TEST(PulseOutput, IsHeardSampleBySampleAndTellsTheServersDeath) {
  if (!SoundServer::IsInstalled()) GTEST_SKIP() << "pulseaudio is not installed";
  platform::QtLoop loop;
  SoundServer server;
  platform::PulseOutput output(loop);
  EXPECT_EQ(output.Open(kRate).error().code, ErrorCode::kNotFound);
  ASSERT_TRUE(server.Start());
  platform::PulseInput input(loop, "receiver.monitor");
  std::vector<std::int16_t> heard;
  input.on_samples = [&](std::span<const std::int16_t> samples) {
    heard.insert(heard.end(), samples.begin(), samples.end());
  };
  ASSERT_TRUE(WaitFor([&] { return input.Open(kRate).ok(); }));
  ASSERT_TRUE(output.Open(kRate));
  EXPECT_TRUE(WaitFor([&] { return heard.size() > kRate / 2; }));
  const std::vector<std::int16_t> played = Unmistakable(kRate);
  for (int sound = 0; sound < 2; ++sound) {  // the second after a silence
    heard.clear();
    output.Play(played);
    EXPECT_TRUE(WaitFor([&] { return heard.size() > 2 * kRate; }));
    EXPECT_TRUE(FirstSound(heard) == played);
    EXPECT_EQ(output.remaining(), Duration{0});
  }
  std::string lost;
  output.on_lost = [&](const std::string& why) { lost = why; };
  server.Stop();
  EXPECT_TRUE(WaitFor([&] { return !lost.empty(); }));
  EXPECT_EQ(lost, "The sound output has gone");
  EXPECT_FALSE(output.is_open());
}

}  // namespace
}  // namespace kvx
