#include "cat/band_operations.h"

#include <algorithm>

#include "core/text.h"

namespace kvx::cat {
namespace {

constexpr Frequency kFineStep{500};       // 0.05 kHz
constexpr Frequency kCoarseStep{10'000};  // 1 kHz
constexpr std::string_view kFineText = ".05";
constexpr std::string_view kCoarseText = "1";

/// Which key a mode caption sends. Each row is tested on its own: a caption that passes two tests sends both keys.
struct ModeKey {
  std::string_view caption;
  int narrow;  ///< 0: only when not narrow, 1: only when narrow, -1: either way
  std::string_view key;
  std::string_view wide_key = {};  ///< of a narrow one
};
constexpr std::array kModeKeys{ModeKey{"CW", 0, "XCWW"},   ModeKey{"CW", 1, "XCWN", "XCWW"},
                               ModeKey{"USB", -1, "XUSB"}, ModeKey{"LSB", -1, "XLSB"},
                               ModeKey{"AM", -1, "XAM"},   ModeKey{"RTTY", -1, "XRTTY"},
                               ModeKey{"FM", 0, "XFMW"},   ModeKey{"FM", 1, "XFMN", "XFMW"}};

std::optional<Frequency> Remembered(const config::BandMemory& memory) {
  const auto frequency = ParseKhz(memory.frequency);
  return frequency && frequency->decihertz > 0 ? frequency : std::nullopt;
}

}  // namespace

BandOperations::BandOperations(Console& console, Dispatcher& dispatcher, Operations& operations, Memory& memory)
    : console_(console), dispatcher_(dispatcher), operations_(operations), memory_(memory) {
  subscription_ = console_.Subscribe([this](Field field) {
    if (field == Field::kFreqDisp && !choosing_) SetPriv();
    if (field == Field::kFreqDisp || field == Field::kMode) FollowFrequency();
  });
}

std::optional<SendOutcome> BandOperations::PressBand(int number) {
  const Band* band = FindBand(number);
  if (band == nullptr || band->memory == 0) return std::nullopt;
  return ChooseBand(number);
}

SendOutcome BandOperations::ChooseBand(int number) {
  const Band& band = *FindBand(number);
  operations_.SendWaiting();
  if (*console_.BandNumber != number) RememberBand();
  used_.reset();
  choosing_ = true;
  step_ = kFineStep;
  console_.Channel.Set(std::string(kFineText));
  SetDirectLimits(band);
  console_.BandNumber.Set(number);
  const config::BandMemory& memory = memory_.at(static_cast<std::size_t>(band.memory));
  if (const auto frequency = Remembered(memory)) {
    if (!memory.mode.empty() && Trim(*console_.Mode) != memory.mode) console_.Mode.Set(memory.mode);
    operations_.FChange(frequency->displayed());
    console_.Reference.Set(*frequency);
  } else {
    operations_.FChange(band.default_frequency);
    console_.Reference.Set(band.reference);
    console_.Mode.Set("  CW");
  }
  if (number == 80 && *console_.Announce) console_.SPKBX.Set("Band = 80");
  SendModeKeys();
  SetPriv();
  SetLimits();
  choosing_ = false;
  FollowFrequency();
  return operations_.SendFreq();
}

void BandOperations::SetDirectLimits(const Band& band) {
  if (!band.sets_limits_first) return;
  console_.FromF.Set(band.first_lower);
  console_.ToF.Set(band.upper);
}

/// A rig that has one width only gets that, whatever the narrow box says.
void BandOperations::SendModeKeys() {
  const int narrow = *console_.Xnarrow ? 1 : 0;
  for (const ModeKey& row : kModeKeys) {
    const bool applies = row.narrow < 0 || row.narrow == narrow;
    if (!applies || console_.Mode->find(row.caption) == std::string::npos) continue;
    const bool wide_instead = !row.wide_key.empty() && !dispatcher_.Has(row.key) && dispatcher_.Has(row.wide_key);
    dispatcher_.SendData(wide_instead ? row.wide_key : row.key);
  }
}

void BandOperations::SetPriv() {
  const Frequency frequency = *console_.FreqDisp;
  const BandPlan::Segment* segment = plan_.At(frequency);
  if (segment == nullptr) segment = plan_.At({frequency.decihertz - 1});  // the upper edge of a band belongs to it
  std::string text = segment == nullptr ? std::string() : segment->text;
  if (segment != nullptr && segment->privilege != LicenceClass::kNone)
    text += " (" + std::string(LicenceClassName(segment->privilege)) + ")";
  if (text == shown_privilege_) return;  // other messages stay until there is something new to say
  const bool stands = *console_.MsgArea == shown_privilege_;
  shown_privilege_ = text;
  if (!text.empty() || stands) console_.MsgArea.Set(text);
}

void BandOperations::SetLimits() {
  const Band* band = FindBand(*console_.BandNumber);
  if (*console_.NoLimits || band == nullptr) return;
  console_.FromF.Set(band->lower);
  console_.ToF.Set(band->upper);
}

void BandOperations::ClickStep() {
  const bool coarse = *console_.Channel == kFineText;
  step_ = coarse ? kCoarseStep : kFineStep;
  console_.Channel.Set(std::string(coarse ? kCoarseText : kFineText));
}

SendOutcome BandOperations::TurnWheel(int movement) {
  return TurnKnob(movement < 1 ? -1 : 1);
}

SendOutcome BandOperations::TurnKnob(int steps) {
  if (steps == 0) return SendOutcome::kSent;
  if (step_.decihertz == 0) step_ = kFineStep;
  return Tune({console_.FreqDisp->decihertz + step_.decihertz * steps}, steps);
}

/// The read-out of the knob turns against the frequency. A step that a limit stops does not turn it.
SendOutcome BandOperations::Tune(Frequency wanted, int knob_steps) {
  const bool at_limit = *console_.NoLimits ? wanted.decihertz <= 0
                        : knob_steps > 0   ? wanted >= *console_.ToF
                                           : wanted <= *console_.FromF;
  if (at_limit) {
    const Frequency shown = *console_.FreqDisp;
    wanted = *console_.NoLimits ? shown : knob_steps > 0 ? *console_.ToF : *console_.FromF;
    const std::int64_t way = knob_steps > 0 ? wanted.decihertz - shown.decihertz : shown.decihertz - wanted.decihertz;
    const auto whole = static_cast<int>(std::max<std::int64_t>(way - 1, 0) / step_.decihertz);
    knob_steps = knob_steps > 0 ? whole : -whole;
  }
  MoveKnobReadout(-knob_steps);
  return operations_.TuneTo(wanted);
}

void BandOperations::MoveKnobReadout(int steps) {
  console_.VFO.Set(std::to_string(LeadingNumber(*console_.VFO) + steps));
}

SendOutcome BandOperations::SetBaseFrequency(Frequency frequency) {
  const SendOutcome outcome = operations_.TuneTo(frequency);
  if (outcome == SendOutcome::kRefused) return outcome;
  console_.Reference.Set(frequency);
  if (*console_.Announce) console_.MsgArea.Set("Base frequency set to " + KhzText(frequency));
  return outcome;
}

/// The band follows the rig: a frequency within another band's limits makes that the band, and what was in use on the
/// band left behind is remembered.
void BandOperations::FollowFrequency() {
  if (choosing_) return;
  const Band* band = BandOf(*console_.FreqDisp);
  if (band == nullptr) return;
  if (band->number != *console_.BandNumber) {
    RememberBand();
    console_.BandNumber.Set(band->number);
    SetLimits();
  }
  used_ = config::BandMemory{KhzText(*console_.FreqDisp), std::string(Trim(*console_.Mode))};
}

void BandOperations::RememberBand() {
  const Band* band = FindBand(*console_.BandNumber);
  if (band == nullptr || band->memory == 0 || !used_) return;
  memory_.at(static_cast<std::size_t>(band->memory)) = *used_;
  used_.reset();
}

}  // namespace kvx::cat
