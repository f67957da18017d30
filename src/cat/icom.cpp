#include <algorithm>

#include "cat/convert.h"
#include "cat/reply.h"
#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

// CI-V frame: FE FE to from command [sub] [data ...] FD. Frequencies and levels are BCD, frequencies least significant
// byte first.
constexpr std::array<ModeCode, 12> kModes{{{0x00, " LSB"},
                                           {0x01, " USB"},
                                           {0x02, "  AM"},
                                           {0x03, "  CW"},
                                           {0x04, "RTTY"},
                                           {0x05, "  FM"},
                                           {0x06, "  FM"},
                                           {0x07, "  CW"},
                                           {0x08, "RTTY"},
                                           {0x11, "  AM"},
                                           {0x12, " USB"},
                                           {0x17, "  FM"}}};
constexpr std::string_view kPreamble = "FEFE";
constexpr std::string_view kEnd = "FD";
constexpr std::size_t kLongestFrame = 256;  // hexadecimal characters; the longest that is read has 24
constexpr int kBroadcast = 0x00;
constexpr std::uint8_t kRefused = 0xFA;

enum Command : std::uint8_t {
  kFreqReport = 0x00,
  kModeReport = 0x01,
  kReadFreq = 0x03,
  kReadMode = 0x04,
  kSetFreq = 0x05,
  kSetMode = 0x06,
  kMeter = 0x15,
  kVfoFreq = 0x25,
  kVfoMode = 0x26
};

/// The position of a pair of digits at a byte boundary, or npos.
std::size_t FindPair(std::string_view digits, std::string_view pair, std::size_t from) {
  for (std::size_t at = digits.find(pair, from); at != std::string_view::npos; at = digits.find(pair, at + 1)) {
    if (at % 2 == 0) return at;
  }
  return std::string_view::npos;
}

std::size_t LastPreamble(std::string_view digits) {
  for (std::size_t at = digits.rfind(kPreamble); at != std::string_view::npos; at = digits.rfind(kPreamble, at - 1)) {
    if (at % 2 == 0) return at;
    if (at == 0) break;
  }
  return std::string_view::npos;
}

class FrameReader {
 public:
  FrameReader(std::string_view digits, std::string bytes, ParseContext& context, std::vector<Reply>& replies)
      : digits_(digits), bytes_(std::move(bytes)), context_(context), replies_(replies) {}

  /// One frame from its preamble up to, without, FD.
  void Read() {
    if (bytes_.size() < 5 || !ForUs()) return;
    switch (Byte(4)) {
      case kFreqReport:
      case kReadFreq:
        return AddFrequency(5, Reply::Kind::kShownFrequency);
      case kModeReport:
      case kReadMode:
        return AddMode(5);
      case kMeter:
        return AddMeter();
      case kVfoFreq:
        return AddFrequency(6, Byte(5) == 0 ? Reply::Kind::kShownFrequency : Reply::Kind::kOtherFrequency);
      case kVfoMode:
        return Byte(5) == 0 ? AddMode(6) : void();
      case kRefused:
        return replies_.push_back({.kind = Reply::Kind::kRefused});
      default:
        return AddSlider();
    }
  }

 private:
  int Byte(std::size_t index) const { return index < bytes_.size() ? static_cast<unsigned char>(bytes_[index]) : -1; }

  /// From our rig, to us or to everybody. Our own frames come back on a one-wire bus: they are from us, to the rig.
  bool ForUs() const {
    const auto rig = HexByte(Trim(context_.rig.row["Add" + std::string(context_.address_number)]));
    const QueryTemplate query = SplitQuery(context_.rig.row["GetFreq"]);
    const std::size_t address = query.command.find("<ADDR>");
    const auto told =
        address == std::string::npos
            ? std::nullopt
            : HexByte(std::string_view(query.command).substr(std::min(address + 6, query.command.size()), 2));
    const int controller = told.value_or(0xE0);
    return rig && Byte(3) == *rig && (Byte(2) == controller || Byte(2) == kBroadcast);
  }

  void AddFrequency(std::size_t at, Reply::Kind kind) {
    const std::size_t length = bytes_.size() > at ? bytes_.size() - at : 0;
    if (length < 4 || length > 6) return;
    const auto hz = GetDecFromReversedBCD(std::string_view(bytes_).substr(at));
    if (hz && *hz > 0) replies_.push_back({.kind = kind, .frequency = Frequency::FromHz(*hz)});
  }

  void AddMode(std::size_t at) {
    // The R-7000 has one code for both sidebands and tells it from FM by the byte that follows.
    const bool sideband =
        Byte(at) == 0x05 && Byte(at + 1) == 0x00 && context_.rig.row["USB"].find("060500") != std::string::npos;
    const std::string_view caption = sideband ? " USB" : CaptionOf(kModes, Byte(at));
    if (!caption.empty()) replies_.push_back({.kind = Reply::Kind::kMode, .mode = std::string(caption)});
  }

  void AddMeter() {
    const auto value = bytes_.size() == 8 ? GetDecFromBCD(std::string_view(bytes_).substr(6)) : std::nullopt;
    if (!value) return;
    const bool s_meter = Byte(5) == 0x02;
    replies_.push_back({.kind = s_meter ? Reply::Kind::kSMeter : Reply::Kind::kMeter,
                        .value = static_cast<int>(*value),
                        .number = Byte(5)});
  }

  /// A level that was asked for: by the command code of its extraction, else by command and sub-command of its query.
  void AddSlider() {
    for (auto query = context_.armed.begin(); query != context_.armed.end(); ++query) {
      if (query->slider == 0 || !query->extraction) continue;
      const auto data = query->extraction->DataOf(digits_);
      const bool same_command = query->extraction->code_start > 0 ||
                                (query->command.size() >= 12 && digits_.substr(8, 4) == query->command.substr(8, 4));
      if (!data || !same_command || !AllDigits(*data)) continue;
      replies_.push_back(
          {.kind = Reply::Kind::kSlider, .value = static_cast<int>(LeadingNumber(*data)), .number = query->slider});
      context_.armed.erase(query);
      return;
    }
  }

  std::string_view digits_;
  std::string bytes_;
  ParseContext& context_;
  std::vector<Reply>& replies_;
};

}  // namespace

// FE FE to from 1C 00 01 FD keys, 00 releases, and without a byte of data it asks.
// A rig with a command of its own is known by its row.
Keying KeyingIcom(std::string_view command, const config::RigDefinition& rig) {
  const std::size_t at = command.rfind("\xFE\xFE");
  if (at == std::string_view::npos || command.size() - at < 7) return {};
  const std::string_view frame = command.substr(at);
  if (frame[4] == 0x16) return KeyingByButtons(frame, rig);
  if (frame.size() != 8 || frame[4] != 0x1C || frame[5] != 0x00 || static_cast<unsigned char>(frame[6]) > 1) return {};
  if (frame[6] == 0) return {Keying::Effect::kOff, {}};
  std::string release(frame);
  release[6] = 0;
  return {Keying::Effect::kOn, std::move(release)};
}

void ParseIcom(std::string& buffer, ParseContext& context, std::vector<Reply>& replies) {
  std::size_t begin = 0;
  for (std::size_t end = FindPair(buffer, kEnd, 0); end != std::string::npos; end = FindPair(buffer, kEnd, begin)) {
    // What another frame or a collision left unfinished stands before the last preamble.
    const std::string_view piece = std::string_view(buffer).substr(begin, end - begin);
    const std::size_t preamble = LastPreamble(piece);
    if (preamble != std::string_view::npos) {
      const std::string_view digits = piece.substr(preamble);
      if (auto bytes = BytesFromHex(digits)) FrameReader(digits, std::move(*bytes), context, replies).Read();
    }
    begin = end + kEnd.size();
  }
  buffer.erase(0, begin);
  if (buffer.size() > kLongestFrame) buffer.erase(0, (buffer.size() - kLongestFrame + 1) & ~std::size_t{1});
}

}  // namespace kvx::cat
