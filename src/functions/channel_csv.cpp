#include "functions/channel_csv.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/csv.h"
#include "core/text.h"
#include "core/utf8.h"
#include "functions/channel_extras.h"
#include "functions/memory_file.h"

namespace kvx::functions {
namespace {

constexpr int kMhzDigits = 6;
constexpr int kDecihertzDigits = 7;  // behind the point of MHz

struct ModeName {
  std::string_view name;  ///< theirs
  std::string_view mode;  ///< ours
  bool narrow;
};
/// The first one of a mode and width is the one that is written.
constexpr std::array kModeNames{
    ModeName{"FM", "FM", false},      ModeName{"NFM", "FM", true},    ModeName{"WFM", "FM", false},
    ModeName{"AM", "AM", false},      ModeName{"NAM", "AM", true},    ModeName{"USB", "USB", false},
    ModeName{"LSB", "LSB", false},    ModeName{"CW", "CW", false},    ModeName{"NCW", "CW", true},
    ModeName{"CWR", "CW", false},     ModeName{"NCWR", "CW", true},   ModeName{"RTTY", "RTTY", false},
    ModeName{"RTTYR", "RTTY", false}, ModeName{"FSK", "RTTY", false}, ModeName{"FSKR", "RTTY", false},
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

/// What the line says in columns for which a channel has no place.
ChannelExtras ExtrasOf(const Columns& columns, const CsvRecord& record) {
  ChannelExtras extras;
  for (const ExtraColumn& column : ExtraColumns()) {
    const std::string value = columns.Of(record, column.name);
    const bool means_nothing = !column.needs.empty() && columns.Of(record, column.needs).empty();
    if (!value.empty() && value != column.none && !means_nothing) extras.push_back({std::string(column.name), value});
  }
  return extras;
}

/// Sets the mode, if the name is one of a mode of this station.
bool TakeMode(const std::string& name, MemoryChannel& channel) {
  const auto* row = std::find_if(kModeNames.begin(), kModeNames.end(),
                                 [&](const ModeName& mode) { return EqualNoCase(mode.name, name); });
  if (row == kModeNames.end()) return name.empty() || EqualNoCase(name, "Auto");
  channel.mode = row->mode;
  channel.narrow = row->narrow;
  return true;
}

/// Puts a line into the channel; what is wrong with it, else empty.
std::string TakeLine(const Columns& columns, const CsvRecord& record, NumberedChannel& numbered) {
  const std::string location = columns.Of(record, "Location");
  numbered.number = static_cast<int>(ParseNumber(location, 1, kChannels).value_or(0));
  MemoryChannel& channel = numbered.channel;
  const std::string mhz = columns.Of(record, "Frequency");
  const auto frequency = mhz.empty() ? std::optional(Frequency()) : ParseMhz(mhz);
  if (!frequency) return "\"" + OneLine(mhz, 40) + "\" is no frequency in MHz";
  channel.frequency = *frequency;
  channel.name = columns.Of(record, "Name");
  channel.skip = EqualNoCase(columns.Of(record, "Skip"), "S");
  ChannelExtras extras = ExtrasOf(columns, record);
  const std::string mode = columns.Of(record, "Mode");
  if (!TakeMode(mode, channel)) extras.push_back({"Mode", mode});
  numbered.has_extras = !extras.empty();
  std::string comment = columns.Of(record, "Comment");
  channel.vfo = TakeVfo(comment);
  channel.comment = WithExtras(comment, extras);
  return "";
}

/// The value that the channel keeps for a column, else the one that stands for none.
std::string ValueOf(const ChannelExtras& extras, std::string_view name, std::string_view none) {
  const auto kept =
      std::find_if(extras.begin(), extras.end(), [&](const ChannelExtra& extra) { return extra.name == name; });
  return CsvCell(kept == extras.end() ? std::string(none) : kept->value);
}

/// The columns that a file of these channels has of those that no channel has a place for.
std::vector<ExtraColumn> ColumnsFor(const std::vector<NumberedChannel>& channels) {
  std::vector<ExtraColumn> columns;
  for (const ExtraColumn& column : ExtraColumns()) {
    const bool used = std::any_of(channels.begin(), channels.end(), [&](const NumberedChannel& numbered) {
      std::string comment = numbered.channel.comment;
      return !ValueOf(TakeExtras(comment), column.name, "").empty();
    });
    if (column.always || used) columns.push_back(column);
  }
  return columns;
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
  const std::vector<ExtraColumn> columns = ColumnsFor(channels);
  std::string csv = "Location,Name,Frequency,";
  for (const ExtraColumn& column : columns) csv += std::string(column.name) + ',';
  csv += "Mode,TStep,Skip,Comment\n";
  for (const auto& [number, channel, has_extras] : channels) {
    std::string comment = channel.comment;
    const ChannelExtras extras = TakeExtras(comment);
    const std::string vfo = channel.vfo == 0 ? ValueOf(extras, "VFO", "") : std::string(1, channel.vfo);
    comment = WithExtras(comment, {{"VFO", vfo}});
    csv += std::to_string(number) + ',' + CsvCell(channel.name) + ',' + MhzText(channel.frequency) + ',';
    for (const ExtraColumn& column : columns) csv += ValueOf(extras, column.name, column.none) + ',';
    csv += (channel.mode.empty() ? ValueOf(extras, "Mode", "Auto") : std::string(ModeOf(channel))) + ",5.00," +
           (channel.skip ? "S" : "") + ',' + CsvCell(comment) + '\n';
  }
  return csv;
}

Result<std::vector<NumberedChannel>> ParseChannels(std::string_view csv) {
  if (!IsText(csv)) return Error{ErrorCode::kDamaged, "it holds no text"};
  const std::string text = Utf8Of(csv);
  CsvReader reader(text);
  const auto heading = reader.Next();
  const Columns columns(heading ? heading->cells : std::vector<std::string>());
  if (!columns.Has("Frequency")) return Fault(1, "the heading names no column Frequency");
  std::vector<NumberedChannel> channels;
  while (const auto record = reader.Next()) {
    NumberedChannel& numbered = channels.emplace_back();
    const std::string fault = TakeLine(columns, *record, numbered);
    if (!fault.empty()) return Fault(record->line, fault);
    if (numbered.channel.empty()) {
      channels.pop_back();
      continue;
    }
    const bool twice = numbered.number != 0 &&
                       std::any_of(channels.begin(), channels.end() - 1,
                                   [&](const NumberedChannel& other) { return other.number == numbered.number; });
    if (twice) return Fault(record->line, "Location " + std::to_string(numbered.number) + " is there already");
  }
  if (!reader.fault().empty()) return Fault(reader.line(), reader.fault());
  return channels;
}

}  // namespace kvx::functions
