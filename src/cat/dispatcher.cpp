#include "cat/dispatcher.h"

#include "cat/convert.h"
#include "cat/pegasus.h"
#include "cat/yaesu_layouts.h"
#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

constexpr std::string_view kValuePlaceholder = "<F?VAL>";
constexpr std::string_view kValueNotSet = "Value not set. Right click on button and enter the value to be sent";
constexpr std::string_view kFrequencyQueryFunction = "0000000003[1-8]10";
constexpr const char* kLineBusy = "The rig line is busy";
constexpr const char* kTransmittedByAnother = "The rig is transmitting for another program";
constexpr const char* kNotReleased =
    "The transmitter cannot be released: the rig port is closed. It is released when the port opens again";
constexpr std::size_t kMostArmed = 16;
constexpr std::size_t kLongestRelease = 160;
constexpr std::size_t kMostPutAside = 16;
constexpr Duration kArrives = std::chrono::milliseconds(100);  // after it has left the line, at a device that is there
constexpr std::size_t kPieceDigits = 10;                       // one five-byte command

/// A function button whose caption asks for one of these sends the row's own query instead.
struct CaptionRule {
  std::string_view words;
  std::string_view key;
};
constexpr std::array kCaptionRules{CaptionRule{"GET FREQ", "XGETFREQ"}, CaptionRule{"GET S METER", "XGETSMETER"},
                                   CaptionRule{"GET MODE", "XREADMODE"}};

/// Rigs whose rows have no command for VFO B: the same command with the other VFO's letter.
std::string WithVfoB(const std::string& set_freq) {
  if (set_freq.starts_with("FA")) return "FB" + set_freq.substr(2);
  if (set_freq.starts_with("*AF")) return "*BF" + set_freq.substr(3);
  return set_freq;
}

/// Whether a template could be filled in to that command: what stands before and behind its placeholders is there.
bool MayBe(std::string_view text, std::string_view command) {
  if (text.empty()) return false;
  const std::string_view before = text.substr(0, text.find('<'));
  const std::string_view behind = text.substr(text.rfind('>') + 1);
  return command.size() >= before.size() && EqualNoCase(command.substr(0, before.size()), before) &&
         command.size() >= behind.size() && EqualNoCase(command.substr(command.size() - behind.size()), behind);
}

/// The field of the row that a key's command stands in; empty for a literal command.
std::string_view FieldOf(const CommandKey* key) {
  if (key == nullptr) return {};
  return key->field.starts_with('/') ? "MEMO5" : key->field;
}

}  // namespace

std::string Dispatcher::TemplateOf(const CommandKey& key) const {
  if (key.field == "/1") return rig_.memo5_first;
  if (key.field != "/2") return rig_.row[key.field];
  return rig_.memo5_second.empty() ? WithVfoB(rig_.row["SetFreq"]) : rig_.memo5_second;
}

bool Dispatcher::Has(std::string_view key) const {
  const CommandKey* row = FindKey(key);
  return row != nullptr && !TemplateOf(*row).empty();
}

SendOutcome Dispatcher::SendData(std::string_view key_or_command) {
  if (!link_.is_open()) return SendOutcome::kClosed;
  const CommandKey* key = FindKey(key_or_command);
  const std::string text = key == nullptr ? std::string(key_or_command) : TemplateOf(*key);
  const bool pegasus_frequency = key != nullptr && key->kind == KeyKind::kFrequency && IsPegasus(rig_);
  const bool function = key != nullptr && key->kind == KeyKind::kFunction;  // its caption may stand for a command
  if (text.empty() && !pegasus_frequency && !function) return SendOutcome::kNoTemplate;
  switch (key == nullptr ? KeyKind::kCommand : key->kind) {
    case KeyKind::kQuery:
    case KeyKind::kSliderQuery:
      return SendQuery(text, key, false);
    case KeyKind::kSlider:
      return SendCommand(std::string(CutBounds(text)), FieldOf(key));
    case KeyKind::kFunction:
      return SendFunction(*key);
    case KeyKind::kFrequency:
      return SendFrequency(*key);
    case KeyKind::kCommand:
      break;
  }
  std::string command = text;
  if (key != nullptr && command.find(kValuePlaceholder) != std::string::npos) {
    const SendOutcome filled = FillValue(command, button_values_[std::string(key->key)]);
    if (filled != SendOutcome::kSent) return filled;
  }
  const SendOutcome outcome = SendCommand(command, FieldOf(key));
  if (outcome == SendOutcome::kSent && key != nullptr && key->field.starts_with("Meter")) FollowMeter(*key, command);
  return outcome;
}

SendOutcome Dispatcher::SendTogether(const std::vector<std::string>& keys_or_commands) {
  if (!link_.is_open()) return SendOutcome::kClosed;
  std::vector<std::string> commands;
  std::size_t bytes = 0;
  for (const std::string& each : keys_or_commands) {
    const CommandKey* key = FindKey(each);
    std::string command = key == nullptr ? each : TemplateOf(*key);
    if (command.empty()) return SendOutcome::kNoTemplate;
    if (command.find(kValuePlaceholder) != std::string::npos) {
      const SendOutcome filled = FillValue(command, button_values_[Upper(each)]);
      if (filled != SendOutcome::kSent) return filled;
    }
    faulty_.erase(std::string(FieldOf(key)));
    command = FillIn(std::move(command), FieldOf(key));
    if (command.empty()) return SendOutcome::kRefused;
    bytes += Encode(command).size();
    commands.push_back(std::move(command));
  }
  if (!link_.HasRoomFor(bytes)) return Refuse(kLineBusy);
  for (std::string& command : commands) SendCommand(std::move(command), {});
  return SendOutcome::kSent;
}

SendOutcome Dispatcher::FillValue(std::string& command, const std::string& value) {
  if (value.empty()) {
    console_.MsgArea.Set(std::string(kValueNotSet));
    return Refuse(std::string(kValueNotSet));
  }
  command = ReplaceAll(std::move(command), kValuePlaceholder, value);
  return SendOutcome::kSent;
}

SendOutcome Dispatcher::SendFunction(const CommandKey& key) {
  const auto index = static_cast<std::size_t>(key.number - 1);
  const std::string number = std::to_string(key.number);
  const std::string caption = Upper(rig_.row["F" + number + "Desc"]);
  for (const CaptionRule& rule : kCaptionRules) {
    if (caption.find(rule.words) != std::string::npos) return SendData(rule.key);
  }
  std::string command = TemplateOf(key);
  if (command.empty()) return SendOutcome::kNoTemplate;
  if (command == kFrequencyQueryFunction) return SendQuery(command, &key, true);
  const std::size_t slash = command.find('/');
  const bool two_states = slash != std::string::npos;
  const bool second = two_states && console_.FunctionState[index];
  if (two_states) command = second ? command.substr(slash + 1) : command.substr(0, slash);
  if (command.find(kValuePlaceholder) != std::string::npos) {
    const SendOutcome filled = FillValue(command, console_.Text5[index]);
    if (filled != SendOutcome::kSent) return filled;
    if (rig_.five_byte() && WithoutBlanks(command).size() % kPieceDigits != 0) {
      return Refuse("The value " + OneLine(console_.Text5[index], 40) + " does not make whole five-byte commands of " +
                    OneLine(command, 40));
    }
  }
  const SendOutcome outcome =
      command.empty() && two_states ? SendOutcome::kSent : SendCommand(std::move(command), FieldOf(&key));
  if (two_states && outcome == SendOutcome::kSent) console_.FunctionState.Set(index, !second);
  return outcome;
}

SendOutcome Dispatcher::SendFrequency(const CommandKey& key) {
  if (!IsPegasus(rig_)) return SendCommand(TemplateOf(key), FieldOf(&key));
  const auto bytes = PegasusTuning(*console_.FreqDisp + *console_.Offset, *console_.Mode, *console_.Xnarrow);
  if (!bytes) return Refuse(bytes.error().message);
  last_command_ = loop_.Now();
  return link_.WriteRigPort(*bytes) ? SendOutcome::kSent : Refuse(kLineBusy);
}

SendOutcome Dispatcher::SendCommand(std::string command, std::string_view field) {
  if (const auto told = faulty_.find(field); told != faulty_.end()) faulty_.erase(told);  // who asks is told again
  command = FillIn(std::move(command), field);
  if (command.empty()) return SendOutcome::kRefused;
  std::string bytes = Encode(command, field);
  // What releases the transmitter is not to be taken for the rest of a command.
  if (keying_.is_within_command() && KeyingOf(rig_, bytes).effect == Keying::Effect::kOff)
    bytes.insert(0, Resynchronise());
  const std::string keyed_before = *console_.Transmitting ? release_ : std::string();
  last_command_ = loop_.Now();
  if (!link_.WriteRigPort(bytes)) return Refuse(kLineBusy);
  ArmAcknowledgements(bytes.size());
  FollowTransmitter(command, keyed_before);
  return SendOutcome::kSent;
}

/// A meter key chooses what the meter shows; its number stands in its command ("RM3;").
void Dispatcher::FollowMeter(const CommandKey& key, std::string_view command) {
  console_.Label10.Set(std::string(key.key));
  const std::size_t at = command.find("RM");
  if (at != std::string_view::npos && at + 2 < command.size() && HexDigitValue(command[at + 2]) >= 0) {
    console_.MeterNumber.Set(std::string(1, command[at + 2]));
  }
}

/// However the command of the "transmit on" button came to be sent, the console remembers that it keys the transmitter,
/// and that its "transmit off" undoes that.
void Dispatcher::FollowTransmitter(std::string_view command, std::string_view keyed_before) {
  const auto sends = [&](std::string_view field) {
    return MayBe(rig_.row[field], command) && EqualNoCase(command, FillIn(rig_.row[field], field));
  };
  if (!ButtonsKeyTransmitter(rig_.row)) return;
  // Without a release command in its row a rig is followed by what its family is known to do.
  if (sends("Alpha") && !rig_.row["Bravo"].empty()) {
    release_ = keyed_before;
    Keyed(Encode(FillIn(rig_.row["Bravo"], "Bravo"), "Bravo"));
  } else if (sends("Bravo")) {
    Released();
  }
}

void Dispatcher::FollowBytes(std::string_view bytes) {
  const Keying keying = keying_.Read(rig_, bytes);
  if (keying.effect == Keying::Effect::kOff) Released();
  if (keying.effect != Keying::Effect::kOn) return;
  if (!*console_.Transmitting) release_.clear();
  Keyed(keying.release);
}

/// What has been keyed twice in two ways, at two addresses perhaps, is released in both.
void Dispatcher::Keyed(std::string_view release) {
  if (release_.size() + release.size() > kLongestRelease) release_.clear();
  if (release_.find(release) == std::string::npos) release_ += release;
  keyed_rig_ = rig_.name;
  arriving_ = Task();
  transmission_.Keyed();
  console_.Transmitting.Set(true);
  if (on_keyed) on_keyed(Resynchronise() + release_);
}

/// A text rig begins anew after an end mark, as Ten-Tec's do whose commands have bytes in them, CI-V at its preamble;
/// in five-byte commands a lost byte would shift all that follow.
std::string Dispatcher::Resynchronise() const {
  const bool marked = !rig_.binary() || rig_.family == "TEN-TEC";
  return marked ? std::string(1, EndMark(rig_)) : std::string();
}

SendOutcome Dispatcher::KeyTransmitter(Party party) {
  if (transmission_.is_of_another(party)) return Refuse(kTransmittedByAnother);
  const Transmission::For keying(transmission_, party);
  return SendData("XSETALPHA");
}

bool Dispatcher::ReleaseTransmitter() {
  if (!*console_.Transmitting) return false;
  const std::string end_mark = Resynchronise();
  const bool begun = keying_.is_within_command() || link_.was_cut_short();
  const std::string release = begun ? end_mark + release_ : release_;
  if (!link_.WriteUrgently(release, rig_.nameless() ? nullptr : &end_mark)) {
    console_.MsgArea.Set(kNotReleased);
    return false;
  }
  last_command_ = loop_.Now();
  Released();
  return true;
}

void Dispatcher::Released() {
  arriving_ = Arrive(link_.line_free_at());
  console_.Transmitting.Set(false);
}

/// A device that vanishes is noticed a moment later.
Task Dispatcher::Arrive(TimePoint leaves) {
  co_await loop_.SleepUntil(leaves + kArrives);
  while (link_.bytes_unsent() > 0) {
    co_await loop_.Sleep(kArrives);
  }
}

/// It is owed to the rig that was keyed, which may not be the one in use.
void Dispatcher::ReleaseNotDelivered() {
  if (arriving_.done() || *console_.Transmitting) return;
  arriving_ = Task();
  PutAside(release_);
  console_.Transmitting.Set(keyed_rig_ == rig_.name);
}

bool Dispatcher::GiveUpRig(bool for_another) {
  std::string release = *console_.Transmitting ? release_ : std::string();
  if (owes_release_ && release.empty()) {
    keyed_rig_ = rig_.name;
    release = ReleaseOfRig();
  }
  if (for_another) {
    owes_release_ = false;
    console_.Transmitting.Set(false);
  }
  if (release.empty() || link_.settings().number == 0) return false;
  PutAside(std::move(release));
  return true;
}

void Dispatcher::PutAside(std::string release) {
  OwedRelease owed{.rig = keyed_rig_, .port = link_.settings().number, .bytes = std::move(release)};
  std::erase_if(put_aside_, [&](const OwedRelease& one) { return one.rig == owed.rig && one.port == owed.port; });
  if (put_aside_.size() >= kMostPutAside) put_aside_.erase(put_aside_.begin());
  put_aside_.push_back(std::move(owed));
}

std::string Dispatcher::ReleaseOfRig() {
  const bool by_row = ButtonsKeyTransmitter(rig_.row);
  const std::string release = by_row ? Encode(FillIn(rig_.row["Bravo"], "Bravo"), "Bravo") : std::string();
  if (!release.empty()) return release;
  const bool has_address = rig_.family == "ICOM" && !rig_.row["Add" + *console_.RigNumber].empty();
  return ReleaseOf(rig_, has_address ? Encode(FillIn("<ADDR>")) : std::string());
}

void Dispatcher::PortOpened() {
  PayRelease();
  ReleaseTransmitter();
  keying_.Forget();
}

void Dispatcher::PayRelease() {
  std::string release = std::exchange(owes_release_, false) ? ReleaseOfRig() : std::string();
  std::erase_if(put_aside_, [&](const OwedRelease& one) {
    const bool is_here = one.rig == rig_.name && one.port == link_.settings().number;
    const bool follows = *console_.Transmitting && release_.find(one.bytes) != std::string::npos;
    if (is_here && !follows && release.find(one.bytes) == std::string::npos) release += one.bytes;
    return is_here;
  });
  if (release.empty()) return;
  if (!*console_.Transmitting) release_.clear();
  release_ += release;
  keyed_rig_ = rig_.name;
  link_.WriteUrgently(Resynchronise() + release_, nullptr);
  Released();
}

SendOutcome Dispatcher::SendQuery(std::string_view text, const CommandKey* key, bool frequency) {
  const QueryTemplate query = SplitQuery(text);
  const std::string command = FillIn(query.command, FieldOf(key));
  if (command.empty()) return SendOutcome::kRefused;
  if (!link_.WriteRigPort(Encode(command, FieldOf(key)))) return Refuse(kLineBusy);
  Arm(command, query, key, frequency);
  return SendOutcome::kSent;
}

SendOutcome Dispatcher::Refuse(const std::string& why) {
  console_.ErrorText.Set(why);
  return SendOutcome::kRefused;
}

void Dispatcher::ArmPollQuery(std::string_view key_name) {
  const CommandKey* key = FindKey(key_name);
  const QueryTemplate query = SplitQuery(TemplateOf(*key));
  Arm(FillIn(query.command, FieldOf(key)), query, key, false);
}

std::vector<std::string> Dispatcher::PollPieces(std::string_view key_name) {
  const CommandKey* key = FindKey(key_name);
  if (key == nullptr || !link_.is_open()) return {};
  const QueryTemplate query = SplitQuery(TemplateOf(*key));
  const std::string command = WithoutBlanks(FillIn(query.command, FieldOf(key)));
  std::vector<std::string> pieces;
  for (std::size_t at = 0; at + kPieceDigits <= command.size(); at += kPieceDigits) {
    pieces.push_back(Encode(command.substr(at, kPieceDigits), FieldOf(key)));
  }
  return pieces;
}

void Dispatcher::Arm(const std::string& command, const QueryTemplate& query, const CommandKey* key, bool frequency) {
  if (!query.extraction) return;
  ArmedQuery armed;
  armed.command = rig_.binary() ? Upper(WithoutBlanks(command)) : command;
  armed.extraction = query.extraction;
  armed.slider = key != nullptr && key->kind == KeyKind::kSliderQuery ? key->number : 0;
  armed.frequency = frequency;
  armed.vfo_b = key != nullptr && key->field == "ReadFreq";
  Push(std::move(armed));
}

/// Acknowledgements come in the order of commands and queries, so each has its place between the replies.
void Dispatcher::ArmAcknowledgements(std::size_t bytes) {
  const auto commands = static_cast<int>(bytes * 2 / kPieceDigits);
  if (!rig_.five_byte() || !YaesuAcknowledges(rig_) || commands == 0) return;
  ArmedQuery armed;
  armed.extraction = Extraction{.reply_length = commands * 2};
  armed.acknowledgement = true;
  Push(std::move(armed));
}

void Dispatcher::Push(ArmedQuery armed) {
  armed.sent = loop_.Now();
  if (armed_.size() >= kMostArmed) armed_.pop_front();
  armed_.push_back(std::move(armed));
}

/// A field that the console reads by itself, twenty times a second, is told of once.
void Dispatcher::TellFault(const std::string& why, std::string_view field) {
  if (field.empty() || faulty_.insert(std::string(field)).second) console_.ErrorText.Set(why);
}

std::string Dispatcher::FillIn(std::string command, std::string_view field) {
  Fill fill{.rig = rig_,
            .address_number = *console_.RigNumber,
            .frequency = *console_.FreqDisp + *console_.Offset,
            .vfo = *console_.ActiveVfo};
  for (std::size_t i = 0; i < fill.sliders.size(); ++i) fill.sliders[i] = console_.Slider[i];
  auto filled = Expand(std::move(command), fill);
  if (filled) return *filled;
  const std::string where = OneLine(rig_.name, 40) + ", field " + std::string(field) + ": ";
  TellFault((field.empty() ? "" : where) + filled.error().message, field);
  return {};
}

std::string Dispatcher::Encode(std::string_view command, std::string_view field) {
  if (!rig_.binary())
    return ToLatin1(command);  // also a KENWOOD row that asks for hexadecimal: text goes out unchanged
  const std::string digits = WithoutBlanks(command);
  std::string fault;
  const auto complain = [&](std::string_view faulty) {
    fault = "Error converting " + OneLine(faulty) + " to hex. Check your setup file for " + OneLine(command);
  };
  std::string bytes;
  for (std::size_t at = 0; at < digits.size(); at += 2) {
    bytes += ConvertHex(std::string_view(digits).substr(at, 2), rig_.family, complain);
  }
  if (!fault.empty()) TellFault(fault, field);
  return bytes;
}

}  // namespace kvx::cat
