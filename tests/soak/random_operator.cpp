#include "soak/random_operator.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace kvx {
namespace {

// What stands in braces is thrown for: {1-9} a number, {a|b} one of the words, {khz}, {text} and {junk} as below.
constexpr std::array<std::string_view, 150> kLines{"status",
                                                   "help",
                                                   "help {freq|scan|nonsense}",
                                                   "rigs",
                                                   "rig",
                                                   "freq {khz}",
                                                   "freq {khz}",
                                                   "freq {khz}",
                                                   "freq {junk}",
                                                   "base {khz}",
                                                   "band {160|80|40|20|15|10|6|2|440|13}",
                                                   "band {40|20}",
                                                   "step",
                                                   "wheel {1-9}",
                                                   "wheel -{1-9}",
                                                   "wheel {1000-99999}",
                                                   "mode {LSB|USB|CW|CWN|AM|FM|FMN|RTTY|XYZ}",
                                                   "mode {USB|CW}",
                                                   "narrow {on|off}",
                                                   "vfo {A|B}",
                                                   "send {XVFOA|XUSB|ALC|XGETFREQ|XRITUP|XCWW|NONSENSE}",
                                                   "send {FA;|IF;|<0x07>|FA0001<CR>}",
                                                   "send {junk}",
                                                   "send {XTX|TX;|XRX|RX;}",
                                                   "fn {1-9}",
                                                   "fnval {1-9} {text}",
                                                   "fntext {1-9} {text}",
                                                   "store",
                                                   "store {1-9}",
                                                   "store {text}",
                                                   "recall",
                                                   "delete",
                                                   "undelete",
                                                   "fnlist 1 20",
                                                   "fnlist {junk}",
                                                   "retrieve #{1-9}",
                                                   "fnset #{1-9} Desc {text}",
                                                   "fnset #{1-9} Scan {Y|N}",
                                                   "fnexport",
                                                   "fnimport",
                                                   "scan start",
                                                   "scan start memories",
                                                   "scan stop",
                                                   "scan skip",
                                                   "scan {up|down}",
                                                   "scan dwell {100-2000}",
                                                   "scan hang {0-3000}",
                                                   "scan level {off|5|12}",
                                                   "scan from {khz}",
                                                   "scan to {khz}",
                                                   "memory",
                                                   "memory store {1-100} {text}",
                                                   "memory recall {1-100}",
                                                   "memory name {1-100} {text}",
                                                   "memory comment {1-100} {text}",
                                                   "memory skip {1-100} {on|off}",
                                                   "memory move {1-100} {1-100}",
                                                   "memory delete {1-100}",
                                                   "memory undo",
                                                   "memory export soak.csv",
                                                   "memory import soak.csv {replace|keep|}",
                                                   "memory {vfotomem|memtovfo|memch}",
                                                   "slider {AF|RF|POWER|CW|ALPHA|3|99} {0-255}",
                                                   "usual",
                                                   "usual apply",
                                                   "rigdef show {TS-2000|FT-857|nothing}",
                                                   "rigdef copy TS-2000 SOAK",
                                                   "rigdef set SOAK USB {text}",
                                                   "rigdef rename SOAK SOAK2",
                                                   "rigdef rename SOAK2 SOAK",
                                                   "rigdef delete {SOAK|SOAK2}",
                                                   "rigdef export soak_rigs.csv TS-2000",
                                                   "rigdef import soak_rigs.csv {replace|}",
                                                   "preview {XUSB|FA<FREQ11>;|<FREQ|junk>}",
                                                   "limits {on|off}",
                                                   "escape",
                                                   "escape",
                                                   "cw {text}",
                                                   "cw",
                                                   "cw {junk}",
                                                   "cwback {1-5}",
                                                   "cwpause {on|off|off}",
                                                   "cwfn {1-12}",
                                                   "cwfn {1-12} CQ {text}",
                                                   "cwfns",
                                                   "cwset call {K1ABC|DL1ABC}",
                                                   "cwset nr {1-999}",
                                                   "cwset cutrst {on|off}",
                                                   "tune on",
                                                   "tune off",
                                                   "tune",
                                                   "keyer open",
                                                   "keyer close",
                                                   "keyer",
                                                   "sendchar {1-255}",
                                                   "sendchar 253",
                                                   "bearing {0-400}",
                                                   "bearing long {0-359}",
                                                   "antenna {1-5}",
                                                   "bit {0-7} {set|clear|press}",
                                                   "bit {0-7} pulse {1-5000}",
                                                   "antset",
                                                   "antset Ant1From {0-359}",
                                                   "antpreset",
                                                   "antport open",
                                                   "tuner",
                                                   "tuner list",
                                                   "tuner set {Ind1|Ant2|Desc1} {text}",
                                                   "tuner save {all|}",
                                                   "tuner {drop|undo}",
                                                   "tuner segment {khz|follow}",
                                                   "tuner export soak_tuner.csv",
                                                   "tuner import soak_tuner.csv",
                                                   "levels",
                                                   "announce {on|off}",
                                                   "meter {off|0|3|9}",
                                                   "trace {on|off}",
                                                   "debug {on|off|clear}",
                                                   "debug save soak_debug.txt",
                                                   "say",
                                                   "save",
                                                   "line {dtr|rts} {on|off}",
                                                   "stopbits {1|2}",
                                                   "test",
                                                   "storeslot {1-8}",
                                                   "clearslot {1-8}",
                                                   "slot {0-8}",
                                                   "rignumber {1-7}",
                                                   "port 3",
                                                   "speed {4800|9600|57600|7}",
                                                   "speed {5-60}",
                                                   "region {1-3}",
                                                   "interval {50|100|200}",
                                                   "offset {0|28000|-1.5}",
                                                   "theme {dark|light|classic}",
                                                   "textsize {90-200}",
                                                   "color body {112233|nothing}",
                                                   "setting KEYERPORT={WINKEY|COM6|RIGPORT|RIGKEYER|NONE}",
                                                   "setting CWSPEED={5-99}",
                                                   "setting {KYMODX|PIN5|HANGTIME}={0-3}",
                                                   "setting {junk}",
                                                   "link {logger|keyer|dde|net} {on|off}",
                                                   "link",
                                                   "sim knob {khz}",
                                                   "sim mode {USB|CW|AM}",
                                                   "sim garbage {FA;;;|xyzzy|ID}",
                                                   "sim pieces {on|off}",
                                                   "{junk}",
                                                   "device 9 {sim:ft857|/dev/nothing|tcp:127.0.0.1:1}",
                                                   "decode soak.wav"};

std::string Text(Dice& dice) {
  static constexpr std::array kTexts{"CQ TEST DE K1ABC",  "0600", "25",      "a note, with \"quotes\"", "Beam",
                                     "599 {NR} {NOSUCH}", "1",    "<F1VAL>", "Gr\xC3\xBC\xC3\x9F Gott"};
  return dice.Pick(kTexts);
}

/// Anything that can come on one line; not always text.
std::string Junk(Dice& dice) {
  std::string junk(static_cast<std::size_t>(dice.Between(1, 300)), ' ');
  for (char& c : junk) c = static_cast<char>(dice.OneIn(4) ? dice.Between(0x80, 0xFF) : dice.Between(0x21, 0x7E));
  return junk;
}

/// One of fifty spots, so that what is stored by frequency is found again and does not grow for ever.
std::string Khz(Dice& dice) {
  static constexpr std::array kBands{"3520", "7010", "14025", "21200", "144300"};
  return std::string(dice.Pick(kBands)) + "." + std::to_string(dice.Below(10)) + "0";
}

std::string Throw(Dice& dice, std::string_view choice) {
  if (choice == "khz") return Khz(dice);
  if (choice == "text") return Text(dice);
  if (choice == "junk") return Junk(dice);
  const std::size_t dash = choice.find('-');
  const bool words = choice.find('|') != std::string_view::npos;
  if (!words && dash != std::string_view::npos)
    return std::to_string(
        dice.Between(std::stoi(std::string(choice)), std::stoi(std::string(choice.substr(dash + 1)))));
  const int count = static_cast<int>(std::count(choice.begin(), choice.end(), '|')) + 1;
  for (int skip = dice.Below(count); skip > 0; --skip) choice.remove_prefix(choice.find('|') + 1);
  const std::string word(choice.substr(0, choice.find('|')));
  return word == "khz" ? Khz(dice) : word;
}

}  // namespace

std::string RandomCommand(Dice& dice) {
  std::string_view line = dice.Pick(kLines);
  std::string command;
  while (!line.empty()) {
    const std::size_t open = std::min(line.find('{'), line.size());
    command += line.substr(0, open);
    line.remove_prefix(open);
    if (line.empty()) break;
    const std::size_t close = line.find('}');
    command += Throw(dice, line.substr(1, close - 1));
    line.remove_prefix(close + 1);
  }
  return command;
}

}  // namespace kvx
