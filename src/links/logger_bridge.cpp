#include "links/logger_bridge.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "cat/transmit.h"

namespace kvx::links {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kPiece = 1024;
constexpr std::size_t kLongestUnfinished = 1024;
constexpr std::size_t kMostUnsent = 4096;  // who does not take its answers gets no more of them
constexpr Duration kGoneTime = 300ms;      // programs close a port and open it again at once

}  // namespace

LoggerBridge::LoggerBridge(Loop& loop, Console& console, cat::Engine& engine, platform::SerialPort& port)
    : loop_(loop),
      console_(console),
      engine_(engine),
      port_(port),
      rig_(console, engine),
      waiting_(loop, console, engine),
      line_(loop, port, "The port of the logger"),
      subscription_(console.Subscribe([this](Field field) { Follow(field); })) {
  port_.on_data = [this] { Receive(); };
  line_.on_lost = [this] { Forget(); };
  line_.on_change = [this] { Show(); };
  line_.on_notice = [this](const std::string& line) {
    if (on_notice) on_notice(line);
  };
}

LoggerBridge::~LoggerBridge() {
  port_.on_data = nullptr;
  loop_.StopTimer(gone_);
}

void LoggerBridge::Use(const LinkPort& settings) {
  const bool switched_on = used_ && settings.on && !settings_.on;
  if (switched_on && !settings.is_chosen() && on_notice) on_notice(kNoLoggerPort);
  const bool same = std::exchange(used_, true) && settings.same_port(settings_);
  settings_ = settings;
  if (!is_on()) Forget();
  if (same) return Show();
  Close();
  InitComm2();
}

void LoggerBridge::InitComm2() {
  if (!line_.Open(settings_) && on_notice) on_notice(kNoLoggerPortOpens);
}

Status LoggerBridge::Switch(bool on) {
  if (on && !settings_.is_chosen()) {
    if (on_notice) on_notice(kNoLoggerPort);
    return Error{ErrorCode::kInvalid, kNoLoggerPort};
  }
  settings_.on = on;
  Show();
  if (!on) {
    Forget();
    return Ok();
  }
  if (!is_open()) InitComm2();
  if (!line_.failure().empty()) return Error{ErrorCode::kIo, kNoLoggerPortOpens};
  return Ok();
}

void LoggerBridge::Close() {
  Forget();
  line_.Close();
}

void LoggerBridge::Forget() {
  unfinished_.clear();
  information_ = '0';
  waiting_.waiting.Forget();
  Release();
}

void LoggerBridge::FarEndClosed() {
  if (!keyed() || gone_ != 0) return;
  gone_ = loop_.StartTimer(loop_.Now() + kGoneTime, [this] {
    gone_ = 0;
    Forget();
  });
}

void LoggerBridge::Follow(Field field) {
  if (field != Field::kRigName && field != Field::kRigRow) return;
  told_b_ = false;
  waiting_.waiting.Forget();
}

void LoggerBridge::Receive() {
  const std::string bytes = port_.Read();
  if (bytes.empty()) return;
  loop_.StopTimer(std::exchange(gone_, 0));
  if (on_received) on_received(bytes);
  for (std::string_view left = bytes; !left.empty() && is_on(); left.remove_prefix(std::min(kPiece, left.size()))) {
    unfinished_ += left.substr(0, kPiece);
    Serve();
  }
}

/// All that is whole is dealt with now and answered in one write.
void LoggerBridge::Serve() {
  const std::size_t whole = unfinished_.rfind(';') + 1;
  const std::string text = unfinished_.substr(0, whole);
  unfinished_.erase(0, whole);
  if (unfinished_.size() > kLongestUnfinished) unfinished_.erase(0, unfinished_.size() - kLongestUnfinished);
  const std::vector<LoggerCommand> commands = ReadLoggerCommands(text);
  const auto asked = static_cast<std::size_t>(std::ranges::count(text, ';'));
  if (asked > 0) activity_.Asked(text, asked);
  if (commands.size() < asked) activity_.Refused(text);
  std::vector<bool> done(commands.size());
  std::string replies;
  for (const LoggerCommand& command : commands) {
    // A reply tells what was ordered before it was asked for.
    for (const LoggerCommand& order : commands) {
      if (order.request >= LoggerRequest::kSetA && order.place <= command.place && !done[order.place]) {
        done[order.place] = true;
        Do(order);
      }
    }
    replies += ReplyTo(command);
  }
  if (replies.empty() || !port_.is_open() || port_.bytes_unsent() >= kMostUnsent) return;
  activity_.Answered(replies);
  port_.Write(replies);
}

void LoggerBridge::Do(const LoggerCommand& command) {
  switch (command.request) {
    case LoggerRequest::kSetA:
      engine_.operations.TuneTo(command.frequency);
      return;
    case LoggerRequest::kSetB:
      // Where VFO B is not in use it is set without leaving the other one.
      told_b_ = rig_.SetFrequency(waiting_, 'B', command.frequency) == Rprt::kOk || told_b_;
      return;
    case LoggerRequest::kTransmit:
      return Transmit();
    case LoggerRequest::kReceive:
      return End();
    case LoggerRequest::kSetInformation:
      information_ = command.setting;
      return;
    default:
      return;
  }
}

std::string LoggerBridge::ReplyTo(const LoggerCommand& command) const {
  switch (command.request) {
    case LoggerRequest::kAutoInformation:
      return command.query ? std::string("AI") + information_ + ";" : "";
    case LoggerRequest::kPower:
      return command.query ? "PS1;" : "";
    case LoggerRequest::kReadA:
      return FrequencyReply("FA", *console_.FreqDisp);
    case LoggerRequest::kReadB:
      return FrequencyReply("FB", frequency_b());
    case LoggerRequest::kReadStatus:
      return StatusReply({.frequency = *console_.FreqDisp,
                          .mode = *console_.Mode,
                          .transmitting = *console_.Transmitting,
                          .vfo = *console_.ActiveVfo,
                          .split = rig_.split()});
    default:
      return {};
  }
}

/// Programs that follow one frequency find it under either name.
Frequency LoggerBridge::frequency_b() const {
  return told_b_ && *console_.ActiveVfo != 'B' ? *console_.FreqB : *console_.FreqDisp;
}

/// Whether the rig's two commands are what keys and releases its transmitter.
bool LoggerBridge::may_key() const {
  const config::RigRow& row = engine_.rig().row;
  return cat::ButtonsKeyTransmitter(row) && !row["Alpha"].empty() && !row["Bravo"].empty();
}

void LoggerBridge::Transmit() {
  const bool in_cw = console_.Mode->find("CW") != std::string::npos;  // there the keyer transmits
  if (in_cw || !may_key()) return;
  // The operator's own transmission goes on when the logger ends; another program's is left alone.
  const cat::Party party = engine_.transmission.is_of(cat::kOperator) ? cat::kOperator : waiting_.party;
  if (engine_.transmission.is_of_another(party)) return;
  // What was set before is what to transmit on: it waits for its turn no longer.
  engine_.operations.SendWaiting();
  waiting_.waiting.Flush();
  if (engine_.dispatcher.KeyTransmitter(party) == cat::SendOutcome::kSent) engine_.dispatcher.KeyTransmitter(party);
}

/// What the logger has keyed ends in every mode, and on a line that is busy as well.
void LoggerBridge::End() {
  const std::optional<cat::Party> owner = engine_.transmission.owner();
  const bool was_keyed = owner == waiting_.party;
  if (!was_keyed && owner.value_or(cat::kOperator) != cat::kOperator) return;  // another program transmits
  const bool in_cw = console_.Mode->find("CW") != std::string::npos;
  if (may_key() && (was_keyed || !in_cw)) {
    engine_.dispatcher.SendData("XSETBRAVO");
    engine_.dispatcher.SendData("XSETBRAVO");
  }
  if (was_keyed) engine_.dispatcher.ReleaseTransmitter(waiting_.party);
}

void LoggerBridge::Release() {
  loop_.StopTimer(std::exchange(gone_, 0));
  engine_.dispatcher.ReleaseTransmitter(waiting_.party);
}

}  // namespace kvx::links
