#include "functions/channel_extras.h"

#include <algorithm>

#include "core/text.h"

namespace kvx::functions {
namespace {

/// What would be taken for the end of a value.
bool Fits(const ChannelExtra& extra) {
  return !extra.value.empty() && extra.value.find_first_of(";[]") == std::string::npos;
}

bool IsKnown(std::string_view name) {
  const auto& columns = ExtraColumns();
  return name == "Mode" || name == "VFO" ||
         std::any_of(columns.begin(), columns.end(), [&](const ExtraColumn& column) { return column.name == name; });
}

}  // namespace

const std::vector<ExtraColumn>& ExtraColumns() {
  static const std::vector<ExtraColumn> kColumns{
      {"Duplex", "", "", true},
      {"Offset", "0.000000", "Duplex", true},
      {"Tone", "", "", true},
      {"rToneFreq", "88.5", "Tone", true},
      {"cToneFreq", "88.5", "Tone", true},
      {"DtcsCode", "023", "Tone", true},
      {"DtcsPolarity", "NN", "Tone", true},
      {"RxDtcsCode", "023", "Tone", true},
      {"CrossMode", "Tone->Tone", "Tone", true},
      {"URCALL", "", "", false},
      {"RPT1CALL", "", "", false},
      {"RPT2CALL", "", "", false},
      {"DVCODE", "", "URCALL", false},
  };
  return kColumns;
}

std::string WithExtras(std::string comment, const ChannelExtras& extras) {
  std::string kept;
  for (const ChannelExtra& extra : extras) {
    if (Fits(extra)) kept += (kept.empty() ? "[" : "; ") + extra.name + "=" + extra.value;
  }
  if (kept.empty()) return comment;
  return comment + (comment.empty() ? "" : " ") + kept + "]";
}

ChannelExtras TakeExtras(std::string& comment) {
  const std::size_t open = comment.rfind('[');
  if (open == std::string::npos || !comment.ends_with(']')) return {};
  ChannelExtras extras;
  for (const std::string& part : Split(std::string_view(comment).substr(open + 1, comment.size() - open - 2), ';')) {
    const std::size_t equals = part.find('=');
    if (equals == std::string::npos) return {};
    extras.push_back({std::string(Trim(part.substr(0, equals))), std::string(Trim(part.substr(equals + 1)))});
    if (!IsKnown(extras.back().name)) return {};
  }
  comment = Trim(std::string_view(comment).substr(0, open));
  return extras;
}

char TakeVfo(std::string& comment) {
  std::string rest = comment;
  ChannelExtras extras = TakeExtras(rest);
  const auto vfo = std::find_if(extras.begin(), extras.end(), [](const ChannelExtra& extra) {
    return extra.name == "VFO" && (extra.value == "A" || extra.value == "B");
  });
  if (vfo == extras.end()) return 0;
  const char name = vfo->value[0];
  extras.erase(vfo);
  comment = WithExtras(std::move(rest), extras);
  return name;
}

}  // namespace kvx::functions
