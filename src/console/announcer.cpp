#include "console/announcer.h"

#include <algorithm>
#include <iterator>

#include "cat/reply.h"
#include "core/text.h"
#include "widgets/meter_scale.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;

using Topic = Announcer::Topic;

constexpr Duration kSoon = 20ms;           // an operation's other changes have been made by then
constexpr Duration kSameOperation = 10ms;  // changes that are no further apart belong to one operation
constexpr Duration kSliderRest = 500ms;
constexpr Duration kFrequencyRest = 700ms;
constexpr Duration kPlanRest = 1s;             // the band plan's notes come after the frequency
constexpr Duration kBetweenSentences = 400ms;  // a screen reader that is given the next one earlier drops the first
constexpr int kNineHundredBand = 35;
constexpr std::string_view kNoSlider = "NA";

std::string OnOff(std::string_view what, bool on) {
  return std::string(what) + (on ? " on" : " off");
}

Duration RestOf(Topic topic) {
  switch (topic) {
    case Topic::kSlider:
      return kSliderRest;
    case Topic::kFrequency:
      return kFrequencyRest;
    case Topic::kPlan:
      return kPlanRest;
    default:
      return kSoon;
  }
}

/// An operation of the first kind changes the second as well; that needs no sentence of its own.
struct Silence {
  Topic loud;
  Topic silent;
};
constexpr Silence kSilences[] = {
    {Topic::kBand, Topic::kStep},     {Topic::kRig, Topic::kMeter},    {Topic::kRig, Topic::kSlider},
    {Topic::kRig, Topic::kRigNumber}, {Topic::kMessage, Topic::kPort},
};

bool Silences(Topic loud, Topic silent) {
  return std::any_of(std::begin(kSilences), std::end(kSilences),
                     [&](const Silence& row) { return row.loud == loud && row.silent == silent; });
}

std::string PortSentence(const Console& console) {
  if (*console.Port == "open") return "Rig port open";
  return *console.Port == "closed" ? "Rig port closed" : *console.Port;
}

std::string MeterSentence(const Console& console) {
  return *console.MeterOn ? "Meter = " + *console.Label10 : "Meter off";
}

/// Of the key that was sent, "AGCFAST".
std::string AgcSentence(const Console& console) {
  return console.Agc->size() > 3 ? "AGC = " + console.Agc->substr(3) : std::string();
}

std::string BandText(const Console& console) {
  return std::to_string(*console.BandNumber == kNineHundredBand ? 902 : *console.BandNumber);
}

std::string ModeText(const Console& console) {
  return std::string(Trim(*console.Mode));
}

}  // namespace

/// What is told of a field that has changed: the sentence for the console's state as it is.
struct Announcer::Row {
  Field field;
  Topic topic;
  std::string (*sentence)(const Console& console);
};

const Announcer::Row Announcer::kRows[] = {
    {Field::kRigName, Topic::kRig,
     [](const Console& c) { return *c.RigName == "NONE" ? std::string("No rig") : "Rig = " + *c.RigName; }},
    {Field::kRigSlot, Topic::kSlot, [](const Console& c) { return "Saved rig " + std::to_string(*c.RigSlot); }},
    {Field::kRigNumber, Topic::kRigNumber, [](const Console& c) { return "Rig number " + *c.RigNumber; }},
    {Field::kPort, Topic::kPort, PortSentence},
    {Field::kBandNumber, Topic::kBand, [](const Console& c) { return "Band = " + BandText(c); }},
    {Field::kActiveVfo, Topic::kVfo, [](const Console& c) { return std::string("VFO = ") + *c.ActiveVfo; }},
    {Field::kMode, Topic::kMode, [](const Console& c) { return "Mode = " + ModeText(c); }},
    {Field::kXnarrow, Topic::kNarrow, [](const Console& c) { return OnOff("Narrow", *c.Xnarrow); }},
    {Field::kChannel, Topic::kStep, [](const Console& c) { return "Step = " + *c.Channel; }},
    {Field::kNoLimits, Topic::kLimits, [](const Console& c) { return OnOff("Band limits", !*c.NoLimits); }},
    {Field::kOffset, Topic::kOffset, [](const Console& c) { return "Offset = " + KhzText(*c.Offset); }},
    {Field::kMeterOn, Topic::kMeter, MeterSentence},
    {Field::kLabel10, Topic::kMeter, MeterSentence},
    {Field::kAgc, Topic::kAgc, AgcSentence},
    {Field::kPolling, Topic::kPolling, [](const Console& c) { return OnOff("Polling", *c.Polling); }},
    {Field::kTransmitting, Topic::kTransmit, [](const Console& c) { return OnOff("Transmit", *c.Transmitting); }},
    {Field::kTuning, Topic::kTune, [](const Console& c) { return OnOff("Tune", *c.Tuning); }},
    {Field::kTheme, Topic::kTheme, [](const Console& c) { return "Theme = " + *c.Theme; }},
    {Field::kTextSize, Topic::kTextSize, [](const Console& c) { return "Text size = " + std::to_string(*c.TextSize); }},
    {Field::kLoggerLink, Topic::kLoggerLink, [](const Console& c) { return "Logger link " + *c.LoggerLink; }},
    {Field::kKeyerLink, Topic::kKeyerLink, [](const Console& c) { return "Logger CW link " + *c.KeyerLink; }},
    {Field::kFreqDisp, Topic::kFrequency, [](const Console& c) { return "Frequency = " + KhzText(*c.FreqDisp); }},
};

Announcer::Announcer(Loop& loop, Console& console, const config::RigDefinition& rig, const cat::BandPlan& plan,
                     platform::Speech* speech)
    : loop_(loop), console_(console), rig_(rig), plan_(plan), speech_(speech) {
  subscription_ = console_.Subscribe([this](Field field) { Follow(field); });
}

void Announcer::Follow(Field field) {
  if (field == Field::kAnnounce) return Switched(*console_.Announce);
  if (!*console_.Announce) return;
  switch (field) {
    case Field::kSpkbx:
      return FollowSpkbx();
    case Field::kSlider:
      return FollowSliders();
    case Field::kMsgArea:
      return FollowMessage(*console_.MsgArea);
    case Field::kErrorText:
      return FollowMessage(*console_.ErrorText);
    case Field::kFreqDisp:
      for (Waiting& entry : waiting_) {
        if (entry.key.first == Topic::kPlan) entry.due = loop_.Now() + kPlanRest;  // it may leave the segment again
      }
      break;
    case Field::kPort:
      if (*console_.Port != "open" && *console_.Port != "closed") return FollowMessage(*console_.Port);
      break;
    default:
      break;
  }
  for (const Row& row : kRows) {
    if (row.field == field) Queue(row.topic, 0);
  }
}

/// The state of the moment counts as told: what follows is told when it differs.
void Announcer::Switched(bool on) {
  waiting_.clear();
  known_.clear();
  for (const Row& row : kRows) known_[{row.topic, 0}] = row.sentence(console_);
  for (std::size_t i = 0; i < sliders_.size(); ++i) sliders_[i] = console_.Slider[i];
  if (on) return Operated("Announcements on");
  Arm();
  if (speech_ != nullptr) speech_->Stop();
}

/// Somebody has put a sentence there directly.
void Announcer::FollowSpkbx() {
  if (putting_ || console_.SPKBX->empty()) return;
  const std::string& sentence = *console_.SPKBX;
  Topic topic = Topic::kOperation;
  for (const Row& row : kRows) {
    if (row.sentence(console_) != sentence) continue;
    topic = row.topic;
    known_[{topic, 0}] = sentence;
  }
  free_at_ = loop_.Now() + kBetweenSentences;
  if (speech_ != nullptr) speech_->Say(static_cast<int>(topic), sentence);
}

void Announcer::FollowSliders() {
  for (std::size_t i = 0; i < sliders_.size(); ++i) {
    if (std::exchange(sliders_[i], console_.Slider[i]) != console_.Slider[i] && hushed_ == 0)
      Queue(Topic::kSlider, static_cast<int>(i));
  }
}

void Announcer::FollowMessage(const std::string& line) {
  if (is_plan_note(line)) return Queue(Topic::kPlan, 0);
  if (!line.empty()) Queue(Topic::kMessage, 0, line);
}

/// The message area also shows what the band plan says of the frequency.
bool Announcer::is_plan_note(const std::string& line) const {
  const Frequency frequency = *console_.FreqDisp;
  const cat::BandPlan::Segment* segment = plan_.At(frequency);
  if (segment == nullptr) segment = plan_.At({frequency.decihertz - 1});
  return segment != nullptr && line.starts_with(segment->text);
}

/// As the key is labelled: by its caption, else by its description, else by its number.
std::string Announcer::FunctionName(int number) const {
  const std::string digit = std::to_string(number);
  const std::string caption(Trim(rig_.captions.at(static_cast<std::size_t>(number - 1))));
  if (!caption.empty() && caption != digit) return OneLine(caption);
  const std::string description(Trim(rig_.row["F" + digit + "Desc"]));
  return description.empty() ? "Function " + digit : OneLine(description);
}

void Announcer::FunctionPressed(int number) {
  const auto index = static_cast<std::size_t>(number - 1);
  const std::string& command = rig_.row["Function" + std::to_string(number)];
  std::string sentence = FunctionName(number);
  if (command.find('/') != std::string::npos) {
    sentence = OnOff(sentence + ",", console_.FunctionState[index]);
  } else if (command.find("<F") != std::string::npos && !console_.Text5[index].empty()) {
    sentence += " = " + OneLine(console_.Text5[index]);
  }
  Queue(Topic::kFunction, number, std::move(sentence));
}

void Announcer::Queue(Topic topic, int index, std::string sentence) {
  if (!*console_.Announce) return;
  const Key key{topic, index};
  std::erase_if(waiting_, [&](const Waiting& entry) { return entry.key == key; });
  if (Absorb(key)) return;
  const TimePoint now = loop_.Now();
  waiting_.push_back({key, std::move(sentence), now, now + RestOf(topic)});
  Arm();
}

/// True when the change belongs to an operation that has a sentence of its own. The other way round, what waits and
/// belongs to this one goes.
bool Announcer::Absorb(const Key& key) {
  const auto together = [&](const Waiting& entry) { return loop_.Now() - entry.since <= kSameOperation; };
  const auto louder = [&](const Waiting& entry) { return together(entry) && Silences(entry.key.first, key.first); };
  if (std::any_of(waiting_.begin(), waiting_.end(), louder)) {
    known_[key] = StateSentence(key);
    return true;
  }
  std::erase_if(waiting_, [&](const Waiting& entry) {
    const bool goes = together(entry) && Silences(key.first, entry.key.first);
    if (goes) known_[entry.key] = StateSentence(entry.key);
    return goes;
  });
  return false;
}

void Announcer::Arm() {
  loop_.StopTimer(std::exchange(timer_, 0));
  if (waiting_.empty()) return;
  const auto next = std::min_element(waiting_.begin(), waiting_.end(),
                                     [](const Waiting& a, const Waiting& b) { return a.due < b.due; });
  timer_ = loop_.StartTimer(std::max(next->due, free_at_), [this] {
    timer_ = 0;
    Flush();
  });
}

/// Tells the one that has waited longest; what is no news makes room for the next.
void Announcer::Flush() {
  while (!waiting_.empty()) {
    const auto next = std::min_element(waiting_.begin(), waiting_.end(),
                                       [](const Waiting& a, const Waiting& b) { return a.due < b.due; });
    if (next->due > loop_.Now()) break;
    const Waiting entry = std::move(*next);
    waiting_.erase(next);
    if (Tell(entry)) break;
  }
  Arm();
}

bool Announcer::Tell(const Waiting& waiting) {
  const auto [topic, index] = waiting.key;
  if (!waiting.sentence.empty()) {
    if (Put(topic, waiting.sentence)) return true;
    // A message that comes again is spoken again; a screen reader is given it again by the message line.
    if (topic == Topic::kMessage && speech_ != nullptr) speech_->Say(static_cast<int>(topic), waiting.sentence);
    return false;
  }
  const std::string sentence = StateSentence(waiting.key);
  if (sentence.empty() || std::exchange(known_[waiting.key], sentence) == sentence) return false;
  return Put(waiting.key.first, sentence);
}

bool Announcer::Put(Topic topic, const std::string& sentence) {
  if (sentence == *console_.SPKBX) return false;
  putting_ = true;
  console_.SPKBX.Set(sentence);
  putting_ = false;
  free_at_ = loop_.Now() + kBetweenSentences;
  if (speech_ != nullptr) speech_->Say(static_cast<int>(topic), sentence);
  return true;
}

std::string Announcer::StateSentence(const Key& key) const {
  const Topic topic = key.first;
  const int index = key.second;
  if (topic == Topic::kPlan) return is_plan_note(*console_.MsgArea) ? *console_.MsgArea : std::string();
  if (topic == Topic::kSlider) {
    const auto slider = static_cast<std::size_t>(index);
    std::string name = Upper(Trim(rig_.slider_captions[slider]));
    if (name.empty() || name == kNoSlider) name = "Slider " + std::to_string(index + 1);
    return name + " = " + std::to_string(console_.Slider[slider]);
  }
  const auto row = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& r) { return r.topic == topic; });
  return row == std::end(kRows) ? std::string() : row->sentence(console_);
}

std::string Announcer::SayStatus() {
  std::string sentence = "Frequency = " + KhzText(*console_.FreqDisp) + ", Mode = " + ModeText(console_) +
                         ", VFO = " + *console_.ActiveVfo + ", Band = " + BandText(console_) + ", " +
                         widgets::SText(*console_.SMeter, cat::SMeterFullScale(rig_));
  if (*console_.Transmitting) sentence = "Transmit on, " + sentence;
  std::erase_if(waiting_, [](const Waiting& entry) { return entry.key.first == Topic::kFrequency; });
  known_[{Topic::kFrequency, 0}] = "Frequency = " + KhzText(*console_.FreqDisp);
  Arm();
  // Asked again, it is spoken again; a screen reader is given it again by the label that shows it.
  if (!Put(Topic::kOperation, sentence) && speech_ != nullptr)
    speech_->Say(static_cast<int>(Topic::kOperation), sentence);
  return sentence;
}

}  // namespace kvx::console
