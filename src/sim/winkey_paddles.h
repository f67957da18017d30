#pragma once

#include "sim/winkey_registers.h"

namespace kvx::sim {

/// Two paddles and what they ask for next: '.', '-', or 0 for nothing. A short touch during an element is remembered.
class WinkeyPaddles {
 public:
  using Mode = WinkeyRegisters::Paddles;

  /// The paddles as they are now.
  void Set(bool dit, bool dah);
  /// The next element, which begins now.
  char Take(Mode mode);
  bool pressed() const { return dit_ || dah_; }
  bool dah() const { return dah_; }
  bool wanted() const { return pressed() || dit_touched_ || dah_touched_; }
  void Forget() { *this = {}; }

 private:
  char Choose(Mode mode) const;

  bool dit_ = false;
  bool dah_ = false;
  bool dit_touched_ = false;
  bool dah_touched_ = false;
  char newest_ = '.';
  char last_ = 0;
};

}  // namespace kvx::sim
