#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "cat/engine.h"
#include "config/rig_csv.h"
#include "core/hex_text.h"
#include "core/text.h"
#include "fakes/fake_serial_port.h"
#include "fakes/virtual_loop.h"

namespace kvx::cat {

using namespace std::chrono_literals;
using namespace std::string_literals;

inline std::string ReadWhole(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The rows that are shipped, by name.
inline const std::map<std::string, config::RigRow>& ShippedRigs() {
  static const std::map<std::string, config::RigRow> rigs = [] {
    std::map<std::string, config::RigRow> result;
    for (const auto& file : std::filesystem::directory_iterator(KVX_DATA "/rigs")) {
      const auto rows = config::ParseRigCsv(ReadWhole(file.path()));
      EXPECT_TRUE(rows.ok()) << file.path();
      for (const config::RigRow& row : *rows) result[row.name()] = row;
    }
    return result;
  }();
  return rigs;
}

/// A row of a test's own: fields as "Field=value"; "hex" and "rev" switch the encoding.
inline config::RigRow MakeRow(const std::string& name, const std::string& family,
                              const std::vector<std::string>& fields) {
  config::RigRow row;
  row.Set("RigName", name);
  row.Set("RigType", family);
  for (const std::string& field : fields) {
    if (field == "hex") row.send_as_hex = true;
    if (field == "rev") row.rev_data = true;
    const std::size_t equals = field.find('=');
    if (equals == std::string::npos) continue;
    EXPECT_TRUE(row.Set(field.substr(0, equals), field.substr(equals + 1))) << field;
  }
  return row;
}

/// Bytes from pairs with blanks ("01 40 25 00 01").
inline std::string Bytes(std::string_view pairs) {
  const auto bytes = BytesFromHex(WithoutBlanks(pairs));
  EXPECT_TRUE(bytes.has_value()) << pairs;
  return bytes.value_or("");
}

/// A CAT engine on a fake line in virtual time: `Station station("TS-2000");`. Nothing is polled until Beat.
struct Station {
  explicit Station(const std::string& rig) : Station(ShippedRigs().at(rig)) {}
  explicit Station(config::RigRow row) {
    Use(std::move(row));
    engine.link.OpenRigPort({.number = 1, .speed = 38400}, true);
    port.on_write = [this](std::string_view bytes) { sent.push_back({loop.Now() - start, Shown(bytes)}); };
  }

  void Use(config::RigRow row) { engine.UseRig(config::LoadDefinition(std::move(row))); }
  bool binary() const { return engine.rig().binary(); }
  std::string Shown(std::string_view bytes) const { return binary() ? SpacedHex(bytes) : ToVisible(bytes); }
  std::string FromShown(std::string_view text) const { return binary() ? Bytes(text) : FromVisible(text); }
  void Arrive(std::string_view shown) { port.Arrive(FromShown(shown)); }
  /// What was written since the last call.
  std::string Written() {
    sent.clear();
    return Shown(std::exchange(port.written, {}));
  }
  SendOutcome Send(std::string_view key) { return engine.dispatcher.SendData(key); }

  /// The clock's text changes every `interval` from now on, the first time after one interval.
  void Beat(Duration interval) { clock = RunClock(interval); }
  Task RunClock(Duration interval) {
    TimePoint next = loop.Now();
    while (true) {
      next += interval;
      co_await loop.SleepUntil(next);
      console.RIGGMT.Set(std::to_string(++beats));
    }
  }
  /// "250 SM0;" for each write since the last call: milliseconds since `start`, bytes.
  std::vector<std::string> Log() {
    std::vector<std::string> log;
    for (const auto& [when, bytes] : std::exchange(sent, {})) {
      log.push_back(std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(when).count()) + " " + bytes);
    }
    return log;
  }
  /// "14025.37 CW": what the console shows.
  std::string Display() const { return KhzText(*console.FreqDisp) + " " + std::string(Trim(*console.Mode)); }

  VirtualLoop loop;
  Console console;
  FakeSerialPort port;
  Engine engine{loop, console, port};
  TimePoint start = loop.Now();
  std::vector<std::pair<Duration, std::string>> sent;
  int beats = 0;
  Task clock;
};

using Log = std::vector<std::string>;

}  // namespace kvx::cat
