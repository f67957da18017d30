#include "sim/winkey_sender.h"

#include <algorithm>
#include <utility>

namespace kvx::sim {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

constexpr Duration kLongestTune = 100s;
constexpr Duration kStuckPaddle = 10s;
constexpr Duration kDitAtOneWpm = 1200ms;
constexpr int kWordPause = 4;  // units, behind the three of the letter before it
constexpr int kBreakInEnd = 4;

}  // namespace

int WinkeySender::speed() const {
  const int set = buffered_speed_.value_or(registers_[WinkeyRegister::kSpeed]);
  if (set != 0) return set;
  return std::min(99, registers_[WinkeyRegister::kPotLowest] + pot_);
}

KeyPace WinkeySender::pace() const {
  KeyPace pace;
  pace.spacing = kDitAtOneWpm / speed();
  pace.unit = kDitAtOneWpm / std::max(speed(), registers_[WinkeyRegister::kFarnsworth]);
  pace.longer = pace.unit * (registers_[WinkeyRegister::kWeight] - 50) / 50 +
                milliseconds(registers_[WinkeyRegister::kCompensation]);
  return pace;
}

Duration WinkeySender::Length(char element) const {
  const KeyPace now = pace();
  Duration length = element == '-' ? now.unit * 3 * registers_[WinkeyRegister::kRatio] / 50 : now.unit;
  if (first_) length += milliseconds(registers_[WinkeyRegister::kExtension]);
  return std::max(length + now.longer, Duration(1ms));
}

void WinkeySender::After(Duration time, Step step) {
  next_ += std::max(time, Duration{0});
  timer_ = loop_.StartTimer(next_, [this, step] {
    timer_ = 0;
    (this->*step)();
  });
}

void WinkeySender::Halt() {
  loop_.StopTimer(std::exchange(timer_, 0));
  next_ = loop_.Now();
  SetKey(false);
  waiting_ = false;
  tuning_ = false;
  pattern_.clear();
}

/// Begins with the next thing, unless something is under way.
void WinkeySender::Wake() {
  if (active_) return;
  Halt();
  first_ = !ptt_;
  active_ = true;
  Next();
}

bool WinkeySender::Put(WinkeyItem item) {
  if (pointer_ && overwrite_ && *pointer_ < items_.size()) {
    used_ += item.bytes - items_[*pointer_].bytes;
    items_[(*pointer_)++] = std::move(item);
    return true;
  }
  if (used_ + item.bytes > capacity_) return false;
  used_ += item.bytes;
  if (pointer_ && *pointer_ < items_.size()) {
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>((*pointer_)++), std::move(item));
  } else {
    items_.push_back(std::move(item));
  }
  if (!paused_) Wake();
  Tell();
  return true;
}

WinkeyItem WinkeySender::Take() {
  WinkeyItem item = std::move(items_.front());
  items_.pop_front();
  used_ -= item.bytes;
  if (pointer_ && *pointer_ > 0) --*pointer_;
  return item;
}

void WinkeySender::Backspace() {
  if (items_.empty()) return;
  used_ -= items_.back().bytes;
  items_.pop_back();
  Tell();
}

bool WinkeySender::MovePointer(std::size_t position, bool overwrite) {
  if (position > items_.size()) return false;
  pointer_ = position;
  overwrite_ = overwrite;
  return true;
}

void WinkeySender::Clear() {
  items_.clear();
  used_ = 0;
  pointer_.reset();
  buffered_speed_.reset();
  paused_ = false;
  if (break_in_ || !active_) return Tell();
  Halt();
  Rest();
}

void WinkeySender::Pause(bool on) {
  paused_ = on;
  if (!on && !items_.empty()) Wake();
}

void WinkeySender::Stop() {
  ptt_held_ = false;
  break_in_ = false;
  paddles_.Forget();
  by_hand_.clear();
  Clear();
  Halt();
  active_ = false;
  SetPtt(false);
  Tell();
}

void WinkeySender::Next() {
  while (!paused_ && !items_.empty()) {
    if (Run(Take())) return Tell();
  }
  Rest();
}

void WinkeySender::Rest() {
  active_ = false;
  if (ptt_ && !ptt_held_) After(registers_[WinkeyRegister::kTail] * 10ms, &WinkeySender::PttOff);
  Tell();
}

/// True when it takes time.
bool WinkeySender::Run(const WinkeyItem& item) {
  switch (item.kind) {
    case WinkeyItem::Kind::kSign:
      sign_ = item.letters.front();
      for (const char letter : item.letters) pattern_ += WinkeyPattern(letter).value_or("");
      Transmit(&WinkeySender::Element);
      return true;
    case WinkeyItem::Kind::kBlank:
      if (on_sent) on_sent(' ', false);
      After(pace().spacing * (kWordPause - (registers_.mode(WinkeyRegisters::kModeTightWords) ? 1 : 0)),
            &WinkeySender::Next);
      return true;
    case WinkeyItem::Kind::kKey:
      SetPtt(registers_.pin(WinkeyRegisters::kPinPtt));
      SetKey(true);
      After(std::chrono::seconds(item.value), &WinkeySender::HoldEnd);
      return true;
    case WinkeyItem::Kind::kWait:
      waiting_ = true;
      After(std::chrono::seconds(item.value), &WinkeySender::HoldEnd);
      return true;
    case WinkeyItem::Kind::kPtt:
      ptt_held_ = item.value != 0;
      SetPtt(ptt_held_);
      return false;
    case WinkeyItem::Kind::kSpeed:
      buffered_speed_ = item.value;
      return false;
    case WinkeyItem::Kind::kSpeedBack:
      buffered_speed_.reset();
      return false;
    case WinkeyItem::Kind::kPort:
      port_ = item.value;
      return false;
    case WinkeyItem::Kind::kNull:
      return false;
  }
  return false;
}

/// Goes on with `step` once PTT has led for its time.
void WinkeySender::Transmit(Step step) {
  const bool leads = !ptt_ && registers_.pin(WinkeyRegisters::kPinPtt);
  if (!leads) return (this->*step)();
  SetPtt(true);
  After(registers_[WinkeyRegister::kLead] * 10ms, step);
}

void WinkeySender::Element() {
  SetKey(true);
  After(Length(pattern_.front()), &WinkeySender::ElementEnd);
}

void WinkeySender::ElementEnd() {
  SetKey(false);
  first_ = false;
  pattern_.erase(0, 1);
  const KeyPace now = pace();
  if (!pattern_.empty()) return After(now.unit - now.longer, &WinkeySender::Element);
  After(3 * now.spacing - now.longer, &WinkeySender::Next);
  if (on_sent) on_sent(sign_, false);
}

void WinkeySender::HoldEnd() {
  SetKey(false);
  waiting_ = false;
  Next();
}

void WinkeySender::KeyNow(bool down) {
  if (down == tuning_) return;
  Halt();
  if (!down) return Next();
  tuning_ = true;
  active_ = true;
  paused_ = false;
  Transmit(&WinkeySender::TuneDown);
  Tell();
}

void WinkeySender::TuneDown() {
  SetKey(true);
  After(kLongestTune, &WinkeySender::TuneEnd);
}

void WinkeySender::Press(bool dit, bool dah) {
  const bool held_by_hand = key_ && paddles_.dah() && registers_.paddles() == WinkeyPaddles::Mode::kBug;
  paddles_.Set(dit, dah);
  if (!break_in_) {
    if (!paddles_.pressed()) return paddles_.Forget();
    Clear();
    Halt();
    first_ = !ptt_;
    active_ = break_in_ = true;
    Tell();
    return Transmit(&WinkeySender::PaddleElement);
  }
  const bool let_go = held_by_hand && !dah;
  if (!let_go && !(between_ && paddles_.pressed())) return;
  loop_.StopTimer(std::exchange(timer_, 0));
  next_ = loop_.Now();
  if (let_go) return PaddleElementEnd();
  PaddleElement();
}

void WinkeySender::PaddleElement() {
  between_ = false;
  const char element = paddles_.Take(registers_.paddles());
  if (element == 0) return PaddleNext();
  by_hand_ += element;
  SetKey(true);
  const bool straight = element == '-' && registers_.paddles() == WinkeyPaddles::Mode::kBug;
  After(straight ? kStuckPaddle : Length(element), &WinkeySender::PaddleElementEnd);
}

void WinkeySender::PaddleElementEnd() {
  SetKey(false);
  first_ = false;
  const KeyPace now = pace();
  After(now.unit - now.longer, &WinkeySender::PaddleNext);
}

void WinkeySender::PaddleNext() {
  if (paddles_.wanted()) return PaddleElement();
  between_ = true;
  After(2 * pace().spacing, &WinkeySender::PaddleLetterEnd);
}

void WinkeySender::PaddleLetterEnd() {
  const char letter = WinkeyCharacter(std::exchange(by_hand_, {}));
  After(kBreakInEnd * pace().spacing, &WinkeySender::PaddleEnd);
  if (on_sent) on_sent(letter, true);
}

void WinkeySender::PaddleEnd() {
  between_ = false;
  break_in_ = false;
  paddles_.Forget();
  Next();
}

void WinkeySender::SetKey(bool down) {
  if (key_ == down) return;
  key_ = down;
  if (on_key) on_key(down, next_);
}

}  // namespace kvx::sim
