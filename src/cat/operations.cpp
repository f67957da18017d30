#include "cat/operations.h"

#include <algorithm>
#include <array>
#include <utility>

#include "cat/pegasus.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

using namespace std::chrono_literals;

// What a rig still tells from before a command: the replies of one poll cycle, and its own delay.
constexpr Duration kSettleTime = 500ms;
constexpr std::int64_t kBitsAByte = 11;
constexpr std::int64_t kBytesOnTheWay = 60;

}  // namespace

SendOutcome Operations::SetCW() {
  return SetMode("  CW", Width("XCWN", "XCWW"));
}
SendOutcome Operations::SetUpper() {
  return SetMode("USB", "XUSB");
}
SendOutcome Operations::SetLower() {
  return SetMode("LSB", "XLSB");
}
SendOutcome Operations::SetAM() {
  return SetMode("  AM", "XAM");
}
SendOutcome Operations::SetFM() {
  return SetMode("  FM", Width("XFMN", "XFMW"));
}
SendOutcome Operations::SetRTTY() {
  return SetMode("RTTY", "XRTTY");
}

Result<SendOutcome> Operations::SetModeByName(std::string_view name) {
  struct Row {
    std::string_view name;
    SendOutcome (Operations::*set)();
    int narrow;  // what to set the narrow box to first; -1: leave it
  };
  static constexpr std::array kNames{
      Row{"LSB", &Operations::SetLower, -1}, Row{"USB", &Operations::SetUpper, -1}, Row{"CW", &Operations::SetCW, -1},
      Row{"CWW", &Operations::SetCW, 0},     Row{"CWN", &Operations::SetCW, 1},     Row{"AM", &Operations::SetAM, -1},
      Row{"FM", &Operations::SetFM, -1},     Row{"FMW", &Operations::SetFM, 0},     Row{"FMN", &Operations::SetFM, 1},
      Row{"RTTY", &Operations::SetRTTY, -1},
  };
  const auto* row =
      std::find_if(kNames.begin(), kNames.end(), [&](const Row& r) { return EqualNoCase(r.name, Trim(name)); });
  if (row == kNames.end()) {
    return Error{ErrorCode::kNotFound, "no mode " + OneLine(name) + " (LSB USB CW CWN AM FM FMN RTTY)"};
  }
  if (row->narrow >= 0) console_.Xnarrow.Set(row->narrow == 1);
  return (this->*row->set)();
}

SendOutcome Operations::SetNarrow(bool narrow) {
  if (*console_.Xnarrow == narrow) return SendOutcome::kSent;
  console_.Xnarrow.Set(narrow);
  const std::string_view mode = Trim(*console_.Mode);
  if (mode == "CW") return SetCW();
  if (mode == "FM") return SetFM();
  return SendOutcome::kSent;
}

/// A rig that has one width only gets that, whatever the narrow box says.
std::string_view Operations::Width(std::string_view narrow_key, std::string_view wide_key) const {
  return *console_.Xnarrow && (dispatcher_.Has(narrow_key) || !dispatcher_.Has(wide_key)) ? narrow_key : wide_key;
}

SendOutcome Operations::SetMode(std::string_view caption, std::string_view key) {
  Operated();
  // A rig that neither has the mode nor tells its own would leave a wrong mode on the display for good.
  const bool tuned = dispatcher_.Has("XSETFREQ") || IsPegasus(rig_);
  if (tuned && !dispatcher_.Has(key) && !dispatcher_.Has("XREADMODE")) return SendOutcome::kNoTemplate;
  SendWaiting();
  console_.Mode.Set(std::string(caption));
  mode_.Expect(std::string(Trim(caption)), SettledAt());
  const SendOutcome outcome = dispatcher_.SendData(key);
  // Its tuning factors hold the mode's filter and carrier offset.
  return outcome == SendOutcome::kSent && IsPegasus(rig_) ? SendTuning() : outcome;
}

SendOutcome Operations::VFOA_Click() {
  return ChooseVfo('A', "XVFOA", "XGETFREQ");
}
SendOutcome Operations::VFOB_Click() {
  return ChooseVfo('B', "XVFOB", "XGETFREQB");
}

SendOutcome Operations::ChooseVfo(char vfo, std::string_view select, std::string_view read) {
  Operated();
  // A rig that is tuned but cannot be told its VFO stays where it is, and so does the display.
  if (!dispatcher_.Has(select) && (dispatcher_.Has("XSETFREQ") || IsPegasus(rig_))) return SendOutcome::kNoTemplate;
  // Some rigs have one command that toggles: there, choosing the VFO that is in use must not leave it.
  const bool toggles = rig_.row["VFOA"] == rig_.row["VFOB"];
  const bool chosen_already = *console_.ActiveVfo == vfo;
  SendWaiting();
  console_.ActiveVfo.Set(vfo);
  vfo_.Expect(vfo, SettledAt());
  frequency_ = {};  // what was set on the other VFO is not what this one will tell
  ShowSplitEnded();
  const SendOutcome outcome = toggles && chosen_already ? SendOutcome::kSent : dispatcher_.SendData(select);
  dispatcher_.SendData(read);
  return outcome;
}

// "FR0;FT0;"; Orion: "*KVANA", main receiver A, sub receiver none, transmitter A
bool Operations::ChoosingEndsSplit() const {
  const std::string& select = rig_.row["VFOA"];
  return select.find("FT") != std::string::npos || select.starts_with("*KV");
}

/// Its button's lamp goes out.
void Operations::ShowSplitEnded() {
  if (!ChoosingEndsSplit()) return;
  for (std::size_t i = 0; i < console_.FunctionState.size(); ++i) {
    const std::string number = std::to_string(i + 1);
    const std::string name = Upper(rig_.row["F" + number + "Desc"] + " " + rig_.captions[i]);
    if (name.find("SPLIT") != std::string::npos || name.find("SPLT") != std::string::npos)
      console_.FunctionState.Set(i, false);
  }
}

SendOutcome Operations::SendFreq() {
  Operated();
  tells_sent_ = true;
  return SendTuning();
}

SendOutcome Operations::SendTuning() {
  frequency_.Expect(console_.FreqDisp->displayed(), SettledAt());
  return latest_.SendLatest("frequency", [this] { return SendFreqNow(); });
}

SendOutcome Operations::SendSlider(int number) {
  const CommandKey* key = SliderKey(number);
  if (key == nullptr || !dispatcher_.Has(key->key)) return SendOutcome::kNoTemplate;
  const auto index = static_cast<std::size_t>(number - 1);
  sliders_.at(index).Expect(console_.Slider[index], SettledAt());
  const auto send = [this, key] { return dispatcher_.SendData(key->key); };
  return latest_.SendLatest("slider " + std::to_string(number), send);
}

void Operations::Forget() {
  latest_.Forget();
  tells_sent_ = false;
  frequency_ = {};
  mode_ = {};
  vfo_ = {};
  sliders_ = {};
}

SendOutcome Operations::SendFreqNow() {
  const bool vfo_b = *console_.ActiveVfo == 'B';
  const bool tells = std::exchange(tells_sent_, false);
  const SendOutcome outcome = dispatcher_.SendData(vfo_b ? "XSETFREQB" : "XSETFREQ");
  if (outcome == SendOutcome::kRefused) {
    frequency_ = {};
    return outcome;
  }
  frequency_.Expect(console_.FreqDisp->displayed(), SettledAt());
  KeepVfoFrequency(*console_.ActiveVfo, *console_.FreqDisp + *console_.Offset);
  if (tells && on_frequency_sent) on_frequency_sent();
  return outcome;
}

SendOutcome Operations::TuneTo(Frequency frequency) {
  const Frequency before = *console_.FreqDisp;
  FChange(frequency.displayed());
  const SendOutcome outcome = SendFreq();
  if (outcome == SendOutcome::kRefused) FChange(before);  // the rig cannot have it
  return outcome;
}

/// A rig that tells all it knows at once may be in the middle of that.
TimePoint Operations::SettledAt() const {
  const auto query = SplitQuery(rig_.row["GetFreq"]);
  const int reply = rig_.binary() && query.extraction ? query.extraction->reply_length / 2 : 0;
  const std::int64_t bits = (kBytesOnTheWay + reply) * kBitsAByte;
  return loop_.Now() + kSettleTime + std::chrono::nanoseconds(1s) * bits / dispatcher_.line_speed();
}

void Operations::Follow(const Reply& reply) {
  const char active = *console_.ActiveVfo;
  switch (reply.kind) {
    case Reply::Kind::kShownFrequency:
      KeepVfoFrequency(active, reply.frequency);
      return UpdateFreq(reply.frequency);
    case Reply::Kind::kFrequencyA:
    case Reply::Kind::kFrequencyB: {
      const char vfo = reply.kind == Reply::Kind::kFrequencyA ? 'A' : 'B';
      KeepVfoFrequency(vfo, reply.frequency);
      return vfo == active ? UpdateFreq(reply.frequency) : void();
    }
    case Reply::Kind::kOtherFrequency:
      return KeepVfoFrequency(active == 'A' ? 'B' : 'A', reply.frequency);
    case Reply::Kind::kMode:
      return FollowMode(reply.mode);
    case Reply::Kind::kVfo:
      return FollowVfo(static_cast<char>(reply.value));
    case Reply::Kind::kSMeter:
      return console_.SMeter.Set(reply.value);
    case Reply::Kind::kMeter:
      return console_.MeterValue.Set(reply.value);
    case Reply::Kind::kSlider:
      return FollowSlider(static_cast<std::size_t>(reply.number - 1), reply.value);
    case Reply::Kind::kRefused:
      frequency_ = {};  // what was just set may be what the rig does not take: its next report counts
      mode_ = {};
      return;
  }
}

void Operations::KeepVfoFrequency(char vfo, Frequency rig_frequency) {
  const Frequency displayed = (rig_frequency - *console_.Offset).displayed();
  (vfo == 'B' ? console_.FreqB : console_.FreqA).Set(displayed);
}

void Operations::UpdateFreq(Frequency rig_frequency) {
  const Frequency displayed = (rig_frequency - *console_.Offset).displayed();
  if (frequency_.Accepts(displayed, loop_.Now())) FChange(displayed);
}

void Operations::FChange(Frequency displayed) {
  console_.FreqDisp.Set(displayed);
}

void Operations::FollowMode(const std::string& caption) {
  const std::string name(Trim(caption));
  // "USB" as set by a button and " USB" as told by the rig are one mode: nothing is announced for a blank.
  if (!mode_.Accepts(name, loop_.Now()) || Trim(*console_.Mode) == name) return;
  console_.Mode.Set(caption);
}

void Operations::FollowSlider(std::size_t index, int value) {
  if (sliders_.at(index).Accepts(value, loop_.Now())) console_.Slider.Set(index, value);
}

void Operations::FollowVfo(char vfo) {
  if (!vfo_.Accepts(vfo, loop_.Now())) return;
  if (*console_.ActiveVfo != vfo) SendWaiting();
  console_.ActiveVfo.Set(vfo);
}

}  // namespace kvx::cat
