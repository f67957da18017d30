#include "links/keyer_link.h"

#include <utility>

namespace kvx::links {

KeyerLink::KeyerLink(Loop& loop, Console& console, keyer::Keyer& keyer, const platform::SerialPort& keyer_port,
                     platform::SerialPort& port)
    : console_(console),
      keyer_(keyer),
      keyer_port_(keyer_port),
      port_(port),
      line_(loop, port, "The port of the logger's keyer"),
      subscription_(console.Subscribe([this](Field field) {
        if (field == Field::kKeyer) CheckKeyer();
      })) {
  port_.on_data = [this] { Receive(); };
  line_.on_lost = [this] {
    if (keyer_.winkeyer() != nullptr) keyer_.winkeyer()->LoggerGone();
  };
  line_.on_change = [this] { Show(); };
  line_.on_notice = [this](const std::string& line) {
    if (on_notice) on_notice(line);
  };
  if (keyer_.winkeyer() != nullptr) Watch();
}

void KeyerLink::Watch() {
  keyer_.winkeyer()->SetLogger(&port_);
  keyer_.winkeyer()->on_logger = [this](std::string_view bytes) {
    if (is_on()) activity_.Asked(bytes);
  };
  keyer_.winkeyer()->on_received = [this](std::string_view bytes) {
    if (is_on() && is_open()) activity_.Answered(bytes);
  };
}

KeyerLink::~KeyerLink() {
  port_.on_data = nullptr;
  if (keyer_.winkeyer() == nullptr) return;
  keyer_.winkeyer()->SetPassThrough(false);
  keyer_.winkeyer()->SetLogger(nullptr);
  keyer_.winkeyer()->on_logger = nullptr;
  keyer_.winkeyer()->on_received = nullptr;
}

void KeyerLink::Use(const LinkPort& settings) {
  const bool switched_on = used_ && settings.on && !settings_.on;
  if (switched_on && !settings.is_chosen() && on_notice) on_notice(kNoKeyerLinkPort);
  const bool same = std::exchange(used_, true) && settings.same_port(settings_);
  settings_ = settings;
  if (!same) {
    line_.Close();
    InitComm3();
  }
  Follow();
}

void KeyerLink::InitComm3() {
  if (!line_.Open(settings_) && on_notice) on_notice(kNoKeyerLinkPortOpens);
}

Status KeyerLink::Switch(bool on) {
  if (on && !settings_.is_chosen()) {
    if (on_notice) on_notice(kNoKeyerLinkPort);
    return Error{ErrorCode::kInvalid, kNoKeyerLinkPort};
  }
  settings_.on = on;
  told_ = false;
  if (on && !is_open()) InitComm3();
  Follow();
  if (on && has_keyer() && (*console_.KeyerState == "closed" || *console_.KeyerState == "failed")) keyer_.Open();
  if (on && !line_.failure().empty()) return Error{ErrorCode::kIo, kNoKeyerLinkPortOpens};
  if (told_) return Error{ErrorCode::kIo, kNoKeyerPortOpens};
  return Ok();
}

void KeyerLink::Close() {
  if (keyer_.winkeyer() != nullptr) keyer_.winkeyer()->SetPassThrough(false);
  line_.Close();
}

void KeyerLink::Follow() {
  Show();
  if (keyer_.winkeyer() != nullptr) keyer_.winkeyer()->SetPassThrough(is_on());
  CheckKeyer();
}

bool KeyerLink::has_keyer() const {
  return keyer_.winkeyer() != nullptr && keyer_.settings().kind == keyer::KeyerKind::kWinkey;
}

/// Whoever switches the link on is told once when there is no keyer behind it. One that does not answer is told of by
/// the keyer itself.
void KeyerLink::CheckKeyer() {
  if (!is_on() || !is_open()) return;
  const bool failed = *console_.KeyerState == "failed" || *console_.KeyerState == "none";
  const bool missing = !has_keyer() || (failed && !keyer_port_.is_open());
  if (missing && !std::exchange(told_, true) && on_notice) on_notice(kNoKeyerPortOpens);
  if (*console_.KeyerState == "ready") told_ = false;
}

/// With the link off as well: what was sent then is not for later.
void KeyerLink::Receive() {
  if (keyer_.winkeyer() != nullptr) {
    keyer_.winkeyer()->GetWInkey();
  } else {
    port_.Read();
  }
}

}  // namespace kvx::links
