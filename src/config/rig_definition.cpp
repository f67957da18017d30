#include "config/rig_definition.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace kvx::config {
namespace {

constexpr std::string_view kDefaultCaptions = "cw tn na na na sh af rf pw fl nt";
constexpr std::string_view kDefaultDescriptions =
    "CW SPeed, CW Tone, N/A, N/A, N/A, SH Filter, Audio Gain, RF Gain, Power, Filter, Notch";
constexpr std::size_t kShortestDescriptions = 6;
constexpr std::size_t kLongestWithoutParts = 3;  // a MEMO5 up to here is not split
constexpr int kCwSliderMaximum = 999;            // whatever the rig's range: the slider has its own scale
constexpr int kIcomCwFullScale = 254;

int LeadingInt(std::string_view text) {
  constexpr std::int64_t kLimit = std::numeric_limits<int>::max();
  return static_cast<int>(std::clamp(LeadingNumber(text), -kLimit, kLimit));
}

void SetIfShorter(RigRow& row, std::string_view field, std::size_t length, std::string_view value) {
  if (row[field].size() < length) row.Set(field, std::string(value));
}

/// The row with the defaults of its empty fields.
void ApplyDefaults(RigRow& row) {
  for (int i = 1; i <= kFunctions; ++i) SetIfShorter(row, "Cap" + std::to_string(i), 1, std::to_string(i));
  SetIfShorter(row, "SSScan", 1, kDefaultCaptions);
  SetIfShorter(row, "MEMO3", kShortestDescriptions, kDefaultDescriptions);
}

/// Words between blanks, as many as there are sliders.
std::array<std::string, kSliders> SliderCaptions(std::string_view text) {
  std::array<std::string, kSliders> captions;
  auto caption = captions.begin();
  for (std::string& word : Split(text, ' ')) {
    if (word.empty()) continue;
    if (caption == captions.end()) break;
    *caption++ = std::move(word);
  }
  return captions;
}

std::array<std::string, kSliders> SliderDescriptions(std::string_view text) {
  std::array<std::string, kSliders> descriptions;
  const std::vector<std::string> pieces = Split(text, ',');
  for (std::size_t i = 0; i < std::min(pieces.size(), descriptions.size()); ++i) {
    const std::string lower = Lower(pieces[i]);
    descriptions[i] = lower.substr(std::min(lower.find_first_not_of(' '), lower.size()));
  }
  return descriptions;
}

int SplitFunction(const RigRow& row) {
  for (int i = 1; i <= kFunctions; ++i) {
    const std::string number = std::to_string(i);
    const std::string name = Upper(row["F" + number + "Desc"]);
    const bool two_states = row["Function" + number].find('/') != std::string::npos;
    if (two_states && (name.find("SPLIT") != std::string::npos || name.find("SPLT") != std::string::npos)) return i;
  }
  return 0;
}

}  // namespace

SliderBounds ReadBounds(std::string_view set_field) {
  const std::size_t brace = set_field.rfind('{');
  if (brace == std::string_view::npos) return {};
  const std::string_view suffix = set_field.substr(brace + 1);
  const std::size_t minus = suffix.find('-');
  if (minus == std::string_view::npos || suffix.find('}') == std::string_view::npos) return {};
  return {LeadingInt(suffix), LeadingInt(suffix.substr(minus + 1))};
}

RigDefinition LoadDefinition(RigRow row) {
  ApplyDefaults(row);
  RigDefinition rig;
  rig.name = row.name();
  rig.family = row.family();
  for (int i = 0; i < kFunctions; ++i) rig.captions[i] = row["Cap" + std::to_string(i + 1)];
  rig.slider_captions = SliderCaptions(row["SSScan"]);
  rig.slider_descriptions = SliderDescriptions(row["MEMO3"]);
  for (int i = 0; i < kSliders; ++i) rig.slider_bounds[i] = ReadBounds(row[kSliderFields[i]]);
  rig.cw_full_scale = rig.family == "ICOM" ? kIcomCwFullScale : rig.slider_bounds[0].maximum;
  rig.slider_bounds[0].maximum = kCwSliderMaximum;
  const std::string& memo5 = row["MEMO5"];
  const std::size_t slash = memo5.find('/');
  if (memo5.size() > kLongestWithoutParts && slash != std::string::npos) {
    rig.memo5_first = memo5.substr(0, slash);
    rig.memo5_second = memo5.substr(slash + 1);
  }
  rig.split_function = SplitFunction(row);
  rig.row = std::move(row);
  return rig;
}

}  // namespace kvx::config
