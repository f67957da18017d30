#pragma once

#include <functional>
#include <memory>

#include "console/station_setup.h"
#include "keyer/sidetone.h"
#include "platform/sound_output.h"

namespace kvx::console {

/// The station's local side tone: follows the settings and what the keyer keys, and keeps "cw.wav" in the station
/// folder. Everything is borrowed.
class LocalTone final {
 public:
  /// `output` null: a console that has no sound keeps the file only.
  LocalTone(Loop& loop, platform::Files& files, StationSetup& setup, platform::SoundOutput* output);
  ~LocalTone();
  LocalTone(const LocalTone&) = delete;
  LocalTone& operator=(const LocalTone&) = delete;

  /// The check box `LocalCW`: keeps the choice. Where there is no sound it stays off, and one line says so.
  void LocalCW(bool on);
  bool is_on() const;
  /// Sounds a few signs as the settings have them.
  Status Listen();

  std::function<void()> on_change;  ///< is_on() may be different

 private:
  void Follow();

  platform::Files& files_;
  Station& station_;
  StationSetup& setup_;
  std::unique_ptr<keyer::Sidetone> sidetone_;
  bool wished_ = false;
};

}  // namespace kvx::console
