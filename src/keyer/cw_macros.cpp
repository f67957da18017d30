#include "keyer/cw_macros.h"

#include <algorithm>

#include "core/text.h"

namespace kvx::keyer {
namespace {

constexpr int kNumberDigits = 3;

std::string Cut(std::string digits, bool nines) {
  std::replace(digits.begin(), digits.end(), '0', 'T');
  if (nines) std::replace(digits.begin(), digits.end(), '9', 'N');
  return digits;
}

/// kHz without zeros that say nothing: "14025", "14025.4".
std::string FrequencyText(Frequency frequency) {
  std::string text = KhzText(frequency);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) text.pop_back();
  return text;
}

Error Wrong(const std::string& why) {
  return {ErrorCode::kInvalid, why};
}

/// What one macro stands for.
Result<std::string> Value(const std::string& name, const MacroValues& values) {
  const auto must = [&name](const std::string& value) -> Result<std::string> {
    if (value.empty()) return Wrong("{" + name + "} has no value yet");
    return value;
  };
  if (name == "CALL") return must(values.call);
  if (name == "MYCALL") return must(values.my_call);
  if (name == "RST") return must(values.cut_rst ? Cut(values.rst, true) : values.rst);
  if (name == "FREQ") return FrequencyText(values.frequency);
  if (name != "NR" && name != "NR+") return Wrong("There is no macro {" + OneLine(name, 20) + "}");
  const std::string number = PadNumber(values.number, kNumberDigits);
  return values.cut_number ? Cut(number, false) : number;
}

}  // namespace

Result<MacroText> ExpandMacros(std::string_view text, const MacroValues& values) {
  MacroText expanded{.text = {}, .next_number = values.number};
  while (!text.empty()) {
    const std::size_t begin = std::min(text.find('{'), text.size());
    expanded.text += text.substr(0, begin);
    text.remove_prefix(begin);
    if (text.empty()) break;
    const std::size_t end = text.find('}');
    if (end == std::string_view::npos) return Wrong("A macro begins with { and never ends: " + OneLine(text, 20));
    const std::string name = Upper(Trim(text.substr(1, end - 1)));
    const Result<std::string> value = Value(name, values);
    if (!value) return value.error();
    expanded.text += *value;
    if (name == "NR+") expanded.next_number = values.number % kMostContacts + 1;
    text.remove_prefix(end + 1);
  }
  return expanded;
}

}  // namespace kvx::keyer
