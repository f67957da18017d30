#include "functions/channel_csv.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/csv.h"
#include "core/text.h"
#include "functions/memory_file.h"

namespace kvx::functions {
namespace {

constexpr std::string_view kHeading =
    "Location,Name,Frequency,Duplex,Offset,Tone,rToneFreq,cToneFreq,DtcsCode,DtcsPolarity,Mode,TStep,Skip,Comment\n";
constexpr std::string_view kNoShiftNoTone = ",,0.000000,,88.5,88.5,023,NN,";
constexpr int kMhzDigits = 6;
constexpr int kDecihertzDigits = 7;  // behind the point of MHz

struct ModeName {
  std::string_view name;  ///< theirs
  std::string_view mode;  ///< ours
  bool narrow;
};
/// The first one of a mode and width is the one that is written.
constexpr std::array kModeNames{
    ModeName{"FM", "FM", false},    ModeName{"NFM", "FM", true},     ModeName{"WFM", "FM", false},
    ModeName{"AM", "AM", false},    ModeName{"NAM", "AM", true},     ModeName{"USB", "USB", false},
    ModeName{"LSB", "LSB", false},  ModeName{"CW", "CW", false},     ModeName{"NCW", "CW", true},
    ModeName{"CWR", "CW", false},   ModeName{"RTTY", "RTTY", false}, ModeName{"RTTYR", "RTTY", false},
    ModeName{"FSK", "RTTY", false}, ModeName{"FSKR", "RTTY", false},
};

std::string_view ModeOf(const MemoryChannel& channel) {
  const auto named = [&](bool narrow) {
    return std::find_if(kModeNames.begin(), kModeNames.end(), [&](const ModeName& row) {
      return EqualNoCase(row.mode, channel.mode) && row.narrow == narrow;
    });
  };
  const auto* row = named(channel.narrow);
  if (row == kModeNames.end()) row = named(false);
  return row == kModeNames.end() ? std::string_view("Auto") : row->name;
}

std::string MhzText(Frequency frequency) {
  constexpr std::int64_t kMhz = 1'000'000;
  return std::to_string(frequency.hz() / kMhz) + '.' + PadNumber(frequency.hz() % kMhz, kMhzDigits);
}

/// Where the used columns stand in a line.
struct Columns {
  explicit Columns(const std::vector<std::string>& heading) : heading_(heading) {}
  /// The cell under that name; empty when there is none.
  std::string Of(const CsvRecord& record, std::string_view name) const {
    for (std::size_t i = 0; i < heading_.size() && i < record.cells.size(); ++i) {
      if (EqualNoCase(Trim(heading_[i]), name)) return FromVisible(Trim(record.cells[i]));
    }
    return "";
  }
  bool Has(std::string_view name) const {
    return std::any_of(heading_.begin(), heading_.end(),
                       [&](const std::string& cell) { return EqualNoCase(Trim(cell), name); });
  }

 private:
  std::vector<std::string> heading_;
};

/// Puts a line into the channel; what is wrong with it, else empty.
std::string TakeLine(const Columns& columns, const CsvRecord& record, NumberedChannel& numbered) {
  const std::string location = columns.Of(record, "Location");
  numbered.number = static_cast<int>(ParseNumber(location, 1, kChannels).value_or(0));
  MemoryChannel& channel = numbered.channel;
  const std::string mhz = columns.Of(record, "Frequency");
  const auto frequency = ParseMhz(mhz);
  if (!frequency || frequency->decihertz <= 0) return "\"" + OneLine(mhz, 40) + "\" is no frequency in MHz";
  channel.frequency = *frequency;
  channel.name = columns.Of(record, "Name");
  channel.comment = columns.Of(record, "Comment");
  channel.skip = EqualNoCase(columns.Of(record, "Skip"), "S");
  const std::string mode = columns.Of(record, "Mode");
  const auto* row = std::find_if(kModeNames.begin(), kModeNames.end(),
                                 [&](const ModeName& name) { return EqualNoCase(name.name, mode); });
  if (row != kModeNames.end()) {
    channel.mode = row->mode;
    channel.narrow = row->narrow;
  } else if (!mode.empty() && !EqualNoCase(mode, "Auto")) {
    return "the mode " + OneLine(mode, 20) + " is none of this station's";
  }
  return "";
}

Error Fault(int line, const std::string& fault) {
  return {ErrorCode::kInvalid, "line " + std::to_string(line) + ": " + fault};
}

}  // namespace

std::optional<Frequency> ParseMhz(std::string_view text) {
  text = Trim(text);
  const std::size_t point = std::min(text.find('.'), text.size());
  const std::string_view whole = text.substr(0, point);
  std::string fraction(text.substr(std::min(point + 1, text.size())));
  if (!AllDigits(whole) || whole.size() > kMhzDigits || (!fraction.empty() && !AllDigits(fraction)))
    return std::nullopt;
  fraction.resize(kDecihertzDigits, '0');
  const Frequency frequency{LeadingNumber(std::string(whole) + fraction)};
  return frequency <= kHighestFrequency ? std::optional(frequency) : std::nullopt;
}

std::string FormatChannels(const std::vector<NumberedChannel>& channels) {
  std::string csv(kHeading);
  for (const auto& [number, channel] : channels) {
    csv += std::to_string(number) + ',' + CsvCell(channel.name) + ',' + MhzText(channel.frequency) +
           std::string(kNoShiftNoTone) + std::string(ModeOf(channel)) + ",5.00," + (channel.skip ? "S" : "") + ',' +
           CsvCell(channel.comment) + '\n';
  }
  return csv;
}

Result<std::vector<NumberedChannel>> ParseChannels(std::string_view csv) {
  if (!IsText(csv)) return Error{ErrorCode::kDamaged, "it holds no text"};
  CsvReader reader(csv);
  const auto heading = reader.Next();
  const Columns columns(heading ? heading->cells : std::vector<std::string>());
  if (!columns.Has("Frequency")) return Fault(1, "the heading names no column Frequency");
  std::vector<NumberedChannel> channels;
  while (const auto record = reader.Next()) {
    NumberedChannel& numbered = channels.emplace_back();
    const std::string fault = TakeLine(columns, *record, numbered);
    if (!fault.empty()) return Fault(record->line, fault);
    const bool twice = numbered.number != 0 &&
                       std::any_of(channels.begin(), channels.end() - 1,
                                   [&](const NumberedChannel& other) { return other.number == numbered.number; });
    if (twice) return Fault(record->line, "Location " + std::to_string(numbered.number) + " is there already");
  }
  if (!reader.fault().empty()) return Fault(reader.line(), reader.fault());
  return channels;
}

}  // namespace kvx::functions
