#pragma once

#include <string>
#include <vector>

#include "cat/cat_fixture.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "keyer/keyer.h"

namespace kvx::keyer {

/// A station's keyer with a WinKeyer that has been started up.
struct StartedWinkeyer {
  explicit StartedWinkeyer(KeyerKind kind = KeyerKind::kWinkey) {
    keyer.on_notice = [this](const std::string& line) { told.push_back(line); };
    keyer.Use({.kind = kind, .port = 5, .key1 = true}, 3);
    station.loop.RunFor(std::chrono::milliseconds(1));
    Answer();
    station.loop.RunFor(std::chrono::seconds(1));
    keyer_port.TakeWrites();
    keyer_port.written.clear();
  }
  /// The replies of a start-up.
  void Answer() {
    for (const char* reply : {"A", "\x17", "\xC0"}) keyer_port.Arrive(reply);
  }
  /// It drops off its port and is back, silent.
  void ReturnSilent() {
    keyer_port.Lose();
    station.loop.RunFor(std::chrono::seconds(1));
  }

  TemporaryFolder folder;
  SystemFiles files;
  cat::Station station{"TS-2000"};
  FakeSerialPort keyer_port;
  std::vector<std::string> told;
  Keyer keyer{{.loop = station.loop,
               .console = station.console,
               .engine = station.engine,
               .files = files,
               .folder = folder.path(),
               .port = &keyer_port,
               .make_line = {},
               .make_backend = {}}};
};

}  // namespace kvx::keyer
