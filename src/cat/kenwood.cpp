#include "cat/text_replies.h"
#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

// Mode digits of "MD" and of the 30th character of "IF" (TS-850, TS-2000 and TS-590 CAT manuals). 7 is CW reverse, 9
// FSK reverse.
constexpr std::array<ModeCode, 16> kModes{
    {{1, " LSB"}, {2, " USB"}, {3, "  CW"}, {4, "  FM"}, {5, "  AM"}, {6, "RTTY"}, {7, "  CW"}, {9, "RTTY"}}};
constexpr TextDialect kDialect{
    .kenwood_status = true, .mode_prefix_digits = 0, .s_meter_digits = 4, .meter_digits = 4, .modes = &kModes};

}  // namespace

// "TX" keys, with the microphone, the data input or a carrier as it stands or a digit says; "RX" releases.
Keying KeyingKenwood(std::string_view command, const config::RigDefinition&) {
  const std::string text = Upper(Trim(command.substr(0, command.size() - 1)));
  if (text == "RX") return {Keying::Effect::kOff, {}};
  const bool on = text == "TX" || (text.size() == 3 && text.starts_with("TX") && IsDigit(text[2]));
  return on ? Keying{Keying::Effect::kOn, "RX;"} : Keying{};
}

void ParseKenwood(std::string& buffer, ParseContext& context, std::vector<Reply>& replies) {
  if (!context.rig.row.send_as_hex) return ParseTextReplies(buffer, kDialect, context, replies);
  // A row that asks for hexadecimal: the buffer holds pairs, the replies are the same text.
  auto text = BytesFromHex(buffer);
  if (!text) return buffer.clear();
  ParseTextReplies(*text, kDialect, context, replies);
  buffer = HexText::FromBytes(*text).digits;
}

}  // namespace kvx::cat
