#include "console/rig_makers.h"

#include <algorithm>
#include <array>
#include <map>

#include "core/text.h"

namespace kvx::console {
namespace {

struct NamePrefix {
  std::string_view prefix;
  std::string_view maker;
};
// A longer prefix stands before a shorter one that it begins with.
constexpr std::array kPrefixes{
    NamePrefix{"TS-", "Kenwood"},      NamePrefix{"TM-", "Kenwood"},        NamePrefix{"TH-", "Kenwood"},
    NamePrefix{"R-5000", "Kenwood"},   NamePrefix{"FTDX", "Yaesu"},         NamePrefix{"FT-", "Yaesu"},
    NamePrefix{"FRG-", "Yaesu"},       NamePrefix{"VR-", "Yaesu"},          NamePrefix{"IC-", "Icom"},
    NamePrefix{"PCR", "Icom"},         NamePrefix{"K2", "Elecraft"},        NamePrefix{"K3", "Elecraft"},
    NamePrefix{"K4", "Elecraft"},      NamePrefix{"KX", "Elecraft"},        NamePrefix{"Orion", "Ten-Tec"},
    NamePrefix{"Pegasus", "Ten-Tec"},  NamePrefix{"Jupiter", "Ten-Tec"},    NamePrefix{"Omni", "Ten-Tec"},
    NamePrefix{"Argonaut", "Ten-Tec"}, NamePrefix{"Eagle", "Ten-Tec"},      NamePrefix{"RX-320", "Ten-Tec"},
    NamePrefix{"RX-340", "Ten-Tec"},   NamePrefix{"RX-350", "Ten-Tec"},     NamePrefix{"TT-", "Ten-Tec"},
    NamePrefix{"Flex", "FlexRadio"},   NamePrefix{"PowerSDR", "FlexRadio"}, NamePrefix{"ANAN", "Apache Labs"},
    NamePrefix{"QCX", "QRP Labs"},     NamePrefix{"QDX", "QRP Labs"},       NamePrefix{"QMX", "QRP Labs"},
    NamePrefix{"FDM-", "ELAD"},        NamePrefix{"TX-500", "Lab599"},      NamePrefix{"SunSDR", "Expert Electronics"},
    NamePrefix{"G90", "Xiegu"},        NamePrefix{"X108G", "Xiegu"},        NamePrefix{"X5105", "Xiegu"},
    NamePrefix{"X6", "Xiegu"},         NamePrefix{"JST-", "JRC"},           NamePrefix{"NRD-", "JRC"},
    NamePrefix{"AR", "AOR"},           NamePrefix{"DX-", "Alinco"},
};
constexpr std::string_view kOther = "Other";

std::string Plain(std::string_view text) {
  std::string plain = Lower(text);
  std::erase_if(plain, [](char c) { return c == '-' || c == ' ' || c == '/'; });
  return plain;
}

bool Matches(std::string_view maker, const std::string& rig, std::string_view filter) {
  const std::string text = Plain(maker) + " " + Plain(rig);
  for (const std::string& word : Split(Trim(filter), ' ')) {
    if (text.find(Plain(word)) == std::string::npos) return false;
  }
  return true;
}

}  // namespace

std::string_view MakerOf(std::string_view rig) {
  const auto row = std::find_if(kPrefixes.begin(), kPrefixes.end(), [rig](const NamePrefix& candidate) {
    return EqualNoCase(rig.substr(0, candidate.prefix.size()), candidate.prefix);
  });
  return row == kPrefixes.end() ? kOther : row->maker;
}

std::vector<RigGroup> GroupRigs(const std::vector<std::string>& names, std::string_view filter) {
  std::map<std::pair<bool, std::string_view>, std::vector<std::string>> groups;
  for (const std::string& name : names) {
    const std::string_view maker = MakerOf(name);
    if (Matches(maker, name, filter)) groups[{maker == kOther, maker}].push_back(name);
  }
  std::vector<RigGroup> result;
  for (auto& [key, rigs] : groups) {
    std::sort(rigs.begin(), rigs.end(), [](const auto& a, const auto& b) { return Lower(a) < Lower(b); });
    result.push_back({std::string(key.second), std::move(rigs)});
  }
  return result;
}

}  // namespace kvx::console
