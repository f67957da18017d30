#pragma once

#include <string>
#include <string_view>

#include "config/settings.h"
#include "core/loop.h"

namespace kvx::keyer {

/// What sends CW.
enum class KeyerKind { kNone, kWinkey, kComLine, kLptPin, kRigLine, kRigKeyer };
enum class PaddleMode { kIambicB, kIambicA, kUltimatic, kSemiAutomatic };
enum class SecondOutput { kNone, kPtt, kSideTone };

inline constexpr int kSlowest = 5;  ///< words a minute
inline constexpr int kFastest = 99;

/// A keyer port: what sends, and by which port.
struct KeyerChoice {
  KeyerKind kind = KeyerKind::kNone;
  int port = 0;  ///< of the COM line or the LPT pin that is keyed

  bool operator==(const KeyerChoice&) const = default;
};

/// The keyer's settings, from rig.ini.
struct KeyerSettings {
  KeyerKind kind = KeyerKind::kNone;
  std::string unknown;  ///< the word that should choose the kind, when it is none
  int port = 0;         ///< of the WinKeyer, or of the COM line or LPT pin that is keyed
  int stop_bits = 1;
  int speed = 25;  ///< words a minute, "CWSPEED="
  PaddleMode mode = PaddleMode::kIambicB;
  bool reversed = false;  ///< paddles
  SecondOutput second_output = SecondOutput::kNone;
  bool key1 = false;  ///< which of the WinKeyer's two outputs are chosen
  bool key2 = false;
  int side_tone = 5;  ///< the WinKeyer's number
  int ptt_lead = 0;   ///< of the WinKeyer, as its byte (10 ms)
  int ptt_tail = 0;
  int compensation = 0;     ///< ms added to every key-down and taken from the pause after it
  Duration lead{0};         ///< software keying: PTT before the first element
  Duration tail{0};         ///< and after the last
  bool key_on_rts = false;  ///< software keying: the key on RTS and PTT on DTR instead of the other way round
  bool use_ptt = true;      ///< software keying: the other line is PTT
  bool inverted = false;    ///< the lines are active low
  bool ignore_pot = false;
  Duration tune_limit{10'000'000'000};
  Duration transmit_limit{300'000'000'000};  ///< of the rig's own command; 0: the operator's has none
  bool local_tone = false;                   ///< the local side tone is on
  int tone_hertz = 700;
  int tone_volume = 50;  ///< percent

  bool operator==(const KeyerSettings&) const = default;

  /// From the file. At start-up the plain "KEYERPORT=" chooses the kind and, where that is empty, that of saved rig 1;
  /// when a saved rig has been chosen (`slot` 1 to 8) that rig's own comes first. `slot` 0: start-up.
  static KeyerSettings From(const config::Settings& settings, int slot);
};

/// The word of rig.ini: "WINKEY", "COM3", "LPT1", "RIGPORT", "RIGKEYER", "NONE".
std::string KeyerWord(KeyerKind kind, int port);
/// What such a word chooses, any case; no keyer for any other text.
KeyerChoice ParseKeyerWord(std::string_view word);

}  // namespace kvx::keyer
