#include "cat/text_replies.h"

#include <algorithm>

#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

constexpr std::size_t kLongestReply = 1024;

// IF fffffffffff sssss rrrrr r x cc cc t m v ...   f = frequency in Hz, 11 digits; m = mode digit, 30th character; v =
// VFO
constexpr std::size_t kStatusFrequency = 2;
constexpr std::size_t kStatusFrequencyDigits = 11;
constexpr std::size_t kStatusMode = 29;
constexpr std::size_t kStatusVfo = 30;
constexpr std::size_t kShortestStatus = 33;  // TS-440: nothing behind the split digit, or blanks
constexpr std::size_t kLongestStatus = 40;   // a longer one has swallowed something else

/// How many digits the rig's frequency replies have; 0 when its row does not tell.
std::size_t FrequencyDigitCount(const config::RigDefinition& rig) {
  const FrequencyPlaceholder* placeholder = FindFrequencyPlaceholder(rig.row["SetFreq"]);
  return placeholder == nullptr ? 0 : static_cast<std::size_t>(placeholder->digits);
}

class FrameReader {
 public:
  FrameReader(const TextDialect& dialect, ParseContext& context, std::vector<Reply>& replies)
      : dialect_(dialect), context_(context), replies_(replies) {}

  /// One reply without its ";". Noise may stand before it, so each report is looked for from the right.
  void Read(std::string_view frame) {
    using Reader = bool (FrameReader::*)(std::string_view body);
    struct Row {
      std::string_view name;
      Reader read;
    };
    constexpr std::array kReports{
        Row{"ZZMD", &FrameReader::ReadWideMode}, Row{"ZZIF", &FrameReader::PassOver},
        Row{"IF", &FrameReader::ReadStatus},     Row{"FA", &FrameReader::ReadFrequencyA},
        Row{"FB", &FrameReader::ReadFrequencyB}, Row{"MD", &FrameReader::ReadMode},
        Row{"OM", &FrameReader::ReadMainMode},   Row{"FR", &FrameReader::ReadVfo},
        Row{"SM", &FrameReader::ReadSMeter},     Row{"RM", &FrameReader::ReadMeter},
    };
    for (const Row& row : kReports) {
      const std::size_t at = frame.rfind(row.name);
      if (at != std::string_view::npos && (this->*row.read)(frame.substr(at + row.name.size()))) return;
    }
    if (ReadTextSlider(frame, context_, replies_)) return;
    if (!frame.empty() && (frame.back() == '?' || frame == "E" || frame == "O")) Add({.kind = Reply::Kind::kRefused});
  }

 private:
  void Add(Reply reply) { replies_.push_back(std::move(reply)); }

  bool AddMode(int code) { return AddMode(*dialect_.modes, code); }
  bool AddMode(const std::array<ModeCode, 16>& modes, int code) {
    const std::string_view caption = CaptionOf(modes, code);
    if (caption.empty()) return false;
    Add({.kind = Reply::Kind::kMode, .mode = std::string(caption)});
    return true;
  }

  bool ReadStatus(std::string_view body) {
    if (!dialect_.kenwood || body.size() + 2 < kShortestStatus || body.size() + 2 > kLongestStatus) return false;
    if (context_.rig.row["SetFreq"].find("<FREQ11") == std::string::npos) return false;
    const std::string_view digits = body.substr(kStatusFrequency - 2, kStatusFrequencyDigits);
    if (!AllDigits(Trim(digits)) || digits.back() == ' ') return false;
    const char vfo = body[kStatusVfo - 2];
    const bool on_vfo = vfo == '0' || vfo == '1';
    if (on_vfo) Add({.kind = Reply::Kind::kVfo, .value = vfo == '0' ? 'A' : 'B'});
    AddMode(HexDigitValue(body[kStatusMode - 2]));
    const auto kind = !on_vfo      ? Reply::Kind::kShownFrequency
                      : vfo == '0' ? Reply::Kind::kFrequencyA
                                   : Reply::Kind::kFrequencyB;
    Add({.kind = kind, .frequency = Frequency::FromHz(LeadingNumber(digits))});
    return true;
  }

  bool ReadFrequency(std::string_view body, Reply::Kind kind) {
    const std::size_t digits = FrequencyDigitCount(context_.rig);
    const bool length_fits = digits == 0 ? body.size() >= 7 && body.size() <= 11 : body.size() == digits;
    if (!length_fits || !AllDigits(body)) return false;
    Add({.kind = kind, .frequency = Frequency::FromHz(LeadingNumber(body))});
    return true;
  }
  bool ReadFrequencyA(std::string_view body) { return ReadFrequency(body, Reply::Kind::kFrequencyA); }
  bool ReadFrequencyB(std::string_view body) { return ReadFrequency(body, Reply::Kind::kFrequencyB); }

  /// The digit with which replies to the query in that field are for the display: the one of the VFO in use where the
  /// query names it, else the main receiver's.
  char ShownDigit(std::string_view field) const {
    return NamesVfo(context_.rig.row[field]) ? VfoDigit(context_.active_vfo) : '0';
  }

  bool ReadMode(std::string_view body) {
    const auto prefix = static_cast<std::size_t>(dialect_.mode_prefix_digits);
    if (body.size() != prefix + 1 || (prefix == 1 && body[0] != ShownDigit("ReadMode"))) return false;
    return AddMode(HexDigitValue(body.back()));
  }

  /// "ZZMD01": the mode as two digits.
  bool ReadWideMode(std::string_view body) {
    if (dialect_.wide_modes == nullptr || body.size() != 2 || !AllDigits(body)) return false;
    return AddMode(*dialect_.wide_modes, static_cast<int>(LeadingNumber(body)));
  }

  /// "ZZIF" is an "IF" with two mode digits, which nobody asks for.
  bool PassOver(std::string_view) { return dialect_.wide_modes != nullptr; }

  /// "OM0d": the mode of the main receiver, or of the display on the left; "OM1d" is not for the display.
  bool ReadMainMode(std::string_view body) {
    if (!dialect_.kenwood || body.size() != 2 || body[0] != '0') return false;
    return AddMode(HexDigitValue(body[1]));
  }

  bool ReadVfo(std::string_view body) {
    if (!dialect_.kenwood || (body != "0" && body != "1")) return false;
    Add({.kind = Reply::Kind::kVfo, .value = body == "0" ? 'A' : 'B'});
    return true;
  }

  /// Whether the rig's S-meter query, and so its reply, names the receiver: "SM0;".
  bool names_receiver() const {
    const std::string& query = context_.rig.row["GetSMeter"];
    const std::size_t at = query.find("SM");
    return NamesVfo(query) || (at != std::string::npos && at + 2 < query.size() && IsDigit(query[at + 2]));
  }

  bool ReadSMeter(std::string_view body) {
    if (dialect_.s_meter_digits == 0) {
      if (!AllDigits(body) || body.size() < 2 || body.size() > 5) return false;
      if (names_receiver() && body[0] != ShownDigit("GetSMeter")) return false;  // the other receiver's
      Add({.kind = Reply::Kind::kSMeter, .value = static_cast<int>(LeadingNumber(body))});
      return true;
    }
    const auto digits = static_cast<std::size_t>(dialect_.s_meter_digits);
    if (!AllDigits(body) || body.size() < digits || body.size() > digits + 1) return false;
    if (body.size() > digits && body[0] != ShownDigit("GetSMeter")) return false;  // the other receiver's
    Add({.kind = Reply::Kind::kSMeter, .value = static_cast<int>(LeadingNumber(body.substr(body.size() - digits)))});
    return true;
  }

  bool ReadMeter(std::string_view body) {
    const auto digits = static_cast<std::size_t>(dialect_.meter_digits);
    if (!AllDigits(body) || body.size() < digits + 1 || body.size() > digits * 2 + 1) return false;
    const int number = body[0] - '0';
    Add({.kind = Reply::Kind::kMeter,
         .value = static_cast<int>(LeadingNumber(body.substr(1, digits))),
         .number = number});
    return true;
  }

  const TextDialect& dialect_;
  ParseContext& context_;
  std::vector<Reply>& replies_;
};

}  // namespace

void ParseTextReplies(std::string& buffer, const TextDialect& dialect, ParseContext& context,
                      std::vector<Reply>& replies) {
  FrameReader reader(dialect, context, replies);
  std::size_t begin = 0;
  for (std::size_t end = buffer.find(';'); end != std::string::npos; end = buffer.find(';', begin)) {
    reader.Read(std::string_view(buffer).substr(begin, end - begin));
    begin = end + 1;
  }
  buffer.erase(0, begin);
  if (buffer.size() > kLongestReply) buffer.erase(0, buffer.size() - kLongestReply);
}

}  // namespace kvx::cat
