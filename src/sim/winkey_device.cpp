#include "sim/winkey_device.h"

#include <algorithm>
#include <array>
#include <utility>

#include "core/hex_text.h"
#include "core/text.h"
#include "sim/bcd.h"

namespace kvx::sim {
namespace {

using std::chrono::milliseconds;
using Kind = WinkeyItem::Kind;

constexpr int kFirstText = 0x20;
constexpr int kFirstIgnored = 0x80;
constexpr int kPotTag = 0x80;
constexpr int kStatusTag = 0xC0;
constexpr int kEcho = 0x04;
constexpr int kLoadEeprom = 0x0D;
constexpr std::size_t kEepromSize = 256;
constexpr char kNullCommand = 0x13;
constexpr std::size_t kMostLog = 4000;

constexpr std::size_t kUnknown = 999;

/// Parameters of the administration commands, by code; kUnknown where there is no such command.
constexpr std::array<std::size_t, 26> kAdminParameters{1, 0, 0, 0, 1, 0, 0, 0, kUnknown, 0, 0, 0, 0, kEepromSize, 1, 1,
                                                       kUnknown, 0, 0,
                                                       // WinKeyer 3 only:
                                                       2, 0, 0, 1, 0, 0, 1};
constexpr std::size_t kAdminCommands2 = 19;

/// Parameters of the other commands, by code.
constexpr std::array<std::size_t, 32> kParameters{0, 1, 1, 1, 2, 3, 1, 0, 0, 1, 0, 1, 1, 1, 1, 15,
                                                  1, 1, 1, 0, 1, 0, 1, 1, 1, 1, 1, 2, 1, 1, 0, 0};

}  // namespace

WinkeyDevice::WinkeyDevice(Loop& loop, Model model)
    : loop_(loop),
      model_(model),
      sender_(loop, registers_, model == Model::kWinkey3 ? 160 : 128),
      output_(loop,
              [this](std::string_view bytes) {
                if (send) send(bytes);
              }),
      eeprom_(kEepromSize, '\xA5') {
  sender_.on_key = [this](bool down, TimePoint when) { KeyEdge(down, when); };
  sender_.on_status = [this] { TellStatus(); };
  sender_.on_sent = [this](char letter, bool by_paddle) { Sent(letter, by_paddle); };
}

WinkeyDevice::~WinkeyDevice() {
  loop_.StopTimer(paddle_timer_);
}

void WinkeyDevice::Receive(std::string_view bytes) {
  if (!powered_) return;
  log_ += bytes;
  if (log_.size() > kMostLog) log_.erase(0, log_.size() - kMostLog);
  for (const char byte : bytes) Take(byte);
}

void WinkeyDevice::Take(char byte) {
  const int code = static_cast<unsigned char>(byte);
  if (command_.empty() && code >= kFirstIgnored) return;
  command_ += byte;
  if (command_.front() >= kFirstText) {
    if (!PutText(byte)) Refuse();
    command_.clear();
    return;
  }
  const std::size_t wanted = ParametersWanted();
  if (command_.size() < wanted) return;
  if (wanted == 0) {
    Refuse();
  } else {
    Execute();
  }
  command_.clear();
}

/// How many bytes the command under way has in all; 0: there is no such command.
std::size_t WinkeyDevice::ParametersWanted() const {
  const int code = Parameter(0);
  if (code == 0) {
    if (command_.size() < 2) return 2;
    const auto which = static_cast<std::size_t>(Parameter(1));
    if (which >= (IsThird() ? kAdminParameters.size() : kAdminCommands2)) return 0;
    return kAdminParameters[which] == kUnknown ? 0 : 2 + kAdminParameters[which];
  }
  if (code == 0x16 && command_.size() >= 2 && Parameter(1) != 0) return 3;
  return 1 + kParameters[static_cast<std::size_t>(code)];
}

void WinkeyDevice::Execute() {
  const bool done = command_.front() == 0 ? Administer() : open_ ? Run() : command_.front() == kNullCommand;
  if (!done) Refuse();
}

void WinkeyDevice::Refuse() {
  ++refused_;
  if (complain) complain("refused: " + SpacedHex(command_) + (open_ ? "" : " (host mode is closed)"));
}

bool WinkeyDevice::Administer() {
  constexpr int kVersion2 = 23;
  constexpr int kVersion3 = 31;
  constexpr int kMajor3 = 3;
  constexpr int kMinor3 = 1;
  constexpr int kVolt = 50;  // a tenth of a volt each
  const int value = command_.size() > 2 ? Parameter(2) : 0;
  switch (Parameter(1)) {
    case 0x00:
      return value == 0xFF;
    case 0x01:
      Close();
      return true;
    case 0x02:
      Open();
      SayByte(IsThird() ? kVersion3 : kVersion2);
      return true;
    case 0x03:
      Close();
      return true;
    case kEcho:
      SayByte(value);
      return true;
    case 0x05:
    case 0x06:
      SayByte(0);
      return true;
    case 0x07:
      Say(registers_.Bytes());
      return true;
    case 0x09:
      SayByte(IsThird() ? kMajor3 : 0);
      return true;
    case 0x0A:
    case 0x0B:
    case 0x14:
      newer_status_ = Parameter(1) != 0x0A;
      fine_tone_ = Parameter(1) == 0x14;
      registers_.set_fine_side_tone(fine_tone_);
      return true;
    case 0x0C:
      Say(eeprom_);
      return true;
    case kLoadEeprom:
      return LoadEeprom();
    case 0x0E:
      return value >= 1 && value <= 6;  // its memories are empty
    case 0x15:
      SayByte(kVolt);
      return true;
    case 0x17:
      SayByte(kMinor3);
      return true;
    case 0x18:
      SayByte(0);
      return true;
    case 0x19:
      return value >= 1 && value <= 4;
    default:
      return true;  // the extra mode bits, the baud rate, RTTY
  }
}

bool WinkeyDevice::LoadEeprom() {
  eeprom_ = command_.substr(2);
  return true;
}

void WinkeyDevice::Open() {
  sender_.Stop();
  registers_ = {};
  registers_.set_fine_side_tone(fine_tone_);
  open_ = true;
  told_status_ = status();
}

void WinkeyDevice::Close() {
  open_ = false;
  newer_status_ = fine_tone_ = false;
  sender_.Stop();
  registers_ = {};
}

bool WinkeyDevice::Run() {
  const int code = Parameter(0);
  const int value = command_.size() > 1 ? Parameter(1) : 0;
  return code >= 0x18 ? RunBuffered(code, value) : RunImmediate(code, value);
}

bool WinkeyDevice::RunImmediate(int code, int value) {
  using R = WinkeyRegister;
  const auto is_switch = [value] { return value <= 1; };
  switch (code) {
    case 0x01:
      return registers_.Set(R::kSideTone, value);
    case 0x02:
      if (!registers_.Set(R::kSpeed, value)) return false;
      sender_.SetSpeed();
      return true;
    case 0x03:
      return registers_.Set(R::kWeight, value);
    case 0x04:
      return value <= 250 && registers_.Set(R::kTail, Parameter(2)) && registers_.Set(R::kLead, value);
    case 0x05:
      return value >= 5 && value + Parameter(2) <= 99 && registers_.Set(R::kPotRange, Parameter(2)) &&
             registers_.Set(R::kPotLowest, value);
    case 0x06:
      if (is_switch()) sender_.Pause(value == 1);
      return is_switch();
    case 0x07:
      TellPot();
      return true;
    case 0x08:
      sender_.Backspace();
      return true;
    case 0x09:
      return registers_.Set(R::kPins, value);
    case 0x0A:
      sender_.Clear();
      return true;
    case 0x0B:
      if (is_switch()) sender_.KeyNow(value == 1);
      return is_switch();
    case 0x0C:
      return true;  // high-speed CW is not keyed here
    case 0x0D:
      return registers_.Set(R::kFarnsworth, value);
    case 0x0E:
      return registers_.Set(R::kMode, value);
    case 0x0F:
      if (!registers_.Load(std::string_view(command_).substr(1))) return false;
      sender_.SetSpeed();
      return true;
    case 0x10:
      return registers_.Set(R::kExtension, value);
    case 0x11:
      return registers_.Set(R::kCompensation, value);
    case 0x12:
      return registers_.Set(R::kSwitchPoint, value);
    case kNullCommand:
      return true;
    case 0x14:
      if (value > 3) return false;
      sender_.Press((value & 1) != 0, (value & 2) != 0);
      return true;
    case 0x15:
      TellStatus(true);
      return true;
    case 0x16:
      if (value == 0) return sender_.MovePointer(0, true);
      if (value <= 2) return sender_.MovePointer(static_cast<std::size_t>(Parameter(2)), value == 1);
      for (int i = 0; value == 3 && i < Parameter(2); ++i) {
        if (!PutItem(Kind::kNull, 0, 1)) return false;
      }
      return value == 3;
    case 0x17:
      return registers_.Set(R::kRatio, value);
    default:
      return false;
  }
}

bool WinkeyDevice::RunBuffered(int code, int value) {
  constexpr int kMostSeconds = 99;
  switch (code) {
    case 0x18:
      return value <= 1 && PutItem(Kind::kPtt, value, 2);
    case 0x19:
      return value <= kMostSeconds && PutItem(Kind::kKey, value, 2);
    case 0x1A:
      return value <= kMostSeconds && PutItem(Kind::kWait, value, 2);
    case 0x1B:
      return WinkeyPattern(command_[1]) && WinkeyPattern(command_[2]) &&
             sender_.Put({Kind::kSign, command_.substr(1), 0, 3});
    case 0x1C:
      return value >= 5 && value <= 99 && PutItem(Kind::kSpeed, value, 2);
    case 0x1D:  // 0 and 1 choose the key output, more is high-speed CW
      return value > 1 ? PutItem(Kind::kNull, 0, 2) : PutItem(Kind::kPort, value + 1, 2);
    case 0x1E:
      return PutItem(Kind::kSpeedBack, 0, 1);
    default:
      return PutItem(Kind::kNull, 0, 1);
  }
}

bool WinkeyDevice::PutText(char letter) {
  if (!open_) return false;
  if (letter == ' ') return PutItem(Kind::kBlank, 0, 1);
  if (letter == '|') return PutItem(Kind::kNull, 0, 1);  // half a dit of pause
  return WinkeyPattern(letter) && sender_.Put({Kind::kSign, std::string(1, Upper({&letter, 1})[0]), 0, 1});
}

bool WinkeyDevice::PutItem(Kind kind, int value, std::size_t bytes) {
  return sender_.Put({kind, {}, value, bytes});
}

int WinkeyDevice::status() const {
  const auto bit = [](bool on, int value) { return on ? value : 0; };
  return kStatusTag | bit(sender_.waiting(), 0x10) | bit(sender_.tuning() && !newer_status_, 0x08) |
         bit(sender_.busy(), 0x04) | bit(sender_.break_in(), 0x02) | bit(sender_.xoff(), 0x01);
}

void WinkeyDevice::TellStatus(bool always) {
  if (!open_ || (status() == told_status_ && !always)) return;
  told_status_ = status();
  SayByte(told_status_);
}

void WinkeyDevice::TellPot() {
  SayByte(kPotTag + std::min(sender_.pot(), registers_[WinkeyRegister::kPotRange]));
}

void WinkeyDevice::Say(std::string_view bytes) {
  if (powered_ && !silent_) output_.Send(bytes);
}

void WinkeyDevice::KeyEdge(bool down, TimePoint when) {
  const bool keys = down && registers_.pin(WinkeyRegisters::kPinKeys);
  if (keys == keyed_) return;
  keyed_ = keys;
  reader_.Key(keys, when, sender_.pace());
  if (on_key) on_key(keys, when);
}

void WinkeyDevice::Sent(char letter, bool by_paddle) {
  const int wanted = by_paddle ? WinkeyRegisters::kModePaddleEcho : WinkeyRegisters::kModeEcho;
  if (open_ && registers_.mode(wanted)) Say({&letter, 1});
}

}  // namespace kvx::sim
