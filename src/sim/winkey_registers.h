#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace kvx::sim {

/// What a WinKeyer sends by, in the order in which its load command takes it and its get command tells it.
enum class WinkeyRegister : std::size_t {
  kMode,
  kSpeed,  ///< words a minute; 0: as the pot has it
  kSideTone,
  kWeight,  ///< percent of key-down in a dit and its pause
  kLead,    ///< PTT before keying, 10 ms
  kTail,
  kPotLowest,  ///< words a minute at the pot's lower end
  kPotRange,
  kExtension,     ///< of the first element after PTT, ms
  kCompensation,  ///< of every element, ms
  kFarnsworth,    ///< letters are sent at this speed when it is above the other; 0: off
  kSwitchPoint,
  kRatio,  ///< dah to dit, 50 is 3 to 1
  kPins,
  kLast,  ///< taken and not used
};

/// The registers with the values that they may have.
class WinkeyRegisters {
 public:
  static constexpr std::size_t kCount = 15;

  static constexpr int kModeEcho = 0x04;
  static constexpr int kModeSwap = 0x08;
  static constexpr int kModePaddleEcho = 0x40;
  static constexpr int kModeTightWords = 0x01;  ///< six units between words instead of seven
  static constexpr int kPinPtt = 0x01;
  static constexpr int kPinKeys = 0x0C;

  enum class Paddles { kIambicB, kIambicA, kUltimatic, kBug };

  int operator[](WinkeyRegister which) const { return values_[static_cast<std::size_t>(which)]; }
  /// False, with nothing changed, for a value that the register cannot have.
  bool Set(WinkeyRegister which, int value);
  /// All of them, kCount bytes.
  bool Load(std::string_view bytes);
  std::string Bytes() const;
  /// The side tone is given as a divisor (WinKeyer 3 in its own mode) and not as a choice of ten.
  void set_fine_side_tone(bool fine) { fine_side_tone_ = fine; }

  Paddles paddles() const { return static_cast<Paddles>((*this)[WinkeyRegister::kMode] >> 4 & 3); }
  bool mode(int bit) const { return ((*this)[WinkeyRegister::kMode] & bit) != 0; }
  bool pin(int bits) const { return ((*this)[WinkeyRegister::kPins] & bits) != 0; }
  int side_tone_hertz() const;

 private:
  bool Allowed(WinkeyRegister which, int value) const;

  std::array<int, kCount> values_{0, 0, 5, 50, 0, 0, 10, 15, 0, 0, 0, 50, 50, 0x06, 0xFF};
  bool fine_side_tone_ = false;
};

}  // namespace kvx::sim
