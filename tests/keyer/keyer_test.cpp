#include "keyer/keyer.h"

#include <gtest/gtest.h>

#include "core/text.h"
#include "fakes/fake_cw_backend.h"
#include "fakes/fake_serial_port.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"
#include "started_winkeyer.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

using Lines = std::vector<std::string>;

const KeyerSettings kComLine{.kind = KeyerKind::kComLine, .port = 4, .speed = 20, .tune_limit = 10s};

struct Bench {
  explicit Bench(const KeyerSettings& settings = kComLine) {
    keyer.on_notice = [this](const std::string& line) { notices.push_back(line); };
    keyer.keep = [this](const std::vector<config::SettingChange>& lines) {
      for (const auto& line : lines) kept += line.key + line.value + "|";
    };
    keyer.on_key = [this](bool down) { keys += down ? "d" : "u"; };
    EXPECT_TRUE(keyer.functions.Load().ok());
    keyer.Use(settings, 3);
    loop.RunFor(1s);
  }
  FakeCwBackend& backend() { return *backends.back(); }
  std::vector<std::string> TakeNotices() { return std::exchange(notices, {}); }

  TemporaryFolder folder;
  SystemFiles files;
  VirtualLoop loop;
  Console console;
  FakeSerialPort rig_port;
  cat::Engine engine{loop, console, rig_port};
  std::vector<FakeCwBackend*> backends;  ///< all that were ever made; the latest lives
  bool refuses = false;
  std::vector<std::string> notices;
  std::string kept;
  std::string keys;
  Keyer keyer{{.loop = loop,
               .console = console,
               .engine = engine,
               .files = files,
               .folder = folder.path(),
               .make_line = {},
               .make_backend = [this](const KeyerSettings&) {
                 auto made = std::make_unique<FakeCwBackend>(loop);
                 made->refuses = refuses;
                 backends.push_back(made.get());
                 return made;
               }}};
};

TEST(Keyer, TuneItHoldsTheKeyUntilItIsPressedAgainOrTheLimitHasCome) {
  Bench bench;
  bench.keyer.TuneIt();
  EXPECT_TRUE(bench.backend().key && *bench.console.Tune);
  EXPECT_EQ(bench.TakeNotices(), Lines{"Transmitter ON"});
  bench.loop.RunFor(9s);
  bench.keyer.TuneIt();
  EXPECT_FALSE(bench.backend().key || *bench.console.Tune);
  EXPECT_EQ(bench.TakeNotices(), Lines{"Transmitter Off"});
  bench.keyer.TuneIt();
  bench.loop.RunFor(9999ms);
  EXPECT_TRUE(bench.backend().key);
  bench.loop.RunFor(1ms);
  EXPECT_FALSE(bench.backend().key || *bench.console.Tune);
  EXPECT_EQ(bench.TakeNotices(), (Lines{"Transmitter ON", "Transmitter Off"}));
  EXPECT_EQ(bench.keys, "dudu");
  EXPECT_EQ(bench.loop.timers(), 0U);
}

TEST(Keyer, EveryEndOfATuneReleasesTheKey) {
  const std::vector<std::pair<std::string, std::function<void(Bench&)>>> ends{
      {"escape", [](Bench& bench) { bench.keyer.Escape(); }},
      {"text", [](Bench& bench) { EXPECT_TRUE(bench.keyer.Send("K").ok()); }},
      {"key up", [](Bench& bench) { bench.keyer.SendChar1(kKeyUpCode); }},
      {"loss", [](Bench& bench) { bench.backend().Lose(); }},
      {"close", [](Bench& bench) { bench.keyer.Close(); }},
      {"stop", [](Bench& bench) { bench.keyer.Stop(); }},
      {"tune limit",
       [](Bench& bench) { bench.keyer.Use({.kind = KeyerKind::kComLine, .port = 4, .tune_limit = 5s}, 3); }},
      {"no keyer", [](Bench& bench) { bench.keyer.Use({}, 3); }},
      {"rig port", [](Bench& bench) { bench.keyer.Use(kComLine, 4); }},
  };
  for (const auto& [name, end] : ends) {
    Bench bench;
    bench.keyer.SendChar1(kKeyDownCode);
    FakeCwBackend& tuned = bench.backend();
    ASSERT_TRUE(tuned.key) << name;
    end(bench);
    EXPECT_FALSE(tuned.key) << name;
    EXPECT_FALSE(*bench.console.Tune) << name;
    EXPECT_EQ(bench.keys, "du") << name;
  }
}

TEST(Keyer, ATuneStartsAClosedKeyerUpAndEscapeTakesThatBack) {
  Bench bench;
  bench.keyer.Close();
  bench.keyer.TuneIt();
  EXPECT_FALSE(*bench.console.Tune);
  bench.loop.RunFor(1s);
  EXPECT_TRUE(bench.backend().key);
  bench.keyer.Close();
  bench.keyer.TuneIt();
  bench.keyer.Escape();
  bench.loop.RunFor(10s);
  EXPECT_FALSE(bench.backend().key);
  bench.refuses = true;
  bench.keyer.Use({.kind = KeyerKind::kComLine, .port = 5}, 3);
  bench.loop.RunFor(1s);
  EXPECT_TRUE(bench.keyer.failed());
  bench.TakeNotices();
  bench.keyer.TuneIt();
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.TakeNotices(), Lines{"it does not answer"});
  EXPECT_FALSE(*bench.console.Tune);
}

TEST(Keyer, AWishIsNotFulfilledWhenTheKeyerComesMuchLater) {
  for (const bool tune : {true, false}) {
    StartedWinkeyer bench;
    bench.ReturnSilent();
    EXPECT_EQ(*bench.station.console.KeyerState, "starting");
    if (tune) bench.keyer.TuneIt();
    if (!tune) {
      EXPECT_TRUE(bench.keyer.Type("CQ").ok());
    }
    bench.told.clear();
    bench.station.loop.RunFor(10s);
    EXPECT_EQ(*bench.station.console.KeyerState, "failed");
    EXPECT_EQ(bench.told.size(), 1U) << "it was asked for";
    EXPECT_EQ(bench.keyer.sender().waiting_count(), 0U);
    bench.ReturnSilent();
    bench.keyer_port.TakeWrites();
    bench.Answer();
    bench.station.loop.RunFor(1s);
    EXPECT_TRUE(bench.keyer.ready());
    EXPECT_FALSE(*bench.station.console.Tune);
    for (const std::string& write : bench.keyer_port.TakeWrites())
      EXPECT_TRUE(write != "\x0B\x01" && write != "C") << "keyed by itself";
  }
}

TEST(Keyer, ATuneWaitsFiveSecondsForAKeyerThatTakesItsTime) {
  Bench bench;
  bench.keyer.Close();
  bench.backend().opening_time = 6s;
  bench.keyer.TuneIt();
  bench.TakeNotices();
  bench.loop.RunFor(1min);
  EXPECT_TRUE(bench.keyer.ready());
  EXPECT_FALSE(bench.backend().key);
  EXPECT_EQ(bench.TakeNotices(), Lines{"The keyer was not ready in time: it is not tuned"});
}

TEST(Keyer, APaddleThatTakesOverIsNoFailure) {
  StartedWinkeyer bench;
  EXPECT_TRUE(bench.keyer.Send("CQ CQ CQ").ok());
  bench.keyer_port.Arrive("\xC6");
  bench.keyer_port.Arrive("\xC0");
  EXPECT_EQ(bench.told, Lines{"The paddle has taken over; 8 characters were not sent"});
  EXPECT_TRUE(bench.keyer.ready() && !bench.keyer.failed());
}

TEST(Keyer, WhoeverHearsOfATuneMayEndItAtOnce) {
  Bench bench;
  const auto subscription = bench.console.Subscribe([&bench](Field field) {
    if (field == Field::kTune && *bench.console.Tune) bench.keyer.Escape();
  });
  bench.keyer.TuneIt();
  EXPECT_FALSE(bench.backend().key);
  EXPECT_EQ(bench.TakeNotices(), Lines{"Transmitter Off"});
  bench.loop.RunFor(1min);
  EXPECT_EQ(bench.TakeNotices(), Lines{}) << "a limit that runs without a tune";
}

TEST(Keyer, APortThatLeadsElsewhereIsOpenedAnew) {
  Bench bench;
  bench.keyer.PortMoved(3);
  EXPECT_EQ(bench.backends.size(), 1U);
  bench.keyer.SendChar1(kKeyDownCode);
  bench.keyer.PortMoved(4);
  bench.loop.RunFor(1s);
  EXPECT_EQ(bench.backends.size(), 2U);
  EXPECT_FALSE(bench.backends.front()->key);
  EXPECT_TRUE(bench.backend().ready());
  bench.keyer.Use({.kind = KeyerKind::kRigLine}, 3);
  bench.keyer.PortMoved(3);
  EXPECT_EQ(bench.backends.size(), 4U);
}

TEST(Keyer, WithoutAKeyerTheOperatorIsToldWhereToChooseOne) {
  Bench bench(KeyerSettings{});
  bench.keyer.TuneIt();
  EXPECT_EQ(bench.TakeNotices(), Lines{"Please select a keyer port in the config setup."});
  EXPECT_EQ(bench.keyer.Send("K").error().message, kNoKeyer);
  EXPECT_EQ(*bench.console.KeyerState, "none");
}

TEST(Keyer, OnlyAChangeOfItsOwnSettingsMakesTheKeyerAnew) {
  Bench bench;
  EXPECT_TRUE(bench.keyer.Send("TEST").ok());
  KeyerSettings same = kComLine;
  same.tone_hertz = 600;
  bench.keyer.Use(same, 3);
  EXPECT_EQ(bench.backends.size(), 1U);
  bench.loop.RunFor(500ms);
  same.compensation = 5;
  bench.keyer.Use(same, 3);
  EXPECT_EQ(bench.backends.size(), 2U);
  EXPECT_EQ(bench.backends.front()->closes, 1);
  EXPECT_EQ(bench.TakeNotices(), Lines{"The keyer has been changed; 3 characters were not sent"});
  bench.loop.RunFor(60s);
  EXPECT_EQ(bench.backend().keyed, "") << "what the other had not sent is not sent by this one";
  EXPECT_TRUE(bench.backend().ready()) << "a line stands at rest from the beginning";
  bench.keyer.Use(same, 4);
  EXPECT_EQ(bench.backends.size(), 2U);
  EXPECT_EQ(bench.TakeNotices(), Lines{"You can not set the keyer port the same as the rig port"});
  EXPECT_EQ(*bench.console.KeyerState, "failed");
}

TEST(Keyer, TheSpeedIsKeptOnceItStands) {
  Bench bench;
  EXPECT_EQ(*bench.console.CWSpeed, 20);
  for (int wpm = 21; wpm <= 30; ++wpm) {
    EXPECT_TRUE(bench.keyer.SetSpeed(wpm).ok());
    bench.loop.RunFor(500ms);
  }
  EXPECT_EQ(bench.backend().speed, 30);
  bench.keyer.Use(kComLine, 3);
  EXPECT_EQ(*bench.console.CWSpeed, 30) << "newer than what is kept";
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.kept, "CWSPEED= 30|");
  EXPECT_FALSE(bench.keyer.SetSpeed(4).ok() || bench.keyer.SetSpeed(100).ok());
  bench.keyer.Use({.kind = KeyerKind::kComLine, .port = 4, .speed = 40}, 3);
  EXPECT_EQ(*bench.console.CWSpeed, 40);
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.kept, "CWSPEED= 30|");
}

TEST(Keyer, SendChar1SendsCharactersAndKnowsItsCodes) {
  Bench bench;
  for (const char c : std::string("cq dx")) bench.keyer.SendChar1(c);
  bench.keyer.SendChar1(kBackspaceCode);
  bench.keyer.SendChar1('E');
  bench.keyer.SendChar1(0x0B);
  bench.keyer.SendChar1(200);
  bench.loop.RunFor(60s);
  EXPECT_EQ(bench.backend().keyed, "CQ DE");
  EXPECT_EQ(bench.TakeNotices(), (Lines{"There is no Morse sign for <0x0B>", "SendChar1 has no code 200"}));
  bench.keyer.SendChar1('0');
  bench.loop.RunFor(100ms);
  bench.keyer.SendChar1(kClearCode);
  EXPECT_EQ(bench.backend().keyed, "CQ DE[0]");
}

TEST(Keyer, AStoredTextWithAMissingValueIsNotSentAndTheNumberCountsOnlyWhatIs) {
  Bench bench;
  ASSERT_TRUE(bench.keyer.functions.SetText(1, "NR {CALL} {NR+}").ok());
  EXPECT_EQ(bench.keyer.SendFunction(1).error().message, "{CALL} has no value yet");
  EXPECT_EQ(bench.keyer.functions.values().number, 1);
  ASSERT_TRUE(bench.keyer.functions.SetCall("dl1abc").ok());
  EXPECT_EQ(bench.keyer.SendFunction(1)->characters, 10);
  EXPECT_EQ(bench.keyer.functions.values().number, 2);
  bench.loop.RunFor(60s);
  EXPECT_EQ(bench.backend().keyed, "DL1ABC 001");
}

TEST(Keyer, AProgramSendsWhileNobodyElseDoesAndStopsItsOwnAlone) {
  Bench bench;
  const cat::Party program = bench.engine.transmission.NewParty();
  const cat::Party other = bench.engine.transmission.NewParty();
  const auto refused = [&](cat::Party party, std::string_view text) {
    const auto taken = bench.keyer.Send(text, party);
    return !taken && taken.error().code == ErrorCode::kBusy;
  };
  EXPECT_TRUE(bench.keyer.Send("EEE", program).ok());
  EXPECT_TRUE(refused(other, "T"));
  bench.keyer.StopFor(other);
  EXPECT_TRUE(bench.keyer.sender().sending());
  bench.keyer.StopFor(program);
  EXPECT_FALSE(bench.keyer.sender().sending());
  EXPECT_TRUE(bench.keyer.Send("EEE", program).ok());
  EXPECT_TRUE(bench.keyer.Send("TT").ok());  // the operator's goes first
  EXPECT_TRUE(refused(program, "E"));
  bench.keyer.StopFor(program);
  bench.loop.RunFor(60s);
  EXPECT_TRUE(bench.backend().keyed.ends_with("TT")) << bench.backend().keyed;
  EXPECT_TRUE(refused(program, std::string(3000, '0')));
  bench.keyer.TuneIt();
  EXPECT_TRUE(refused(program, "E"));
  EXPECT_TRUE(bench.backend().key);
}

TEST(Keyer, AfterTheEndHasBegunNothingIsTaken) {
  Bench bench;
  EXPECT_TRUE(bench.keyer.Send("TEST").ok());
  bench.loop.RunFor(10ms);
  const Task finish = bench.keyer.Finish();
  EXPECT_FALSE(bench.keyer.Send("K").ok());
  EXPECT_FALSE(bench.keyer.Tune(true).ok());
  bench.keyer.Open();
  bench.loop.RunFor(60s);
  EXPECT_TRUE(finish.done());
  EXPECT_EQ(bench.backend().keyed, "[T]");
  EXPECT_FALSE(bench.backend().ready());
  EXPECT_EQ(bench.loop.timers(), 0U);
}

TEST(Keyer, TheChoiceOfPortsAndOutputsIsChecked) {
  KeyerSettings winkey{.kind = KeyerKind::kWinkey, .port = 5};
  EXPECT_EQ(CheckChoice(winkey, 3).error().message, "Please select Winkey KEY1 or KEY2");
  EXPECT_TRUE(CheckPorts(winkey, 3).ok());
  winkey.key2 = true;
  EXPECT_TRUE(CheckChoice(winkey, 3).ok());
  EXPECT_EQ(CheckChoice(winkey, 5).error().message, "You can not set the keyer port the same as the rig port");
  EXPECT_TRUE(CheckChoice({.kind = KeyerKind::kRigLine}, 3).ok());
  EXPECT_TRUE(CheckChoice({.kind = KeyerKind::kLptPin, .port = 1}, 1).ok());
}

}  // namespace
}  // namespace kvx::keyer
