#include "console/debug_log.h"

#include "console_fixture.h"

namespace kvx::console {
namespace {

struct Log {
  explicit Log(const std::string& rig = "TS-2000") : bench(RigIni(rig)) { bench.StartQuiet(); }
  /// "< FA00014025000;" and so on.
  std::vector<std::string> Lines(const TrafficFilter& filter = {}) const {
    std::vector<std::string> lines;
    const TrafficRing& ring = log.ring();
    for (auto number = ring.first(); number < ring.end(); ++number) {
      const Traffic& entry = ring.at(number);
      if (log.text().Passes(entry, filter))
        lines.push_back((entry.direction == Direction::kSent ? "> " : "< ") + TrafficText::Text(entry));
    }
    return lines;
  }

  Bench bench;
  DebugLog& log = bench.station.debug_log;
};
using Lines = std::vector<std::string>;

TEST(DebugLog, RecordsWhileItIsOpenAndIsNoHookOtherwise) {
  Log log;
  cat::RigLink& link = log.bench.station.engine.link;
  const auto exchange = [&] {
    log.bench.station.engine.dispatcher.SendData("XUSB");
    log.bench.port.Arrive("?;");
  };
  exchange();
  EXPECT_EQ(log.Lines(), Lines{});
  EXPECT_FALSE(link.DisplayTX || link.DisplayRCV);
  log.log.Open();
  log.log.Open();
  exchange();
  log.log.Close();
  exchange();
  EXPECT_EQ(log.Lines(), (Lines{"> MD2;", "< ?;", "> MD2;", "< ?;"}));
  log.log.Close();
  log.log.Close();  // once too often
  EXPECT_FALSE(link.DisplayTX || link.DisplayRCV);
  exchange();
  EXPECT_EQ(log.Lines().size(), 4U);
  EXPECT_FALSE(log.log.is_open());
}

TEST(DebugLog, ListenersAndTheRecordingDoNotKnowOfEachOther) {
  Log log;
  std::string first, second;
  auto listening = log.log.Listen([&](Direction, std::string_view bytes) { first += bytes; });
  {
    DebugLog::Listening inner;
    inner = log.log.Listen([&](Direction direction, std::string_view bytes) {
      second += (direction == Direction::kSent ? '>' : '<') + std::string(bytes);
      inner = DebugLog::Listening();  // from inside its own call
    });
    log.bench.station.engine.dispatcher.SendData("XUSB");
    log.bench.station.engine.dispatcher.SendData("XLSB");
  }
  log.log.Open();
  log.bench.port.Arrive("ID019;");
  log.log.Close();
  log.bench.port.Arrive("?;");
  listening = DebugLog::Listening();
  log.bench.port.Arrive("?;");
  EXPECT_EQ(second, ">MD2;");
  EXPECT_EQ(first, "MD2;MD1;ID019;?;");
  EXPECT_EQ(log.Lines(), Lines{"< ID019;"});
  EXPECT_FALSE(log.bench.station.engine.link.DisplayTX);
}

TEST(DebugLog, RepliesAreWholeWhateverPiecesTheyComeIn) {
  struct Row {
    std::string rig;
    std::vector<std::pair<std::string, Duration>> pieces;  // and the pause after each
    Lines lines;
    std::size_t settled;
  };
  const std::vector<Row> rows{
      {"TS-2000", {{"FA000", 2ms}, {"14025", 2ms}, {"000;", 0ms}}, {"< FA00014025000;"}, 1},
      {"TS-2000", {{"SM00015;MD3;FA0", 0ms}}, {"< SM00015;", "< MD3;", "< FA0"}, 2},
      {"TS-2000", {{"FA0", 20ms}, {"MD3;", 0ms}}, {"< FA0", "< MD3;"}, 2},
      {"TS-2000", {{"?\r\n\x07", 20ms}}, {"< ?<CR><LF><0x07>"}, 1},
      {"IC-7300", {{"\xFE\xFE\xE0\x94", 2ms}, {"\xFB\xFD\xFE\xFE", 9ms}}, {"< ......", "< .."}, 2},
      {"FT-857", {{"\x01\x40\x25", 2ms}, {"\x37\x02", 0ms}}, {"< .@%7."}, 0},
      {"Orion", {{"@AF0141", 2ms}, {"00000\r@", 0ms}}, {"< @AF014100000<CR>", "< @"}, 1},
  };
  for (const Row& row : rows) {
    Log log(row.rig);
    log.log.Open();
    for (const auto& [bytes, pause] : row.pieces) {
      log.bench.port.Arrive(bytes);
      log.bench.loop.RunFor(pause);
    }
    EXPECT_EQ(log.Lines({.sent = false}), row.lines) << row.rig;
    const TrafficRing& ring = log.log.ring();
    std::size_t settled = 0;
    for (auto number = ring.first(); number < log.log.settled_end(); ++number)
      settled += ring.at(number).direction == Direction::kReceived;
    EXPECT_EQ(settled, row.settled) << row.rig << " " << row.lines.front();
  }
}

TEST(DebugLog, IsBoundedWhateverComes) {
  TrafficRing ring;
  for (int i = 0; i < 25'000; ++i) ring.Add({.bytes = std::to_string(i)});
  EXPECT_EQ(ring.end() - ring.first(), 20'000U);
  EXPECT_EQ(ring.at(ring.first()).bytes, "5000");
  EXPECT_EQ(ring.at(24'999).bytes, "24999");
  for (int i = 0; i < 10'000; ++i) ring.Add({.bytes = std::string(1000, 'x')});
  EXPECT_LE(ring.bytes(), 4U << 20);
  EXPECT_GT(ring.bytes(), (4U << 20) - 2000);
  const auto end = ring.end();
  ring.Clear();
  EXPECT_EQ(ring.first(), end);
  EXPECT_EQ(ring.bytes(), 0U);

  Log log;
  log.log.Open();
  for (int i = 0; i < 1000; ++i) log.bench.port.Arrive(std::string(100, '@'));  // no end mark in it
  EXPECT_EQ(log.log.ring().bytes(), 100'000U);
  EXPECT_EQ(log.log.ring().at(log.log.ring().first()).bytes.size(), 256U);
}

TEST(DebugLog, TheFilterLooksAtTextBytesAndDirection) {
  Log log;
  log.log.Open();
  log.bench.station.engine.dispatcher.SendData("XUSB");
  log.bench.port.Arrive("FA00014025000;MD2;\xFE\xFE\x94\xFD");
  const std::string fa = "< FA00014025000;", md = "< MD2;", icom = "< ....";
  struct Row {
    TrafficFilter filter;
    Lines lines;
  };
  for (const Row& row : {
           Row{{}, {"> MD2;", fa, md, icom}},
           Row{{.text = "md2"}, {"> MD2;", md}},
           Row{{.text = "md2", .sent = false}, {md}},
           Row{{.text = "fe 94"}, {icom}},
           Row{{.text = "FEFE94"}, {icom}},
           Row{{.text = "E9"}, {}},  // across two bytes
           Row{{.text = "1402"}, {fa}},
           Row{{.received = false}, {"> MD2;"}},
           Row{{.sent = false, .received = false}, {}},
           Row{{.text = "nowhere"}, {}},
       }) {
    EXPECT_EQ(log.Lines(row.filter), row.lines) << row.filter.text;
  }
}

TEST(DebugLog, SavesWhatPassesTheFilterWithTimeTextAndBytes) {
  Log log;
  log.log.Open();
  log.bench.station.engine.dispatcher.SendData("ZZ!;");
  log.bench.loop.RunFor(1500ms);
  log.bench.port.Arrive("?;");
  const auto file = log.bench.folder / "debug.txt";
  ASSERT_TRUE(log.log.SaveTo(file, log.log.ring(), {}).ok());
  EXPECT_EQ(log.bench.folder.Get("debug.txt"),
            "# 2026-11-21 UTC, TS-2000, 38400 baud; > sent, < received\n"
            "14:00:10.001 > ZZ!;                                      5A 5A 22 3B\n"
            "14:00:11.501 < ?;                                        3F 3B\n");
  ASSERT_TRUE(log.log.SaveTo(file, log.log.ring(), {.sent = false}).ok());
  EXPECT_EQ(log.bench.folder.Get("debug.txt").find('>', 50), std::string::npos);
  const Status nowhere = log.log.SaveTo(log.bench.folder / "no" / "folder.txt", log.log.ring(), {});
  ASSERT_FALSE(nowhere.ok());
  EXPECT_NE(nowhere.error().message.find("folder.txt"), std::string::npos);
}

}  // namespace
}  // namespace kvx::console
