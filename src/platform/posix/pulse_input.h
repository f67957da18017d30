#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/audio_input.h"
#include "platform/posix/pulse_connection.h"
#include "platform/resampler.h"

struct pa_stream;

namespace kvx::platform {

/// Captures from the sound server, at the rate that the device has; another one is made of it here. A device, or the
/// system's default, that has changed counts as lost, and so does a server that falls silent. A server that is slow
/// is not waited for: what it refuses later is told as a loss.
class PulseInput final : public AudioInput {
 public:
  /// `device`: an id or a name of the list; empty: the system's default.
  PulseInput(Loop& loop, std::string device);
  ~PulseInput() override;
  PulseInput(const PulseInput&) = delete;
  PulseInput& operator=(const PulseInput&) = delete;

  Status Open(int samples_per_second) override;
  void Close() override;
  bool is_open() const override { return open_; }

 private:
  Status Advance();
  Result<std::string> FindSource() const;
  Status StartStream(const std::string& source);
  void Fire();
  void TakeFromServer();
  void Give();
  void Lose(const std::string& why);

  Loop& loop_;
  std::string device_;
  std::unique_ptr<PulseConnection> server_;
  pa_stream* stream_ = nullptr;
  bool open_ = false;
  int rate_ = 0;
  std::string source_;     ///< that it was opened on
  std::size_t heard_ = 0;  ///< of the server's answers
  std::optional<Resampler> resampler_;
  std::vector<float> samples_;
  std::vector<std::int16_t> waiting_;
  std::size_t chunk_ = 0;
  TimePoint next_look_{};
  Loop::TimerId timer_ = 0;
  std::shared_ptr<int> round_ = std::make_shared<int>(0);  ///< counts what has been closed
};

/// The capture devices of the sound server, monitors of what is being played too, and whether that server answers. It
/// is first asked when somebody wants to know.
class PulseDevices final : public AudioDeviceList {
 public:
  explicit PulseDevices(Loop& loop) : loop_(loop) {}
  ~PulseDevices() override { loop_.StopTimer(timer_); }
  PulseDevices(const PulseDevices&) = delete;
  PulseDevices& operator=(const PulseDevices&) = delete;

  std::vector<AudioDevice> Devices() const override;
  /// Whether there is a server that answers.
  bool present() const { return !devices_.empty(); }
  /// Whether there is none at this very moment; not so while one is silent, or once has been and not come back.
  bool absent() const;

 private:
  void Follow() const;
  void GiveAMoment() const;
  void Look() const;

  Loop& loop_;
  mutable std::unique_ptr<PulseConnection> server_;
  mutable std::vector<AudioDevice> devices_;
  mutable std::size_t heard_ = 0;  ///< of the server's answers
  mutable bool silent_ = false;
  mutable bool fresh_ = false;  ///< nobody has given it a moment
  mutable TimePoint next_try_{};
  mutable TimePoint next_question_{};
  mutable Loop::TimerId timer_ = 0;
};

}  // namespace kvx::platform
