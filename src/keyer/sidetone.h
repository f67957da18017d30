#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/loop.h"
#include "platform/files.h"
#include "platform/sound_output.h"

namespace kvx::keyer {

/// How the local side tone sounds.
struct Tone {
  int hertz = 700;
  int volume = 50;  ///< percent

  bool operator==(const Tone&) const = default;
};

inline constexpr int kToneRate = 22'050;  ///< samples a second

using Samples = std::vector<std::int16_t>;

/// A symbol at a speed, with the gap after it, so that one can be put behind the other: it begins and ends in silence.
/// Every edge is a raised cosine of 5 ms, which no ear takes for a click. Empty where there is no sign for the symbol.
Samples RenderSymbol(const Tone& tone, std::string_view symbol, int wpm);
/// The tone for that many samples from `position` on, counted from the moment at which it began.
Samples RenderTone(const Tone& tone, std::size_t position, std::size_t count);

/// A wave file (RIFF, PCM, mono, 16 bits) with a second of the tone.
std::string CwWave(const Tone& tone);
/// Keeps "cw.wav" in that folder; a file that has it already is left alone.
Status KeepCwWave(platform::Files& files, const platform::Path& folder, const Tone& tone);

/// Lets the operator hear what is keyed. It follows the sender: a symbol sounds when its keying begins.
class Sidetone final {
 public:
  Sidetone(Loop& loop, platform::SoundOutput& output);
  Sidetone(const Sidetone&) = delete;
  Sidetone& operator=(const Sidetone&) = delete;
  ~Sidetone();

  /// Switched on it holds the system's output. The error is one sentence, and it is off then.
  Status Switch(bool on);
  bool is_on() const { return on_; }
  /// Counts from the next symbol on; a tone that is being held changes at once.
  void SetTone(const Tone& tone);

  /// The keying of a symbol begins.
  void Begin(std::string_view symbol, int wpm);
  /// The key is held down, or let go.
  void Key(bool down);
  void Silence();
  /// Sounds a few signs in that tone, also while it is switched off.
  Status Listen(const Tone& tone, int wpm);

  /// One line for the operator: the sound has gone, or has come back.
  std::function<void(const std::string& line)> on_notice;

 private:
  Status OpenOutput();
  void Hold();
  void Lost(const std::string& why);
  void TakeUp();
  void Start(Duration delay, void (Sidetone::*action)());
  void LeaveOutput();

  Loop& loop_;
  platform::SoundOutput& output_;
  Tone tone_;
  bool on_ = false;
  bool key_down_ = false;
  std::size_t position_ = 0;  ///< of the tone that is being held
  Loop::TimerId timer_ = 0;   ///< the next piece of a held tone, or the next try to take the sound up again
};

}  // namespace kvx::keyer
