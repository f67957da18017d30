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

// Pegasus (550), Jupiter (538), Argonaut V (516) and Omni VII (588) programmers' references: the first byte tells the
// length, because data bytes may read as a carriage return.
//   A f f f f CR   VFO A in Hz, most significant byte first; B likewise      M a b CR   mode digits of VFO A and B
//   S h h h h CR   S-meter: S units, then 1/256 of one in hexadecimal (Omni VII: then dB over S9 in decimal digits)
//   S f r CR       while transmitting: forward power with its top bit set, reflected power
//   T f r CR, F f CR, R r CR   forward and reflected power      ! h l 00 CR   steps of a remote knob
//   Z CR, Z c CR   refused; c is what the command began with
constexpr std::array<ModeCode, 6> kBinaryModes{
    {{'0', "  AM"}, {'1', " USB"}, {'2', " LSB"}, {'3', "  CW"}, {'4', "  FM"}, {'5', "  CW"}}};
constexpr std::size_t kStrengthLength = 6;
constexpr int kHighestByte = 0x03;  // of a frequency: no rig goes beyond 67 MHz
constexpr int kDecibelsAnUnit = 6;

class BinaryReader {
 public:
  BinaryReader(const ParseContext& context, std::vector<Reply>& replies) : context_(context), replies_(replies) {}

  /// How many bytes of the front are a reply, which is then read; 0: its rest has not come; 1 also for garbage.
  std::size_t Take(std::string_view bytes) {
    for (const Dialect& row : kDialect) {
      if (row.letter != bytes[0]) continue;
      if (bytes.size() < 2) return 0;
      const std::size_t length = LengthOf(row, bytes);
      if (bytes.size() < length) return 0;
      return bytes[length - 1] == '\r' && (this->*row.read)(bytes.substr(1, length - 2)) ? length : 1;
    }
    return 1;
  }

 private:
  struct Dialect {
    char letter;
    std::size_t length;  ///< with letter and carriage return
    bool (BinaryReader::*read)(std::string_view data);
  };
  static const std::array<Dialect, 9> kDialect;

  static std::size_t LengthOf(const Dialect& row, std::string_view bytes) {
    const bool transmits = (static_cast<unsigned char>(bytes[1]) & 0x80) != 0;
    if (row.letter == 'S' && !transmits) return kStrengthLength;
    return row.letter == 'Z' && bytes[1] != '\r' ? row.length + 1 : row.length;  // Z and what it did not understand
  }
  bool Add(Reply reply) {
    replies_.push_back(std::move(reply));
    return true;
  }

  bool Frequency(std::string_view data, Reply::Kind kind) {
    if (static_cast<unsigned char>(data[0]) > kHighestByte) return false;
    std::int64_t hz = 0;
    for (const char byte : data) hz = hz << 8 | static_cast<unsigned char>(byte);
    return Add({.kind = kind, .frequency = kvx::Frequency::FromHz(hz)});
  }
  bool FrequencyA(std::string_view data) { return Frequency(data, Reply::Kind::kFrequencyA); }
  bool FrequencyB(std::string_view data) { return Frequency(data, Reply::Kind::kFrequencyB); }

  bool Mode(std::string_view data) {
    const std::string_view caption = CaptionOf(kBinaryModes, data[context_.active_vfo == 'B' ? 1 : 0]);
    return !caption.empty() && Add({.kind = Reply::Kind::kMode, .mode = std::string(caption)});
  }

  bool Strength(std::string_view data) {
    if (data.size() + 2 != kStrengthLength) return Power(data);
    const auto units = HexByte(data.substr(0, 2));
    const auto rest = HexByte(data.substr(2, 2));
    if (!units || !rest) return false;
    const bool decibels = context_.rig.name.starts_with("Omni") && AllDigits(data);
    const int over = decibels ? static_cast<int>(LeadingNumber(data.substr(2, 2))) / kDecibelsAnUnit : 0;
    return Add({.kind = Reply::Kind::kSMeter, .value = *units + over});
  }

  bool Power(std::string_view data) {
    return Add({.kind = Reply::Kind::kMeter, .value = static_cast<unsigned char>(data[0]) & 0x7F});
  }
  bool PassOver(std::string_view) { return true; }
  bool Refused(std::string_view) { return Add({.kind = Reply::Kind::kRefused}); }

  const ParseContext& context_;
  std::vector<Reply>& replies_;
};

const std::array<BinaryReader::Dialect, 9> BinaryReader::kDialect{{
    {'A', 6, &BinaryReader::FrequencyA},
    {'B', 6, &BinaryReader::FrequencyB},
    {'M', 4, &BinaryReader::Mode},
    {'S', 4, &BinaryReader::Strength},
    {'T', 4, &BinaryReader::Power},
    {'F', 3, &BinaryReader::Power},
    {'R', 3, &BinaryReader::PassOver},
    {'!', 5, &BinaryReader::PassOver},
    {'Z', 2, &BinaryReader::Refused},
}};

void ParseBinary(std::string& buffer, const ParseContext& context, std::vector<Reply>& replies) {
  BinaryReader reader(context, replies);
  std::size_t at = 0;
  while (at < buffer.size()) {
    const std::size_t taken = reader.Take(std::string_view(buffer).substr(at));
    if (taken == 0) break;
    at += taken;
  }
  buffer.erase(0, at);
}

}  // namespace

// "*TK" keys, "*TU" releases; a binary rig is keyed by what its row says.
Keying KeyingTenTec(std::string_view command, const config::RigDefinition& rig) {
  if (rig.binary()) return KeyingByButtons(command, rig);
  const std::string text = Upper(Trim(command.substr(0, command.size() - 1)));
  if (text == "*TU") return {Keying::Effect::kOff, {}};
  return text == "*TK" ? Keying{Keying::Effect::kOn, "*TU\r"} : Keying{};
}

void ParseTenTec(std::string& buffer, ParseContext& context, std::vector<Reply>& replies) {
  if (!context.rig.row.send_as_hex) return ParseOrion(buffer, context, replies);
  auto bytes = BytesFromHex(buffer);
  if (!bytes) return buffer.clear();
  ParseBinary(*bytes, context, replies);
  buffer = HexText::FromBytes(*bytes).digits;
}

}  // namespace kvx::cat
