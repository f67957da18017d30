// What the operator's clicks and the rig's replies cost, without the line's own time. Figures: docs/performance.md.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "cat/engine.h"
#include "config/rig_csv.h"
#include "config/settings.h"
#include "config/station_settings.h"
#include "fakes/fake_serial_port.h"
#include "fakes/virtual_loop.h"

namespace kvx {
namespace {

using namespace std::string_literals;

std::string FileText(const std::string& name) {
  std::ifstream file(std::string(KVX_DATA) + "/rigs/" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The engine of one shipped rig, its port open, and the port in memory.
struct Bench {
  Bench(const std::string& file, std::string_view rig) {
    auto rows = config::ParseRigCsv(FileText(file));
    if (!rows) return;
    const auto row = std::find_if(rows->begin(), rows->end(), [&](const auto& r) { return r.name() == rig; });
    if (row == rows->end()) return;
    engine.UseRig(config::LoadDefinition(*row));
    engine.link.OpenRigPort({.number = 1, .speed = 115'200}, true);
    ready = engine.link.is_open();
  }

  /// What the port was given last; the port's own record must not grow with the run.
  std::string TakeWritten() {
    port.writes.clear();
    return std::exchange(port.written, {});
  }

  VirtualLoop loop;
  Console console;
  FakeSerialPort port;
  cat::Engine engine{loop, console, port};
  bool ready = false;
};

struct Send {
  const char* file;
  const char* rig;
  std::string bytes;  ///< of 14025.00 kHz
};

/// A frequency as the operator chose it, to the bytes at the port.
void TemplateToBytes(benchmark::State& state, const Send& send) {
  Bench bench(send.file, send.rig);
  if (!bench.ready) return state.SkipWithError("the rig's row cannot be loaded");
  bench.engine.operations.FChange(Frequency::FromKhz(14'025));
  bench.TakeWritten();
  bench.engine.dispatcher.SendData("XSETFREQ");
  if (bench.TakeWritten() != send.bytes) return state.SkipWithError("the bytes are wrong");
  for (auto _ : state) {
    bench.engine.dispatcher.SendData("XSETFREQ");
    benchmark::DoNotOptimize(bench.port.written.data());
    bench.port.written.clear();
    bench.port.writes.clear();
  }
}
BENCHMARK_CAPTURE(TemplateToBytes, ts2000, Send{"kenwood.csv", "TS-2000", "FA00014025000;"});
BENCHMARK_CAPTURE(TemplateToBytes, ic7300,
                  Send{"icom.csv", "IC-7300", "\xFE\xFE\x94\xE0\x05\x00\x50\x02\x14\x00\xFD"s});
BENCHMARK_CAPTURE(TemplateToBytes, ft857, Send{"yaesu.csv", "FT-857", "\x01\x40\x25\x00\x01"s});

struct Report {
  const char* file;
  const char* rig;
  std::array<std::string, 2> replies;  ///< of 14025.00 and 14026.00 kHz: every one changes the display
};

/// Bytes at the port to the frequency on the display.
void ReplyToDisplay(benchmark::State& state, const Report& report) {
  Bench bench(report.file, report.rig);
  if (!bench.ready) return state.SkipWithError("the rig's row cannot be loaded");
  bench.port.Arrive(report.replies[0]);
  const Frequency first = *bench.console.FreqDisp;
  bench.port.Arrive(report.replies[1]);
  if (first != Frequency::FromKhz(14'025) || *bench.console.FreqDisp != Frequency::FromKhz(14'026)) {
    return state.SkipWithError("the display does not follow");
  }
  std::size_t turn = 0;
  for (auto _ : state) {
    bench.port.Arrive(report.replies[turn]);
    benchmark::DoNotOptimize(*bench.console.FreqDisp);
    turn = 1 - turn;
  }
}
BENCHMARK_CAPTURE(ReplyToDisplay, kenwood_if,
                  Report{"kenwood.csv",
                         "TS-2000",
                         {"IF00014025000     +00000000003000000 ;", "IF00014026000     +00000000003000000 ;"}});
BENCHMARK_CAPTURE(ReplyToDisplay, civ_frequency,
                  Report{"icom.csv",
                         "IC-7300",
                         {"\xFE\xFE\xE0\x94\x03\x00\x50\x02\x14\x00\xFD"s,
                          "\xFE\xFE\xE0\x94\x03\x00\x60\x02\x14\x00\xFD"s}});

/// rig.ini as a station keeps it, to typed settings.
void SettingsParse(benchmark::State& state) {
  std::string content =
      "XRIG=TS-2000\r\nRIGTYPE=KENWOOD\r\nRIGPORT= 3\r\nRIGSPEED= 38400\r\nRIGSTOP=1\r\nRIGNUMBER=1\r\n";
  for (int band = 1; band <= config::kBandMemories; ++band) {
    content += config::BandKey("BANDREM", band) + "14025.00\r\n" + config::BandKey("BANDMODE", band) + " CW\r\n";
  }
  for (int slot = 1; slot <= config::kSavedRigs; ++slot) content += config::SavedRigKey("RIG", slot) + "FT-857\r\n";
  if (config::StationSettings::From(config::Settings::Parse(content)).rig_speed != 38'400) {
    return state.SkipWithError("the settings are wrong");
  }
  for (auto _ : state) {
    auto settings = config::StationSettings::From(config::Settings::Parse(content));
    benchmark::DoNotOptimize(settings);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(content.size()));
}
BENCHMARK(SettingsParse)->Unit(benchmark::kMicrosecond);

/// All shipped rows of a maker, as a first start reads them.
void RigRowsParse(benchmark::State& state) {
  const std::string csv = FileText("yaesu.csv");
  if (!config::ParseRigCsv(csv)) return state.SkipWithError("data/rigs/yaesu.csv cannot be read");
  for (auto _ : state) {
    auto rows = config::ParseRigCsv(csv);
    benchmark::DoNotOptimize(rows);
  }
}
BENCHMARK(RigRowsParse)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kvx

BENCHMARK_MAIN();
