#include "cat/rig_link.h"

#include <algorithm>

#include "core/hex_text.h"

namespace kvx::cat {
namespace {

using namespace std::chrono_literals;

constexpr Duration kFirstRetry = 250ms;
constexpr Duration kSlowestRetry = 1s;
constexpr Duration kSteady = 2s;  // a port that has been open for longer is worth a quick first retry
constexpr std::size_t kBufferLimit = 4096;  // characters; the longest reply of any rig is far shorter
constexpr int kBitsPerByte = 11;

}  // namespace

RigLink::RigLink(Loop& loop, Console& console, platform::SerialPort& port) : loop_(loop), console_(console), port_(port) {
  port_.on_data = [this] {
    last_arrival_ = loop_.Now();
    if (on_arrival) on_arrival();
  };
  port_.on_opened = [this] { Opened(); };
  port_.on_lost = [this](const std::string& why) { Lost(why); };
}

void RigLink::OpenRigPort(const platform::PortSettings& settings, bool rig_selected) {
  CloseRigPort();
  settings_ = settings;
  if (!rig_selected || settings.number == 0) return;
  pause_ = Duration{0};
  keep_open_ = KeepOpen(Duration{0});
}

void RigLink::CloseRigPort() {
  keep_open_ = Task();
  port_.Close();
  buffer_.clear();
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

/// Twice as long after each failure in a row; a port that stayed open for a while begins anew.
Duration RigLink::NextPause() {
  pause_ = pause_ == Duration{0} ? kFirstRetry : std::min<Duration>(pause_ * 2, kSlowestRetry);
  return pause_;
}

void RigLink::Opened() {
  buffer_.clear();
  if (!last_failure_.empty() && on_notice) on_notice("The rig port is open again");
  last_failure_.clear();
  opened_at_ = loop_.Now();
  console_.Port.Set("open");
  if (on_opened) on_opened();
}

void RigLink::Lost(const std::string& why) {
  buffer_.clear();
  console_.Port.Set(why);
  if (why != last_failure_ && on_notice) on_notice(why);
  last_failure_ = why;
  if (loop_.Now() - opened_at_ > kSteady) pause_ = Duration{0};
  keep_open_ = KeepOpen(NextPause());
}

bool RigLink::WriteRigPort(std::string_view bytes) {
  if (!port_.is_open() || bytes.empty()) return false;
  const std::size_t bytes_a_second = static_cast<std::size_t>(std::max(settings_.speed, 1200) / kBitsPerByte);
  if (port_.bytes_unsent() > bytes_a_second) return false;
  port_.Write(bytes);
  last_write_ = loop_.Now();
  sent_bytes_ += bytes.size();
  if (DisplayTX) DisplayTX(bytes);
  return true;
}

void RigLink::GetData() {
  const std::string bytes = port_.Read();
  received_bytes_ += bytes.size();
  if (discard_) {
    buffer_.clear();
    return;
  }
  buffer_ += hex_ ? HexText::FromBytes(bytes).digits : bytes;
  // An endless stream without a reply in it: what is oldest can no longer become one.
  if (buffer_.size() > kBufferLimit) buffer_.erase(0, (buffer_.size() - kBufferLimit / 2) & ~std::size_t{1});
  if (DisplayRCV && !bytes.empty()) DisplayRCV(bytes);
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
