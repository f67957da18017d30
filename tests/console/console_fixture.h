#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "console/station.h"
#include "core/hex_text.h"
#include "core/text.h"
#include "fakes/fake_dde.h"
#include "fakes/fake_serial_port.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"

namespace kvx::console {

using namespace std::chrono_literals;
using namespace std::string_literals;

/// A rig.ini with that rig on port 3, and more lines.
inline std::string RigIni(const std::string& rig, int speed = 38400, const std::string& more = "") {
  return "XRIG=" + rig + "\nRIGPORT= 3\nRIGSPEED= " + std::to_string(speed) + "\nRIGSTOP= 1\n" + more;
}

/// A station in a folder of its own, with the shipped data, a fake or simulated rig port and virtual time:
/// `Bench bench(RigIni("TS-2000"));`
template <class Port>
struct BenchOn {
  explicit BenchOn(const std::string& rig_ini, const std::string& device = "", bool links = false)
      : port(MakePort(device, loop)), with_links(links) {
    if (!rig_ini.empty()) folder.Put("rig.ini", rig_ini);
  }
  static Port MakePort(const std::string& device, Loop& loop) {
    if constexpr (std::is_default_constructible_v<Port>) {
      return Port();
    } else {
      return Port(device, loop);
    }
  }
  /// Starts the console, and lets a moment pass.
  void Start(Duration moment = 1ms) {
    station.Start();
    loop.RunFor(moment);
  }
  /// Starts it without polling, and forgets what a rig that has just been connected is asked.
  void StartQuiet() {
    Start();
    station.console.Polling.Set(false);
    loop.RunFor(10s);
    port.written.clear();
  }
  /// What is behind the keyer's port answers as a WinKeyer does.
  void AnswerAsWinkey() {
    keyer_port.on_write = [this](std::string_view bytes) {
      const char reply = bytes == "\x13\x13\x13\0\x04\x41"s ? 'A' : bytes == "\0\x02"s ? '\x17' : '\xC0';
      loop.StartTimer(loop.Now() + 20ms, [this, reply] { keyer_port.Arrive(std::string(1, reply)); });
    };
  }
  void ShutDown() {
    const Task task = station.ShutDown();
    loop.RunFor(10s);
    EXPECT_TRUE(task.done());
  }
  /// "14025.37 CW".
  std::string Display() const {
    return KhzText(*station.console.FreqDisp) + " " + std::string(Trim(*station.console.Mode));
  }

  TemporaryFolder folder;
  SystemFiles files;
  VirtualLoop loop;
  Port port;
  FakeSerialPort keyer_port;
  FakeSerialPort logger_port;
  FakeSerialPort logger_keyer_port;
  FakeDde dde;
  const bool with_links;  ///< to a logger and to DDE clients
  Station station{{.loop = loop,
                   .files = files,
                   .rig_port = port,
                   .folder = folder.path(),
                   .data = KVX_DATA,
                   .keyer_port = &keyer_port,
                   .loggers = {.cat = with_links ? &logger_port : nullptr, .winkey = &logger_keyer_port},
                   .dde = with_links ? &dde : nullptr}};
};
using Bench = BenchOn<FakeSerialPort>;

}  // namespace kvx::console
