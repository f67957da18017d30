#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/loop.h"
#include "platform/files.h"
#include "sim/side_tone.h"
#include "sim/winkey_device.h"

namespace kvx::app {

/// Writes what a simulated keyer sends to a WAV file that can be listened to. The file is there, whole, when the
/// recording has ended; it ends by itself after ten minutes.
class ToneRecorder final {
 public:
  ToneRecorder(Loop& loop, platform::Files& files, sim::WinkeyDevice& keyer);
  ~ToneRecorder();
  ToneRecorder(const ToneRecorder&) = delete;
  ToneRecorder& operator=(const ToneRecorder&) = delete;

  /// "FILE.wav" begins, "off" ends; answers "ok ..." or "error: ...".
  std::string Operate(std::string_view argument);

 private:
  void Begin(const platform::Path& path);
  std::string End();
  void Render();
  void Take(TimePoint until);

  Loop& loop_;
  platform::Files& files_;
  sim::WinkeyDevice& keyer_;
  platform::Path path_;
  std::unique_ptr<sim::SideTone> tone_;  ///< null: nothing is being recorded
  std::vector<std::int16_t> samples_;
  Loop::TimerId timer_ = 0;
};

}  // namespace kvx::app
