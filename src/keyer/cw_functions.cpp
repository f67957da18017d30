#include "keyer/cw_functions.h"

#include <algorithm>

#include "core/lines.h"
#include "core/text.h"
#include "keyer/cw_text.h"

namespace kvx::keyer {
namespace {

constexpr std::size_t kTitleCharacters = 3;
constexpr std::size_t kLongestText = 1000;
constexpr std::size_t kLongestValue = 30;
constexpr std::size_t kLargestFile = 64U << 10;

constexpr std::array<std::string_view, kCwFunctions> kNewStation{"CQ CQ CQ CQ DE {MYCALL} {MYCALL} K",
                                                                 "DE DE {MYCALL}",
                                                                 "RST{CALL} UR {RST} {RST} K",
                                                                 "NR {CALL} {RST} {NR+}",
                                                                 "TU TU {CALL} DE {MYCALL}",
                                                                 "AGNAGN?",
                                                                 "?  ?",
                                                                 "QRZQRZ? DE {MYCALL} K",
                                                                 "73 73 TU <SK>",
                                                                 "CL {CALL}",
                                                                 "MY {MYCALL}",
                                                                 "FRQ{FREQ}"};

/// Where the message begins: after three characters, however many bytes they have.
std::size_t MessageAt(std::string_view text) {
  std::size_t at = 0;
  for (std::size_t count = 0; count < kTitleCharacters && at < text.size(); ++count) {
    do ++at;
    while (at < text.size() && (text[at] & 0xC0) == 0x80);
  }
  return at;
}

std::string OneLineText(std::string_view text) {
  std::string line(text);
  std::replace_if(
      line.begin(), line.end(), [](char c) { return (c & 0xE0) == 0 || c == 0x7F; }, ' ');
  return line;
}

bool CanBeSent(std::string_view value) {
  return value.size() <= kLongestValue && ParseCwText(value).unknown.empty();
}

Status Wrong(const std::string& why) {
  return Error{ErrorCode::kInvalid, why};
}

}  // namespace

Status CwFunctions::Load() {
  for (std::size_t i = 0; i < texts_.size(); ++i) texts_[i] = kNewStation[i];
  const Result<std::string> content = files_.Read(file_, kLargestFile);
  if (!content && content.error().code == ErrorCode::kNotFound) return Ok();
  if (!content) return Error{content.error().code, content.error().message + SetAside(files_, file_)};
  if (!IsText(*content)) return Error{ErrorCode::kDamaged, file_.string() + " is no text" + SetAside(files_, file_)};
  std::string_view rest = WithoutByteOrderMark(*content);
  while (!rest.empty()) {
    const std::string_view line = kvx::TakeLine(rest).text;
    const std::size_t equals = line.find('=');
    if (equals != std::string_view::npos) TakeLine(line.substr(0, equals), line.substr(equals + 1));
  }
  return Ok();
}

void CwFunctions::TakeLine(std::string_view name, std::string_view value) {
  const bool yes = EqualNoCase(Trim(value), "True");
  name = Trim(name);
  if (EqualNoCase(name, "MYCALL") && CanBeSent(value)) values_.my_call = Upper(Trim(value));
  if (EqualNoCase(name, "CUTRST")) values_.cut_rst = yes;
  if (EqualNoCase(name, "CUTNR")) values_.cut_number = yes;
  if (EqualNoCase(name, "NR")) values_.number = static_cast<int>(ParseNumber(value, 1, kMostContacts).value_or(1));
  if (name.empty() || Upper(name.substr(0, 1)) != "F" || value.size() > kLongestText) return;
  const auto number = ParseNumber(name.substr(1), 1, kCwFunctions);
  if (number) texts_[static_cast<std::size_t>(*number - 1)] = OneLineText(value);
}

Status CwFunctions::Save() {
  std::string content;
  for (std::size_t i = 0; i < texts_.size(); ++i) content += "F" + std::to_string(i + 1) + "=" + texts_[i] + "\n";
  content += "MYCALL=" + values_.my_call + "\nNR=" + std::to_string(values_.number);
  content += std::string("\nCUTRST=") + (values_.cut_rst ? "True" : "False");
  content += std::string("\nCUTNR=") + (values_.cut_number ? "True" : "False") + "\n";
  const Status saved = files_.Write(file_, content);
  if (on_change) on_change();
  return saved;
}

std::string CwFunctions::title(int number) const {
  return text(number).substr(0, MessageAt(text(number)));
}

std::string CwFunctions::message(int number) const {
  return text(number).substr(MessageAt(text(number)));
}

Status CwFunctions::SetText(int number, std::string_view text) {
  if (number < 1 || number > kCwFunctions) return Wrong("The functions are 1 to 12");
  if (text.size() > kLongestText) return Wrong("A function's text has at most 1000 characters");
  texts_[static_cast<std::size_t>(number - 1)] = OneLineText(text);
  return Save();
}

Status CwFunctions::SetCall(std::string_view call) {
  if (!CanBeSent(call)) return Wrong("A call has at most 30 characters, all with a Morse sign");
  values_.call = Upper(Trim(call));
  if (on_change) on_change();
  return Ok();
}

Status CwFunctions::SetRst(std::string_view rst) {
  if (!CanBeSent(rst)) return Wrong("A report has at most 30 characters, all with a Morse sign");
  values_.rst = Upper(Trim(rst));
  if (on_change) on_change();
  return Ok();
}

Status CwFunctions::SetNumber(int number) {
  if (number < 1 || number > kMostContacts) return Wrong("The number is 1 to 9999");
  if (number == values_.number) return Ok();
  values_.number = number;
  return Save();
}

Status CwFunctions::SetMyCall(std::string_view call) {
  if (!CanBeSent(call)) return Wrong("A call has at most 30 characters, all with a Morse sign");
  values_.my_call = Upper(Trim(call));
  return Save();
}

Status CwFunctions::SetCut(bool rst, bool number) {
  values_.cut_rst = rst;
  values_.cut_number = number;
  return Save();
}

}  // namespace kvx::keyer
