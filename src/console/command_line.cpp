#include "console/command_line.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "console/answers.h"
#include "console/status.h"
#include "console/stop_lines.h"
#include "core/hex_text.h"
#include "core/text.h"
#include "core/tunable.h"
#include "platform/ports_file.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostWaitingLines = 10'000;
constexpr Duration kPatience = std::chrono::seconds(5);  // of quit, with what goes on beside it
constexpr Duration kLook = std::chrono::milliseconds(20);
constexpr std::string_view kSave = "save";  // a procedure that is nobody else's

struct SliderName {
  std::string_view name;
  int number;
};
constexpr std::array kSliderNames{SliderName{"CW", 1},     SliderName{"TONE", 2},   SliderName{"ALPHA", 3},
                                  SliderName{"BRAVO", 4},  SliderName{"CHAR", 5},   SliderName{"MISC", 6},
                                  SliderName{"AF", 7},     SliderName{"AFGAIN", 7}, SliderName{"RF", 8},
                                  SliderName{"RFGAIN", 8}, SliderName{"POWER", 9},  SliderName{"FILTER", 10},
                                  SliderName{"NOTCH", 11}};

/// A slider by number, by name, or by its short caption of the loaded rig; 0 when there is none.
int SliderNumber(std::string_view name, const config::RigDefinition& rig) {
  if (const auto number = ParseNumber(name, 1, config::kSliders)) return static_cast<int>(*number);
  for (const SliderName& row : kSliderNames) {
    if (EqualNoCase(row.name, name)) return row.number;
  }
  for (int i = 0; i < config::kSliders; ++i) {
    if (EqualNoCase(rig.slider_captions[static_cast<std::size_t>(i)], name) && !EqualNoCase(name, "na")) return i + 1;
  }
  return 0;
}

/// A port that is being left, once a release of the transmitter has gone out, is not open for what comes next.
std::string PortState(const Station& station) {
  const bool left = *station.console.Port == "open" && !station.engine.link.is_open();
  return left ? "being opened anew" : *station.console.Port;
}

/// A frequency in kHz that the rig can be at; what the display shows may be a converter's.
std::optional<Frequency> TypedFrequency(std::string_view text, Frequency offset) {
  const auto frequency = ParseKhz(text);
  const bool tunable = frequency && frequency->decihertz > 0 && IsTunable(*frequency + offset);
  return tunable ? frequency : std::nullopt;
}

}  // namespace

const CommandLine::Command CommandLine::kCommands[] = {
    {"status", &CommandLine::DoStatus, "the station's state as JSON"},
    {"rig", &CommandLine::DoRig, "NAME: choose a rig definition (NONE: no rig)"},
    {"rigs", &CommandLine::DoRigs, "the names of all rig definitions"},
    {"slot", &CommandLine::DoSlot, "0..8: choose a saved rig"},
    {"rignumber", &CommandLine::DoRigNumber, "1..7: choose the rig address"},
    {"port", &CommandLine::DoPort, "0..99: the rig port's number, 0 for none"},
    {"speed", &CommandLine::DoSpeed,
     "5..99: the CW speed in words a minute; 300 and above: the rig port's speed in baud"},
    {"freq", &CommandLine::DoFreq, "KHZ: tune"},
    {"base", &CommandLine::DoBase, "KHZ: tune, and count the knob from there"},
    {"band", &CommandLine::DoBand, "160|80|60|40|30|20|17|15|12|10|6|2|220|440|902"},
    {"step", &CommandLine::DoStep, "the other tuning step"},
    {"wheel", &CommandLine::DoWheel, "N: so many steps up, or down when negative"},
    {"mode", &CommandLine::DoMode, "LSB|USB|CW|CWN|AM|FM|FMN|RTTY"},
    {"narrow", &CommandLine::DoNarrow, "on|off"},
    {"vfo", &CommandLine::DoVfo, "A|B"},
    {"send", &CommandLine::DoSend,
     "KEY-OR-COMMAND: straight to the dispatcher; <CR> and <0xNN> stand for control characters"},
    {"fn", &CommandLine::DoFunction, "1..9: press a function key"},
    {"fnval", &CommandLine::DoFunctionValue, "1..9 TEXT: the value of a function key (or of a mode key, as XCWW)"},
    {"slider", &CommandLine::DoSlider, "NAME VALUE"},
    {"limits", &CommandLine::DoLimits, "on|off: keep the knob within the band's limits"},
    {"escape", &CommandLine::DoEscape, "stop CW text and tuning, release the transmitter"},
    {"levels", &CommandLine::DoLevels, "ask the rig for the values of the sliders"},
    {"announce", &CommandLine::DoAnnounce, "on|off: spoken announcements"},
    {"poll", &CommandLine::DoPoll, "on|off: ask the rig for its state"},
    {"meter", &CommandLine::DoMeter, "off|0..9: poll that meter instead of the S-meter"},
    {"trace", &CommandLine::DoTrace, "on|off: print every byte sent and received"},
    {"debug", &CommandLine::DoDebug, "on|off|clear|save FILE: record the traffic, forget it, write it to a file"},
    {"say", &CommandLine::DoSay, "say frequency, mode, VFO, band and S-meter"},
    {"sim", &CommandLine::DoSim, "COMMAND: operate the simulated rig (knob KHZ, mode M, state ...)"},
    {"help", &CommandLine::DoHelp, "[COMMAND]: the commands, or what one takes"},
};

CommandLine::CommandLine(Loop& loop, Station& station, Output output)
    : loop_(loop), station_(station), output_(std::move(output)) {
  subscription_ = station_.console.Subscribe([this](Field field) { Follow(field); });
}

void CommandLine::Ready() {
  ready_ = true;
  output_("ready");
  for (const std::string& event : std::exchange(early_events_, {})) output_(event);
  run_ = Run();
}

void CommandLine::Take(std::string line) {
  const bool at_once = procedure_runs_ && StopsTransmission(station_, line);
  const std::string answered = at_once ? Execute(line) : std::string();
  if (lines_.size() >= kMostWaitingLines) return Answer(Fail("too many commands are waiting"));
  if (at_once) Answer(answered);
  if (at_once && lines_.empty()) return;
  lines_.push_back({.text = std::move(line), .answered = at_once});
  line_taken_.Notify();
}

void CommandLine::End() {
  lines_.push_back({.last = true});
  line_taken_.Notify();
}

Task CommandLine::Run() {
  while (true) {
    while (lines_.empty()) {
      co_await line_taken_.Within(loop_, 1h);
    }
    const Line line = std::move(lines_.front());
    lines_.pop_front();
    const std::string word = Lower(Trim(line.text));
    if (line.last) station_.CommandsEnded();
    if (word == "quit") {
      // A script that gives all its commands at once gets its answers. What stops a transmission need not wait.
      procedure_runs_ = true;
      const TimePoint until = loop_.Now() + kPatience;
      while (!run_beside_.done() && loop_.Now() < until && !*station_.console.Transmitting) {
        co_await loop_.Sleep(kLook);
      }
      EndWhatGoesBeside();
      Answer("ok quit");
      if (on_quit) on_quit();
      co_return;
    }
    const Added* added = FindAdded(FirstWord(line.text).first);
    if (added != nullptr && added->goes_beside) {
      CarryOutBeside(line.text);
    } else if (word == kSave || (added != nullptr && added->procedure)) {
      procedure_runs_ = true;
      Task procedure = CarryOut(line.text);
      co_await procedure;
      procedure_runs_ = false;
      continue;
    } else if (!word.empty()) {
      const std::string told = Execute(line.text);
      if (!line.answered) Answer(told);
    }
    // Output and other events get their turn even when a script pours in commands.
    co_await loop_.Pass();
  }
}

/// A procedure, and its answer.
Task CommandLine::CarryOut(std::string line) {
  const Added* added = FindAdded(FirstWord(line).first);
  if (added == nullptr) {
    Task save = station_.SaveRig("");
    co_await save;
    Answer(station_.saved() ? "ok saved" : Fail(*station_.console.MsgArea));
    co_return;
  }
  station_.console.ErrorText.Set("");
  const auto told = std::make_shared<std::string>();
  Task procedure = added->procedure(std::string(FirstWord(line).second), told);
  co_await procedure;
  Answer(*told);
}

Task CommandLine::RunBeside() {
  while (!beside_.empty()) {
    Task procedure = CarryOut(beside_.front());
    co_await procedure;
    beside_.pop_front();
  }
}

void CommandLine::CarryOutBeside(const std::string& line) {
  if (beside_.size() >= kMostWaitingLines) return Answer(Fail("too many commands are waiting"));
  beside_.push_back(line);
  if (run_beside_.done()) run_beside_ = RunBeside();
}

void CommandLine::EndWhatGoesBeside() {
  run_beside_.Cancel();
  for (const std::string& line : std::exchange(beside_, {})) {
    Answer(Fail(Lower(FirstWord(line).first) + " has been ended by quit"));
  }
}

void CommandLine::Answer(const std::string& line) {
  const Output& take = answer ? answer : output_;
  take(line.size() <= kLongestAnswer ? line : Fail("the answer is longer than 16 MB"));
}

std::string CommandLine::Execute(std::string_view line) {
  const auto [name, argument] = FirstWord(line);
  const auto* command = std::find_if(std::begin(kCommands), std::end(kCommands),
                                     [word = name](const Command& row) { return EqualNoCase(row.name, word); });
  station_.console.ErrorText.Set("");
  if (const Added* added = FindAdded(name)) return added->handler(argument);
  if (command == std::end(kCommands)) return Fail("there is no command " + OneLine(name, 40) + " (help lists them)");
  return (this->*command->handler)(argument);
}

void CommandLine::Add(std::string name, std::string usage, std::function<std::string(std::string_view)> handler) {
  added_.push_back({std::move(name), std::move(usage), std::move(handler), {}});
}

void CommandLine::AddProcedure(std::string name, std::string usage, Procedure procedure) {
  added_.push_back({std::move(name), std::move(usage), {}, std::move(procedure)});
}

void CommandLine::AddLongProcedure(std::string name, std::string usage, Procedure procedure) {
  AddProcedure(std::move(name), std::move(usage), std::move(procedure));
  added_.back().goes_beside = true;
}

const CommandLine::Added* CommandLine::FindAdded(std::string_view name) const {
  const auto added =
      std::find_if(added_.begin(), added_.end(), [name](const Added& row) { return EqualNoCase(row.name, name); });
  return added == added_.end() ? nullptr : &*added;
}

void CommandLine::Tell(const std::string& event) {
  if (ready_) return output_(event);
  early_events_.push_back(event);
}

void CommandLine::Follow(Field field) {
  const Console& console = station_.console;
  const auto tell_text = [&](const std::string& text) {
    if (!text.empty()) Tell("message " + text);
  };
  switch (field) {
    case Field::kFreqDisp:
      return Tell("freq " + KhzText(*console.FreqDisp));
    case Field::kMode:
      return Tell("mode " + std::string(Trim(*console.Mode)));
    case Field::kActiveVfo:
      return Tell(std::string("vfo ") + *console.ActiveVfo);
    case Field::kSpkbx:
      return Tell("announce " + *console.SPKBX);
    case Field::kMsgArea:
      return tell_text(*console.MsgArea);
    case Field::kErrorText:
      return *console.ErrorText == *console.MsgArea ? void() : tell_text(*console.ErrorText);
    case Field::kTransmitting:
      return Tell(*console.Transmitting ? "tx on" : "tx off");
    case Field::kPort:
      return Tell("port " + *console.Port);
    case Field::kRigName:
      return Tell("rig " + *console.RigName);
    default:
      return;
  }
}

void CommandLine::Trace(Direction direction, std::string_view bytes) {
  const bool binary = station_.engine.rig().binary();
  Tell((direction == Direction::kSent ? "sent " : "received ") + (binary ? SpacedHex(bytes) : ToVisible(bytes)));
}

std::string CommandLine::DoStatus(std::string_view) {
  return StatusJson(station_);
}

std::string CommandLine::DoRig(std::string_view argument) {
  if (argument.empty()) return "ok " + *station_.console.RigName;
  const Status chosen = station_.ChooseRig(std::string(argument));
  return chosen ? "ok " + *station_.console.RigName : Fail(chosen.error().message);
}

std::string CommandLine::DoRigs(std::string_view) {
  const auto names = station_.RigNames();
  if (!names) return Fail(names.error().message);
  std::string list = "ok";
  for (const std::string& name : *names) list += (list == "ok" ? " " : ", ") + OneLine(name);
  return list;
}

std::string CommandLine::DoSlot(std::string_view argument) {
  const auto slot = ParseNumber(argument, 0, config::kSavedRigs);
  if (!slot) return Fail("slot takes 0 to 8");
  const Status chosen = station_.xRig_Click(static_cast<int>(*slot));
  return chosen ? "ok slot " + std::to_string(*slot) + " " + *station_.console.RigName : Fail(chosen.error().message);
}

std::string CommandLine::DoRigNumber(std::string_view argument) {
  const auto number = ParseNumber(argument, 1, 7);
  if (!number) return Fail("rignumber takes 1 to 7");
  const cat::SendOutcome outcome = station_.Rig_Click(static_cast<int>(*number));
  const bool refused = outcome == cat::SendOutcome::kRefused;
  return refused ? Say(outcome, station_, {}) : "ok rignumber " + *station_.console.RigNumber;
}

std::string CommandLine::DoPort(std::string_view argument) {
  const auto number = ParseNumber(argument, 0, platform::kHighestPort);
  if (!number) return Fail("port takes 0 to 99");
  const Status apart = keyer::CheckPorts(station_.keyer.settings(), static_cast<int>(*number));
  if (!apart) return Fail(apart.error().message);
  station_.SetRigPort(static_cast<int>(*number), station_.settings().rig_speed);
  return "ok port " + std::to_string(*number) + " " + PortState(station_);
}

std::string CommandLine::DoSpeed(std::string_view argument) {
  if (const auto wpm = ParseNumber(argument, keyer::kSlowest, keyer::kFastest)) {
    const Status set = station_.keyer.SetSpeed(static_cast<int>(*wpm));
    return set ? "ok speed " + std::to_string(*wpm) + " words a minute" : Fail(set.error().message);
  }
  const auto speed = ParseNumber(argument, config::kSlowestLine, config::kFastestLine);
  if (!speed)
    return Fail("speed takes 5 to 99 words a minute, or " + std::to_string(config::kSlowestLine) + " to " +
                std::to_string(config::kFastestLine) + " baud for the rig port");
  station_.SetRigPort(station_.settings().rig_port, static_cast<int>(*speed));
  return "ok speed " + std::to_string(*speed) + " " + PortState(station_);
}

std::string CommandLine::DoFreq(std::string_view argument) {
  const auto frequency = TypedFrequency(argument, *station_.console.Offset);
  if (!frequency) return Fail("freq takes kHz, as in 14025.00; not " + OneLine(argument, 40));
  const cat::SendOutcome outcome = station_.engine.operations.TuneTo(*frequency);
  return Say(outcome, station_, "freq " + KhzText(*station_.console.FreqDisp));
}

std::string CommandLine::DoBase(std::string_view argument) {
  const auto frequency = TypedFrequency(argument, *station_.console.Offset);
  if (!frequency) return Fail("base takes kHz, as in 14025.00; not " + OneLine(argument, 40));
  const cat::SendOutcome outcome = station_.bands.SetBaseFrequency(*frequency);
  return Say(outcome, station_, "base " + KhzText(*station_.console.Reference));
}

std::string CommandLine::DoBand(std::string_view argument) {
  const auto number = ParseNumber(argument, 1, 9999);
  // The 902 MHz band is number 35 inside.
  const auto outcome =
      number ? station_.bands.PressBand(*number == 902 ? 35 : static_cast<int>(*number)) : std::nullopt;
  if (!outcome)
    return Fail("there is no band " + OneLine(argument, 40) + " (160 80 60 40 30 20 17 15 12 10 6 2 220 440 902)");
  return Say(*outcome, station_, "band " + std::string(argument) + " " + KhzText(*station_.console.FreqDisp));
}

std::string CommandLine::DoStep(std::string_view) {
  station_.bands.ClickStep();
  return "ok step " + *station_.console.Channel;
}

std::string CommandLine::DoWheel(std::string_view argument) {
  const auto steps = ParseNumber(argument, -10'000, 10'000);
  if (!steps) return Fail("wheel takes a number of steps");
  const cat::SendOutcome outcome = station_.bands.TurnKnob(static_cast<int>(*steps));
  return Say(outcome, station_, "freq " + KhzText(*station_.console.FreqDisp));
}

std::string CommandLine::DoMode(std::string_view argument) {
  const auto outcome = station_.engine.operations.SetModeByName(argument);
  if (!outcome) return Fail(outcome.error().message);
  return Say(*outcome, station_, "mode " + std::string(Trim(*station_.console.Mode)));
}

std::string CommandLine::DoNarrow(std::string_view argument) {
  const auto on = OnOff(argument);
  if (!on) return Fail("narrow takes on or off");
  station_.engine.operations.SetNarrow(*on);
  return std::string("ok narrow ") + (*on ? "on" : "off");
}

std::string CommandLine::DoVfo(std::string_view argument) {
  if (EqualNoCase(argument, "A")) return Say(station_.engine.operations.VFOA_Click(), station_, "vfo A");
  if (EqualNoCase(argument, "B")) return Say(station_.engine.operations.VFOB_Click(), station_, "vfo B");
  return Fail("vfo takes A or B");
}

std::string CommandLine::DoSend(std::string_view argument) {
  if (argument.empty()) return Fail("send takes a key or a command");
  return Say(station_.SendCommand(FromVisible(argument)), station_, "sent");
}

std::string CommandLine::DoFunction(std::string_view argument) {
  const auto number = ParseNumber(argument, 1, config::kFunctions);
  if (!number) return Fail("fn takes 1 to 9");
  const cat::SendOutcome outcome = station_.PressFunction(static_cast<int>(*number));
  return Say(outcome, station_, "fn " + std::to_string(*number));
}

std::string CommandLine::DoFunctionValue(std::string_view argument) {
  const auto [word, text] = FirstWord(argument);
  const auto number = ParseNumber(word, 1, config::kFunctions);
  if (!number && cat::FindKey(word) != nullptr) {
    station_.engine.dispatcher.SetButtonValue(word, std::string(text));
    return "ok fnval " + Upper(word) + " " + OneLine(text);
  }
  if (!number) return Fail("fnval takes 1 to 9, or a mode key, and a text");
  station_.console.Text5.Set(static_cast<std::size_t>(*number - 1), std::string(text));
  return "ok fnval " + std::to_string(*number) + " " + OneLine(text);
}

std::string CommandLine::DoSlider(std::string_view argument) {
  const auto [name, text] = FirstWord(argument);
  const int number = SliderNumber(name, station_.engine.rig());
  if (number == 0) return Fail("there is no slider " + OneLine(name, 40));
  const auto value = ParseNumber(text.substr(0, text.find('.')), 0, 99'999);  // the fraction is cut off
  if (!value) return Fail("slider takes a name and a whole number");
  const cat::SendOutcome outcome = station_.MoveSlider(number, static_cast<int>(*value));
  const int set = station_.console.Slider[static_cast<std::size_t>(number - 1)];
  return Say(outcome, station_, "slider " + std::string(name) + " " + std::to_string(set));
}

std::string CommandLine::DoLimits(std::string_view argument) {
  const auto on = OnOff(argument);
  if (!on) return Fail("limits takes on or off");
  station_.console.NoLimits.Set(!*on);
  if (*on) station_.bands.SetLimits();
  return std::string("ok limits ") + (*on ? "on" : "off");
}

std::string CommandLine::DoEscape(std::string_view) {
  const Console& console = station_.console;
  const bool keyed = *console.Transmitting || station_.keyer.transmits();
  if (!station_.Escape()) return Fail(*console.MsgArea);
  return keyed ? "ok escape" : "ok escape: nothing was being transmitted from here";
}

std::string CommandLine::DoLevels(std::string_view) {
  station_.AskLevels();
  return "ok levels";
}

std::string CommandLine::DoAnnounce(std::string_view argument) {
  const auto on = OnOff(argument);
  if (!on) return Fail("announce takes on or off");
  station_.SetAnnounce(*on);
  return std::string("ok announce ") + (*on ? "on" : "off");
}

std::string CommandLine::DoPoll(std::string_view argument) {
  const auto on = OnOff(argument);
  if (!on) return Fail("poll takes on or off");
  station_.console.Polling.Set(*on);
  return std::string("ok poll ") + (*on ? "on" : "off");
}

std::string CommandLine::DoMeter(std::string_view argument) {
  const auto number = ParseNumber(argument, 0, 9);
  if (!number && !EqualNoCase(argument, "off")) return Fail("meter takes off or 0 to 9");
  station_.console.MeterOn.Set(number.has_value());
  if (number) station_.console.MeterNumber.Set(std::to_string(*number));
  return "ok meter " + Lower(argument);
}

std::string CommandLine::DoTrace(std::string_view argument) {
  const auto on = OnOff(argument);
  if (!on) return Fail("trace takes on or off");
  trace_ = DebugLog::Listening();
  if (*on) {
    trace_ =
        station_.debug_log.Listen([this](Direction direction, std::string_view bytes) { Trace(direction, bytes); });
  }
  return std::string("ok trace ") + (*on ? "on" : "off");
}

std::string CommandLine::DoDebug(std::string_view argument) {
  DebugLog& log = station_.debug_log;
  const auto [word, file] = FirstWord(argument);
  if (const auto on = OnOff(argument)) {
    if (*on != recording_) *on ? log.Open() : log.Close();
    recording_ = *on;
  } else if (EqualNoCase(argument, "clear")) {
    log.Clear();
  } else if (EqualNoCase(word, "save") && !file.empty()) {
    const Status saved = log.SaveTo(platform::Path(file), log.ring(), {});
    if (!saved) return Fail(saved.error().message);
  } else {
    return Fail("debug takes on, off, clear, or save and a file");
  }
  return "ok debug " + std::string(argument) + ", " + std::to_string(log.ring().end() - log.ring().first()) + " lines";
}

std::string CommandLine::DoSay(std::string_view) {
  return "ok " + station_.announcer.SayStatus();
}

std::string CommandLine::DoSim(std::string_view argument) {
  const std::string told = simulated_rig ? simulated_rig(argument) : std::string();
  return told.empty() ? Fail("the rig port is no simulated rig") : told;
}

std::vector<CommandLine::CommandHelp> CommandLine::commands() const {
  std::vector<CommandHelp> all;
  for (const Command& command : kCommands) all.push_back({std::string(command.name), std::string(command.usage)});
  for (const Added& command : added_) all.push_back({command.name, command.usage});
  all.push_back({std::string(kSave), "write rig.ini"});
  all.push_back({"quit", "end the program: the transmitter is released, settings are written, ports closed"});
  return all;
}

std::string CommandLine::DoHelp(std::string_view argument) {
  std::string list = "ok";
  for (const CommandHelp& command : commands()) {
    if (EqualNoCase(command.name, argument)) return "ok " + command.name + " " + command.usage;
    list += " " + command.name;
  }
  return list;
}

}  // namespace kvx::console
