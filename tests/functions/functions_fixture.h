#pragma once

#include <string>
#include <vector>

#include "cat/cat_fixture.h"
#include "config/rig_store.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "functions/function_keys.h"
#include "functions/memory_channels.h"

namespace kvx::functions {

using namespace std::chrono_literals;
using namespace std::string_literals;

/// A text rig with all modes, and function keys 1 to 9 that send "K1;" to "K9;".
inline config::RigRow Rig(const std::string& name = "T-1") {
  std::vector<std::string> fields{"SetFreq=FA<FREQ11>;",
                                  "USB=MU;",
                                  "LSB=ML;",
                                  "CWw=MC;",
                                  "CWn=MN;",
                                  "FMw=MF;",
                                  "FMn=MX;",
                                  "AM=MA;",
                                  "RTTY=MR;",
                                  "VFOA=VA;",
                                  "VFOB=VB;",
                                  "MEMO5=S1;/S2;",
                                  "XITOFF=V1;",
                                  "Memo6=C1;"};
  for (int i = 1; i <= 9; ++i) fields.push_back("Function" + std::to_string(i) + "=K" + std::to_string(i) + ";");
  return cat::MakeRow(name, "KENWOOD", fields);
}

/// An empty store of the station.
inline void MakeStore(const platform::Path& file, platform::Files& files) {
  auto store = config::Sqlite::OpenInMemory("store");
  EXPECT_TRUE(config::CompleteTables(*store).ok());
  EXPECT_TRUE(files.Write(file, *store->Serialize()).ok());
}

inline std::vector<FunctionRecord> AllRows(const FunctionStore& store) {
  std::vector<FunctionRecord> all;
  RowReader reader = store.Reader();
  for (Result<bool> last = false; last && !*last;) {
    last = reader.ReadSome();
    EXPECT_TRUE(last.ok());
    all.insert(all.end(), reader.rows.begin(), reader.rows.end());
  }
  return all;
}

/// The function keys and memories on a text rig in virtual time; what windows would show is in `shown`.
struct Bench {
  Bench() {
    MakeStore(folder / "rigsetup.sqlite", files);
    rig.console.RigName.Set("T-1");
    functions.keys.press = [this](int number) { rig.Send("XFN" + std::to_string(number)); };
    functions.dialogs.show = [this](const std::string& text) { shown.push_back(text); };
    functions.scanner.level = [this] { return level; };
    functions.scanner.channels = [this] { return ChannelStops(memories); };
    functions.scanner.recall = [this](int channel) { return memories.Recall(channel); };
  }

  config::Sqlite Other() { return std::move(*config::Sqlite::Open(folder / "rigsetup.sqlite")); }
  void Sql(const std::string& sql) { EXPECT_TRUE(Other().Run(sql).ok()) << sql; }
  /// The first value that the query gives, "-" for a Null.
  std::string Query(const std::string& sql) {
    auto store = Other();
    auto statement = store.Prepare(sql);
    EXPECT_TRUE(statement && *statement->Step()) << sql;
    return statement->IsNull(0) ? "-" : statement->Text(0);
  }
  void Texts(const std::string& text) {
    for (std::size_t i = 0; i < kKeys; ++i) rig.console.Text5.Set(i, text + std::to_string(i + 1));
  }
  /// Tunes there and gives what went to the rig within `moment`.
  std::string Tune(const std::string& khz, Duration moment = 1s) {
    rig.Written();
    rig.engine.operations.TuneTo(*ParseKhz(khz));
    rig.loop.RunFor(moment);
    return rig.Written();
  }
  /// A row of the rig in use, marked for scanning.
  void Row(const std::string& freq, const std::string& scan = "Y", const std::string& name = "T-1") {
    Sql("INSERT INTO rigfn (RigName, Freq, Mode, Scan) VALUES ('" + name + "', '" + freq + "', 'USB', '" + scan + "')");
  }

  TemporaryFolder folder;
  SystemFiles files;
  cat::Station rig{Rig()};
  FunctionKeys functions{rig.loop, rig.console, rig.engine.operations, files, folder.path()};
  MemoryChannels memories{rig.console, rig.engine.operations, rig.engine.dispatcher, files, folder.path()};
  std::vector<std::string> shown;
  int level = 0;
};

}  // namespace kvx::functions
