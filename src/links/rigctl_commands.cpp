#include "links/rigctl_commands.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "core/text.h"
#include "core/tunable.h"
#include "links/rigctl_caps.h"

namespace kvx::links {
namespace {

constexpr int kWidestPassband = 1'000'000;
constexpr std::size_t kLongestNumber = 32;

std::string VfoName(char vfo) {
  return vfo == 'B' ? "VFOB" : "VFOA";
}
char Other(char vfo) {
  return vfo == 'A' ? 'B' : 'A';
}

/// Split commands mean the VFO that the client does not use itself.
char SplitVfo(const RigctlCall& call) {
  return Other(call.vfo);
}

Rprt TellFrequency(RigctlCall& call, char vfo, std::string_view name) {
  call.reply.Value(name, call.rig.frequency(vfo).hz());
  return Rprt::kOk;
}

Rprt SetFrequency(RigctlCall& call, char vfo) {
  const auto frequency = HertzOf(call.argument(0));
  if (!frequency || !IsTunable(*frequency)) return Rprt::kInvalid;
  return call.rig.SetFrequency(call.client, vfo, *frequency);
}

Rprt SetMode(RigctlCall& call, char vfo) {
  if (call.argument(0) == "?") {
    call.reply.Lines(call.rig.modes() + "\n");
    return Rprt::kOk;
  }
  const auto passband = call.argument(1).empty() ? 0.0 : DecimalOf(call.argument(1));
  if (!passband || *passband < -1 || *passband > kWidestPassband) return Rprt::kInvalid;
  return call.rig.SetMode(call.client, vfo, call.argument(0), static_cast<int>(*passband));
}

Rprt DoGetFreq(RigctlCall& call) {
  return TellFrequency(call, call.vfo, "Frequency");
}
Rprt DoSetFreq(RigctlCall& call) {
  return SetFrequency(call, call.vfo);
}

Rprt DoGetMode(RigctlCall& call) {
  call.reply.Value("Mode", call.rig.mode());
  call.reply.Value("Passband", call.rig.passband());
  return Rprt::kOk;
}
Rprt DoSetMode(RigctlCall& call) {
  return SetMode(call, call.vfo);
}

Rprt DoGetVfo(RigctlCall& call) {
  call.reply.Value("VFO", VfoName(call.rig.vfo_of(call.client)));
  return Rprt::kOk;
}
Rprt DoSetVfo(RigctlCall& call) {
  if (call.argument(0) == "?") {
    call.reply.Lines("VFOA VFOB currVFO\n");
    return Rprt::kOk;
  }
  const char vfo = VfoNamed(call.argument(0));
  if (vfo == '?') return Rprt::kInvalid;
  call.client.vfo = vfo;
  return Rprt::kOk;
}

Rprt DoGetSplit(RigctlCall& call) {
  call.reply.Value("Split", call.rig.split() ? 1 : 0);
  call.reply.Value("TX VFO", VfoName(call.rig.transmit_vfo()));
  return Rprt::kOk;
}
Rprt DoSetSplit(RigctlCall& call) {
  const auto on = DecimalOf(call.argument(0));
  const char vfo = VfoNamed(call.argument(1));
  if (!on || vfo == '?') return Rprt::kInvalid;
  return call.rig.SetSplit(*on != 0, vfo == '\0' ? SplitVfo(call) : vfo);
}
Rprt DoGetSplitFreq(RigctlCall& call) {
  return TellFrequency(call, SplitVfo(call), "TX Frequency");
}
Rprt DoSetSplitFreq(RigctlCall& call) {
  return SetFrequency(call, SplitVfo(call));
}
Rprt DoGetSplitMode(RigctlCall& call) {
  call.reply.Value("TX Mode", call.rig.mode());
  call.reply.Value("TX Passband", call.rig.passband());
  return Rprt::kOk;
}
Rprt DoSetSplitMode(RigctlCall& call) {
  return SetMode(call, SplitVfo(call));
}

Rprt DoGetPtt(RigctlCall& call) {
  call.reply.Value("PTT", call.rig.transmitting() ? 1 : 0);
  return Rprt::kOk;
}
Rprt DoSetPtt(RigctlCall& call) {
  constexpr int kOnData = 3;  // 0: off, 1: on, 2: by the microphone, 3: by the data jack
  const auto on = ParseNumber(call.argument(0), 0, kOnData);
  if (!on) return Rprt::kInvalid;
  return *on != 0 ? call.rig.Key(call.client, call.vfo) : call.rig.Release(call.client);
}

Rprt DoGetLevel(RigctlCall& call) {
  if (call.argument(0) == "?") {
    call.reply.Lines(call.rig.levels(false) + "\n");
    return Rprt::kOk;
  }
  std::string level;
  const Rprt code = call.rig.GetLevel(call.argument(0), level);
  if (code == Rprt::kOk) call.reply.Value("", level);
  return code;
}
Rprt DoSetLevel(RigctlCall& call) {
  if (call.argument(0) == "?") {
    call.reply.Lines(call.rig.levels(true) + "\n");
    return Rprt::kOk;
  }
  const auto value = DecimalOf(call.argument(1));
  return value ? call.rig.SetLevel(call.argument(0), *value) : Rprt::kInvalid;
}

Rprt DoSendMorse(RigctlCall& call) {
  return call.argument(0).empty() ? Rprt::kInvalid : call.rig.SendMorse(call.client, call.argument(0));
}
Rprt DoStopMorse(RigctlCall& call) {
  return call.rig.StopMorse(call.client);
}

Rprt DoVfoInfo(RigctlCall& call) {
  const char named = VfoNamed(call.argument(0));
  if (named == '?') return Rprt::kInvalid;
  call.reply.Value("Freq", call.rig.frequency(named == '\0' ? call.vfo : named).hz());
  call.reply.Value("Mode", call.rig.mode());
  call.reply.Value("Width", call.rig.passband());
  call.reply.Value("Split", call.rig.split() ? 1 : 0);
  call.reply.Value("SatMode", 0);
  return Rprt::kOk;
}
Rprt DoPowerStat(RigctlCall& call) {
  call.reply.Value("Power Status", call.rig.is_open() ? 1 : 0);
  return Rprt::kOk;
}
Rprt DoInfo(RigctlCall& call) {
  call.reply.Value("Info", "KVX " + call.rig.name());
  return Rprt::kOk;
}
Rprt DoChkVfo(RigctlCall& call) {
  const char* answer = call.client.names_vfo ? "1" : "0";
  call.reply.Lines(std::string(call.reply.extended() ? "ChkVFO: " : "") + answer + "\n");
  return Rprt::kOk;
}
Rprt DoVfoOption(RigctlCall& call) {
  const auto on = DecimalOf(call.argument(0));
  if (!on) return Rprt::kInvalid;
  call.client.names_vfo = *on != 0;
  return Rprt::kOk;
}
Rprt DoDumpState(RigctlCall& call) {
  call.reply.Lines(DumpState(call.rig));
  return Rprt::kOk;
}
Rprt DoDumpCaps(RigctlCall& call) {
  call.reply.Lines(DumpCaps(call.rig));
  return Rprt::kOk;
}
Rprt DoVfoList(RigctlCall& call) {
  call.reply.Value("VFO List", "VFOA VFOB");
  return Rprt::kOk;
}
Rprt DoModes(RigctlCall& call) {
  call.reply.Value("Modes", call.rig.modes());
  return Rprt::kOk;
}
Rprt DoLockMode(RigctlCall& call) {
  call.reply.Value("Locked", 0);
  return Rprt::kOk;
}
Rprt DoNothing(RigctlCall&) {
  return Rprt::kOk;
}
Rprt DoQuit(RigctlCall& call) {
  call.client.ended = true;
  return Rprt::kOk;
}

using enum RigctlKind;

constexpr std::array kCommands{
    RigctlCommand{'f', "get_freq", 0, kTells, DoGetFreq, true},
    RigctlCommand{'F', "set_freq", 1, kChanges, DoSetFreq, true},
    RigctlCommand{'m', "get_mode", 0, kTells, DoGetMode, true},
    RigctlCommand{.letter = 'M',
                  .name = "set_mode",
                  .arguments = 2,
                  .kind = kChanges,
                  .run = DoSetMode,
                  .of_vfo = true,
                  .optional = 1},
    RigctlCommand{'v', "get_vfo", 0, kTells, DoGetVfo, true},
    RigctlCommand{'V', "set_vfo", 1, kOwn, DoSetVfo},
    RigctlCommand{'s', "get_split_vfo", 0, kTells, DoGetSplit, true},
    RigctlCommand{.letter = 'S',
                  .name = "set_split_vfo",
                  .arguments = 2,
                  .kind = kChanges,
                  .run = DoSetSplit,
                  .of_vfo = true,
                  .optional = 1},
    RigctlCommand{'i', "get_split_freq", 0, kTells, DoGetSplitFreq, true},
    RigctlCommand{'I', "set_split_freq", 1, kChanges, DoSetSplitFreq, true},
    RigctlCommand{'x', "get_split_mode", 0, kTells, DoGetSplitMode, true},
    RigctlCommand{.letter = 'X',
                  .name = "set_split_mode",
                  .arguments = 2,
                  .kind = kChanges,
                  .run = DoSetSplitMode,
                  .of_vfo = true,
                  .optional = 1},
    RigctlCommand{'t', "get_ptt", 0, kTells, DoGetPtt, true},
    RigctlCommand{'T', "set_ptt", 1, kOwn, DoSetPtt,
                  true},  // to release what it has keyed is every client's own affair
    RigctlCommand{'l', "get_level", 1, kTells, DoGetLevel, true},
    RigctlCommand{.letter = 'L',
                  .name = "set_level",
                  .arguments = 2,
                  .kind = kChanges,
                  .run = DoSetLevel,
                  .of_vfo = true,
                  .optional = 1},
    RigctlCommand{
        .letter = 'b', .name = "send_morse", .arguments = 1, .kind = kChanges, .run = DoSendMorse, .takes_rest = true},
    RigctlCommand{'\0', "stop_morse", 0, kOwn, DoStopMorse},
    RigctlCommand{'\0', "get_vfo_info", 1, kTells, DoVfoInfo},
    RigctlCommand{'\x88', "get_powerstat", 0, kTells, DoPowerStat},
    RigctlCommand{'_', "get_info", 0, kTells, DoInfo},
    RigctlCommand{.letter = '\xf0', .name = "chk_vfo", .arguments = 0, .kind = kTells, .run = DoChkVfo, .bare = true},
    RigctlCommand{'\0', "set_vfo_opt", 1, kOwn, DoVfoOption},
    RigctlCommand{'\x8f', "dump_state", 0, kTells, DoDumpState},
    RigctlCommand{'1', "dump_caps", 0, kTells, DoDumpCaps},
    RigctlCommand{'\0', "get_vfo_list", 0, kTells, DoVfoList},
    RigctlCommand{'\0', "get_modes", 0, kTells, DoModes},
    RigctlCommand{'\0', "get_lock_mode", 0, kTells, DoLockMode},
    RigctlCommand{'\0', "client_version", 1, kOwn, DoNothing},
    RigctlCommand{'\0', "pause", 1, kOwn, DoNothing},
    RigctlCommand{'q', "quit", 0, kOwn, DoQuit},
    RigctlCommand{'Q', "quit", 0, kOwn, DoQuit},
    // Known, with as many arguments as they take; the console has nothing for them.
    RigctlCommand{'a', "get_trn", 0, kTells, nullptr},
    RigctlCommand{'A', "set_trn", 1, kChanges, nullptr},
    RigctlCommand{'c', "get_ctcss_tone", 0, kTells, nullptr, true},
    RigctlCommand{'C', "set_ctcss_tone", 1, kChanges, nullptr, true},
    RigctlCommand{'d', "get_dcs_code", 0, kTells, nullptr, true},
    RigctlCommand{'D', "set_dcs_code", 1, kChanges, nullptr, true},
    RigctlCommand{'e', "get_mem", 0, kTells, nullptr, true},
    RigctlCommand{'E', "set_mem", 1, kChanges, nullptr, true},
    RigctlCommand{'g', "scan", 2, kChanges, nullptr, true},
    RigctlCommand{'G', "vfo_op", 1, kChanges, nullptr, true},
    RigctlCommand{'j', "get_rit", 0, kTells, nullptr, true},
    RigctlCommand{'J', "set_rit", 1, kChanges, nullptr, true},
    RigctlCommand{'k', "get_split_freq_mode", 0, kTells, nullptr, true},
    RigctlCommand{'K', "set_split_freq_mode", 3, kChanges, nullptr, true},
    RigctlCommand{'n', "get_ts", 0, kTells, nullptr, true},
    RigctlCommand{'N', "set_ts", 1, kChanges, nullptr, true},
    RigctlCommand{'o', "get_rptr_offs", 0, kTells, nullptr, true},
    RigctlCommand{'O', "set_rptr_offs", 1, kChanges, nullptr, true},
    RigctlCommand{'p', "get_parm", 1, kTells, nullptr},
    RigctlCommand{'P', "set_parm", 2, kChanges, nullptr},
    RigctlCommand{'r', "get_rptr_shift", 0, kTells, nullptr, true},
    RigctlCommand{'R', "set_rptr_shift", 1, kChanges, nullptr, true},
    RigctlCommand{'u', "get_func", 1, kTells, nullptr, true},
    RigctlCommand{'U', "set_func", 2, kChanges, nullptr, true},
    RigctlCommand{
        .letter = 'w', .name = "send_cmd", .arguments = 1, .kind = kChanges, .run = nullptr, .takes_rest = true},
    RigctlCommand{
        .letter = 'W', .name = "send_cmd_rx", .arguments = 1, .kind = kChanges, .run = nullptr, .takes_rest = true},
    RigctlCommand{'y', "get_ant", 1, kTells, nullptr, true},
    RigctlCommand{'Y', "set_ant", 2, kChanges, nullptr, true},
    RigctlCommand{'z', "get_xit", 0, kTells, nullptr, true},
    RigctlCommand{'Z', "set_xit", 1, kChanges, nullptr, true},
    RigctlCommand{'2', "power2mW", 3, kTells, nullptr},
    RigctlCommand{'3', "dump_conf", 0, kTells, nullptr},
    RigctlCommand{'4', "mW2power", 3, kTells, nullptr},
    RigctlCommand{'\x87', "set_powerstat", 1, kChanges, nullptr},
    RigctlCommand{'\x8b', "get_dcd", 0, kTells, nullptr, true},
    RigctlCommand{'\0', "set_lock_mode", 1, kChanges, nullptr},
    RigctlCommand{'\0', "wait_morse", 0, kTells, nullptr},
    RigctlCommand{
        .letter = '\0', .name = "send_voice_mem", .arguments = 1, .kind = kChanges, .run = nullptr, .takes_rest = true},
    RigctlCommand{'\0', "get_rig_info", 0, kTells, nullptr},
    RigctlCommand{'\0', "get_clock", 0, kTells, nullptr},
};

}  // namespace

const RigctlCommand* FindRigctlCommand(char letter) {
  const auto* command = std::find_if(kCommands.begin(), kCommands.end(),
                                     [&](const RigctlCommand& row) { return letter != '\0' && row.letter == letter; });
  return command == kCommands.end() ? nullptr : command;
}

const RigctlCommand* FindRigctlCommand(std::string_view name) {
  const auto* command =
      std::find_if(kCommands.begin(), kCommands.end(), [&](const RigctlCommand& row) { return row.name == name; });
  return command == kCommands.end() ? nullptr : command;
}

char VfoNamed(std::string_view name) {
  struct Row {
    std::string_view name;
    char vfo;
  };
  static constexpr std::array kNames{
      Row{"VFOA", 'A'}, Row{"MainA", 'A'}, Row{"Main", 'A'}, Row{"VFOB", 'B'},     Row{"MainB", 'B'}, Row{"Sub", 'B'},
      Row{"SubA", 'B'}, Row{"SubB", 'B'},  Row{"VFO", '\0'}, Row{"currVFO", '\0'}, Row{"None", '\0'}, Row{"", '\0'},
  };
  const auto* row =
      std::find_if(kNames.begin(), kNames.end(), [&](const Row& named) { return EqualNoCase(named.name, name); });
  return row == kNames.end() ? '?' : row->vfo;
}

std::optional<Frequency> HertzOf(std::string_view text) {
  const std::size_t comma = std::min(text.find_first_of(".,"), text.size());
  const auto hertz = ParseNumber(text.substr(0, comma), 0, kHighestFrequency.hz() - 1);
  const std::string_view fraction = text.substr(std::min(comma + 1, text.size()));
  if (!hertz || (!fraction.empty() && !AllDigits(fraction))) return std::nullopt;
  return Frequency{*hertz * 10 + (fraction.empty() ? 0 : fraction.front() - '0')};
}

std::optional<double> DecimalOf(std::string_view text) {
  if (text.size() > kLongestNumber) return std::nullopt;
  std::string point(text);
  std::replace(point.begin(), point.end(), ',', '.');
  double value = 0;
  const auto [end, error] = std::from_chars(point.data(), point.data() + point.size(), value, std::chars_format::fixed);
  const bool whole = error == std::errc() && end == point.data() + point.size();
  return whole && value > -1e12 && value < 1e12 ? std::optional(value) : std::nullopt;
}

}  // namespace kvx::links
