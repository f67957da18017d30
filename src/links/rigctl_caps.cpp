#include "links/rigctl_caps.h"

#include <array>

namespace kvx::links {
namespace {

// Bits of the protocol: modes AM 01, CW 02, USB 04, LSB 08, RTTY 10, FM 20, CWR 80, RTTYR 100, PKTLSB 400, PKTUSB 800,
// PKTFM 1000; VFO A 1, VFO B 2; levels AF 8, RF 10, RFPOWER 1000, KEYSPD 4000, STRENGTH 40000000.
//
// Line by line: version, rig model, region; receive ranges (from, to, modes, lowest and highest power, VFOs, antennas)
// to a line of zeros; transmit ranges likewise; tuning steps and filters (modes, Hz), each to "0 0"; the most of RIT,
// XIT and IF shift; announcements; preamplifiers; attenuators; functions to get and to set, levels to get and to set,
// parameters to get and to set; then names with values to "done".
constexpr const char* kState =
    "1\n"
    "2\n"
    "0\n"
    "10000.000000 10500000000.000000 0x1dbf -1 -1 0x3 0x1\n"
    "0 0 0 0 0 0 0\n"
    "10000.000000 10500000000.000000 0x1dbf 5000 100000 0x3 0x1\n"
    "0 0 0 0 0 0 0\n"
    "0x1dbf 10\n"
    "0 0\n"
    "0xc0c 2400\n"
    "0x82 500\n"
    "0x82 250\n"
    "0x110 500\n"
    "0x1 6000\n"
    "0x1020 15000\n"
    "0x1020 8000\n"
    "0 0\n"
    "0\n"
    "0\n"
    "0\n"
    "0\n"
    "0\n"
    "0\n"
    "0x0\n"
    "0x0\n"
    "0x40005018\n"
    "0x5018\n"
    "0x0\n"
    "0x0\n"
    "vfo_ops=0x0\n"
    "ptt_type=0x1\n"
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

struct Ability {
  const char* what;
  bool can;
};
constexpr std::array kAbilities{
    Ability{"set Frequency", true},  Ability{"get Frequency", true},   Ability{"set Mode", true},
    Ability{"get Mode", true},       Ability{"set VFO", true},         Ability{"get VFO", true},
    Ability{"set PTT", true},        Ability{"get PTT", true},         Ability{"get DCD", false},
    Ability{"set Split Freq", true}, Ability{"get Split Freq", true},  Ability{"set Split Mode", true},
    Ability{"get Split Mode", true}, Ability{"set Split VFO", true},   Ability{"get Split VFO", true},
    Ability{"set RIT", false},       Ability{"get RIT", false},        Ability{"set XIT", false},
    Ability{"get XIT", false},       Ability{"set Power Stat", false}, Ability{"get Power Stat", true},
    Ability{"set Ant", false},       Ability{"get Ant", false},        Ability{"set Func", false},
    Ability{"get Func", false},      Ability{"set Level", true},       Ability{"get Level", true},
    Ability{"set Param", false},     Ability{"get Param", false},      Ability{"send Morse", true},
    Ability{"stop Morse", true},     Ability{"send Voice", false},     Ability{"get Info", true},
};

}  // namespace

std::string DumpState() {
  return kState;
}

std::string DumpCaps(const RigctlRig& rig) {
  std::string caps = "Caps dump for model: 2\nModel name:\t" + rig.name() +
                     "\nMfg name:\tKVX\nBackend version:\t1\nRig type:\tTransceiver\nPTT type:\tRig capable\n"
                     "DCD type:\tNone\nPort type:\tNetwork link\nHas targetable VFO: Y\n"
                     "Get level: AF(0..1/0) RF(0..1/0) RFPOWER(0..1/0) KEYSPD(5..99/1) STRENGTH(-54..60/1)\n"
                     "Set level: AF(0..1/0) RF(0..1/0) RFPOWER(0..1/0) KEYSPD(5..99/1)\n"
                     "Mode list: AM CW USB LSB RTTY FM CWR RTTYR PKTLSB PKTUSB PKTFM\nVFO list: VFOA VFOB\n";
  for (const Ability& ability : kAbilities) {
    caps += std::string("Can ") + ability.what + ":\t" + (ability.can ? "Y" : "N") + "\n";
  }
  return caps + "\nOverall backend warnings: 0\n";
}

}  // namespace kvx::links
