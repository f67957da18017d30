#include <algorithm>

#include "cat/convert.h"
#include "cat/text_replies.h"
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

// Five-byte models, reply to opcode 03: ff ff ff ff mm   f = frequency in 10 Hz, BCD, most significant first; m = mode
constexpr std::array<ModeCode, 12> kFiveByteModes{{{0x00, " LSB"},
                                                   {0x01, " USB"},
                                                   {0x02, "  CW"},
                                                   {0x03, "  CW"},
                                                   {0x04, "  AM"},
                                                   {0x06, "  FM"},
                                                   {0x08, "  FM"},
                                                   {0x0A, "RTTY"},
                                                   {0x0C, "  FM"},
                                                   {0x82, "  CW"},
                                                   {0x83, "  CW"},
                                                   {0x88, "  FM"}}};
// Older models, 16-byte operating data: bb ff ff ff ss oo oo mm ...   f = frequency in 10 Hz, binary, most significant
// first
constexpr std::array<ModeCode, 7> kStatusModes{
    {{0, " LSB"}, {1, " USB"}, {2, "  CW"}, {3, "  AM"}, {4, "  FM"}, {5, "RTTY"}, {6, "RTTY"}}};

constexpr std::size_t kBcdDigits = 8;
constexpr std::size_t kBinaryDigits = 6;
constexpr int kFiveByteReply = 10;  // hexadecimal characters

std::optional<Frequency> FrequencyOf(std::string_view data) {
  if (data.size() == kBinaryDigits) return Frequency::FromHz(ConvertDec(data) * 10);
  if (data.size() != kBcdDigits) return std::nullopt;
  const auto bytes = BytesFromHex(data);
  const auto tens = bytes ? GetDecFromBCD(*bytes) : std::nullopt;
  if (!tens) return std::nullopt;
  return Frequency::FromHz(*tens * 10);
}

std::string_view ModeOf(std::string_view data, int reply_length) {
  const auto code = static_cast<int>(ConvertDec(data));
  return reply_length == kFiveByteReply ? CaptionOf(kFiveByteModes, code) : CaptionOf(kStatusModes, code & 0x0F);
}

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
      AddMode(reply_.substr(8, 2));
  }

 private:
  bool ReadFrequency() {
    if (query_.frequency) return AddFrequency(Data(query_.extraction));
    const std::string_view field = query_.vfo_b ? "ReadFreq" : "GetFreq";
    const QueryTemplate query = SplitQuery(context_.rig.row[field]);
    return SameQuery(query) && AddFrequency(Data(query.extraction));
  }

  void ReadField(std::string_view field, bool (StatusReader::*add)(std::string_view)) {
    const QueryTemplate query = SplitQuery(context_.rig.row[field]);
    if (SameQuery(query)) (this->*add)(Data(query.extraction));
  }

  bool SameQuery(const QueryTemplate& query) const {
    return query.extraction && EqualNoCase(WithoutBlanks(query.command), query_.command);
  }
  std::string_view Data(const std::optional<Extraction>& extraction) const {
    return extraction ? extraction->DataOf(reply_).value_or(std::string_view{}) : std::string_view{};
  }

  bool AddFrequency(std::string_view data) {
    const auto frequency = FrequencyOf(data);
    if (!frequency || frequency->decihertz == 0) return false;
    const auto kind = query_.vfo_b ? Reply::Kind::kFrequencyB : Reply::Kind::kShownFrequency;
    replies_.push_back({.kind = kind, .frequency = *frequency});
    return true;
  }

  bool AddMode(std::string_view data) {
    const std::string_view caption = data.empty() ? std::string_view{} : ModeOf(data, static_cast<int>(reply_.size()));
    if (caption.empty()) return false;
    replies_.push_back({.kind = Reply::Kind::kMode, .mode = std::string(caption)});
    return true;
  }

  bool AddSMeter(std::string_view data) {
    if (data.empty()) return false;
    // Receiver status, opcode E7: squelch, centre and tone flags above the meter's four bits.
    const bool receiver_status = query_.command.ends_with("E7");
    const auto value = static_cast<int>(ConvertDec(data));
    replies_.push_back({.kind = Reply::Kind::kSMeter, .value = receiver_status ? value & 0x0F : value});
    return true;
  }

  void ReadSlider() {
    const std::string_view data = Data(query_.extraction);
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
/// their operating data, one opcode with 1 or 0 before it.
Keying KeyingByOpcode(std::string_view command, const config::RigDefinition& rig) {
  constexpr char kKey = '\x08';
  constexpr char kRelease = '\x88';
  constexpr char kSwitch = '\x0F';
  const auto query = WithoutBlanks(SplitQuery(rig.row["GetFreq"]).command);
  const auto opcode = query.size() == 10 ? HexByte(std::string_view(query).substr(8)) : std::nullopt;
  const bool by_switch = opcode && *opcode != 0x03;
  if (!opcode) return {};
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
