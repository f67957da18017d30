#include "links/logger_bridge.h"

#include <random>

#include "cat/cat_fixture.h"
#include "fakes/fake_inspectors.h"
#include "keyer/started_winkeyer.h"
#include "links/keyer_link.h"
#include "links/logger_process.h"

namespace kvx::links {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using Lines = std::vector<std::string>;

constexpr std::size_t kStatusLength = 38;

LinkPort On(int number) {
  return {.name = std::to_string(number), .number = number, .on = true};
}

/// A rig, and a logger before it: `Bench bench("TS-2000"); bench.Ask("FA;")`.
struct Bench {
  explicit Bench(const std::string& rig = "TS-2000", const std::string& mode = "USB") : station(rig) {
    bridge.on_notice = [this](const std::string& line) { notices.push_back(line); };
    station.console.Mode.Set(mode);
    station.console.FreqDisp.Set(Frequency::FromHz(14'025'000));
    bridge.Use(On(7));
    station.Written();
  }
  /// What the logger gets for some bytes, by the time they have been taken.
  std::string Ask(std::string_view bytes) {
    port.written.clear();
    port.Arrive(bytes);
    return std::exchange(port.written, {});
  }
  /// What the rig has got by now.
  std::string Sent() { return station.Written(); }
  bool keyed() const { return *station.console.Transmitting; }

  cat::Station station;
  FakeSerialPort port;
  LoggerBridge bridge{station.loop, station.console, station.engine, port};
  Lines notices;
};

TEST(LoggerBridge, AnswersFromTheConsoleInOneWriteAndAsksTheRigNothing) {
  struct Row {
    const char* arrives;
    const char* reply;
  };
  const Row rows[] = {
      {"FA;", "FA00014025000;"},
      {"FB;", "FB00014025000;"},
      {"IF;", "IF000140250000001+0000000000030000000;"},
      {"FA;FB;", "FA00014025000;FB00014025000;"},
      {"FB;FA;", "FA00014025000;FB00014025000;"},
      {"IF;FB;FA;FA;", "FA00014025000;FB00014025000;IF000140250000001+0000000000030000000;FA00014025000;"},
      {"AI;", "AI0;"},
      {"FA;AI;PS;", "AI0;PS1;FA00014025000;"},
      {"AI0;AI2;PS1;", ""},
      {"AI2;AI;AI0;AI;", "AI2;AI0;"},
      {"AI;AI9;AI1", "AI0;"},
      {"\r\nif;\r\n", "IF000140250000001+0000000000030000000;"},
      {"xxFA;", "FA00014025000;"},
      {"ID;MD;SM0;;;FA1X;FA-FB;FA;", "FA00014025000;FB00014025000;"},
  };
  for (const Row& row : rows) {
    Bench bench("TS-2000", "  CW");
    EXPECT_EQ(bench.Ask(row.arrives), row.reply) << row.arrives;
    EXPECT_EQ(bench.bridge.activity().answer(), row.reply) << row.arrives;
    EXPECT_LE(bench.port.writes.size(), 1u) << row.arrives;
    EXPECT_EQ(bench.Sent(), "") << row.arrives;
  }
}

TEST(LoggerBridge, TheStatusHasItsFieldsWhereAKenwoodHasThem) {
  struct Row {
    const char* mode;
    char digit;
  };
  for (const Row& row : {Row{" LSB", '1'}, Row{" USB", '2'}, Row{"  CW", '3'}, Row{"  FM", '4'}, Row{"  AM", '5'},
                         Row{"RTTY", '6'}, Row{"", '3'}}) {
    Bench bench("TS-2000", row.mode);
    EXPECT_EQ(bench.Ask("IF;"), "IF000140250000001+00000000000"s + row.digit + "0000000;") << row.mode;
  }
  Bench bench;
  Console& console = bench.station.console;
  console.ActiveVfo.Set('B');
  console.Transmitting.Set(true);
  EXPECT_EQ(bench.Ask("IF;"), "IF000140250000001+0000000000121000000;");
  for (const std::int64_t hertz : {0LL, -5000LL, 99'999'999'999LL, 1'000'000'000'000LL}) {
    console.FreqDisp.Set(Frequency::FromHz(hertz));
    EXPECT_EQ(bench.Ask("IF;").size(), kStatusLength) << hertz;
    EXPECT_EQ(bench.Ask("FA;").size(), 14u) << hertz;
  }
}

TEST(LoggerBridge, SetsReachTheRigAndEveryReplyBehindThemTellsThem) {
  struct Row {
    const char* rig;
    const char* arrives;
    const char* sent;
    const char* reply;
  };
  const Row rows[] = {
      {"TS-2000", "FA00014030000;", "FA00014030000;", ""},
      {"TS-2000", "FA00014030000;FA;", "FA00014030000;", "FA00014030000;"},
      {"TS-2000", "FA;FA00014030000;", "FA00014030000;", "FA00014025000;"},
      {"TS-2000", "FA14030370;FA;", "FA00014030370;", "FA00014030370;"},
      {"TS-2000", "FA99FA00014030000;", "FA00014030000;", ""},
      {"TS-2000", "FB00007000000;FB;FA;IF;", "FB00007000000;FB;",
       "FA00014025000;FB00007000000;IF000140250000001+0000000000020000000;"},
      {"TS-2000", "FA00000000000;FA00000029999;FA99999999999;FA123456789012;FA-7000000;FA7e6;FA000140;FA 7000000;", "",
       ""},
      {"FT-857", "FA00014030000;IF;", "01 40 30 00 01", "IF000140300000001+0000000000020000000;"},
      {"IC-7300", "FA00014030000;FA;", "FE FE 94 E0 05 00 00 03 14 00 FD", "FA00014030000;"},
  };
  for (const Row& row : rows) {
    Bench bench(row.rig);
    EXPECT_EQ(bench.Ask(row.arrives), row.reply) << row.arrives;
    EXPECT_EQ(bench.Sent(), row.sent) << row.rig << " " << row.arrives;
  }
}

TEST(LoggerBridge, ACommandIsDealtWithWhenItIsWholeHoweverItArrives) {
  const std::string polls = "IF;FA00014030000;FB;AI;FA;";
  for (std::size_t first = 0; first <= polls.size(); ++first) {
    for (std::size_t second = first; second <= polls.size(); ++second) {
      Bench bench;
      std::string replies = bench.Ask(polls.substr(0, first));
      replies += bench.Ask(polls.substr(first, second - first));
      replies += bench.Ask(polls.substr(second));
      EXPECT_EQ(replies.size(), kStatusLength + 4 + 14 + 14) << first << " " << second;
      EXPECT_EQ(bench.Sent(), "FA00014030000;") << first << " " << second;
      EXPECT_EQ(bench.bridge.activity().asked(), 5u);
    }
  }
}

TEST(LoggerBridge, TransmitsButInCwAndReleasesInEveryMode) {
  Bench bench("TS-2000", "  CW");
  EXPECT_EQ(bench.Ask("TX;RX;"), "");
  EXPECT_EQ(bench.Sent(), "") << "in CW the keyer transmits";
  bench.station.console.Mode.Set(" USB");
  bench.Ask("TX;");
  EXPECT_EQ(bench.Sent(), "TX;TX;");
  EXPECT_TRUE(bench.keyed());
  EXPECT_EQ(bench.Ask("IF;"), "IF000140250000001+0000000000120000000;");
  bench.station.console.Mode.Set("  CW");
  bench.Ask("RX;");
  EXPECT_EQ(bench.Sent(), "RX;RX;") << "the mode has changed meanwhile";
  EXPECT_FALSE(bench.keyed());
  bench.station.console.Mode.Set(" USB");
  EXPECT_EQ(bench.Ask("TX;IF;RX;IF;"), "IF000140250000001+0000000000120000000;IF000140250000001+0000000000020000000;");
  EXPECT_EQ(bench.Sent(), "TX;TX;RX;RX;");
}

TEST(LoggerBridge, TheFrequencyThatWasSetIsTheOneToTransmitOn) {
  Bench bench;
  for (int i = 0; i < 20; ++i) bench.Ask("FA0001400" + PadNumber(i * 10, 4) + ";");
  bench.Ask("TX;");
  const std::string sent = bench.Sent();
  EXPECT_TRUE(sent.ends_with("FA00014000190;TX;TX;")) << sent;
}

TEST(LoggerBridge, WhatTheLoggerHasKeyedIsReleasedWhenItCannotDoSoItself) {
  using End = void (*)(Bench&);
  const std::pair<const char*, End> ends[] = {
      {"off", [](Bench& bench) { bench.bridge.Switch(false).ok(); }},
      {"lost", [](Bench& bench) { bench.port.Lose(); }},
      {"closed", [](Bench& bench) { bench.bridge.Close(); }},
      {"no port any more", [](Bench& bench) { bench.bridge.Use({}); }},
      {"another port", [](Bench& bench) { bench.bridge.Use(On(8)); }},
  };
  for (const auto& [name, end] : ends) {
    Bench bench;
    bench.Ask("TX;");
    ASSERT_TRUE(bench.keyed());
    bench.Sent();
    end(bench);
    EXPECT_FALSE(bench.keyed()) << name;
    EXPECT_NE(bench.Sent().find("RX;"), std::string::npos) << name;
    Bench of_operator;
    of_operator.station.Send("XSETALPHA");
    end(of_operator);
    EXPECT_TRUE(of_operator.keyed()) << name << ": the operator's transmission is not the logger's to end";
  }
}

TEST(LoggerBridge, AnotherProgramsTransmissionIsLeftAlone) {
  Bench bench;
  const cat::Party program = bench.station.engine.transmission.NewParty();
  bench.station.engine.dispatcher.KeyTransmitter(program);
  bench.Sent();
  bench.Ask("TX;RX;");
  EXPECT_EQ(bench.Sent(), "");
  bench.bridge.Close();
  EXPECT_TRUE(bench.station.engine.transmission.is_of(program));
  bench.station.Send("XSETALPHA");  // the operator's is shared
  bench.bridge.Use(On(8));
  bench.Sent();
  bench.Ask("TX;");
  bench.bridge.Close();
  EXPECT_EQ(bench.Sent(), "TX;TX;");
  EXPECT_TRUE(bench.station.engine.transmission.is_of(cat::kOperator));
}

TEST(LoggerBridge, ALoggerThatVanishesReleasesUnlessItIsBackAtOnce) {
  Bench bench;
  bench.bridge.FarEndClosed();
  bench.Ask("TX;");
  bench.station.loop.RunFor(2s);
  EXPECT_TRUE(bench.keyed()) << "it had gone before, and came back";
  bench.bridge.FarEndClosed();
  bench.station.loop.RunFor(200ms);
  bench.Ask("IF;");
  bench.station.loop.RunFor(2s);
  EXPECT_TRUE(bench.keyed());
  bench.bridge.FarEndClosed();
  bench.station.loop.RunFor(400ms);
  EXPECT_FALSE(bench.keyed());
}

TEST(LoggerBridge, ThePortIsOpenedAsChosenAndFailureIsToldOnce) {
  struct Row {
    const char* name;
    int number;
    int opens;
  };
  for (const Row& row : {Row{"7", 7, 1}, Row{"0", 0, 0}, Row{"19", 19, 0}, Row{"none", 7, 0}, Row{"NONE", 7, 0}}) {
    cat::Station station("TS-2000");
    FakeSerialPort port;
    LoggerBridge bridge(station.loop, station.console, station.engine, port);
    Lines notices;
    bridge.on_notice = [&](const std::string& line) { notices.push_back(line); };
    bridge.Use({.name = row.name, .number = row.number});
    EXPECT_EQ(port.opens, row.opens) << row.name;
    EXPECT_EQ(notices, Lines{}) << row.name;
    if (row.opens > 0) {
      EXPECT_EQ(port.opened, (platform::PortSettings{.number = 7, .speed = 19'200, .dtr = true, .rts = true}));
    } else {
      EXPECT_FALSE(bridge.Switch(true).ok());
      EXPECT_EQ(notices, Lines{"Please select a comm port for N1MM or CWSkimmer in the config menu."});
      EXPECT_EQ(port.opens, 0);
    }
  }
  Bench bench;
  bench.bridge.Use({});
  bench.bridge.Use({.on = true});
  EXPECT_EQ(std::exchange(bench.notices, {}), Lines{kNoLoggerPort}) << "switched on in the settings";
  bench.port.absent = true;
  bench.bridge.Use(On(9));
  bench.bridge.Use(On(9));
  EXPECT_EQ(bench.notices, Lines{"Unable to open N1MM/CWSkimmer port"});
  LinkPort taken = On(3);
  taken.used_by = "the rig";
  bench.port.absent = false;
  const int opens = bench.port.opens;
  bench.bridge.Use(taken);
  EXPECT_EQ(bench.port.opens, opens);
  EXPECT_NE(bench.bridge.state().find("COM3 is the port of the rig"), std::string::npos) << bench.bridge.state();
  bench.bridge.Use(On(7));
  EXPECT_EQ(bench.Ask("FA;"), "FA00014025000;");
}

TEST(LoggerBridge, APortThatHasGoneIsOpenedWhenItIsBackAndBothAreSaidOnce) {
  Bench bench;
  bench.port.absent = true;
  bench.port.Lose();
  const int opens = bench.port.opens;
  bench.station.loop.RunFor(10min);
  EXPECT_GE(bench.port.opens - opens, 20);
  EXPECT_LE(bench.port.opens - opens, 30) << "later each time";
  bench.port.absent = false;
  bench.station.loop.RunFor(30s);
  EXPECT_EQ(bench.Ask("FA;"), "FA00014025000;");
  EXPECT_EQ(bench.notices,
            (Lines{"The port of the logger has gone: the device has gone", "The port of the logger is back"}));
  bench.bridge.Close();
  bench.station.loop.RunFor(1min);
  EXPECT_FALSE(bench.bridge.is_open()) << "closed on purpose";
}

TEST(LoggerBridge, SwitchedOffItTakesNothingAndKeepsNothingForLater) {
  Bench bench;
  std::string heard;
  bench.bridge.on_received = [&](std::string_view bytes) { heard += bytes; };
  bench.Ask("FA0001");
  ASSERT_TRUE(bench.bridge.Switch(false).ok());
  EXPECT_EQ(bench.Ask("4030000;FA;TX;"), "");
  ASSERT_TRUE(bench.bridge.Switch(true).ok());
  EXPECT_EQ(bench.Ask(";FA;"), "FA00014025000;");
  EXPECT_EQ(bench.Sent(), "");
  EXPECT_EQ(heard, "FA00014030000;FA;TX;;FA;") << "the receive display sees all of it";
}

TEST(LoggerBridge, AFloodIsBounded) {
  Bench bench;
  const std::string flood(1'000'000, 'F');
  bench.Ask(flood);
  EXPECT_EQ(bench.Ask(";FA;").size(), 14u);
  bench.port.unsent = 1 << 20;
  EXPECT_EQ(bench.Ask("IF;"), "") << "a logger that does not take its answers gets no more";
}

/// A WinKeyer that has been started up, and a logger that keys with it.
struct KeyerBench : keyer::StartedWinkeyer {
  explicit KeyerBench(keyer::KeyerKind kind = keyer::KeyerKind::kWinkey) : StartedWinkeyer(kind) {
    link.on_notice = [this](const std::string& line) { notices.push_back(line); };
    link.Use({.name = "8", .number = 8});
  }

  FakeSerialPort port;
  KeyerLink link{station.loop, station.console, keyer, keyer_port, port};
  Lines notices;
};

TEST(KeyerLink, PassesBytesBothWaysUnchangedWhileItIsOn) {
  KeyerBench bench;
  ASSERT_TRUE(bench.keyer.ready());
  EXPECT_EQ(bench.port.opened, (platform::PortSettings{.number = 8, .speed = 19'200, .dtr = true, .rts = true}));
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  bench.port.Arrive(all);
  bench.keyer_port.Arrive("\xC0");
  EXPECT_EQ(bench.keyer_port.written + bench.port.written, "");
  ASSERT_TRUE(bench.link.Switch(true).ok());
  bench.port.Arrive(all);
  EXPECT_EQ(bench.keyer_port.written, all);
  bench.keyer_port.Arrive(
      "\xC4"
      "A\xC0");
  EXPECT_EQ(bench.port.written,
            "\xC4"
            "A\xC0");
  EXPECT_TRUE(bench.keyer.winkeyer()->clear_request());
  bench.port.Arrive("\x02");
  bench.port.Arrive("\x1C");
  EXPECT_EQ(*bench.station.console.CWSpeed, 28);
  bench.keyer_port.written.clear();
  ASSERT_TRUE(bench.link.Switch(false).ok());
  EXPECT_EQ(bench.keyer_port.written, "\x0A\x0B\0"s) << "a key command among the bytes had keyed the transmitter";
  bench.keyer_port.written.clear();
  bench.port.Arrive("TEST");
  EXPECT_EQ(bench.keyer_port.written, "");
  EXPECT_EQ(bench.notices, Lines{});
}

TEST(KeyerLink, EachPortThatDoesNotOpenHasItsMessage) {
  KeyerBench bench;
  bench.link.Use({.name = "NONE"});
  EXPECT_FALSE(bench.link.Switch(true).ok());
  bench.port.absent = true;
  bench.link.Use(On(8));
  bench.port.absent = false;
  ASSERT_TRUE(bench.link.Switch(true).ok());
  bench.keyer_port.absent = true;
  bench.keyer_port.Lose();
  bench.station.loop.RunFor(3s);
  EXPECT_EQ(bench.notices, (Lines{"Please select a comm port for Winkeyin in the config menu.",
                                  "Unable to open WINKEY INPUT port", "Unable to open WINKEYER output port"}));
  EXPECT_EQ(bench.link.Switch(true).error().message, bench.notices.back());
  bench.keyer_port.absent = false;
  bench.station.loop.RunFor(2s);
  EXPECT_TRUE(bench.link.Switch(true).ok());
  KeyerBench without(keyer::KeyerKind::kNone);
  EXPECT_FALSE(without.link.Switch(true).ok());
  EXPECT_EQ(without.notices, Lines{"Unable to open WINKEYER output port"});
}

TEST(KeyerLink, NoiseIsBoundedAndEndsWithTheKeyUp) {
  KeyerBench bench;
  ASSERT_TRUE(bench.link.Switch(true).ok());
  std::mt19937 random(5);
  for (int i = 0; i < 2000; ++i) {
    std::string piece;
    for (int n = 0; n < 500; ++n) piece += static_cast<char>(random());
    bench.port.Arrive(piece);
    bench.keyer_port.Arrive(piece.substr(0, 10));
    bench.station.loop.RunFor(200ms);
    EXPECT_LE(std::exchange(bench.keyer_port.written, {}).size(), 300u) << "more than the line takes";
    EXPECT_LE(bench.keyer.winkeyer()->logger_text().size(), 1000u);
  }
  EXPECT_LE(bench.notices.size(), 10u);
  ASSERT_TRUE(bench.link.Switch(false).ok());
  EXPECT_FALSE(bench.keyer.winkeyer()->keyed());
}

TEST(LoggerProcess, IsFoundInAnyCaseAndTheSkimmerInItsPlace) {
  FakeProcessList processes;
  EXPECT_EQ(LoggerSentence(processes, "N1MMLogger.net.exe"), "N1MMLogger.net.exe is not running");
  processes.names = {"init", "cwskimmer.EXE"};
  EXPECT_EQ(LoggerSentence(processes, "N1MMLogger.net.exe"), "CwSkimmer.exe is running");
  processes.names.push_back("N1MMLOGGER.NET.EXE");
  EXPECT_EQ(LoggerSentence(processes, "N1MMLogger.net.exe"), "N1MMLogger.net.exe is running");
}

}  // namespace
}  // namespace kvx::links
