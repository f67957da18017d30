#include "cat/yaesu_layouts.h"

#include <algorithm>
#include <array>
#include <span>

#include "cat/convert.h"
#include "cat/reply.h"
#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

using ModeTable = std::span<const ModeCode>;

// FT-817 to FT-897, FT-847: the last byte of the reply to opcode 03
constexpr std::array kFiveByteModes{ModeCode{0x00, " LSB"}, ModeCode{0x01, " USB"}, ModeCode{0x02, "  CW"},
                                    ModeCode{0x03, "  CW"}, ModeCode{0x04, "  AM"}, ModeCode{0x06, "  FM"},
                                    ModeCode{0x08, "  FM"}, ModeCode{0x0A, "RTTY"}, ModeCode{0x0C, "  FM"},
                                    ModeCode{0x82, "  CW"}, ModeCode{0x83, "  CW"}, ModeCode{0x84, "  AM"},
                                    ModeCode{0x88, "  FM"}, ModeCode{0x8A, "RTTY"}};
// Records of the FT-840 to the FT-1000MP
constexpr std::array kRecordModes{ModeCode{0, " LSB"}, ModeCode{1, " USB"}, ModeCode{2, "  CW"}, ModeCode{3, "  AM"},
                                  ModeCode{4, "  FM"}, ModeCode{5, "RTTY"}, ModeCode{6, "RTTY"}};
// FT-920: bit 7 narrow, bit 6 the upper sideband
constexpr std::array kFt920Modes{ModeCode{0x00, " LSB"}, ModeCode{0x40, " USB"}, ModeCode{0x01, "  CW"},
                                 ModeCode{0x41, "  CW"}, ModeCode{0x02, "  AM"}, ModeCode{0x42, "  AM"},
                                 ModeCode{0x03, "  FM"}, ModeCode{0x43, "  FM"}, ModeCode{0x04, "RTTY"},
                                 ModeCode{0x44, "RTTY"}, ModeCode{0x05, "RTTY"}, ModeCode{0x45, "RTTY"},
                                 ModeCode{0x06, "  FM"}, ModeCode{0x46, "  FM"}};
// FT-747: one bit a mode, bit 7 narrow
constexpr std::array kFt747Modes{ModeCode{0x01, "  FM"}, ModeCode{0x02, "  AM"}, ModeCode{0x04, "  CW"},
                                 ModeCode{0x08, " USB"}, ModeCode{0x10, " LSB"}};
// FT-757GXII: the codes of its set command
constexpr std::array kFt757Modes{ModeCode{0, " LSB"}, ModeCode{1, " USB"}, ModeCode{2, "  CW"},
                                 ModeCode{3, "  CW"}, ModeCode{4, "  AM"}, ModeCode{5, "  FM"}};
// FT-100: the same, in the lower half of the byte
constexpr std::array kFt100Modes{ModeCode{0, " LSB"}, ModeCode{1, " USB"}, ModeCode{2, "  CW"}, ModeCode{3, "  CW"},
                                 ModeCode{4, "  AM"}, ModeCode{5, "RTTY"}, ModeCode{6, "  FM"}, ModeCode{7, "  FM"}};

enum class Coding { kBcd, kBcdReversed, kBinary };

/// One step of a frequency count in tenths of a hertz, as a fraction.
struct Unit {
  std::int64_t numerator;
  std::int64_t denominator = 1;
};
constexpr Unit kTenHertz{100};
constexpr Unit kHertz{10};

struct Layout {
  std::string_view query;  ///< its last bytes; empty: any
  int reply_length;        ///< hexadecimal characters; 0: any
  std::size_t digits;      ///< of the frequency; 0: any
  Coding coding;
  Unit unit;
  ModeTable modes;
  int mode_mask = 0xFF;
};

constexpr std::array kLayouts{
    Layout{"", 10, 8, Coding::kBcd, kTenHertz, kFiveByteModes},
    Layout{"0010", 64, 8, Coding::kBinary, {25, 2}, kFt100Modes, 0x0F},  // FT-100: 1.25 Hz
    Layout{"", 32, 8, Coding::kBinary, {25, 4}, kRecordModes, 0x07},     // FT-1000MP: 0.625 Hz
    Layout{"", 64, 8, Coding::kBinary, {25, 4}, kRecordModes, 0x07},     // both VFOs of it
    Layout{"", 56, 8, Coding::kBinary, kHertz, kFt920Modes, 0x47},       // FT-920
    Layout{"", 150, 8, Coding::kBcdReversed, kTenHertz, kFt757Modes},    // FT-757GXII
    Layout{"", 688, 8, Coding::kBcd, kHertz, kFt747Modes, 0x1F},         // FT-747
    Layout{"", 0, 8, Coding::kBcd, kTenHertz, kRecordModes, 0x0F},
    Layout{"", 0, 6, Coding::kBinary, kTenHertz, kRecordModes, 0x0F},  // FT-840 to FT-1000D
    Layout{"", 0, 0, Coding::kBinary, kTenHertz, kRecordModes, 0x0F},
};

bool Fits(const Layout& layout, const QueryTemplate& query, std::size_t digits) {
  return WithoutBlanks(query.command).ends_with(layout.query) &&
         (layout.reply_length == 0 || layout.reply_length == query.extraction->reply_length) &&
         (layout.digits == 0 || layout.digits == digits);
}

/// `digits`: of the frequency that stands in replies of this query.
const Layout& LayoutOf(const QueryTemplate& query, std::size_t digits) {
  return *std::find_if(kLayouts.begin(), kLayouts.end() - 1,
                       [&](const Layout& layout) { return Fits(layout, query, digits); });
}

std::optional<std::int64_t> CountOf(Coding coding, std::string_view data) {
  if (coding == Coding::kBinary) return ConvertDec(data);
  const auto bytes = BytesFromHex(data);
  if (!bytes) return std::nullopt;
  return coding == Coding::kBcd ? GetDecFromBCD(*bytes) : GetDecFromReversedBCD(*bytes);
}

std::size_t FrequencyDigitsOf(const config::RigDefinition& rig) {
  const QueryTemplate query = SplitQuery(rig.row["GetFreq"]);
  return query.extraction ? static_cast<std::size_t>(std::max(query.extraction->length, 0)) : 0;
}

struct MeterLayout {
  std::string_view query;  ///< the last bytes of the row's meter query
  int reply_length;        ///< of that query; 0: any
  int frequency_length;    ///< of the frequency's reply; 0: any
  bool listens_at_once;    ///< as YaesuAcknowledges
  YaesuMeter meter;
};
constexpr std::array kMeters{
    MeterLayout{"E7", 0, 0, true, {.mask = 0x0F, .top = 15}},      // FT-857: squelch, centre and tone flags above
    MeterLayout{"E7", 0, 0, false, {.mask = 0x1F, .top = 31}},     // FT-847
    MeterLayout{"F7", 18, 0, true, {.zero = 200, .top = 90}},      // FT-100, measured by its users
    MeterLayout{"F7", 10, 38, true, {.top = 0x9D}},                // FT-840, FT-890, FT-900, the same
    MeterLayout{"F7", 10, 0, false, {.zero = 0x1D, .top = 0x9D}},  // FT-736, the same
    MeterLayout{"10", 2, 0, true, {.mask = 0x0F, .top = 15}},      // FT-757GXII
};
constexpr YaesuMeter kByteMeter;
constexpr YaesuMeter kFiveByteMeter{.mask = 0x0F, .top = 15};

}  // namespace

std::optional<Frequency> YaesuFrequency(const QueryTemplate& query, std::string_view data) {
  if (!query.extraction || (data.size() != 6 && data.size() != 8)) return std::nullopt;
  const Layout& layout = LayoutOf(query, data.size());
  const auto count = CountOf(layout.coding, data);
  if (!count) return std::nullopt;
  return Frequency{*count * layout.unit.numerator / layout.unit.denominator};
}

std::string_view YaesuMode(const QueryTemplate& query, std::string_view data, const config::RigDefinition& rig) {
  const Layout& layout = LayoutOf(query, FrequencyDigitsOf(rig));
  const auto code = static_cast<int>(ConvertDec(data)) & layout.mode_mask;
  const auto row =
      std::find_if(layout.modes.begin(), layout.modes.end(), [&](const ModeCode& mode) { return mode.code == code; });
  if (row == layout.modes.end()) return {};
  // The FT-600, which has no FM, counts its AM and data modes on from where the FT-840 has FM.
  if (row->caption == "  FM" && rig.row["FMw"].empty() && rig.row["FMn"].empty()) return "  AM";
  return row->caption;
}

int YaesuMeter::ValueOf(int byte) const {
  const int reading = (byte & mask) - zero;
  return std::max(0, top > zero ? reading : -reading);
}

const YaesuMeter& YaesuMeterOf(const config::RigDefinition& rig) {
  const QueryTemplate query = SplitQuery(rig.row["GetSMeter"]);
  const QueryTemplate frequency = SplitQuery(rig.row["GetFreq"]);
  const auto fits = [&](const MeterLayout& layout) {
    return WithoutBlanks(query.command).ends_with(layout.query) &&
           (layout.reply_length == 0 || (query.extraction && query.extraction->reply_length == layout.reply_length)) &&
           (layout.frequency_length == 0 ||
            (frequency.extraction && frequency.extraction->reply_length == layout.frequency_length)) &&
           layout.listens_at_once == YaesuAcknowledges(rig);
  };
  const auto* row = std::find_if(kMeters.begin(), kMeters.end(), fits);
  if (row != kMeters.end()) return row->meter;
  return rig.five_byte() ? kFiveByteMeter : kByteMeter;
}

// Opcode 00 with nothing before it: external control on.
bool YaesuAcknowledges(const config::RigDefinition& rig) {
  return !WithoutBlanks(rig.row["US7"]).starts_with("0000000000");
}

}  // namespace kvx::cat
