#include "links/link_port.h"

#include <algorithm>
#include <utility>

#include "core/text.h"
#include "platform/ports_file.h"

namespace kvx::links {
namespace {

constexpr int kNoPort = 19;  // "none" in the list of ports that older programs of the station had
constexpr int kBaud = 19'200;

std::string NameOf(int number) {
  return "COM" + std::to_string(number);
}

}  // namespace

LinkPort LinkPort::From(const config::Settings& settings, std::string_view port_key, std::string_view switch_key) {
  LinkPort port;
  port.name = Trim(settings.text(port_key));
  port.number = static_cast<int>(std::clamp<std::int64_t>(settings.number(port_key), 0, platform::kHighestPort));
  port.on = settings.flag(switch_key);
  return port;
}

bool LinkPort::is_chosen() const {
  return Upper(name) != "NONE" && number != 0 && number != kNoPort;
}

bool LinkPort::same_port(const LinkPort& other) const {
  return is_chosen() == other.is_chosen() && number == other.number && used_by == other.used_by;
}

Status OpenLinkPort(platform::SerialPort& port, const LinkPort& wanted) {
  if (port.is_open()) port.Close();
  if (!wanted.used_by.empty())
    return Error{ErrorCode::kBusy, NameOf(wanted.number) + " is the port of " + wanted.used_by};
  const Status opened = port.Open({.number = wanted.number, .speed = kBaud, .stop_bits = 1, .dtr = true, .rts = true});
  if (!opened || !port.is_open()) return opened;
  port.SetDtr(true);
  port.SetRts(true);
  return opened;
}

std::string LinkState(const LinkPort& wanted, bool open, const std::string& failure) {
  const std::string word = wanted.on && wanted.is_chosen() ? "on" : "off";
  if (!wanted.is_chosen()) return word + ", no port";
  if (open) return word + " " + NameOf(wanted.number);
  return word + ", " + NameOf(wanted.number) + " is closed" + (failure.empty() ? "" : " (" + failure + ")");
}

LinkLine::LinkLine(Loop& loop, platform::SerialPort& port, std::string name)
    : port_(port), name_(std::move(name)), again_(loop, [this] { static_cast<void>(Try()); }) {
  port_.on_opened = [this] { Opened(); };
  port_.on_lost = [this](const std::string& why) { Lost(why); };
}

LinkLine::~LinkLine() {
  port_.on_opened = nullptr;
  port_.on_lost = nullptr;
}

Status LinkLine::Open(const LinkPort& wanted) {
  wanted_ = wanted;
  missed_ = false;
  failure_.clear();
  again_.Stop();
  return Try();
}

Status LinkLine::Try() {
  const Status opened = wanted_.is_chosen() ? OpenLinkPort(port_, wanted_) : Ok();
  if (port_.is_open()) {
    Opened();
    return opened;
  }
  if (!opened) {
    failure_ = opened.error().message;
    missed_ = true;
    again_.Again();
  }
  if (on_change) on_change();
  return opened;
}

void LinkLine::Opened() {
  again_.Stop();
  failure_.clear();
  if (on_change) on_change();
  if (std::exchange(missed_, false) && on_notice) on_notice(name_ + " is back");
}

void LinkLine::Lost(const std::string& why) {
  failure_ = why;
  again_.Again();
  if (on_lost) on_lost();
  if (on_change) on_change();
  if (!std::exchange(missed_, true) && on_notice) on_notice(name_ + " has gone: " + why);
}

void LinkLine::Close() {
  again_.Stop();
  failure_.clear();
  port_.Close();
  if (on_change) on_change();
}

}  // namespace kvx::links
