#include "cat/cat_fixture.h"
#include "input.h"

namespace {

/// The fields that are sent, and the keys that send them.
constexpr std::array kTried{
    std::pair{"SetFreq", "XSETFREQ"}, std::pair{"LSB", "XLSB"},           std::pair{"GetFreq", "XGETFREQ"},
    std::pair{"AFGain", "XSETAF"},    std::pair{"Function1", "XFN1"},     std::pair{"GetAF", "XGETAF"},
    std::pair{"Alpha", "XSETALPHA"},  std::pair{"ReadMode", "XREADMODE"},
};
constexpr std::size_t kMostForOneCommand = 1U << 20;

}  // namespace

/// A rig definition whose templates may be anything, and the replies that answer them.
KVX_FUZZ(input) {
  using namespace kvx;
  const std::uint8_t kind = input.Byte();
  constexpr std::array kFamilies{"KENWOOD", "YAESU", "ICOM", "TEN-TEC"};
  config::RigRow row;
  row.Set("RigName", "any");
  row.Set("RigType", kFamilies[kind % kFamilies.size()]);
  row.send_as_hex = kind & 0x10;
  row.rev_data = kind & 0x20;
  for (const auto& [field, key] : kTried) row.Set(field, std::string(input.Piece()));
  cat::Station station(row);
  for (const auto& [field, key] : kTried) {
    station.Send(key);
    station.loop.RunFor(std::chrono::milliseconds(200));
    station.port.Arrive(input.Piece());
    fuzz::Demand(station.port.written.size() < kMostForOneCommand, "a command is bounded");
    station.Written();
  }
}
