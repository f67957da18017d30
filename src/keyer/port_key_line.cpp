#include "keyer/port_key_line.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kvx::keyer {

using platform::KeyStep;

namespace {

/// With more, the loop was held up.
constexpr Duration kHeldUp = std::chrono::milliseconds(5);

}  // namespace

PortKeyLine::PortKeyLine(Loop& loop, platform::SerialPort& port, platform::KeyLines lines,
                         std::optional<platform::PortSettings> settings)
    : loop_(loop), port_(port), lines_(lines), settings_(std::move(settings)) {}

PortKeyLine::~PortKeyLine() {
  Close();
}

Status PortKeyLine::Open() {
  Close();
  if (settings_) {
    settings_->dtr = settings_->rts = lines_.inverted;
    listening_ = true;
    port_.on_lost = [this](const std::string& why) { Lose(why); };
    if (auto opened = port_.Open(*settings_); !opened) {
      Close();
      return opened;
    }
    // One that takes time to open is a network connection, and its plain bytes carry no lines.
    if (!port_.is_open()) {
      Close();
      return Error{ErrorCode::kInvalid,
                   "COM" + std::to_string(settings_->number) + ": a network port has no lines that could be keyed"};
    }
  } else if (!port_.is_open()) {
    return Error{ErrorCode::kClosed, "the rig port, whose lines are keyed, is closed"};
  }
  open_ = true;
  Set(false, false);
  return Ok();
}

void PortKeyLine::Close() {
  Release();
  open_ = false;
  if (!std::exchange(listening_, false)) return;
  // The next line on this port may listen by the time this one ends.
  port_.on_lost = nullptr;
  port_.Close();
}

void PortKeyLine::Play(std::vector<KeyStep> steps) {
  if (!open_ || steps.empty()) return;
  if (!steps_.empty() && steps_.back().tail) {
    const bool playing = steps_.size() == 1 && began_;
    if (playing) next_ = loop_.Now();
    if (!playing) steps_.pop_back();
  }
  if (steps_.empty()) {
    next_ = loop_.Now();
    began_ = false;
  }
  steps_.insert(steps_.end(), std::make_move_iterator(steps.begin()), std::make_move_iterator(steps.end()));
  loop_.StopTimer(timer_);
  timer_ = loop_.StartTimer(next_, [this] { Run(); });
}

void PortKeyLine::PlayInstead(std::vector<KeyStep> steps) {
  if (steps.empty()) return Release();
  steps_.clear();
  Play(std::move(steps));
}

void PortKeyLine::Release() {
  loop_.StopTimer(std::exchange(timer_, 0));
  steps_.clear();
  if (open_) Set(false, false);
}

Duration PortKeyLine::remaining() const {
  if (steps_.empty()) return Duration{0};
  Duration left = next_ - loop_.Now();
  for (std::size_t i = began_ ? 1 : 0; i < steps_.size(); ++i) left += steps_[i].length;
  return std::max(left, Duration{0});
}

/// Ends the step that is being played, if one is, and begins the next. One event is the last thing that is done.
void PortKeyLine::Run() {
  timer_ = 0;
  // No element is cut short to make up for lost time.
  if (loop_.Now() - next_ > kHeldUp) next_ = loop_.Now();
  if (!port_.is_open()) return Lose("the port whose lines are keyed has closed");
  if (std::exchange(began_, true)) steps_.pop_front();
  if (steps_.empty()) {
    Set(false, false);
    if (const auto handler = on_idle) handler();
    return;
  }
  const KeyStep step = steps_.front();
  Set(step.key, step.ptt);
  next_ += step.length;
  timer_ = loop_.StartTimer(next_, [this] { Run(); });
  if (const auto handler = on_mark; handler && step.mark != 0) handler(step.mark);
}

void PortKeyLine::Set(bool key, bool ptt) {
  const bool key_level = key != lines_.inverted;
  const bool ptt_level = (ptt && lines_.use_ptt) != lines_.inverted;
  const auto set_ptt = [&] { lines_.key_on_rts ? port_.SetDtr(ptt_level) : port_.SetRts(ptt_level); };
  // PTT is never off while the key is down.
  if (ptt) set_ptt();
  lines_.key_on_rts ? port_.SetRts(key_level) : port_.SetDtr(key_level);
  if (!ptt) set_ptt();
}

void PortKeyLine::Lose(const std::string& why) {
  loop_.StopTimer(std::exchange(timer_, 0));
  steps_.clear();
  if (!std::exchange(open_, false)) return;
  if (settings_) port_.Close();
  if (const auto handler = on_lost) handler(why);
}

}  // namespace kvx::keyer
