#include "keyer/winkeyer.h"

#include <gtest/gtest.h>

#include "winkeyer_bench.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using Lines = std::vector<std::string>;

constexpr const char* kSilent = "Unable to initialize Winkey";
constexpr const char* kEchoTest = "13 13 13 00 04 41";
constexpr const char* kDefaults = "07 00 0B 0F 02 19 05 32 00 00 05 14 00 00 12 32 32 06 FF 07 15";

TEST(WinkeyBytes, PairsGoFromLeftToRightAndTheQuirksStay) {
  EXPECT_EQ(WinkeyBytes(" 00 04 41 "), "\0\x04\x41"s);
  EXPECT_EQ(WinkeyBytes("A"), "\x0A");
  EXPECT_EQ(WinkeyBytes(""), "");
  for (const auto& [value, byte] :
       {std::pair{0, '\x00'}, {8, '\x08'}, {16, '\x16'}, {24, '\x24'}, {56, '\x56'}, {94, '\x94'}})
    EXPECT_EQ(WinkeyDecimalAsHex(value), std::string(1, byte)) << value;
}

TEST(WinkeyBytes, ASymbolIsItsSignAndNeverACommand) {
  using Row = std::pair<const char*, const char*>;
  for (const auto& [symbol, bytes] :
       {Row{"A", "41"}, Row{"q", "51"}, Row{" ", "20"}, Row{"/", "2F"}, Row{"AR", "1B 41 52"}, Row{"!", "1B 43 4D"},
        Row{":", "1B 4D 42"}, Row{"SOS", "1B 56 37"}, Row{"ARSK", ""}, Row{"A\x0B", ""}, Row{"", ""}}) {
    EXPECT_EQ(SpacedHex(WinkeySymbol(symbol)), bytes) << symbol;
  }
  for (int code = 0; code < 256; ++code) {
    const char c = static_cast<char>(code);
    const std::string bytes = WinkeySymbol(std::string(1, c));
    const bool merged = bytes.size() == 3 && bytes[0] == 0x1B;
    EXPECT_TRUE(bytes.empty() || merged || (bytes.size() == 1 && code >= 0x20 && code < 0x7F)) << code;
    EXPECT_EQ(MorsePattern(merged ? bytes.substr(1) : bytes), bytes.empty() ? "" : MorsePattern(std::string(1, c)));
  }
}

TEST(WinKeyer, IsStartedUpByteForByte) {
  struct Row {
    std::string name;
    KeyerSettings settings;
    std::string configured;
  };
  KeyerSettings full{.mode = PaddleMode::kSemiAutomatic, .reversed = true, .second_output = SecondOutput::kSideTone};
  full.key1 = full.key2 = true;
  full.side_tone = 7;
  full.ptt_lead = 10;
  full.ptt_tail = 255;
  full.compensation = 3;
  for (const Row& row : {
           Row{"plain", {}, "02 19|0E 00|04 00 00|11 00|92|05 05 32 00"},
           Row{"reversed", {.reversed = true}, "02 19|0E 08|04 00 00|11 00|92|05 05 32 00"},
           Row{"A", {.mode = PaddleMode::kIambicA}, "02 19|0E 16|04 00 00|11 00|92|05 05 32 00"},
           Row{"A reversed",
               {.mode = PaddleMode::kIambicA, .reversed = true},
               "02 19|0E 24|04 00 00|11 00|92|05 05 32 00"},
           Row{"ultimatic", {.mode = PaddleMode::kUltimatic}, "02 19|0E 32|04 00 00|11 00|92|05 05 32 00"},
           Row{"ultimatic reversed",
               {.mode = PaddleMode::kUltimatic, .reversed = true},
               "02 19|0E 40|04 00 00|11 00|92|05 05 32 00"},
           Row{"bug", {.mode = PaddleMode::kSemiAutomatic}, "02 19|0E 48|04 00 00|11 00|92|05 05 32 00"},
           Row{"PTT",
               {.second_output = SecondOutput::kPtt, .key1 = true},
               "02 19|0E 00|04 00 00|11 00|93|1D 00|05 05 32 00"},
           Row{"KEY2", {.key2 = true}, "02 19|0E 00|04 00 00|11 00|92|1D 01|05 05 32 00"},
           Row{"all", full, "01 07|02 19|0E 56|04 0A FF|11 03|94|1D 00|1D 01|05 05 32 00"},
       }) {
    WinkeyerBench bench(row.settings);
    bench.keyer.Open();
    bench.loop.RunFor(1ms);
    EXPECT_EQ(bench.port.opened, (platform::PortSettings{.number = 5, .speed = 1200, .stop_bits = 1, .dtr = true}));
    EXPECT_TRUE(bench.port.dtr && !bench.port.rts);
    EXPECT_EQ(bench.Writes(), kEchoTest);
    bench.port.Arrive("A");
    EXPECT_EQ(bench.Writes(), "00 02") << "an answer ends a wait at once";
    bench.port.Arrive("\x17");
    EXPECT_EQ(bench.Writes(), kDefaults);
    bench.port.Arrive("\x8A\x8A");
    EXPECT_EQ(bench.Writes(), "");
    EXPECT_FALSE(bench.keyer.ready());
    bench.port.Arrive("\xC0");
    EXPECT_EQ(bench.Writes(), row.configured) << row.name;
    EXPECT_TRUE(bench.keyer.ready() && !bench.keyer.keyer_failed() && bench.readies == 1);
  }
}

TEST(WinKeyer, TheThreeWaitsOfAStartUpShareThreeSeconds) {
  for (const int answered : {0, 1, 2}) {
    WinkeyerBench bench;
    bench.keyer.Open();
    for (int i = 0; i < answered; ++i) {
      bench.loop.RunFor(1200ms);
      bench.port.Arrive(i == 0 ? "A" : "\x17");
    }
    bench.loop.RunFor(3s - answered * 1200ms - 1ms);
    EXPECT_TRUE(bench.lines.empty()) << answered;
    bench.loop.RunFor(10s);
    EXPECT_EQ(bench.lines, Lines{kSilent}) << answered;
    EXPECT_TRUE(bench.keyer.keyer_failed());
    EXPECT_EQ(bench.keyer.state(), "failed");
    const Lines expected{kEchoTest, kEchoTest + "|00 02"s, kEchoTest + "|00 02|"s + kDefaults};
    EXPECT_EQ(bench.Writes(), expected[static_cast<std::size_t>(answered)]);
    bench.port.Arrive("A\x17\xC0");  // too late
    bench.loop.RunFor(10s);
    EXPECT_EQ(bench.Writes(), "");
    bench.keyer.Open();
    bench.loop.RunFor(1ms);
    EXPECT_EQ(bench.Writes(), kEchoTest) << "the next wish starts it anew";
  }
}

TEST(WinKeyer, RepliesMayComeLateInPiecesAndWithGarbageFirst) {
  WinkeyerBench bench;
  bench.keyer.Open();
  bench.loop.RunFor(900ms);
  bench.port.Arrive("\xFF\x12");
  bench.loop.RunFor(600ms);
  EXPECT_EQ(bench.Writes(), kEchoTest) << "garbage is no echo";
  bench.port.Arrive("A");
  bench.port.Arrive("\xF8");  // no version: after a silence it counts all the same
  bench.loop.RunFor(299ms);
  EXPECT_EQ(bench.Writes(), "00 02");
  bench.loop.RunFor(1ms);
  EXPECT_EQ(bench.Writes(), kDefaults);
  for (const char* piece : {"\x8A", "\x10", "\xC4"}) {
    bench.loop.RunFor(250ms);
    bench.port.Arrive(piece);
  }
  EXPECT_TRUE(bench.keyer.ready());
  EXPECT_TRUE(bench.lines.empty());
  EXPECT_EQ(bench.Writes(), "02 19|0E 00|04 00 00|11 00|92|05 05 32 00");
}

TEST(WinKeyer, TheReadyFlagFollowsTheStatusBytes) {
  WinkeyerBench bench;
  bench.Start();
  struct Row {
    const char* bytes;
    bool ready;
  };
  for (const Row& row : {Row{"\xC4", false}, Row{"A", false}, Row{"\xBD", false}, Row{"\xBE", true}, Row{"\xC4", false},
                         Row{"\xC0", true}, Row{"A", true}, Row{"\xC0\xC4", false}, Row{"\xC4\xC5", true}}) {
    bench.port.Arrive(row.bytes);
    EXPECT_EQ(bench.keyer.keyer_ready(), row.ready) << SpacedHex(row.bytes);
  }
}

TEST(WinKeyer, ThePotSetsTheSpeedWhenItIsTurned) {
  WinkeyerBench bench;
  bench.keyer.Open();
  bench.loop.RunFor(1ms);
  for (const char* reply : {"A", "\x17", "\x8A\x8A\xC0"}) bench.port.Arrive(reply);
  EXPECT_EQ(*bench.console.CWSpeed, 25) << "what it stands at is no wish";
  bench.port.Arrive("\x8A");
  EXPECT_EQ(*bench.console.CWSpeed, 25);
  bench.port.Arrive("\x8B");
  EXPECT_EQ(*bench.console.CWSpeed, 16);
  bench.settings.ignore_pot = true;
  bench.keyer.Configure(bench.settings);
  bench.port.Arrive("\x8F");
  EXPECT_EQ(*bench.console.CWSpeed, 16);
}

TEST(WinKeyer, ALoggerSharesItWithoutAByteChanged) {
  WinkeyerBench bench;
  FakeSerialPort logger;
  ASSERT_TRUE(logger.Open({}).ok());
  logger.on_data = [&bench] { bench.keyer.GetWInkey(); };
  bench.Start();
  bench.keyer.SetLogger(&logger);
  logger.Arrive("\x02\x14");
  EXPECT_EQ(*bench.console.CWSpeed, 20);
  EXPECT_EQ(bench.Writes(), "") << "not passed through";
  bench.keyer.SetPassThrough(true);
  const Console::Subscription speed = bench.console.Subscribe([&bench](Field field) {
    if (field == Field::kCwSpeed) bench.keyer.SetSpeed(*bench.console.CWSpeed);
  });
  for (const char* slow : {"\x02\x01", "\x02\x05"}) logger.Arrive(slow);
  EXPECT_EQ(*bench.console.CWSpeed, 20);
  EXPECT_FALSE(bench.keyer.clear_request());
  logger.Arrive(
      "\x0A"
      "CQ D\x1E\x02");
  EXPECT_TRUE(bench.keyer.clear_request());
  logger.Arrive("\x06");
  EXPECT_EQ(*bench.console.CWSpeed, 20) << "the command text began with another command";
  logger.Arrive("\x02");
  logger.Arrive("\x06");
  EXPECT_EQ(*bench.console.CWSpeed, 6) << "in two pieces";
  logger.Arrive("\x02\x23");
  EXPECT_EQ(*bench.console.CWSpeed, 6) << "a printable byte is text";
  logger.Arrive("\x02\x14#\x02\x1E");
  EXPECT_EQ(*bench.console.CWSpeed, 30) << "the last of two";
  EXPECT_EQ(bench.keyer.logger_text(), "CQD##");
  EXPECT_EQ(bench.Writes(), "02 01|02 05|0A 43 51 20 44 1E 02|06|02|06|02 23|02 14 23 02 1E");
  bench.port.Arrive("\x00\xC4\x43\xBE"s);
  EXPECT_EQ(logger.written, "\x00\xC4\x43\xBE"s);
  logger.Arrive(std::string(5000, 'V'));
  EXPECT_EQ(bench.keyer.logger_text().size(), 1000u);
}

/// A logging program beside a keyer that has been started up.
struct SharedBench : WinkeyerBench {
  SharedBench() {
    EXPECT_TRUE(logger.Open({}).ok());
    logger.on_data = [this] { keyer.GetWInkey(); };
    Start();
    keyer.SetLogger(&logger);
    keyer.SetPassThrough(true);
  }
  FakeSerialPort logger;
};

TEST(WinKeyer, WhatALoggerKeysIsReleased) {
  const std::vector<std::pair<std::string, std::function<void(SharedBench&)>>> ends{
      {"Escape", [](SharedBench& bench) { bench.keyer.Abort(); }},
      {"the logger is gone", [](SharedBench& bench) { bench.keyer.LoggerGone(); }},
      {"pass-through off", [](SharedBench& bench) { bench.keyer.SetPassThrough(false); }},
      {"another logger", [](SharedBench& bench) { bench.keyer.SetLogger(nullptr); }},
      {"close", [](SharedBench& bench) { bench.keyer.Close(); }},
      {"another port", [](SharedBench& bench) { bench.keyer.OpenPort(6); }},
      {"a loss",
       [](SharedBench& bench) {
         bench.port.Lose();
         bench.loop.RunFor(1s);
       }},
  };
  struct Row {
    std::string keys;
    std::string release;  ///< empty: nothing is keyed
  };
  for (const Row& row : {Row{"\x0B\x01", "0B 00"}, Row{"\x18\x01", "0B 00 18 00"}, Row{"\x14\x02", "0B 00 14 00"},
                         Row{"\x19\x05", "0B 00"}, Row{"CQ", "0B 00"}, Row{"\x02\x0B\x0E\x45", ""}}) {
    for (const auto& [name, end] : ends) {
      SharedBench bench;
      bench.logger.Arrive(row.keys);
      const bool keys = !row.release.empty();
      EXPECT_EQ(bench.guard.armed.starts_with("\x0A\x0B\0"s), keys) << name;
      bench.port.TakeWrites();
      end(bench);
      const std::string writes = bench.Writes();
      const bool after_loss = name == "a loss";  // a keyer that has started anew holds no line but the key
      const std::string release = after_loss ? row.release.substr(0, 5) : row.release;
      EXPECT_EQ(writes.find("0B 00") != std::string::npos, keys) << name << ": " << writes;
      EXPECT_NE(writes.find(release), std::string::npos) << name << ": " << writes;
      bench.loop.RunFor(1s);
      EXPECT_EQ(bench.guard.armed, "") << name;
    }
  }
  SharedBench bench;
  for (const char* piece : {"\x0B", "\x01", "V", "\x0A"}) bench.logger.Arrive(piece);
  EXPECT_EQ(bench.guard.armed, "") << "it has released the key itself";
  bench.logger.Arrive("V");
  bench.loop.RunFor(1s);
  EXPECT_NE(bench.guard.armed, "");
  bench.port.Arrive("\xC0");
  EXPECT_EQ(bench.guard.armed, "") << "all has been sent";
  bench.logger.Arrive("\x1B");
  bench.port.TakeWrites();
  bench.keyer.Abort();
  EXPECT_EQ(bench.Writes(), "13 13|0A") << "a command that has been begun does not swallow it";
}

TEST(WinKeyer, NothingOfOursBecomesAParameterOfALoggersCommand) {
  struct Row {
    const char* name;
    std::function<void(SharedBench&)> ours;
    std::string at_once, behind_the_rest, in_vain;
  };
  for (const Row& row : {
           Row{"speed", [](SharedBench& bench) { bench.keyer.SetSpeed(30); }, "", "52|02 1E", "13|02 1E"},
           Row{"text",
               [](SharedBench& bench) {
                 bench.keyer.on_progress = [&bench] {
                   if (bench.keyer.room() > 0 && bench.keyer.pending() == 0) bench.keyer.Send("E");
                 };
                 EXPECT_EQ(bench.keyer.room(), 0u);
               },
               "", "52|45", "13|45"},
           Row{"tune", [](SharedBench& bench) { bench.keyer.Key(true); }, "13|0A|0B 01", "52", ""},
           Row{"gone", [](SharedBench& bench) { bench.keyer.LoggerGone(); }, "13", "52", ""},
       }) {
    for (const bool rest : {true, false}) {
      SharedBench bench;
      bench.logger.Arrive("\x1B\x41");
      bench.port.TakeWrites();
      row.ours(bench);
      EXPECT_EQ(bench.Writes(), row.at_once) << row.name;
      if (rest) bench.logger.Arrive("\x52");
      if (!rest) bench.loop.RunFor(200ms);
      EXPECT_EQ(bench.Writes(), rest ? row.behind_the_rest : row.in_vain) << row.name << (rest ? "" : ", in vain");
      bench.keyer.on_progress = nullptr;
    }
  }
  SharedBench bench;
  bench.keyer.Key(true);
  bench.logger.Arrive("\x1B\x41");
  EXPECT_EQ(bench.guard.armed, "\x13\x0A\x0B\0"s);
  bench.port.TakeWrites();
  bench.keyer.Key(false);
  EXPECT_EQ(bench.Writes(), "13|0B 00");
}

TEST(WinKeyer, ALoggerThatEmptiesTheKeyerStopsOurTextAsWellAndAParameterDoesNot) {
  SharedBench bench;
  std::vector<std::string> dropped;
  bench.keyer.on_dropped = [&](const std::string& why) { dropped.push_back(why); };
  for (const char* symbol : {"C", "Q"}) bench.keyer.Send(symbol);
  bench.logger.Arrive("\x02\x0A");
  EXPECT_EQ(bench.keyer.pending(), 2u) << "a speed of 10 wpm";
  EXPECT_TRUE(bench.keyer.clear_request());
  bench.logger.Arrive("\x0A");
  EXPECT_EQ(bench.keyer.pending(), 0u);
  EXPECT_EQ(dropped, std::vector<std::string>{"The logging program has stopped the keyer"});
  bench.keyer.Send("K");
  EXPECT_FALSE(bench.keyer.clear_request());
}

TEST(WinKeyer, AHostModeThatALoggerLeavesClosedIsOpenedAnew) {
  SharedBench bench;
  int readies = 0;
  bench.keyer.on_ready = [&] { ++readies; };
  bench.keyer.Send("C");
  bench.port.TakeWrites();
  bench.logger.Arrive("\0\x03"s);
  EXPECT_FALSE(bench.keyer.ready());
  EXPECT_EQ(bench.keyer.state(), "starting");
  EXPECT_EQ(bench.keyer.pending() + bench.keyer.room(), 0u) << "it would be sent to a keyer that does not listen";
  bench.logger.Arrive("\0\x02"s);
  EXPECT_TRUE(bench.keyer.ready());
  EXPECT_EQ(readies, 1);
  bench.loop.RunFor(2s);
  EXPECT_EQ(bench.Writes(), "00 03|00 02") << "the logger has started anew";
  bench.logger.Arrive("\0\x03"s);
  bench.loop.RunFor(1s);
  EXPECT_EQ(bench.Writes(), "00 03|"s + kEchoTest);
  bench.Answer();
  EXPECT_TRUE(bench.keyer.ready());
  EXPECT_EQ(readies, 2);
  bench.logger.Arrive("\0\x03"s);
  bench.port.TakeWrites();
  bench.keyer.Close();
  bench.loop.RunFor(2s);
  EXPECT_EQ(bench.Writes().find(kEchoTest), std::string::npos) << "the console has ended";
}

TEST(WinKeyer, ACommandThatTheLoggerBeginsTakesNoLimitFromWhatItHolds) {
  SharedBench bench;
  bench.logger.Arrive("\x0B\x01");
  bench.loop.RunFor(1s);
  bench.logger.Arrive("\x02");
  EXPECT_EQ(bench.guard.armed, "\x13\x0A\x0B\0"s);
  EXPECT_EQ(bench.guard.limit, 10s + platform::kGuardGrace);
}

TEST(WinKeyer, WhatALoggerHoldsHasAnEnd) {
  struct Row {
    std::string keys;
    Duration limit;
    std::string release;
  };
  for (const Row& row : {Row{"\x0B\x01", 10s, "0A|0B 00"}, Row{"\x14\x01", 10s, "0A|0B 00 14 00"},
                         Row{"\x18\x01", 5min, "0A|0B 00 18 00"}, Row{"\x18\x01\x0B\x01", 10s, "0A|0B 00 18 00"}}) {
    SharedBench bench;
    bench.keyer.on_notice = [&bench](const std::string& line) { bench.lines.push_back(line); };
    bench.logger.Arrive(row.keys);
    bench.loop.RunFor(row.limit - 1s);
    bench.logger.Arrive(row.keys);  // it holds it no longer for saying so again
    bench.loop.RunFor(500ms);
    EXPECT_TRUE(bench.keyer.keyed());
    bench.port.TakeWrites();
    bench.loop.RunFor(1s);
    EXPECT_EQ(bench.Writes(), row.release);
    EXPECT_FALSE(bench.keyer.keyed());
    EXPECT_EQ(bench.lines.size(), 1u);
  }
}

TEST(WinKeyer, ALoggerCannotMakeAReleaseWait) {
  SharedBench bench;
  bench.keyer.on_notice = [&bench](const std::string& line) { bench.lines.push_back(line); };
  bench.logger.Arrive(std::string(20'000, 'V'));
  bench.loop.RunFor(3s);
  std::size_t passed = 0;
  for (const std::string& write : bench.port.TakeWrites()) passed += write.size();
  EXPECT_LE(passed, 480u) << "more than a second ahead of the line";
  EXPECT_GE(passed, 460u);
  EXPECT_EQ(bench.lines.size(), 1u);
  bench.port.unsent = 120;
  bench.keyer.Abort();
  EXPECT_EQ(bench.port.unsent, 0u);
  const std::string nulls = "13 13 13 13 13 13 13 13 13 13 13 13 13 13 13";
  EXPECT_EQ(bench.Writes(), nulls + "|0A|0B 00|02 19");
  bench.loop.RunFor(1min);
  EXPECT_EQ(bench.Writes(), "") << "what waited here is dropped as well";
  std::string text;
  for (int i = 0; i < 300; ++i) text += static_cast<char>('A' + i % 26);
  bench.port.written.clear();
  bench.logger.Arrive(text);
  bench.loop.RunFor(1min);
  EXPECT_EQ(bench.port.written, text) << "a long text arrives whole";
  EXPECT_EQ(bench.lines.size(), 1u);
}

TEST(WinKeyer, NothingOfALoggerComesBetweenTheBytesOfAStartUp) {
  SharedBench bench;
  bench.port.Lose();
  bench.loop.RunFor(1s);
  bench.logger.Arrive("\x02\x14");
  EXPECT_EQ(bench.Writes(), kEchoTest);
  bench.Answer();
  EXPECT_EQ(bench.Writes(), "00 02|"s + kDefaults + "|02 14|0E 00|04 00 00|11 00|92|05 05 32 00|02 14");
}

TEST(WinKeyer, EveryFailureIsToldToWhoeverWaitsAndItsSentenceOnce) {
  WinkeyerBench bench;
  bench.Start();
  bench.port.Lose();
  bench.loop.RunFor(1s);
  bench.text = {"C", "Q"};
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.failures, 1) << "a silent return";
  EXPECT_TRUE(bench.text.empty());
  EXPECT_EQ(bench.lines, Lines{"the device has gone"});
  bench.port.absent = true;
  bench.port.Lose();
  bench.loop.RunFor(10s);
  EXPECT_GT(bench.failures, 5);
  EXPECT_EQ(bench.lines.size(), 1u);
  bench.port.absent = false;
  bench.loop.RunFor(1s);
  EXPECT_EQ(bench.keyer.state(), "starting");
  bench.keyer.Open();
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.lines, (Lines{"the device has gone", kSilent})) << "it was asked for";
}

TEST(WinKeyer, ASpeedIsToldAtOnceAndInATextBufferedAsWell) {
  WinkeyerBench bench;
  bench.keyer.SetSpeed(30);
  EXPECT_EQ(bench.Writes(), "") << "closed";
  bench.Start();
  bench.keyer.SetSpeed(25);
  bench.keyer.SetSpeed(200);
  EXPECT_EQ(bench.Writes(), "02 63");
  bench.keyer.SetSpeed(20);
  bench.Type("TTTTT");
  EXPECT_EQ(bench.Writes(), "02 14|54|54|54|54");
  bench.loop.RunFor(200ms);
  bench.keyer.SetSpeed(15);
  EXPECT_EQ(bench.Writes(), "02 0F");
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.Writes(), "1C 0F|54");
  EXPECT_EQ(bench.keyer.pending(), 0u);
}

TEST(WinKeyer, TheKeyIsLetGoWhateverHappens) {
  WinkeyerBench bench;
  EXPECT_FALSE(bench.keyer.Key(true)) << "closed";
  bench.Start();
  EXPECT_TRUE(bench.keyer.Key(true));
  EXPECT_EQ(bench.guard.armed, "\x0A\x0B\0"s);
  EXPECT_EQ(bench.keyer.room(), 0u);
  bench.loop.RunFor(9999ms);
  EXPECT_EQ(bench.Writes(), "0B 01");
  bench.loop.RunFor(1ms);
  EXPECT_EQ(bench.Writes(), "0B 00") << "the limit";
  EXPECT_EQ(bench.guard.armed, "");

  bench.keyer.Key(true);
  EXPECT_EQ(bench.guard.limit, 10s + platform::kGuardGrace);
  bench.port.unsent = 2;
  bench.keyer.Key(false);
  bench.loop.RunFor(1s);
  EXPECT_NE(bench.guard.armed, "") << "the device does not have the release yet";
  bench.Type("E");
  EXPECT_EQ(bench.guard.limit, 0s) << "that of the tune";
  bench.port.unsent = 0;
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.guard.armed, "");

  bench.keyer.Key(true);
  bench.port.TakeWrites();
  const Task init = bench.keyer.InitWinkey();
  EXPECT_EQ(bench.Writes(), "0B 00|"s + kEchoTest);
  bench.Answer();
  bench.loop.RunFor(1s);
  bench.port.TakeWrites();

  bench.keyer.Key(true);
  bench.keyer.Abort();
  EXPECT_EQ(bench.Writes(), "0B 01|0A|0B 00");
  bench.Type("V");
  bench.keyer.Key(true);
  bench.port.unsent = 1;
  bench.keyer.Close();
  EXPECT_EQ(bench.Writes(), "56|0A|0B 01|0B 00|00 03");
  EXPECT_EQ(bench.keyer.state(), "closed");
  bench.loop.RunFor(50ms);
  EXPECT_TRUE(bench.port.is_open()) << "the device does not have it yet";
  EXPECT_EQ(bench.guard.armed, "\x0A\x0B\0"s);
  bench.port.unsent = 0;
  bench.loop.RunFor(100ms);
  EXPECT_FALSE(bench.port.is_open() || bench.keyer.closing());
  EXPECT_EQ(bench.guard.armed, "");
  bench.loop.RunFor(1min);
  EXPECT_EQ(bench.Writes(), "");
}

TEST(WinKeyer, ItsReleaseIsOwedAsLongAsItsPortTakesNothing) {
  WinkeyerBench bench;
  bench.Start();
  bench.keyer.Key(true);
  bench.port.unsent = 3;
  bench.keyer.Close();
  bench.loop.RunFor(1s);
  EXPECT_FALSE(bench.port.is_open());
  EXPECT_EQ(bench.guard.armed, "\x0A\x0B\0"s);
  EXPECT_TRUE(bench.keyer.owes_release());
  bench.port.unsent = 0;
  bench.port.TakeWrites();
  bench.keyer.Open();
  bench.loop.RunFor(1ms);
  EXPECT_TRUE(bench.Writes().starts_with("0A 0B 00")) << bench.Writes();
  bench.Answer();
  bench.loop.RunFor(1s);
  EXPECT_EQ(bench.guard.armed, "");
  EXPECT_FALSE(bench.keyer.owes_release());
}

TEST(WinKeyer, OpeningAnewWaitsUntilTheReleaseIsDelivered) {
  WinkeyerBench bench;
  bench.Start();
  bench.keyer.Key(true);
  bench.keyer.OpenPort(6);
  EXPECT_EQ(bench.Writes(), "0B 01|0B 00|00 03");
  EXPECT_EQ(bench.port.opened.number, 5);
  bench.loop.RunFor(100ms);
  EXPECT_EQ(bench.port.opened.number, 6);
  EXPECT_EQ(bench.Writes(), kEchoTest);
}

TEST(WinKeyer, FiveHundredCharactersArePlayedWithoutAGapOrAnIllegalByte) {
  struct Row {
    int wpm;
    int rate;
    PaddleMode mode;
  };
  const std::string words = "CQ TEST DE KV1X/P EEEE ISH 599 0055 = QTH? TT, ";
  for (const Row& row :
       {Row{25, 1000, PaddleMode::kIambicB}, Row{25, 990, PaddleMode::kIambicB}, Row{25, 1010, PaddleMode::kIambicB},
        Row{5, 1000, PaddleMode::kIambicB}, Row{99, 1000, PaddleMode::kIambicB}, Row{25, 960, PaddleMode::kIambicA},
        Row{40, 1060, PaddleMode::kIambicA}, Row{99, 1000, PaddleMode::kIambicA}}) {
    WinkeyerBench bench({.mode = row.mode, .key1 = true});
    PlayingKeyer device(bench.loop, bench.port);
    device.rate = row.rate;
    bench.console.CWSpeed.Set(row.wpm);
    std::string sent;
    while (sent.size() < 500) sent += words;
    sent.resize(500);
    bench.Type(sent);
    bench.keyer.Open();
    bench.loop.RunFor(1min);
    ASSERT_TRUE(bench.keyer.ready());
    std::size_t farthest = 0;
    while (device.idles == 0 && bench.loop.Now() < TimePoint(12h)) {
      bench.loop.RunFor(100ms);
      const std::size_t given = 500 - bench.text.size();
      const std::size_t told = given - bench.keyer.pending();
      farthest = std::max(farthest, told > device.symbols ? told - device.symbols : device.symbols - told);
    }
    bench.loop.RunFor(5s);
    const std::string name = std::to_string(row.wpm) + " wpm, clock " + std::to_string(row.rate);
    EXPECT_EQ(device.played, sent) << name;
    EXPECT_EQ(device.idles, 1) << name << ": ran dry";
    EXPECT_EQ(device.illegal, Lines{"92"}) << name;
    EXPECT_EQ(bench.keyer.pending(), 0u) << name;
    EXPECT_LE(farthest, device.echo ? 2u : 15u) << name << ": symbols told wrong";
    EXPECT_LE(device.deepest, row.wpm == 99 ? 30u : 17u) << name;
    EXPECT_TRUE(bench.lines.empty()) << name;
  }
}

TEST(WinKeyer, TheClockOfAKeyerIsLearnt) {
  WinkeyerBench bench;
  PlayingKeyer device(bench.loop, bench.port);
  device.rate = 950;
  bench.keyer.Open();
  bench.loop.RunFor(1s);
  const std::string text(200, 'K');
  bench.Type(text);
  bench.loop.RunFor(5min);
  const int first = device.idles;
  EXPECT_GT(first, 1) << "too fast for what was known of it";
  bench.Type(text);
  bench.loop.RunFor(5min);
  EXPECT_EQ(device.idles, first + 1);
  EXPECT_EQ(device.played, text + text);
}

TEST(WinKeyer, AnAbortStopsAtOnceAndWhatFollowsIsWhole) {
  WinkeyerBench bench;
  PlayingKeyer device(bench.loop, bench.port);
  bench.keyer.Open();
  bench.loop.RunFor(1s);
  bench.Type("PARIS PARIS");
  bench.loop.RunFor(2s);
  bench.port.TakeWrites();
  bench.text.clear();
  bench.keyer.Abort();
  EXPECT_EQ(bench.Writes(), "0A");
  EXPECT_EQ(bench.keyer.pending(), 0u);
  EXPECT_EQ(bench.guard.armed, "");
  bench.loop.RunFor(1s);
  const std::size_t before = device.played.size();
  EXPECT_LE(before, 5u);
  bench.Type("73");
  EXPECT_NE(bench.guard.armed, "");
  bench.loop.RunFor(10s);
  EXPECT_EQ(device.played.substr(before), "73");
  EXPECT_EQ(bench.guard.armed, "");
}

TEST(WinKeyer, AFullKeyerIsGivenNoMoreButNotForEver) {
  WinkeyerBench bench;
  bench.Start();
  bench.port.Arrive("\xC5");
  EXPECT_EQ(bench.keyer.room(), 0u);
  bench.Type("A");
  EXPECT_EQ(bench.Writes(), "");
  bench.port.Arrive("\xC4");
  EXPECT_EQ(bench.Writes(), "41");
  bench.port.Arrive("\xC5");
  bench.Type("B");
  bench.loop.RunFor(4999ms);
  EXPECT_EQ(bench.Writes(), "");
  bench.loop.RunFor(1ms);
  EXPECT_EQ(bench.Writes(), "42") << "the status byte that ends it was lost";
}

TEST(WinKeyer, APaddleThatBreaksInEndsTheText) {
  WinkeyerBench bench;
  bench.Start();
  bench.port.Arrive("\xC2\xC0");
  EXPECT_TRUE(bench.lines.empty()) << "there was none";
  bench.Type("CQ CQ CQ CQ");
  bench.port.TakeWrites();
  bench.port.Arrive("\xC6");
  EXPECT_EQ(bench.lines, Lines{"The paddle has taken over"});
  EXPECT_EQ(bench.keyer.pending(), 0u);
  bench.port.Arrive("\xC0");
  bench.loop.RunFor(1min);
  EXPECT_EQ(bench.Writes(), "0A") << "what was on the line is not sent after the paddle";
  EXPECT_TRUE(bench.keyer.ready());
}

TEST(WinKeyer, OneThatVanishesInATextComesBackWithoutRepeatingAnything) {
  WinkeyerBench bench;
  bench.Start();
  bench.Type("CQ CQ CQ");
  bench.port.TakeWrites();
  bench.port.absent = true;
  bench.port.Lose();
  EXPECT_EQ(bench.lines, Lines{"the device has gone"});
  EXPECT_EQ(bench.keyer.pending(), 0u);
  EXPECT_EQ(bench.guard.armed, "");
  bench.loop.RunFor(1min);
  EXPECT_EQ(bench.lines.size(), 1u) << "said once";
  EXPECT_LT(bench.port.opens, 70);
  bench.port.absent = false;
  bench.loop.RunFor(1s);
  EXPECT_EQ(bench.Writes(), "0A 0B 00|"s + kEchoTest) << "it may have power of its own, and still send";
  bench.Answer();
  EXPECT_TRUE(bench.keyer.ready());
  EXPECT_EQ(bench.Writes(), "00 02|"s + kDefaults + "|02 19|0E 00|04 00 00|11 00|92|05 05 32 00");
  bench.loop.RunFor(1min);
  EXPECT_EQ(bench.Writes(), "");

  bench.keyer.Key(true);
  bench.port.Lose();
  EXPECT_EQ(bench.lines.size(), 2u);
  bench.loop.RunFor(1min);
  EXPECT_EQ(bench.lines.size(), 2u) << "a keyer that is silent at its return is no news";
  EXPECT_EQ(bench.Writes(), "0B 01|0A 0B 00|"s + kEchoTest) << "the tune is over";
  EXPECT_EQ(bench.keyer.state(), "failed");
  bench.port.Lose();
  bench.loop.RunFor(1s);
  EXPECT_EQ(bench.Writes(), "0A 0B 00|"s + kEchoTest) << "nothing said that the first release arrived";
  bench.Answer();
  bench.port.TakeWrites();
  bench.port.Lose();
  bench.loop.RunFor(1s);
  EXPECT_EQ(bench.Writes(), kEchoTest) << "nothing was keyed";
}

TEST(WinKeyer, APortThatIsNotThereIsToldOnceAndTriedAgain) {
  WinkeyerBench bench;
  bench.port.absent = true;
  bench.keyer.Open();
  EXPECT_TRUE(bench.lines.empty()) << "nothing is told from inside a call";
  bench.loop.RunFor(1min);
  EXPECT_EQ(bench.lines, Lines{"COM5: no such device"});
  EXPECT_TRUE(bench.keyer.keyer_failed());
  bench.port.absent = false;
  bench.loop.RunFor(1s);
  EXPECT_EQ(bench.Writes(), kEchoTest);
  bench.keyer.Close();
  bench.loop.RunFor(1min);
  EXPECT_FALSE(bench.port.is_open());
}

}  // namespace
}  // namespace kvx::keyer
