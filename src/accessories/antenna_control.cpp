#include "accessories/antenna_control.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "accessories/rotator_presets.h"
#include "core/hex_text.h"
#include "core/lines.h"
#include "core/text.h"
#include "platform/ports_file.h"

namespace kvx::accessories {
namespace {

using enum AntennaField;

constexpr const char* kPositionFile = "AntContF.Pos";
constexpr std::string_view kLastBearingKey = "LastBearing=";
constexpr std::size_t kPositionLimit = 4096;
constexpr int kDefaultPulse = 10;          // microseconds
constexpr std::size_t kLongestReply = 80;  // of the rotator, a line
constexpr std::size_t kBits = 8;
constexpr Duration kTryAgain = std::chrono::seconds(2);
constexpr int kFastest = 4'000'000;

// Topics of announcements beyond the fields'.
constexpr int kBearingTopic = kAntennaFields;
constexpr int kPathTopic = kAntennaFields + 1;
constexpr int kOtherPortTopic = kAntennaFields + 2;

/// What is announced of a field's new text.
std::string Sentence(const AntennaFieldRow& row, const std::string& text) {
  if (row.kind == FieldKind::kFlag) return std::string(row.label) + (text == "True" ? "on" : "off");
  if (std::string_view(row.key) == "DIRECTOPT") return row.label + text + " on";
  const bool no_port = std::string_view(row.key) == "ANTPORT=" && LeadingNumber(text) == 0;
  return row.label + (no_port ? "none" : text);
}

}  // namespace

Result<std::string> HexToBin(std::string_view hex) {
  std::string bits;
  for (const char c : hex) {
    const std::size_t digit = std::string_view("0123456789ABCDEF").find(c);
    if (digit == std::string_view::npos) return Error{ErrorCode::kInvalid, "HexToBin: Invalid Input"};
    for (const unsigned bit : {8U, 4U, 2U, 1U}) bits += (digit & bit) != 0 ? '1' : '0';
  }
  if (bits.size() < kBits) bits.insert(0, kBits - bits.size(), '0');
  return bits;
}

std::string BitText(std::uint8_t data) {
  return *HexToBin(HexText::FromBytes(std::string(1, static_cast<char>(data))).digits);
}

AntennaControl::AntennaControl(const AccessoryParts& parts)
    : loop_(parts.loop),
      console_(parts.console),
      files_(parts.files),
      file_(parts.folder / kPositionFile),
      rotator_(parts.rotator),
      ports_(parts.ports),
      fields_(ReadAntennaFields({})) {
  if (rotator_ == nullptr) return;
  rotator_->on_opened = [this] { RotatorOpened(); };
  rotator_->on_lost = [this](const std::string& why) { RotatorLost(why); };
  rotator_->on_data = [this] { RotatorSaid(); };
}

AntennaControl::~AntennaControl() {
  if (rotator_ == nullptr) return;
  rotator_->on_opened = rotator_->on_data = nullptr;
  rotator_->on_lost = nullptr;
}

void AntennaControl::Load(const config::Settings& settings) {
  fields_ = ReadAntennaFields(settings);
  const auto content = files_.Read(file_, kPositionLimit);
  if (!content && content.error().code != ErrorCode::kNotFound) Show(content.error().message + SetAside(files_, file_));
  std::string_view rest = content ? std::string_view(*content) : std::string_view();
  while (!rest.empty()) {
    const std::string_view line = TakeLine(rest).text;
    if (line.starts_with(kLastBearingKey) && IsBearing(line.substr(kLastBearingKey.size())))
      last_bearing_ = Trim(line.substr(kLastBearingKey.size()));
  }
  InitComm();
  keep_open_ = KeepOpen();
  changed.Tell();
}

void AntennaControl::Close() {
  ended_ = true;
  keep_open_ = Task();
  if (ports_ != nullptr) ports_->Close();
  if (rotator_ != nullptr) rotator_->Close();
  pending_.clear();
  SetPortState("closed");
  SaveBearing();
}

void AntennaControl::SaveBearing() {
  if (last_bearing_.empty()) return;
  std::string lines;
  const auto content = files_.Read(file_, kPositionLimit);
  std::string_view rest = content ? std::string_view(*content) : std::string_view();
  while (!rest.empty()) {
    const std::string_view line = TakeLine(rest).text;
    if (!line.starts_with(kLastBearingKey)) lines.append(line) += '\n';
  }
  const Status written = files_.Write(file_, lines + std::string(kLastBearingKey) + last_bearing_ + "\n");
  if (!written) Show(written.error().message);
}

Status AntennaControl::SetField(AntennaField which, std::string_view text) {
  const AntennaFieldRow& row = RowOf(which);
  auto value = FieldText(which, text);
  if (!value) return Error{ErrorCode::kInvalid, std::string(row.name) + " cannot be " + OneLine(text, 60)};
  if (*value == field(which)) return Ok();
  if (which == kDirectPort) Announce(kOtherPortTopic, row.label + field(which) + " off");
  at(which) = std::move(*value);
  changed_fields_ = true;
  Announce(static_cast<int>(which), Sentence(row, field(which)));
  if (which == kPPort || which == kDirectPort) ReadLights(LeadingNumber(field(which)) == 2 ? 2 : 1);
  changed.Tell();
  return Ok();
}

Status AntennaControl::UsePreset(std::string_view name) {
  const RotatorPreset* preset = FindRotatorPreset(name);
  if (preset == nullptr) return Error{ErrorCode::kNotFound, "There is no rotator preset " + OneLine(name, 40)};
  return SetField(kCommString, preset->command);
}

void AntennaControl::Save() {
  changed_fields_ = false;
  if (keep) keep(AntennaChanges(fields_));
}

int AntennaControl::parallel_port() const {
  const auto port = static_cast<int>(Val(field(kPPort)));
  return port == 0 ? 1 : port;
}

int AntennaControl::pulse_microseconds() const {
  return static_cast<int>(std::clamp(Val(field(kMSec)), -1.0, 1e6));
}

// The rotator.

std::string AntennaControl::SettingsText() const {
  return std::string(Trim(field(kRspeed))) + ",N,8," + std::string(Trim(field(kRstop)));
}

void AntennaControl::InitComm() {
  pending_.clear();
  if (rotator_ != nullptr && !ended_) OpenRotator();
}

Task AntennaControl::KeepOpen() {
  while (true) {
    co_await loop_.Sleep(kTryAgain);
    if (port_state_.starts_with("closed")) InitComm();
  }
}

void AntennaControl::OpenRotator() {
  // A port that there is not does not become another one: another device may be there.
  const auto number = ParseNumber(Trim(field(kRport)), 0, platform::kHighestPort).value_or(0);
  rotator_->Close();
  if (number <= 0) return SetPortState("none");
  const auto speed = ParseNumber(field(kRspeed), 1, kFastest);
  const auto stop_bits = ParseNumber(field(kRstop), 1, 2);
  if (!speed || !stop_bits)
    return SetPortState("closed: " + SettingsText() + " at port " + std::to_string(number) +
                        " is no setting of a port");
  const Status opened = rotator_->Open({.number = static_cast<int>(number),
                                        .speed = static_cast<int>(*speed),
                                        .stop_bits = static_cast<int>(*stop_bits)});
  if (!opened) return SetPortState("closed: " + opened.error().message);
  SetPortState(rotator_->is_open() ? "open" : "opening");
}

void AntennaControl::SetPortState(const std::string& state) {
  if (std::exchange(port_state_, state) != state) changed.Tell();
}

void AntennaControl::RotatorOpened() {
  SetPortState("open");
  if (!pending_.empty()) rotator_->Write(std::exchange(pending_, {}));
}

void AntennaControl::RotatorLost(const std::string& why) {
  SetPortState("closed: " + why);
  if (!std::exchange(pending_, {}).empty()) Show("The rotator has not been turned: " + why);
}

void AntennaControl::RotatorSaid() {
  for (const char c : rotator_->Read()) {
    const bool end = c == '\r' || c == '\n';
    if (!end && reply_.size() < kLongestReply) reply_ += c;
    if (!end || reply_.empty()) continue;
    last_reply_ = OneLine(std::exchange(reply_, {}));
    changed.Tell();
  }
}

std::string AntennaControl::PreviewCommand() const {
  const auto target = PreviewTarget();
  return target ? ToVisible(RotatorBytes(FormatIt(field(kCommString), target->text))) : std::string();
}

Status AntennaControl::TurnRotator(std::string_view bearing) {
  const std::string bytes = RotatorBytes(FormatIt(field(kCommString), bearing));
  if (bytes.empty()) return Ok();
  last_command_ = ToVisible(bytes);
  const Status written = WriteRotator(bytes);
  if (written) return Ok();
  const std::string why = "The rotator has not been turned: " + written.error().message;
  Show(why);
  return Error{written.error().code, why};
}

Status AntennaControl::WriteRotator(const std::string& bytes) {
  if (ended_) return Error{ErrorCode::kClosed, "the console is closing"};
  if (is_on(kUseRig)) return write_rig ? write_rig(bytes) : Error{ErrorCode::kClosed, "there is no rig port"};
  if (rotator_ == nullptr || LeadingNumber(field(kRport)) == 0)
    return Error{ErrorCode::kClosed, "no port is chosen for it"};
  if (!rotator_->is_open() && port_state_ != "opening") InitComm();
  if (rotator_->is_open()) {
    rotator_->Write(bytes);
  } else if (port_state_ == "opening") {
    pending_ = bytes;
  } else {
    return Error{ErrorCode::kClosed, "its port is " + port_state_};
  }
  return Ok();
}

// Going to a bearing.

void AntennaControl::SetBearing(std::string_view text) {
  if (text == bearing_) return;
  bearing_ = text;
  Announce(kBearingTopic, "Go to bearing = " + OneLine(text, 40));
  changed.Tell();
}

void AntennaControl::SetLongPath(bool on) {
  if (std::exchange(long_path_, on) == on) return;
  Announce(kPathTopic, on ? "Long path" : "Short path");
  changed.Tell();
}

Status AntennaControl::GoTo(std::string_view bearing, bool long_path) {
  SetBearing(bearing);
  const bool before = std::exchange(long_path_, long_path);
  const Status gone = SendIt();
  long_path_ = before;
  return gone;
}

Status AntennaControl::SendIt() {
  const auto target = PreviewTarget();
  if (!target) {
    // Announced, the sentence ends in a blank.
    if (*console_.Announce) Announce(kBearingTopic, target.error().message + " ");
    if (!*console_.Announce) Show(target.error().message);
    return target.error();
  }
  last_bearing_ = target->text;
  Status gone = TurnRotator(target->text);
  const double bearing = Val(target->text);
  for (int antenna = 1; antenna <= kAntennas; ++antenna) {
    if (Val(field(FromField(antenna))) <= bearing && bearing <= Val(field(ToField(antenna)))) {
      if (const Status pressed = PressAntenna(antenna); !pressed && gone) gone = pressed;
    }
  }
  changed.Tell();
  return gone;
}

// The antennas.

Status AntennaControl::PressAntenna(int antenna) {
  if (antenna < 1 || antenna > kAntennas) return Error{ErrorCode::kInvalid, "Antennas have the numbers 1 to 4"};
  if (const Status free = NotLocked(antenna + 3); !free) {
    Show(free.error().message);
    return free;
  }
  for (int i = 1; i <= kAntennas; ++i) lamps_[static_cast<std::size_t>(i - 1)] = i == antenna;
  const Status driven = SendChar1(10, 255, 0, antenna + 3, 0);
  changed.Tell();
  return driven;
}

int AntennaControl::antenna() const {
  const auto lit = std::find(lamps_.begin(), lamps_.end(), true);
  return lit == lamps_.end() ? 0 : static_cast<int>(lit - lamps_.begin()) + 1;
}

Status AntennaControl::SendChar1(int p1, int p2, int p3, int p4, int p5, Done done) {
  const int length = pulse_microseconds();
  p1 = length == 0 ? kDefaultPulse : length;
  const int lit = antenna();
  if (length > 0) return Call(platform::PulseCall(parallel_port(), p4, p1, p2, p3, p5), std::move(done));
  if (length < 0 || lit == 0) {
    if (done) done(Error{ErrorCode::kInvalid, ""});
    return Ok();
  }
  Status first = Ok();
  for (int antenna = 1; antenna <= kAntennas; ++antenna) {
    const auto action = antenna == lit ? platform::kSet : platform::kClear;
    const bool last = antenna == kAntennas;
    const Status changed_bit = SetClearPort(antenna + 1, action, 0, last ? std::exchange(done, {}) : Done());
    if (first && !changed_bit) first = changed_bit;
  }
  return first;
}

Status AntennaControl::SetClearPort(int bit, platform::PortAction action, int port, Done done) {
  if (port == 0) port = parallel_port();
  return Call(platform::ChangeCall(port, bit, action), [this, port, done = std::move(done)](const auto& data) {
    if (data) TookData(port, *data);
    if (done) done(data);
  });
}

Status AntennaControl::NotLocked(int pin) const {
  const bool held = pin > 3 && pin <= 3 + kAntennas && is_on(kAntLock) && transmitting && transmitting();
  return held ? Error{ErrorCode::kBusy, "The antenna has not been switched: the transmitter is keyed"} : Ok();
}

Status AntennaControl::Call(const platform::PortAccessCall& call, Done done) {
  if (ports_ == nullptr) return Error{ErrorCode::kNotFound, "this program has no parallel port"};
  if (ended_) return Error{ErrorCode::kClosed, "the console is closing"};
  if (const Status free = NotLocked(call[platform::kPin]); !free) return free;
  struct Outcome {
    Status status = Ok();
    bool later = false;
  };
  const auto outcome = std::make_shared<Outcome>();
  ports_->SendChar(call, [this, outcome, done = std::move(done)](const Result<std::uint8_t>& data) {
    if (!data) outcome->status = data.error();
    if (!data && outcome->later) Show("The parallel port has not done what it was asked for: " + data.error().message);
    if (done) done(data);
  });
  outcome->later = true;
  return outcome->status;
}

void AntennaControl::TookData(int port, std::uint8_t data) {
  if (port == parallel_port()) SetLights(BitText(data));
  if (on_data) on_data(port, data);
}

void AntennaControl::SetLights(std::string_view bits) {
  for (std::size_t i = 0; i < lamps_.size(); ++i) lamps_[i] = bits.size() == kBits && bits[kBits - 3 - i] == '1';
  changed.Tell();
}

void AntennaControl::ReadLights(int port) {
  if (port == 0) port = parallel_port();
  if (ports_ != nullptr && ports_->InUse(port)) return ReadPort(port);
  TookData(port, 0);
}

void AntennaControl::ReadPort(int port) {
  if (ports_ == nullptr || ended_) return;
  if (port == 0) port = parallel_port();
  if (const auto data = ports_->ReadData(port)) TookData(port, *data);
}

void AntennaControl::Announce(int topic, const std::string& sentence) {
  if (*console_.Announce && announce) announce(topic, sentence);
}

void AntennaControl::Show(const std::string& text) {
  if (show) show(text);
}

}  // namespace kvx::accessories
