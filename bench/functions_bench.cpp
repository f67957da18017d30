// What a recall of the stored function keys costs on every step of the knob. Figures: docs/performance.md.

#include <benchmark/benchmark.h>

#include <string>

#include "cat/engine.h"
#include "config/rig_store.h"
#include "core/console.h"
#include "fakes/fake_serial_port.h"
#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"
#include "functions/function_keys.h"
#include "functions/record_csv.h"
#include "platform/posix/files.h"

namespace kvx {
namespace {

constexpr int kRows = 100'000;

/// The function keys over a store of a hundred thousand rows, 0.01 to 1000.00 kHz.
struct StoreBench {
  StoreBench() {
    auto store = config::Sqlite::OpenInMemory("store");
    ready =
        config::CompleteTables(*store).ok() &&
        store
            ->Run("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " + std::to_string(kRows) +
                  ") INSERT INTO rigfn (RigName, Freq, FNT1, FNT2, Mode, \"Desc\")"
                  " SELECT 'TS-2000', printf('%d.%02d', i / 100, i % 100), '0600', '0744', '', 'a note' FROM n")
            .ok() &&
        files.Write(folder / "rigsetup.sqlite", *store->Serialize()).ok();
    console.RigName.Set("TS-2000");
  }

  TemporaryFolder folder;
  platform::PosixFiles files;
  VirtualLoop loop;
  Console console;
  FakeSerialPort port;
  cat::Engine engine{loop, console, port};
  functions::FunctionKeys functions{loop, console, engine.operations, files, folder.path()};
  bool ready = false;
};

/// `stored`: whether there is a row for the frequency.
void Recall(benchmark::State& state, bool stored) {
  StoreBench bench;
  if (!bench.ready) return state.SkipWithError("the store could not be made");
  std::int64_t step = 0;
  for (auto _ : state) {
    step = (step + 7919) % kRows;
    bench.console.FreqDisp.Set({(step + (stored ? 1 : 2 * kRows)) * 100});
    bench.functions.keys.GetFN();
  }
  if (stored && bench.console.Text5[0] != "0600") state.SkipWithError("nothing was recalled");
}
BENCHMARK_CAPTURE(Recall, stored, true)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Recall, nothing_stored, false)->Unit(benchmark::kMicrosecond);

void ListAndFormat(benchmark::State& state) {
  StoreBench bench;
  if (!bench.ready) return state.SkipWithError("the store could not be made");
  for (auto _ : state) {
    functions::RowReader reader = bench.functions.store.Reader();
    for (Result<bool> last = false; last && !*last;) {
      last = reader.ReadSome();
      benchmark::DoNotOptimize(functions::FormatRecords(reader.rows));
    }
  }
}
BENCHMARK(ListAndFormat)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kvx
