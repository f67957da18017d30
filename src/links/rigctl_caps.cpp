#include "links/rigctl_caps.h"

#include <array>
#include <charconv>
#include <string>

#include "core/text.h"
#include "core/tunable.h"

namespace kvx::links {
namespace {

/// A name of the protocol and its bit in the masks of the state.
struct Bit {
  std::string_view name;
  unsigned bit;
};
constexpr std::array kModeBits{
    Bit{"AM", 0x1},       Bit{"CW", 0x2},       Bit{"USB", 0x4},      Bit{"LSB", 0x8},
    Bit{"RTTY", 0x10},    Bit{"FM", 0x20},      Bit{"CWR", 0x80},     Bit{"RTTYR", 0x100},
    Bit{"PKTLSB", 0x400}, Bit{"PKTUSB", 0x800}, Bit{"PKTFM", 0x1000},
};
constexpr std::array kLevelBits{Bit{"AF", 0x8}, Bit{"RF", 0x10}, Bit{"RFPOWER", 0x1000}, Bit{"KEYSPD", 0x4000},
                                Bit{"STRENGTH", 0x40000000}};

struct Filter {
  unsigned modes;
  int hertz;
  std::string_view narrow_key;  ///< empty: a usual width
};
constexpr std::array kFilters{Filter{0xc0c, 2400, ""},     Filter{0x82, 500, ""}, Filter{0x82, 250, "XCWN"},
                              Filter{0x110, 500, ""},      Filter{0x1, 6000, ""}, Filter{0x1020, 15000, ""},
                              Filter{0x1020, 8000, "XFMN"}};

template <std::size_t kSize>
unsigned MaskOf(const std::array<Bit, kSize>& bits, const std::string& names) {
  unsigned mask = 0;
  for (const std::string& name : Split(names, ' ')) {
    for (const Bit& bit : bits) mask |= bit.name == name ? bit.bit : 0;
  }
  return mask;
}

std::string Hex(unsigned mask) {
  std::array<char, 8> digits{};
  char* const end = std::to_chars(digits.begin(), digits.end(), mask, 16).ptr;
  return "0x" + std::string(digits.begin(), end);
}

// Receive ranges (from, to, modes, lowest and highest power, VFOs, antennas) to a line of zeros; transmit ranges
// likewise; tuning steps and filters (modes, Hz), each to "0 0".
std::string Ranges(const RigctlRig& rig) {
  const unsigned modes = MaskOf(kModeBits, rig.modes());
  const std::string range = std::to_string(kLowestTunable.hz()) + ".000000 " + std::to_string(kHighestTunable.hz()) +
                            ".000000 " + Hex(modes) + " ";
  std::string text = range + "-1 -1 0x3 0x1\n0 0 0 0 0 0 0\n";
  if (rig.can_key()) text += range + "5000 100000 0x3 0x1\n";
  text += "0 0 0 0 0 0 0\n" + Hex(modes) + " 10\n0 0\n";
  for (const Filter& filter : kFilters) {
    const bool has = filter.narrow_key.empty() || rig.HasNarrow(filter.narrow_key);
    if (has && (filter.modes & modes) != 0)
      text += Hex(filter.modes & modes) + " " + std::to_string(filter.hertz) + "\n";
  }
  return text + "0 0\n";
}

std::string Can(std::string_view what, bool can) {
  return "Can " + std::string(what) + (can ? ":\tY\n" : ":\tN\n");
}

}  // namespace

// Line by line: version, rig model, region; the ranges; the most of RIT, XIT and IF shift; announcements;
// preamplifiers; attenuators; functions to get and to set, levels to get and to set, parameters to get and to set; then
// names with values to "done".
std::string DumpState(const RigctlRig& rig) {
  return "1\n2\n0\n" + Ranges(rig) + "0\n0\n0\n0\n0\n0\n0x0\n0x0\n" + Hex(MaskOf(kLevelBits, rig.levels(false))) +
         "\n" + Hex(MaskOf(kLevelBits, rig.levels(true))) +
         "\n0x0\n0x0\nvfo_ops=0x0\nptt_type=" + (rig.can_key() ? "0x1" : "0x0") +
         "\n"
         "targetable_vfo=0x3\n"
         "has_set_vfo=1\n"
         "has_get_vfo=1\n"
         "has_set_freq=1\n"
         "has_get_freq=1\n"
         "has_set_conf=0\n"
         "has_get_conf=0\n"
         "has_power2mW=0\n"
         "has_mW2power=0\n"
         "timeout=1000\n"
         "rig_model=2\n"
         "rigctld_version=KVX\n"
         "done\n";
}

std::string DumpCaps(const RigctlRig& rig) {
  const bool split = rig.can_split();
  std::string caps =
      "Caps dump for model: 2\nModel name:\t" + rig.name() +
      "\nMfg name:\tKVX\nBackend version:\t1\nRig type:\tTransceiver\nPTT type:\t" +
      (rig.can_key() ? "Rig capable" : "None") +
      "\nDCD type:\tNone\nPort type:\tNetwork link\nHas targetable VFO: Y\nGet level: " + rig.levels(false) +
      "\nSet level: " + rig.levels(true) + "\nMode list: " + rig.modes() + "\nVFO list: VFOA VFOB\n";
  caps += Can("set Frequency", true) + Can("get Frequency", true) + Can("set Mode", true) + Can("get Mode", true);
  caps += Can("set VFO", true) + Can("get VFO", true) + Can("set PTT", rig.can_key()) + Can("get PTT", true);
  caps += Can("get DCD", false) + Can("set Split Freq", true) + Can("get Split Freq", true);
  caps += Can("set Split Mode", true) + Can("get Split Mode", true) + Can("set Split VFO", split);
  caps += Can("get Split VFO", true);
  for (const char* what : {"set RIT", "get RIT", "set XIT", "get XIT", "set Power Stat"}) caps += Can(what, false);
  caps += Can("get Power Stat", true);
  for (const char* what : {"set Ant", "get Ant", "set Func", "get Func"}) caps += Can(what, false);
  caps += Can("set Level", !rig.levels(true).empty()) + Can("get Level", true);
  for (const char* what : {"set Param", "get Param"}) caps += Can(what, false);
  caps += Can("send Morse", rig.send_morse != nullptr) + Can("stop Morse", rig.stop_morse != nullptr);
  caps += Can("send Voice", false) + Can("get Info", true) + Can("get power2mW", false) + Can("get mW2power", false);
  return caps + "\nOverall backend warnings: 0\n";
}

}  // namespace kvx::links
