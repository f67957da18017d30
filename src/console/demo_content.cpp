#include "console/demo_content.h"

#include <algorithm>
#include <array>

#include "accessories/accessories.h"
#include "core/text.h"

namespace kvx::console {
namespace {

using functions::FunctionRecord;
using functions::MemoryChannel;

struct ChannelRow {
  int number;
  const char* name;
  const char* khz;
  const char* mode;
  bool narrow;
  bool skip;
  const char* comment;
};
constexpr std::array kDemoChannels{ChannelRow{1, "Calling", "14060.00", "CW", true, false, "low power"},
                                   ChannelRow{2, "Sunday net", "3650.00", "LSB", false, false, "10:00 UTC"},
                                   ChannelRow{3, "Beacons 20 m", "14100.00", "CW", true, false, ""},
                                   ChannelRow{4, "Beacons 15 m", "21150.00", "CW", true, false, ""},
                                   ChannelRow{5, "Beacons 10 m", "28200.00", "CW", true, false, ""},
                                   ChannelRow{6, "FM calling", "145500.00", "FM", false, false, ""},
                                   ChannelRow{7, "Time signal", "10000.00", "AM", false, true, "on the minute"},
                                   ChannelRow{9, "RTTY", "14085.00", "RTTY", false, false, ""},
                                   ChannelRow{12, "Slow CW", "7032.00", "CW", false, false, "practice, evenings"}};

struct FunctionRow {
  const char* khz;
  const char* mode;
  std::size_t key;   ///< 1 to 9, which has `text`; 0: none
  const char* text;  ///< what the key sends as its value
  bool press;
  const char* scan;
  const char* note;
};
constexpr std::array kDemoRows{FunctionRow{"3650.00", "LSB", 0, "", false, "Y", "Sunday net"},
                               FunctionRow{"7032.00", "CW", 1, "", true, "Y", "noise blanker on"},
                               FunctionRow{"14060.00", "CW", 0, "", false, "Y", "calling"},
                               FunctionRow{"14100.00", "CW", 5, "", true, "Y", "beacons, attenuator"},
                               FunctionRow{"21150.00", "CW", 0, "", false, "Y", "beacons"},
                               FunctionRow{"28200.00", "CW", 0, "", false, "n", "beacons"},
                               FunctionRow{"145575.00", "FM", 9, "08", true, "", "tone of the hill"},
                               FunctionRow{"145650.00", "FM", 9, "13", true, "", "tone of the town"}};

struct TunerRow {
  const char* khz;
  accessories::TunerValues values;
};
/// Somebody's long wires: on 20 m with three antennas.
const std::array kDemoTuner{
    TunerRow{"1850.00", {"Long wire", "31", "122", "18"}},
    TunerRow{"3550.00", {"Long wire", "44", "86", "40", "Dipole", "60", "71", "52"}},
    TunerRow{"7020.00", {"Dipole", "58", "40", "61", "Long wire", "52", "38", "70"}},
    TunerRow{"14025.00", {"Beam", "70", "12", "71", "Dipole", "66", "19", "58", "Long wire, rain", "61", "24", "49"}},
    TunerRow{"14250.00", {"Beam", "72", "11", "70"}},
    TunerRow{"21050.00", {"Beam", "80", "8", "78"}}};

Status PutTuner(accessories::TunerNotebook& notebook) {
  for (const TunerRow& row : kDemoTuner) {
    const auto& segment = accessories::SegmentOf(ParseKhz(row.khz).value_or(Frequency()));
    for (std::size_t field = 0; field < row.values.size(); ++field) {
      if (const Status edited = notebook.Edit(segment, field, row.values[field]); !edited) return edited;
    }
  }
  const auto saved = notebook.SaveAll();
  return saved ? Ok() : Status(saved.error());
}

Status PutChannels(functions::MemoryChannels& memories) {
  for (const ChannelRow& row : kDemoChannels) {
    const MemoryChannel channel{.name = row.name,
                                .frequency = ParseKhz(row.khz).value_or(Frequency()),
                                .mode = row.mode,
                                .narrow = row.narrow,
                                .skip = row.skip,
                                .comment = row.comment};
    if (const Status put = memories.Change(row.number, channel); !put) return put;
  }
  return Ok();
}

Status PutRows(functions::FunctionStore& store, const std::string& rig) {
  std::vector<FunctionRecord> records;
  for (const FunctionRow& row : kDemoRows) {
    FunctionRecord record{.rig = rig, .freq = row.khz, .mode = row.mode, .scan = row.scan, .description = row.note};
    if (row.key > 0) record.texts[row.key - 1] = row.text;
    if (row.key > 0) record.presses[row.key - 1] = row.press;
    records.push_back(std::move(record));
  }
  const auto put = store.PutBack(records);
  return put ? Ok() : Status(put.error());
}

/// Four ranges, and a first bearing before there is a rotator to miss.
Status PutAntennas(accessories::AntennaControl& antennas) {
  using enum accessories::AntennaField;
  struct AntennaRow {
    const char* from;
    const char* to;
  };
  constexpr std::array kRanges{AntennaRow{"20", "95"}, AntennaRow{"80", "200"}, AntennaRow{"200", "290"},
                               AntennaRow{"290", "355"}};
  for (int antenna = 1; antenna <= accessories::kAntennas; ++antenna) {
    const AntennaRow& row = kRanges[static_cast<std::size_t>(antenna - 1)];
    if (const Status set = antennas.SetField(accessories::FromField(antenna), row.from); !set) return set;
    if (const Status set = antennas.SetField(accessories::ToField(antenna), row.to); !set) return set;
  }
  if (const Status gone = antennas.GoTo("38", false); !gone) return gone;
  antennas.SetBearing("FN31PR");
  if (const Status set = antennas.SetField(kLocator, "JN58TD"); !set) return set;
  return antennas.UsePreset("GS-232");
}

bool IsEmpty(const functions::MemoryChannels& memories) {
  for (int number = 1; number <= functions::kChannels; ++number) {
    if (!memories.channel(number).empty()) return false;
  }
  return true;
}

}  // namespace

void FillForDemonstration(Station& station) {
  const auto tell = [&station](const Status& done) {
    if (!done) station.Notice(done.error().message);
  };
  if (IsEmpty(station.memories)) tell(PutChannels(station.memories));
  const auto segments = station.tuner_notebook.Rows();
  const auto used = [](const accessories::TunerRow& row) { return row.stored || row.unsaved; };
  if (segments && std::none_of(segments->begin(), segments->end(), used)) tell(PutTuner(station.tuner_notebook));
  accessories::AntennaControl& antennas = station.accessories->antennas;
  if (antennas.field(accessories::AntennaField::kAnt1To).empty()) tell(PutAntennas(antennas));
  if (*station.console.RigName == "NONE") return;
  functions::RowReader reader = station.functions.store.Reader();
  if (reader.ReadSome() && reader.rows.empty()) tell(PutRows(station.functions.store, *station.console.RigName));
}

}  // namespace kvx::console
