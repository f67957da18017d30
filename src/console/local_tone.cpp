#include "console/local_tone.h"

#include <utility>

namespace kvx::console {
namespace {

keyer::Tone ToneOf(const keyer::KeyerSettings& settings) {
  return {.hertz = settings.tone_hertz, .volume = settings.tone_volume};
}

}  // namespace

LocalTone::LocalTone(Loop& loop, platform::Files& files, StationSetup& setup, platform::SoundOutput* output)
    : files_(files), station_(setup.station()), setup_(setup) {
  if (output != nullptr) {
    sidetone_ = std::make_unique<keyer::Sidetone>(loop, *output);
    sidetone_->on_notice = [this](const std::string& line) { station_.Notice(line); };
    keyer::Keyer& keyer = station_.keyer;
    keyer.on_symbol = [this](const std::string& symbol, int wpm) { sidetone_->Begin(symbol, wpm); };
    keyer.on_key = [this](bool down) { sidetone_->Key(down); };
    keyer.on_silence = [this] { sidetone_->Silence(); };
  }
  station_.keyer.on_settings = [this] { Follow(); };
}

LocalTone::~LocalTone() {
  keyer::Keyer& keyer = station_.keyer;
  keyer.on_symbol = nullptr;
  keyer.on_key = nullptr;
  keyer.on_silence = nullptr;
  keyer.on_settings = nullptr;
}

void LocalTone::Follow() {
  const keyer::KeyerSettings& settings = station_.keyer.settings();
  if (auto kept = keyer::KeepCwWave(files_, station_.folder(), ToneOf(settings)); !kept)
    station_.Notice(kept.error().message);
  if (sidetone_ == nullptr) return;
  sidetone_->SetTone(ToneOf(settings));
  if (settings.local_tone != std::exchange(wished_, settings.local_tone)) {
    if (auto switched = sidetone_->Switch(wished_); !switched) station_.Notice(switched.error().message);
  }
  if (on_change) on_change();
}

void LocalTone::LocalCW(bool on) {
  wished_ = false;  // a sound that was not there at the last try is looked for again
  if (auto switched = sidetone_ == nullptr ? Ok() : sidetone_->Switch(on); !switched) {
    station_.Notice(switched.error().message);
    on = false;
  } else {
    wished_ = on;
  }
  if (auto kept = setup_.SetSetting("LOCALCW", on ? "True" : "False"); !kept) station_.Notice(kept.error().message);
  if (on_change) on_change();
}

bool LocalTone::is_on() const {
  return sidetone_ != nullptr && sidetone_->is_on();
}

Status LocalTone::Listen() {
  if (sidetone_ == nullptr) return Error{ErrorCode::kNotFound, "This console has no sound"};
  return sidetone_->Listen(ToneOf(station_.keyer.settings()), *station_.console.CWSpeed);
}

}  // namespace kvx::console
