#include <algorithm>

#include "cat/convert.h"
#include "cat/reply.h"
#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

// Orion (565/566) programmer's reference: ASCII replies that end in a carriage return.
//   @AFffffffff   VFO A in Hz        @RMMm   main receiver's mode       @SRMmSs   S-meters of main and sub receiver, any width
constexpr std::array<ModeCode, 7> kModes{{{0, " USB"}, {1, " LSB"}, {2, "  CW"}, {3, "  CW"}, {4, "  AM"}, {5, "  FM"}, {6, "RTTY"}}};
constexpr std::size_t kLongestReply = 256;

bool AllDigits(std::string_view text) { return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos; }

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

}  // namespace

void ParseTenTec(std::string& buffer, ParseContext& context, std::vector<Reply>& replies) {
  if (!context.rig.row.send_as_hex) return ParseOrion(buffer, context, replies);
  auto bytes = BytesFromHex(buffer);
  if (!bytes) return buffer.clear();
  ParseOrion(*bytes, context, replies);
  buffer = HexText::FromBytes(*bytes).digits;
}

}  // namespace kvx::cat
