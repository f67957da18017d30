#include "cat/text_replies.h"
#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

// Mode digits of "MD", "OM" and of the 30th character of "IF" (TS-850, TS-2000, TS-590 and TS-890 CAT manuals). 7 is CW
// reverse, 9 FSK reverse, A and B are PSK, C to F SSB, FM and AM with the modulation of the data input.
constexpr std::array<ModeCode, 16> kModes{{{1, " LSB"},
                                           {2, " USB"},
                                           {3, "  CW"},
                                           {4, "  FM"},
                                           {5, "  AM"},
                                           {6, "RTTY"},
                                           {7, "  CW"},
                                           {9, "RTTY"},
                                           {0xA, "RTTY"},
                                           {0xB, "RTTY"},
                                           {0xC, " LSB"},
                                           {0xD, " USB"},
                                           {0xE, "  FM"},
                                           {0xF, "  AM"}}};
// "ZZMD" of the software-defined rigs (PowerSDR and SmartSDR CAT command references): 2 is double sideband, 3 and 4 CW
// on either side, 7 and 9 digital (their IF calls these FSK), 10 synchronous AM, 11 and 12 FM, 20 digital voice.
constexpr std::array<ModeCode, 16> kWideModes{{{0, " LSB"},
                                               {1, " USB"},
                                               {2, "  AM"},
                                               {3, "  CW"},
                                               {4, "  CW"},
                                               {5, "  FM"},
                                               {6, "  AM"},
                                               {7, "RTTY"},
                                               {9, "RTTY"},
                                               {10, "  AM"},
                                               {11, "  FM"},
                                               {12, "  FM"},
                                               {20, " USB"},
                                               {30, "RTTY"},
                                               {-1, ""},
                                               {-1, ""}}};
constexpr TextDialect kDialect{.kenwood = true, .modes = &kModes, .wide_modes = &kWideModes};

// What the S-meter says at S9+60 where that is not what most of the maker's rigs say.
struct FullScale {
  std::string_view rig;  ///< how its name begins
  int value;
};
constexpr int kUsualFullScale = 30;
constexpr int kDecibelFullScale = 254;  // ZZSM: half a dB each, from -140 dBm
constexpr std::array kFullScales{FullScale{"TS-480", 20}, FullScale{"TS-890", 70}, FullScale{"TS-990", 70},
                                 FullScale{"K2", 15},     FullScale{"K3", 15},     FullScale{"K4", 15},
                                 FullScale{"KX", 15},     FullScale{"QCX", 16383}};

}  // namespace

int KenwoodFullScale(const config::RigDefinition& rig) {
  if (rig.row["GetSMeter"].starts_with("ZZSM")) return kDecibelFullScale;
  for (const FullScale& row : kFullScales) {
    if (EqualNoCase(std::string_view(rig.name).substr(0, row.rig.size()), row.rig)) return row.value;
  }
  return kUsualFullScale;
}

// "TX" keys, with the microphone, the data input or a carrier as it stands or a digit says; "RX" releases. "ZZTX1" and
// "ZZTX0" do the same on software-defined rigs, "TQ1" and "TQ0" on those of QRP Labs.
Keying KeyingKenwood(std::string_view command, const config::RigDefinition&) {
  const std::string text = Upper(Trim(command.substr(0, command.size() - 1)));
  if (text == "RX" || text == "ZZTX0" || text == "TQ0") return {Keying::Effect::kOff, {}};
  if (text == "ZZTX1") return {Keying::Effect::kOn, "ZZTX0;"};
  if (text == "TQ1") return {Keying::Effect::kOn, "TQ0;"};
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
