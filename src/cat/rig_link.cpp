#include "cat/rig_link.h"

#include <algorithm>

#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

using namespace std::chrono_literals;

constexpr Duration kFirstRetry = 250ms;
constexpr Duration kSlowestRetry = 1s;
constexpr Duration kRarestRetry = 8s;  // of a server that ends every connection as soon as it stands
constexpr Duration kBelieved = 500ms;  // a server's own words come before that, and may look like a reply
constexpr std::size_t kMostSaid = 80;
constexpr Duration kSteady = 2s;            // a port that has been open for longer is worth a quick first retry
constexpr std::size_t kBufferLimit = 4096;  // characters; the longest reply of any rig is far shorter
constexpr Duration kMostBehind = 1s;        // of the line: what is further behind is refused
constexpr int kBitsPerByte = 11;
constexpr Duration kDeliverTime = 500ms;
constexpr int kLastBytes = 16;  // that the system may still hold

}  // namespace

RigLink::RigLink(Loop& loop, Console& console, platform::SerialPort& port)
    : loop_(loop), console_(console), port_(port) {
  port_.on_data = [this] {
    if (on_trial_) return void(said_ += port_.Read().substr(0, kMostSaid - std::min(kMostSaid, said_.size())));
    last_arrival_ = loop_.Now();
    if (on_arrival) on_arrival();
  };
  port_.on_opened = [this] { Reached(); };
  port_.on_lost = [this](const std::string& why) { Lost(why); };
}

void RigLink::OpenRigPort(const platform::PortSettings& settings, bool rig_selected) {
  wanted_ = settings;
  rig_selected_ = rig_selected;
  if (deliver_first_ && port_.is_open()) {
    keep_open_ = DeliverThenReopen();
  } else {
    Reopen();
  }
}

Duration RigLink::TimeOf(std::size_t bytes) const {
  return std::chrono::nanoseconds(1s) * kBitsPerByte * static_cast<std::int64_t>(bytes) / speed();
}

void RigLink::Retire(bool deliver) {
  retired_ = true;
  deliver_first_ = deliver_first_ || deliver;
}

/// A port that closes drops what is in its buffers, and what the system has taken is not yet on the line.
Task RigLink::Deliver() {
  const TimePoint limit = loop_.Now() + kDeliverTime;
  while (port_.is_open() && port_.bytes_unsent() > 0 && loop_.Now() < limit) {
    co_await loop_.Sleep(5ms);
  }
  co_await loop_.Sleep(TimeOf(kLastBytes));
}

Task RigLink::DeliverThenReopen() {
  Task deliver = Deliver();
  co_await deliver;
  Reopen();
}

void RigLink::SetSwitches(bool dtr, bool rts) {
  const bool dtr_changes = settings_.dtr != dtr;
  const bool rts_changes = settings_.rts != rts;
  settings_.dtr = wanted_.dtr = dtr;
  settings_.rts = wanted_.rts = rts;
  if (dtr_changes) port_.SetDtr(dtr);
  if (rts_changes) port_.SetRts(rts);
}

void RigLink::Reopen() {
  deliver_first_ = false;
  retired_ = false;
  CloseRigPort();
  settings_ = wanted_;
  if (!rig_selected_ || settings_.number == 0) return;
  pause_ = Duration{0};
  keep_open_ = KeepOpen(Duration{0});
}

void RigLink::CloseRigPort() {
  keep_open_ = Task();
  settle_ = Task();
  reached_ = on_trial_ = ends_soon_ = false;
  cut_short_ = cut_short_ || line_free_at_ > loop_.Now();
  if (port_.is_open() && port_.bytes_unsent() > 0 && on_undelivered) on_undelivered();
  port_.Close();
  buffer_.clear();
  line_free_at_ = {};
  was_open_ = false;
  last_failure_.clear();
  console_.Port.Set("closed");
}

Task RigLink::KeepOpen(Duration pause) {
  while (true) {
    if (pause > Duration{0}) {
      co_await loop_.Sleep(pause);
    }
    const Status opened = port_.Open(settings_);
    if (opened.ok()) {
      if (port_.is_open()) Opened();
      co_return;
    }
    const std::string& why = opened.error().message;
    console_.Port.Set(why);
    if (why != last_failure_ && on_notice) on_notice(why);
    last_failure_ = why;
    pause = NextPause();
  }
}

/// It is a server that took the connection. The release of a transmitter does not wait to see what becomes of it.
void RigLink::Reached() {
  reached_ = true;
  if (!ends_soon_ || *console_.Transmitting) return Opened();
  on_trial_ = true;
  said_.clear();
  keep_open_ = Prove();
}

Task RigLink::Prove() {
  co_await loop_.Sleep(kSteady);
  on_trial_ = false;
  Opened();
  Settled();
}

/// Twice as long after each failure in a row; a port that stayed open for a while begins anew.
Duration RigLink::NextPause() {
  pause_ = pause_ == Duration{0} ? kFirstRetry : std::min(pause_ * 2, ends_soon_ ? kRarestRetry : kSlowestRetry);
  return pause_;
}

void RigLink::Opened() {
  buffer_.clear();
  settled_ = false;
  settle_ = last_failure_.empty() ? Task() : Settle();
  opened_at_ = loop_.Now();
  was_open_ = true;
  line_free_at_ = {};
  console_.Port.Set("open");
  if (on_opened) on_opened();
  cut_short_ = false;
}

Task RigLink::Settle() {
  co_await loop_.Sleep(kSteady);
  Settled();
}

void RigLink::Answered() {
  if (is_open() && loop_.Now() - opened_at_ >= kBelieved) Settled();
}

void RigLink::Settled() {
  if (std::exchange(settled_, true)) return;
  ends_soon_ = false;
  if (!last_failure_.empty() && on_notice) on_notice("The rig port is open again");
  last_failure_.clear();
}

void RigLink::Lost(const std::string& cause) {
  const bool was_on_trial = std::exchange(on_trial_, false);
  const bool lasted = !was_on_trial && (settled_ || loop_.Now() - opened_at_ > kSteady);
  ends_soon_ = std::exchange(reached_, false) && !lasted;
  const std::string said = was_on_trial ? OneLine(said_.substr(0, said_.find_first_of("\r\n"))) : std::string();
  const std::string why = said.empty() ? cause : cause + " (\"" + said + "\")";
  settle_ = Task();
  cut_short_ = cut_short_ || line_free_at_ > loop_.Now();
  buffer_.clear();
  if (on_undelivered) on_undelivered();
  console_.Port.Set(why);
  if (why != last_failure_ && on_notice) on_notice(why);
  last_failure_ = why;
  if (deliver_first_) return Reopen();  // there is nobody left to deliver to, and another port may be wanted
  if (std::exchange(was_open_, false) && loop_.Now() - opened_at_ > kSteady) pause_ = Duration{0};
  keep_open_ = KeepOpen(NextPause());
}

bool RigLink::WriteRigPort(std::string_view bytes) {
  if (!is_open() || bytes.empty() || !HasRoomFor(0)) return false;
  Put(bytes);
  return true;
}

bool RigLink::HasRoomFor(std::size_t bytes) const {
  const Duration all = TimeOf(port_.bytes_unsent() + bytes);
  return all <= kMostBehind && line_free_at_ + TimeOf(bytes) <= loop_.Now() + kMostBehind;
}

bool RigLink::WriteUrgently(std::string_view bytes, const std::string* resynchronise) {
  if (!port_.is_open()) return false;
  if (resynchronise != nullptr && port_.bytes_unsent() > 0) {
    port_.DropUnsent();
    line_free_at_ = loop_.Now();
    Put(*resynchronise + std::string(bytes));
  } else {
    Put(bytes);
  }
  return true;
}

void RigLink::Put(std::string_view bytes) {
  port_.Write(bytes);
  line_free_at_ = std::max(loop_.Now(), line_free_at_) + TimeOf(bytes.size());
  sent_bytes_ += bytes.size();
  if (DisplayTX) DisplayTX(bytes);
  if (on_written) on_written(bytes);
}

void RigLink::GetData() {
  const std::string bytes = port_.Read();
  received_bytes_ += bytes.size();
  if (DisplayRCV && !bytes.empty()) DisplayRCV(bytes);
  if (discard_) {
    buffer_.clear();
    return;
  }
  buffer_ += hex_ ? HexText::FromBytes(bytes).digits : bytes;
  // An endless stream without a reply in it: what is oldest can no longer become one.
  if (buffer_.size() > kBufferLimit) buffer_.erase(0, (buffer_.size() - kBufferLimit / 2) & ~std::size_t{1});
}

void RigLink::Discard(int ticks) {
  discard_ = ticks > 0;
  discard_countdown_ = ticks;
}

void RigLink::CountDown() {
  if (discard_countdown_ >= 1) --discard_countdown_;
  if (discard_countdown_ == 0) discard_ = false;
}

}  // namespace kvx::cat
