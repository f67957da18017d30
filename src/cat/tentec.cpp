#include <algorithm>

#include "cat/convert.h"
#include "cat/reply.h"
#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

// Orion (565/566) programmer's reference: ASCII replies that end in a carriage return.
//   @AFffffffff   VFO A in Hz        @RMMm   main receiver's mode       @SRMmSs   S-meters of main and sub receiver,
//   any width
constexpr std::array<ModeCode, 7> kModes{
    {{0, " USB"}, {1, " LSB"}, {2, "  CW"}, {3, "  CW"}, {4, "  AM"}, {5, "  FM"}, {6, "RTTY"}}};
constexpr std::size_t kLongestReply = 256;

void ReadFrame(std::string_view frame, ParseContext& context, std::vector<Reply>& replies) {
  const std::size_t at = frame.rfind('@');
  if (at == std::string_view::npos) return;
  frame = frame.substr(at);
  if ((frame.starts_with("@AF") || frame.starts_with("@BF")) && frame.size() == 11 && AllDigits(frame.substr(3))) {
    const auto kind = frame[1] == 'A' ? Reply::Kind::kFrequencyA : Reply::Kind::kFrequencyB;
    replies.push_back({.kind = kind, .frequency = Frequency::FromHz(LeadingNumber(frame.substr(3)))});
  } else if (frame.starts_with("@RMM") && frame.size() == 5) {
    const std::string_view caption = CaptionOf(kModes, HexDigitValue(frame[4]));
    if (!caption.empty()) replies.push_back({.kind = Reply::Kind::kMode, .mode = std::string(caption)});
  } else if (frame.starts_with("@SRM") && AllDigits(frame.substr(4, 1))) {
    replies.push_back({.kind = Reply::Kind::kSMeter, .value = static_cast<int>(LeadingNumber(frame.substr(4, 4)))});
  } else {
    ReadTextSlider(frame, context, replies);
  }
}

void ParseOrion(std::string& buffer, ParseContext& context, std::vector<Reply>& replies) {
  std::size_t begin = 0;
  for (std::size_t end = buffer.find('\r'); end != std::string::npos; end = buffer.find('\r', begin)) {
    ReadFrame(std::string_view(buffer).substr(begin, end - begin), context, replies);
    begin = end + 1;
  }
  buffer.erase(0, begin);
  if (buffer.size() > kLongestReply) buffer.erase(0, buffer.size() - kLongestReply);
}

// Pegasus (550) programmer's reference: the first byte tells the length, because data bytes may read as a carriage
// return.
//   S h h h h CR   S-meter, hexadecimal: S units, 1/256 of one      T f r CR   forward and reflected power
//   ! h l 00 CR    steps of a remote knob
struct PegasusReply {
  char letter;
  std::size_t length;
};
constexpr std::array kPegasusReplies{PegasusReply{'S', 6}, PegasusReply{'T', 4}, PegasusReply{'!', 5}};

bool ReadPegasus(std::string_view reply, std::vector<Reply>& replies) {
  if (reply.back() != '\r') return false;
  if (reply[0] == 'T') {
    replies.push_back({.kind = Reply::Kind::kMeter, .value = static_cast<unsigned char>(reply[1])});
  } else if (reply[0] == 'S') {
    const auto units = HexByte(reply.substr(1, 2));
    if (!units || !HexByte(reply.substr(3, 2))) return false;
    replies.push_back({.kind = Reply::Kind::kSMeter, .value = *units});
  }
  return true;
}

void ParsePegasus(std::string& buffer, std::vector<Reply>& replies) {
  std::size_t at = 0;
  while (at < buffer.size()) {
    const auto* row = std::find_if(kPegasusReplies.begin(), kPegasusReplies.end(),
                                   [&](const PegasusReply& r) { return r.letter == buffer[at]; });
    if (row == kPegasusReplies.end()) {
      ++at;
      continue;
    }
    if (buffer.size() - at < row->length) break;
    at += ReadPegasus(std::string_view(buffer).substr(at, row->length), replies) ? row->length : 1;
  }
  buffer.erase(0, at);
}

}  // namespace

// Orion: "*TK" keys, "*TU" releases. How a Pegasus is keyed is not known here.
Keying KeyingTenTec(std::string_view command, const config::RigDefinition&) {
  const std::string text = Upper(Trim(command.substr(0, command.size() - 1)));
  if (text == "*TU") return {Keying::Effect::kOff, {}};
  return text == "*TK" ? Keying{Keying::Effect::kOn, "*TU\r"} : Keying{};
}

void ParseTenTec(std::string& buffer, ParseContext& context, std::vector<Reply>& replies) {
  if (!context.rig.row.send_as_hex) return ParseOrion(buffer, context, replies);
  auto bytes = BytesFromHex(buffer);
  if (!bytes) return buffer.clear();
  ParsePegasus(*bytes, replies);
  buffer = HexText::FromBytes(*bytes).digits;
}

}  // namespace kvx::cat
