#include "keyer/keyer.h"

#include <algorithm>

#include "core/text.h"
#include "keyer/cw_text.h"
#include "keyer/morse.h"
#include "keyer/rig_keyer.h"
#include "keyer/software_keyer.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

constexpr Duration kSpeedSettled = 2s;         // then it is kept
constexpr Duration kLongestForProgram = 5min;  // a program may hang

Error Closed(const std::string& why) {
  return {ErrorCode::kClosed, why};
}

/// Settings that a keyer in use need not be made anew for.
KeyerSettings WithoutTaste(KeyerSettings settings) {
  const KeyerSettings other;
  settings.speed = other.speed;
  settings.transmit_limit = other.transmit_limit;
  settings.local_tone = other.local_tone;
  settings.tone_hertz = other.tone_hertz;
  settings.tone_volume = other.tone_volume;
  if (settings.kind == KeyerKind::kWinkey) {
    settings.lead = other.lead;
    settings.tail = other.tail;
    settings.key_on_rts = other.key_on_rts;
    settings.use_ptt = other.use_ptt;
    settings.inverted = other.inverted;
  } else {
    settings.stop_bits = other.stop_bits;
    settings.mode = other.mode;
    settings.reversed = other.reversed;
    settings.second_output = other.second_output;
    settings.key1 = other.key1;
    settings.key2 = other.key2;
    settings.side_tone = other.side_tone;
    settings.ptt_lead = other.ptt_lead;
    settings.ptt_tail = other.ptt_tail;
    settings.ignore_pot = other.ignore_pot;
  }
  return settings;
}

}  // namespace

Status CheckPorts(const KeyerSettings& settings, int rig_port) {
  const bool has_port = settings.kind == KeyerKind::kWinkey || settings.kind == KeyerKind::kComLine;
  if (has_port && rig_port > 0 && settings.port == rig_port)
    return Error{ErrorCode::kInvalid, "You can not set the keyer port the same as the rig port"};
  // A closed port has its lines low, and between two openings there is nobody to raise them.
  if (settings.kind == KeyerKind::kRigLine && settings.inverted)
    return Error{ErrorCode::kInvalid,
                 "The rig port's lines cannot be keyed inverted (INVERT): a closed port would transmit"};
  return Ok();
}

Status CheckChoice(const KeyerSettings& settings, int rig_port) {
  if (settings.kind == KeyerKind::kWinkey && !settings.key1 && !settings.key2)
    return Error{ErrorCode::kInvalid, "Please select Winkey KEY1 or KEY2"};
  return CheckPorts(settings, rig_port);
}

Keyer::Keyer(const KeyerParts& parts)
    : functions(parts.files, parts.folder),
      loop_(parts.loop),
      console_(parts.console),
      engine_(parts.engine),
      parts_(parts),
      sender_(parts.loop),
      tuner_(parts.loop, parts.console) {
  if (parts.port != nullptr && !parts.make_backend)
    winkeyer_ = std::make_unique<WinKeyer>(loop_, console_, *parts.port, parts.guard);
  sender_.on_change = [this] {
    console_.CwProgress.Set(*console_.CwProgress + 1);
    ShowState();
  };
  sender_.on_notice = [this](const std::string& line) { Notice(line); };
  sender_.on_symbol = [this](const std::string& symbol, int wpm) {
    if (on_symbol) on_symbol(symbol, wpm);
  };
  sender_.on_silence = [this] {
    if (on_silence) on_silence();
  };
  tuner_.on_notice = [this](const std::string& line) { Notice(line); };
  tuner_.on_key = [this](bool down) {
    if (on_key) on_key(down);
  };
  sender_.on_ready = [this] { Ready(); };
  sender_.on_gone = [this](bool was_sending) { Gone(was_sending); };
  sender_.on_stopped = [this] { tuner_.Stop(); };
  console_changes_ = console_.Subscribe([this](Field field) { Follow(field); });
}

Keyer::~Keyer() {
  loop_.StopTimer(keep_speed_);
  sender_.Use(nullptr);
}

void Keyer::Use(const KeyerSettings& settings, int rig_port) {
  if (stopping_) return;
  const bool speed_chosen = !used_ || settings.speed != settings_.speed;
  const bool same = used_ && rig_port == rig_port_ && WithoutTaste(settings) == WithoutTaste(settings_);
  const bool changed = !used_ || !(settings == settings_);
  settings_ = settings;
  rig_port_ = rig_port;
  replacing_ = !same;  // what is between the two keyers is no state to show
  if (speed_chosen) console_.CWSpeed.Set(settings.speed);
  sender_.SetSpeed(std::clamp(*console_.CWSpeed, kSlowest, kFastest));
  if (speed_chosen) {
    loop_.StopTimer(keep_speed_);
    keep_speed_ = 0;
  }
  used_ = true;
  if (!same) Replace();
  if (changed && on_settings) on_settings();
}

/// What is sent now is not what the new keyer was chosen for: it is stopped.
void Keyer::Replace() {
  if (const std::size_t lost = sender_.unsent(); lost > 0)
    Notice("The keyer has been changed; " + std::to_string(lost) + (lost == 1 ? " character was" : " characters were") +
           " not sent");
  StopSending();
  sender_.Use(nullptr);
  tuner_.Use(nullptr, Duration{0});
  if (backend_ != nullptr) backend_->Close();
  if (made_) retired_ = std::move(made_);
  failed_ = false;
  backend_ = Choose();
  sender_.Use(backend_);
  tuner_.Use(backend_, settings_.tune_limit);
  // A line is opened as well, so that it stands at rest. The rig's own keyer and a line of the rig port wait for that.
  if (backend_ != nullptr && (!with_rig() || engine_.link.is_open())) backend_->Open();
  replacing_ = false;
  ShowState();
}

/// The keyer of the settings' kind; null when there is none.
CwBackend* Keyer::Choose() {
  if (!settings_.unknown.empty()) Notice("KEYERPORT: there is no keyer " + OneLine(settings_.unknown, 40));
  if (const Status ports = CheckPorts(settings_, rig_port_); !ports) {
    Notice(ports.error().message);
    return nullptr;
  }
  if (settings_.kind == KeyerKind::kWinkey && winkeyer_) {
    winkeyer_->Configure(settings_);
    return winkeyer_.get();
  }
  made_ = Make();
  return made_.get();
}

std::unique_ptr<CwBackend> Keyer::Make() {
  if (settings_.kind == KeyerKind::kNone) return nullptr;
  if (parts_.make_backend) return parts_.make_backend(settings_);
  if (settings_.kind == KeyerKind::kRigKeyer)
    return std::make_unique<RigKeyer>(loop_, console_, engine_, parts_.text_guard, std::exchange(owes_stop_, false));
  return MakeSoftwareKeyer();
}

std::unique_ptr<CwBackend> Keyer::MakeSoftwareKeyer() {
  auto line = parts_.make_line ? parts_.make_line(settings_) : nullptr;
  if (!line) {
    Notice("There is no line to key on " + KeyerWord(settings_.kind, settings_.port));
    return nullptr;
  }
  return std::make_unique<SoftwareKeyer>(loop_, std::move(line), settings_);
}

void Keyer::PortMoved(int number) {
  const bool own = settings_.kind == KeyerKind::kWinkey || settings_.kind == KeyerKind::kComLine;
  const bool on_it = own ? settings_.port == number : settings_.kind == KeyerKind::kRigLine && rig_port_ == number;
  if (used_ && !stopping_ && on_it) Replace();
}

void Keyer::Open() {
  if (backend_ != nullptr && !stopping_) backend_->Open();
  ShowState();
}

void Keyer::Close() {
  StopSending();
  if (backend_ != nullptr) backend_->Close();
  ShowState();
}

void Keyer::ReleaseRigPort() {
  if (settings_.kind == KeyerKind::kRigLine) Close();
}

void Keyer::Stop() {
  StopSending();
  stopping_ = true;
}

Task Keyer::Finish() {
  Stop();
  KeepSpeed();
  if (winkeyer_) {  // also one that has just been given up
    Task closing = winkeyer_->HostClose();
    co_await closing;
  }
  if (made_) made_->Close();
  ShowState();
}

Status Keyer::MayType() const {
  if (stopping_) return Closed("the console is closing");
  if (backend_ == nullptr) return Closed(kNoKeyer);
  if (settings_.kind == KeyerKind::kRigKeyer && Trim(*console_.Mode) != "CW")
    return Error{ErrorCode::kInvalid, "The rig's own keyer sends in mode CW only"};
  return Ok();
}

Status Keyer::MaySend(cat::Party party, Duration length) const {
  if (party == cat::kOperator) return Ok();
  const bool others = sender_.sending() && sends_for_ != party;
  if (*console_.Tune || tuner_.is_wished() || others) return Error{ErrorCode::kBusy, "The keyer is in use"};
  if (sender_.left() + length > kLongestForProgram) return Error{ErrorCode::kBusy, "The text is too long"};
  return Ok();
}

Result<CwTaken> Keyer::Take(std::string_view text, cat::Party party) {
  if (const Status may = MayType(); !may) return may.error();
  const CwText parsed = ParseCwText(text);
  CwTaken taken{.characters = static_cast<int>(parsed.symbols.size()), .left_out = parsed.complaint()};
  for (const std::string& symbol : parsed.symbols) taken.length += MorseLength(symbol, *console_.CWSpeed);
  if (const Status may = MaySend(party, taken.length); !may) return may.error();
  if (sends_for_ != party && sender_.sending()) sender_.Abort();
  sends_for_ = party;
  tuner_.Stop();
  if (const Status typed = sender_.Type(parsed.symbols); !typed) return typed.error();
  return taken;
}

Result<CwTaken> Keyer::Send(std::string_view text, cat::Party party) {
  MacroValues values = functions.values();
  values.frequency = *console_.FreqDisp;
  const Result<MacroText> expanded = ExpandMacros(text, values);
  if (!expanded) return expanded.error();
  Result<CwTaken> taken = Take(expanded->text, party);
  if (!taken) return taken;
  if (const Status counted = functions.SetNumber(expanded->next_number); !counted) Notice(counted.error().message);
  return taken;
}

Result<CwTaken> Keyer::Type(std::string_view text) {
  Result<CwTaken> taken = Take(text, cat::kOperator);
  if (taken && !taken->left_out.empty()) Notice(taken->left_out);
  return taken;
}

Result<CwTaken> Keyer::SendFunction(int number) {
  if (number < 1 || number > kCwFunctions) return Error{ErrorCode::kInvalid, "The functions are 1 to 12"};
  const std::string message = functions.message(number);
  if (Trim(message).empty()) return Error{ErrorCode::kNotFound, "Function " + std::to_string(number) + " is empty"};
  return Send(message);
}

void Keyer::SendChar1(int code) {
  switch (code) {
    case kKeyDownCode:
    case kKeyUpCode:
      if (const Status done = Tune(code == kKeyDownCode); !done) Notice(done.error().message);
      return;
    case kClearCode:
      return Escape();
    case kBackspaceCode:
      Backspace();
      return;
    default:
      break;
  }
  if (code < 0 || code > 0x7F) return Notice("SendChar1 has no code " + std::to_string(code));
  if (const auto typed = Type(std::string(1, static_cast<char>(code))); !typed) Notice(typed.error().message);
}

void Keyer::StopFor(cat::Party party) {
  if (sends_for_ == party && sender_.sending()) sender_.Abort();
}

/// Also what the keyer may have from elsewhere.
void Keyer::Escape() {
  tuner_.Stop();
  sender_.Abort();
}

void Keyer::StopSending() {
  tuner_.Stop();
  if (sender_.sending()) sender_.Abort();
}

Status Keyer::SetSpeed(int wpm) {
  if (wpm < kSlowest || wpm > kFastest) return Error{ErrorCode::kInvalid, "The CW speed is 5 to 99 words a minute"};
  console_.CWSpeed.Set(wpm);
  return Ok();
}

void Keyer::TuneIt() {
  const Status done = Tune(!*console_.Tune && !tuner_.is_wished());
  if (!done) Notice(done.error().message);
}

Status Keyer::Tune(bool on) {
  if (!on) {
    tuner_.Stop();
    return Ok();
  }
  if (stopping_) return Closed("the console is closing");
  if (backend_ == nullptr) return Closed(kNoKeyer);
  if (*console_.Tune) return Ok();
  if (sender_.sending()) sender_.Abort();
  const Status started = tuner_.Start();
  ShowState();
  return started;
}

void Keyer::Ready() {
  failed_ = false;
  tuner_.Ready();
  ShowState();
}

/// What the keyer was sending and the rig's transmitter, keyed for it, are one transmission.
void Keyer::Gone(bool was_sending) {
  failed_ = true;
  const bool keyed = was_sending || *console_.Tune;
  tuner_.Stop();
  if (keyed && engine_.link.is_open() && engine_.dispatcher.ReleaseTransmitter())
    Notice("The keyer has gone: the rig's transmitter has been released");
  ShowState();
}

/// The same from its other end. A carrier is not left to itself; text that keys a rig which is not keyed by CAT goes
/// on.
void Keyer::RigPortGone() {
  const bool sends = sender_.sending() && *console_.Transmitting;
  if (!sends && !*console_.Tune) return;
  StopSending();
  Notice("The rig port is closed: the keyer has been stopped");
}

void Keyer::Follow(Field field) {
  if (field == Field::kPort && std::exchange(rig_is_open_, engine_.link.is_open()) && !rig_is_open_) RigPortGone();
  if (field == Field::kPort && with_rig() && backend_ != nullptr) {
    if (engine_.link.is_open()) {
      Open();
    } else if (settings_.kind == KeyerKind::kRigLine) {
      Close();
    }
    ShowState();
  }
  if (field == Field::kRigName && with_rig()) ShowState();
  if (field != Field::kCwSpeed) return;
  sender_.SetSpeed(std::clamp(*console_.CWSpeed, kSlowest, kFastest));
  loop_.StopTimer(keep_speed_);
  keep_speed_ = loop_.StartTimer(loop_.Now() + kSpeedSettled, [this] {
    keep_speed_ = 0;
    KeepSpeed();
  });
}

/// The speed of the moment, as the settings keep it.
void Keyer::KeepSpeed() {
  loop_.StopTimer(keep_speed_);
  keep_speed_ = 0;
  const int speed = std::clamp(*console_.CWSpeed, kSlowest, kFastest);
  if (!used_ || speed == settings_.speed) return;
  settings_.speed = speed;
  if (keep) keep({{"CWSPEED=", NumberText(speed)}});
}

void Keyer::ShowState() {
  if (replacing_) return;
  const std::string_view missing = settings_.kind == KeyerKind::kNone ? "none" : "failed";
  console_.KeyerState.Set(std::string(backend_ == nullptr ? missing : backend_->state()));
}

void Keyer::Notice(const std::string& line) const {
  if (on_notice) on_notice(line);
}

}  // namespace kvx::keyer
