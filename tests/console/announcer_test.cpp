#include "console/announcer.h"

#include "console/command_line.h"
#include "console_fixture.h"
#include "fakes/fake_speech.h"

namespace kvx::console {
namespace {

using Lines = std::vector<std::string>;

/// A station whose announcements are on, and what has been announced since.
struct Announced {
  explicit Announced(const std::string& rig = "TS-2000") : bench(RigIni(rig)) {
    bench.StartQuiet();
    subscription = console.Subscribe([this](Field field) {
      if (field == Field::kSpkbx) told.push_back(*console.SPKBX);
    });
    console.Announce.Set(true);
    Take();
  }
  Lines Take(Duration time = 5s) {
    bench.loop.RunFor(time);
    return std::exchange(told, {});
  }

  Bench bench;
  Console& console = bench.station.console;
  Lines told;
  Console::Subscription subscription;
};

TEST(Announcer, EachOperationHasItsSentence) {
  Announced station;
  Station& s = station.bench.station;
  Console& console = station.console;
  struct Row {
    std::function<void()> operation;
    Lines told;
  };
  for (const Row& row : std::vector<Row>{
           {[&] { s.engine.operations.SetUpper(); }, {"Mode = USB"}},
           {[&] { s.engine.operations.VFOB_Click(); }, {"VFO = B"}},
           {[&] { console.Xnarrow.Set(true); }, {"Narrow on"}},
           {[&] {
              s.bands.ClickStep();
              s.bands.ClickStep();
            },
            {"Step = 1"}},
           {[&] { s.engine.operations.TuneTo(Frequency::FromKhz(14'040)); },
            {"Frequency = 14040.00", "CW,RTTY,Data (General)"}},
           {[&] { s.Rig_Click(2); }, {"Rig number 2"}},
           {[&] { console.RigSlot.Set(3); }, {"Saved rig 3"}},
           {[&] { s.MoveSlider(7, 120); }, {"AF = 120"}},
           {[&] { s.PressFunction(1); }, {"NB, on"}},
           {[&] { s.PressFunction(1); }, {"NB, off"}},
           {[&] {
              console.Text5.Set(8, "08");
              s.PressFunction(9);
            },
            {"Tone number = 08"}},
           {[&] { console.Transmitting.Set(true); }, {"Transmit on"}},
           {[&] { console.Transmitting.Set(false); }, {"Transmit off"}},
           {[&] { s.Notice("the keyer is silent"); }, {"the keyer is silent"}},
           {[&] { station.bench.port.Lose(); }, {"the device has gone", "The rig port is open again"}},
           {[&] { s.announcer.Operated("RIT on"); }, {"RIT on"}},
           {[&] { s.bands.SetBand40(); }, {"Band = 40", "Mode = CW", "Frequency = 7000.00", "CW,RTTY,Data (Extra)"}},
           {[&] { s.ChooseRig("FT-857").ok(); }, {"VFO = A", "Rig = FT-857"}},
           {[&] { s.SetRigPort(0, 4800); }, {"Rig port closed"}},
       }) {
    row.operation();
    const Lines told = station.Take();
    EXPECT_EQ(told, row.told) << row.told.front();
  }
}

TEST(Announcer, TheEightyMeterButtonTellsItsBandOnce) {
  Announced station;
  const auto press = [&] { station.bench.station.bands.SetBand80(); };
  press();
  EXPECT_EQ(*station.console.SPKBX, "Band = 80") << "at once";
  EXPECT_EQ(station.Take(), (Lines{"Band = 80", "Frequency = 3500.00", "CW DX window (Extra)"}));
  press();
  press();
  EXPECT_EQ(station.Take(), Lines{"Band = 80"}) << "nothing else has changed";
}

TEST(Announcer, WhatMovesIsToldWhenItRestsAndOnlyOnce) {
  Announced station;
  Console& console = station.console;
  for (int i = 1; i <= 100; ++i) {
    console.FreqDisp.Set(Frequency::FromKhz(14'000 + i));
    console.Slider.Set(6, i);
    station.bench.loop.RunFor(100ms);
    console.Slider.Set(8, 2 * i);
  }
  EXPECT_EQ(station.told, Lines{}) << "still moving";
  EXPECT_EQ(station.Take(), (Lines{"AF = 100", "PW = 200", "Frequency = 14100.00",
                                   "International beacons 14100: do not transmit (General)"}));
  console.FreqDisp.Set(Frequency::FromKhz(14'090));
  console.FreqDisp.Set(Frequency::FromKhz(14'100));
  console.Slider.Set(6, 3);
  console.Slider.Set(6, 100);
  EXPECT_EQ(station.Take(), Lines{}) << "back where it was";
}

// Ten modes in a row: the operator hears the first and where he has ended, not all that is long past.
TEST(Announcer, ABurstLeavesNoStaleSentencesBehind) {
  Announced station;
  for (int i = 0; i < 10; ++i) {
    station.console.Mode.Set(i % 2 == 0 ? "LSB" : "USB");
    station.console.Xnarrow.Set(i % 2 == 0);
    station.bench.loop.RunFor(30ms);
  }
  EXPECT_EQ(station.Take(), (Lines{"Mode = LSB", "Mode = USB"})) << "narrow is as it was";
}

TEST(Announcer, NeverTheSameSentenceTwiceInARow) {
  Announced station;
  const auto say = [&](const std::string& sentence) {
    station.bench.station.announcer.Operated(sentence);
    return station.Take();
  };
  EXPECT_EQ(say("RIT on"), Lines{"RIT on"});
  EXPECT_EQ(say("RIT on"), Lines{});
  EXPECT_EQ(say("RIT off"), Lines{"RIT off"});
  EXPECT_EQ(say("RIT on"), Lines{"RIT on"});
}

TEST(Announcer, SwitchedOffItIsSilent) {
  Announced station;
  ASSERT_EQ(*station.console.SPKBX, "Announcements on");
  station.console.Mode.Set("USB");  // still waiting
  station.console.Announce.Set(false);
  station.bench.station.bands.SetBand80();
  station.bench.station.engine.operations.SetLower();
  station.bench.station.PressFunction(1);
  station.bench.station.Notice("a message");
  EXPECT_EQ(station.Take(), Lines{});
  station.console.Announce.Set(true);
  EXPECT_EQ(station.Take(), Lines{}) << "what happened meanwhile is not caught up on";
  station.console.Mode.Set("USB");
  EXPECT_EQ(station.Take(), Lines{"Mode = USB"});
}

TEST(Announcer, TellsTheStateWhenAskedEvenWhileOff) {
  Bench bench(RigIni("TS-2000"));
  std::vector<std::string> out;
  CommandLine line(bench.loop, bench.station, [&](const std::string& text) { out.push_back(text); });
  bench.Start();
  bench.station.console.Polling.Set(false);
  bench.loop.RunFor(2s);
  line.Ready();
  bench.port.Arrive("SM00015;");
  out.clear();
  line.Take("say");
  bench.loop.RunFor(1ms);
  const std::string sentence = "Frequency = 14000.00, Mode = CW, VFO = A, Band = 20, S9";
  EXPECT_EQ(out, (Lines{"announce " + sentence, "ok " + sentence}));
  EXPECT_EQ(*bench.station.console.SPKBX, sentence);
}

TEST(Announcer, TheVoiceSaysWhatTheBoxShows) {
  VirtualLoop loop;
  Console console;
  config::RigDefinition rig;
  cat::BandPlan plan;
  FakeSpeech speech;
  Announcer announcer(loop, console, rig, plan, &speech);
  console.Announce.Set(true);
  loop.RunFor(1s);
  console.BandNumber.Set(35);
  console.SPKBX.Set("put there by somebody else");
  console.Slider.Set(2, 5);
  loop.RunFor(2s);
  for (const char* line : {"no row", "", "no row"}) {  // as a notice that comes again
    console.MsgArea.Set(line);
    loop.RunFor(2s);
  }
  announcer.SayStatus();
  announcer.SayStatus();  // asked again, it is heard again
  console.Announce.Set(false);
  const std::string status = "Frequency = 14000.00, Mode = CW, VFO = A, Band = 902, S0";
  EXPECT_EQ(speech.said, (Lines{"Announcements on", "put there by somebody else", "Band = 902", "Slider 3 = 5",
                                "no row", "no row", status, status}));
  EXPECT_EQ(speech.stops, 1);
}

}  // namespace
}  // namespace kvx::console
