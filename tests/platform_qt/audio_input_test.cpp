#include "platform/qt/qt_audio_input.h"

#include <gtest/gtest.h>

#include <QProcess>
#include <QStandardPaths>
#include <algorithm>
#include <cstdlib>

#include "event_loop.h"
#include "fakes/temporary_folder.h"
#include "platform/wav_file.h"

namespace kvx {
namespace {

using platform::QtAudioDevices;
using platform::QtAudioInput;

constexpr int kRate = 48'000;

/// A sound server of the test's own. What is played to it can be captured.
class SoundServer {
 public:
  SoundServer() {
    ::setenv("PULSE_SERVER", ("unix:" + socket()).c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", folder_.path().c_str(), 1);
    ::setenv("PULSE_RUNTIME_PATH", folder_.path().c_str(), 1);
    ::setenv("HOME", folder_.path().c_str(), 1);
    const std::string rate = " rate=" + std::to_string(kRate) + " channels=1 format=s16le";
    folder_.Put("server.pa", "load-module module-native-protocol-unix auth-anonymous=1 socket=" + socket() +
                                 "\nload-module module-null-sink sink_name=receiver norewinds=1" + rate +
                                 "\nload-module module-remap-source source_name=radio master=receiver.monitor remix=no"
                                 " channels=1 source_properties=device.description=Radio\n");
  }
  ~SoundServer() { Stop(); }

  static bool IsInstalled() {
    return !QStandardPaths::findExecutable("pulseaudio").isEmpty() &&
           !QStandardPaths::findExecutable("paplay").isEmpty();
  }
  bool Start() {
    server_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server_.start("pulseaudio", {"-n", "-F", QString::fromStdString((folder_ / "server.pa").string()),
                                 "--exit-idle-time=-1", "--daemonize=no", "--log-level=error"});
    return WaitFor([this] { return std::filesystem::exists(socket()); });
  }
  void Stop() {
    if (player_.state() != QProcess::NotRunning) {
      player_.kill();
      player_.waitForFinished();
    }
    if (server_.state() == QProcess::NotRunning) return;
    server_.kill();
    server_.waitForFinished();
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

TEST(QtAudioInput, TakesEverySampleOnceAndTellsTheServersDeath) {
  if (!SoundServer::IsInstalled()) GTEST_SKIP() << "pulseaudio is not installed";
  SoundServer server;
  ASSERT_TRUE(server.Start());
  const std::vector<std::int16_t> played = Unmistakable(2 * kRate);
  const auto devices = QtAudioDevices().Devices();
  ASSERT_EQ(devices.size(), 2U);
  EXPECT_EQ(devices[1].id + " " + devices[1].name, "radio Radio");

  QtAudioInput input("Microsoft Sound Mapper");
  std::vector<std::int16_t> heard;
  std::string lost;
  input.on_samples = [&](std::span<const std::int16_t> samples) {
    heard.insert(heard.end(), samples.begin(), samples.end());
  };
  input.on_lost = [&](const std::string& why) { lost = why; };
  ASSERT_TRUE(input.Open(kRate));
  ASSERT_TRUE(WaitFor([&] { return heard.size() > 4800; }));
  server.Play(played);
  ASSERT_TRUE(WaitFor([&] { return !heard.empty() && heard.back() != 0; }));
  ASSERT_TRUE(WaitFor([&, limit = heard.size() + played.size() + 4800] { return heard.size() > limit; }));
  const auto first = std::find_if(heard.begin(), heard.end(), [](std::int16_t sample) { return sample != 0; });
  const auto last = std::find(first, heard.end(), 0);
  EXPECT_EQ(last - first, static_cast<std::ptrdiff_t>(played.size()));
  EXPECT_TRUE(std::equal(first, last, played.begin(), played.end()));

  server.Stop();
  EXPECT_TRUE(WaitFor([&] { return !lost.empty(); }));
  EXPECT_FALSE(input.is_open());
  EXPECT_FALSE(input.Open(kRate));
  EXPECT_EQ(QtAudioInput("radio x").Open(kRate).error().message, "There is no sound input radio x");
}

}  // namespace
}  // namespace kvx
