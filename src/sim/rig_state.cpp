#include "sim/rig_state.h"

#include "core/text.h"

namespace kvx::sim {
namespace {

constexpr std::array kModeNames{"LSB", "USB", "CW", "CWR", "AM", "FM", "RTTY", "RTTYR", "DATA"};

}  // namespace

std::string_view ModeName(Mode mode) {
  return kModeNames[static_cast<std::size_t>(mode)];
}

std::optional<Mode> ModeByName(std::string_view name) {
  for (std::size_t i = 0; i < kModeNames.size(); ++i) {
    if (EqualNoCase(name, kModeNames[i])) return static_cast<Mode>(i);
  }
  return std::nullopt;
}

int CodeForMode(const std::vector<ModeCode>& codes, const VfoState& vfo) {
  for (const ModeCode& entry : codes) {
    if (entry.mode == vfo.mode && entry.narrow == vfo.narrow) return entry.code;
  }
  for (const ModeCode& entry : codes) {
    if (entry.mode == vfo.mode) return entry.code;
  }
  return 0;
}

bool SetModeByCode(const std::vector<ModeCode>& codes, int code, VfoState& vfo) {
  for (const ModeCode& entry : codes) {
    if (entry.code != code) continue;
    vfo.mode = entry.mode;
    vfo.narrow = entry.narrow;
    return true;
  }
  return false;
}

}  // namespace kvx::sim
