#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/loop.h"
#include "platform/wav_file.h"
#include "sim/side_tone.h"
#include "sim/winkey_device.h"

namespace kvx::app {

/// Writes what a simulated keyer sends to a WAV file that can be listened to. A recording ends by itself after ten
/// minutes.
class ToneRecorder final {
 public:
  ToneRecorder(Loop& loop, sim::WinkeyDevice& keyer);
  ~ToneRecorder();
  ToneRecorder(const ToneRecorder&) = delete;
  ToneRecorder& operator=(const ToneRecorder&) = delete;

  /// "FILE.wav" begins, "off" ends; answers "ok ..." or "error: ...".
  std::string Operate(std::string_view argument);

 private:
  std::string Begin(const platform::Path& path);
  std::string End();
  void Render();
  void Take(TimePoint until);

  Loop& loop_;
  sim::WinkeyDevice& keyer_;
  platform::Path path_;
  std::unique_ptr<sim::SideTone> tone_;  ///< null: nothing is being recorded
  std::optional<platform::WavWriter> file_;
  std::string failure_;
  Loop::TimerId timer_ = 0;
};

}  // namespace kvx::app
