#include "accessories/rotator_presets.h"

#include <algorithm>
#include <array>

#include "core/text.h"

namespace kvx::accessories {
namespace {

/// A reserved word that stands for a multiple of the bearing.
struct Word {
  std::string_view text;
  int factor;
  int offset;
  int digits;
};
constexpr Word kBearing{"<BEARING>", 1, 0, 3};
constexpr std::array kOthers{Word{"<BEARING+360>", 1, 360, 3}, Word{"<BEARING*2+720>", 2, 720, 4}};

void Replace(std::string& text, std::string_view word, const std::string& by) {
  if (const std::size_t at = text.find(word); at != std::string::npos) text.replace(at, word.size(), by);
}

}  // namespace

const std::vector<RotatorPreset>& RotatorPresets() {
  // Rot2Prog: 'W' H1-H4 PH V1-V4 PV 0x2F 0x20, H = PH (360 + azimuth), V = PV (360 + elevation) in digits, PH and PV
  // steps a degree, as the controller is set up. Rot1Prog: 'W' H1-H3 '0', six zero bytes, 0x2F 0x20, H = 360 + azimuth.
  static const std::vector<RotatorPreset> kPresets{
      {"GS-232", "M<BEARING><CR>", 9600, "Yaesu GS-232A/B manual, command M"},
      {"DCU-1", "AP1<BEARING>;AM1;", 4800, "Hy-Gain DCU-1 manual, commands AP1 and AM1"},
      {"Rotor-EZ", "AP1<BEARING>;AM1;", 4800, "Idiom Press Rotor-EZ manual, the commands of the DCU-1"},
      {"SPID ROT1", "W<BEARING+360>0<0x00><0x00><0x00><0x00><0x00><0x00>/<0x20>", 1200,
       "SPID Rot1Prog protocol, command 0x2F"},
      {"SPID ROT2", "W0<BEARING+360><0x01>0360<0x01>/<0x20>", 600, "SPID Rot2Prog protocol, command 0x2F, 1 degree"},
      {"SPID ROT2 0.5", "W<BEARING*2+720><0x02>0720<0x02>/<0x20>", 600, "the same, a controller of half degrees"},
      {"Easycomm", "AZ<BEARING>.0 EL0.0<LF>", 9600, "Easycomm II, commands AZ and EL"},
      {"rotctld", "P <BEARING> 0<LF>", 0, "rotctld(1), command P"},
  };
  return kPresets;
}

const RotatorPreset* FindRotatorPreset(std::string_view name) {
  const auto& presets = RotatorPresets();
  const auto preset = std::find_if(presets.begin(), presets.end(),
                                   [name](const RotatorPreset& known) { return EqualNoCase(known.name, Trim(name)); });
  return preset == presets.end() ? nullptr : &*preset;
}

std::string FormatIt(std::string_view command, std::string_view bearing) {
  std::string digits(Trim(bearing.substr(0, bearing.find('.'))));
  if (digits.size() < static_cast<std::size_t>(kBearing.digits)) digits.insert(0, kBearing.digits - digits.size(), '0');
  std::string filled(command);
  Replace(filled, kBearing.text, digits);
  for (const Word& word : kOthers)
    Replace(filled, word.text, PadNumber(word.factor * LeadingNumber(digits) + word.offset, word.digits));
  return filled;
}

std::string RotatorBytes(std::string_view filled) {
  return FromVisible(ToLatin1(filled));
}

}  // namespace kvx::accessories
