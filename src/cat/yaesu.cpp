#include <algorithm>

#include "cat/convert.h"
#include "cat/text_replies.h"
#include "cat/yaesu_layouts.h"
#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

// "MD0m;" (FT-DX5000, FT-991, FT-DX101 CAT manuals): 8 and C are the data modes on LSB and USB, A and E carry FM, D is
// narrow AM.
constexpr std::array<ModeCode, 16> kTextModes{{{0x1, " LSB"},
                                               {0x2, " USB"},
                                               {0x3, "  CW"},
                                               {0x4, "  FM"},
                                               {0x5, "  AM"},
                                               {0x6, "RTTY"},
                                               {0x7, "  CW"},
                                               {0x8, " LSB"},
                                               {0x9, "RTTY"},
                                               {0xA, "  FM"},
                                               {0xB, "  FM"},
                                               {0xC, " USB"},
                                               {0xD, "  AM"},
                                               {0xE, "  FM"}}};
constexpr TextDialect kText{.mode_prefix_digits = 1, .s_meter_digits = 3, .meter_digits = 3, .modes = &kTextModes};

constexpr int kFiveByteReply = 10;  // hexadecimal characters

/// Reads one whole reply of a binary model with everything that the row says stands in a reply to that query.
class StatusReader {
 public:
  StatusReader(std::string_view reply, const ArmedQuery& query, ParseContext& context, std::vector<Reply>& replies)
      : reply_(reply), query_(query), context_(context), replies_(replies) {}

  void Read() {
    if (query_.slider > 0) return ReadSlider();
    // A binary reply has no name: it is what was asked for. Frequency and mode often stand in the same one.
    const bool frequency = ReadFrequency();
    ReadField("ReadMode", &StatusReader::AddMode);
    ReadField("GetSMeter", &StatusReader::AddSMeter);
    if (frequency && reply_.size() == kFiveByteReply && context_.rig.row["ReadMode"].empty())
      AddMode({query_.command, query_.extraction}, reply_.substr(8, 2));
  }

 private:
  bool ReadFrequency() {
    if (query_.frequency) return AddFrequency({query_.command, query_.extraction});
    const std::string_view field = query_.vfo_b ? "ReadFreq" : "GetFreq";
    const QueryTemplate query = SplitQuery(context_.rig.row[field]);
    return SameQuery(query) && AddFrequency(query);
  }

  void ReadField(std::string_view field, void (StatusReader::*add)(const QueryTemplate&, std::string_view)) {
    const QueryTemplate query = SplitQuery(context_.rig.row[field]);
    if (SameQuery(query)) (this->*add)(query, Data(query));
  }

  bool SameQuery(const QueryTemplate& query) const {
    return query.extraction && EqualNoCase(WithoutBlanks(query.command), query_.command);
  }
  std::string_view Data(const QueryTemplate& query) const {
    return query.extraction ? query.extraction->DataOf(reply_).value_or(std::string_view{}) : std::string_view{};
  }

  bool AddFrequency(const QueryTemplate& query) {
    const auto frequency = YaesuFrequency(query, Data(query));
    if (!frequency || frequency->decihertz == 0) return false;
    const auto kind = query_.vfo_b ? Reply::Kind::kFrequencyB : Reply::Kind::kShownFrequency;
    replies_.push_back({.kind = kind, .frequency = *frequency});
    return true;
  }

  void AddMode(const QueryTemplate& query, std::string_view data) {
    const std::string_view caption = data.empty() ? std::string_view{} : YaesuMode(query, data, context_.rig);
    if (!caption.empty()) replies_.push_back({.kind = Reply::Kind::kMode, .mode = std::string(caption)});
  }

  void AddSMeter(const QueryTemplate& /*query*/, std::string_view data) {
    if (data.empty()) return;
    const int value = YaesuMeterOf(context_.rig).ValueOf(static_cast<int>(ConvertDec(data)));
    replies_.push_back({.kind = Reply::Kind::kSMeter, .value = value});
  }

  void ReadSlider() {
    const std::string_view data = Data({query_.command, query_.extraction});
    if (data.empty()) return;
    replies_.push_back(
        {.kind = Reply::Kind::kSlider, .value = static_cast<int>(ConvertDec(data)), .number = query_.slider});
  }

  std::string_view reply_;
  const ArmedQuery& query_;
  ParseContext& context_;
  std::vector<Reply>& replies_;
};

/// The models that are asked by opcode 03 have an opcode to key and one to release; the older ones, which are asked for
/// their operating data, one opcode with 1 or 0 before it. A rig that cannot be asked is told by the order of its
/// parameters.
Keying KeyingByOpcode(std::string_view command, const config::RigDefinition& rig) {
  constexpr char kKey = '\x08';
  constexpr char kRelease = '\x88';
  constexpr char kSwitch = '\x0F';
  const auto query = WithoutBlanks(SplitQuery(rig.row["GetFreq"]).command);
  const auto opcode = query.size() == 10 ? HexByte(std::string_view(query).substr(8)) : std::nullopt;
  const bool by_switch = opcode ? *opcode != 0x03 : rig.row.rev_data;
  if (by_switch && command[4] != kSwitch) return {};
  const bool on = by_switch ? command[3] == 1 : command[4] == kKey;
  const bool off = by_switch ? command[3] == 0 : command[4] == kRelease;
  if (off) return {Keying::Effect::kOff, {}};
  return on ? Keying{Keying::Effect::kOn, std::string(4, '\0') + (by_switch ? kSwitch : kRelease)} : Keying{};
}

}  // namespace

// Text models: "TX1;" keys, "TX0;" releases, and "TX;" asks.
Keying KeyingYaesu(std::string_view command, const config::RigDefinition& rig) {
  if (rig.binary()) return KeyingByOpcode(command, rig);
  const std::string text = Upper(Trim(command.substr(0, command.size() - 1)));
  if (text == "TX0") return {Keying::Effect::kOff, {}};
  return text == "TX1" ? Keying{Keying::Effect::kOn, "TX0;"} : Keying{};
}

void ParseYaesu(std::string& buffer, ParseContext& context, std::vector<Reply>& replies) {
  if (!context.rig.binary()) return ParseTextReplies(buffer, kText, context, replies);
  // Binary replies have neither name nor end mark: they come in the order of the queries, each as long as its query
  // says.
  while (!context.armed.empty()) {
    const ArmedQuery& query = context.armed.front();
    const int told = query.extraction ? std::max(query.extraction->reply_length, query.extraction->needed()) : 0;
    const auto length = static_cast<std::size_t>(told + told % 2);
    if (length > 0 && buffer.size() < length) return;
    if (!query.acknowledgement)
      StatusReader(std::string_view(buffer).substr(0, length), query, context, replies).Read();
    buffer.erase(0, length);
    context.armed.pop_front();
  }
  buffer.clear();  // acknowledgements of commands, which nobody waits for
}

}  // namespace kvx::cat
