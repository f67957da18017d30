#include "sim/winkey_paddles.h"

namespace kvx::sim {

void WinkeyPaddles::Set(bool dit, bool dah) {
  if (dit && !dit_) {
    dit_touched_ = true;
    newest_ = '.';
  }
  if (dah && !dah_) {
    dah_touched_ = true;
    newest_ = '-';
  }
  dit_ = dit;
  dah_ = dah;
}

char WinkeyPaddles::Choose(Mode mode) const {
  const bool dit = dit_ || dit_touched_;
  const bool dah = dah_ || dah_touched_;
  if (dit && dah) {
    if (mode == Mode::kUltimatic) return newest_;
    return last_ == '.' ? '-' : '.';
  }
  return dit ? '.' : dah ? '-' : '\0';
}

char WinkeyPaddles::Take(Mode mode) {
  last_ = Choose(mode);
  if (last_ == '.') dit_touched_ = false;
  if (last_ == '-') dah_touched_ = false;
  // A squeeze in mode B is good for one element more than it lasts, and in no other.
  if (mode == Mode::kIambicB && dit_ && dah_) (last_ == '.' ? dah_touched_ : dit_touched_) = true;
  if (mode != Mode::kIambicB && dit_ && dah_) dit_touched_ = dah_touched_ = false;
  return last_;
}

}  // namespace kvx::sim
