#include "cat/poller.h"

#include "cat_fixture.h"

namespace kvx::cat {
namespace {

const std::string kIcomMeter = "FE FE 94 E0 15 02 FD";
const std::string kIcomMode = "FE FE 94 E0 04 FD";
const std::string kIcomFrequency = "FE FE 94 E0 03 FD";

/// The rig answers each query `delay` after it.
void Answer(Station& station, const std::map<std::string, std::string>& answers, Duration delay) {
  station.port.on_write = [&station, answers, delay](std::string_view bytes) {
    const std::string query = station.Shown(bytes);
    station.sent.push_back({station.loop.Now() - station.start, query});
    const auto answer = answers.find(query);
    if (answer == answers.end()) return;
    station.loop.StartTimer(station.loop.Now() + delay, [&station, text = answer->second] { station.Arrive(text); });
  };
}

TEST(Poller, ASilentRigIsAskedOneQueryAfterTheOther) {
  Station station("IC-7300");
  station.Beat(50ms);
  station.loop.RunFor(1s + 350ms);
  EXPECT_EQ(station.Log(), (Log{"100 " + kIcomMeter, "400 " + kIcomMode, "700 " + kIcomFrequency, "1000 " + kIcomMeter,
                                "1300 " + kIcomMode}));
}

TEST(Poller, ARigThatAnswersAtOnceIsAskedOneQueryACycleAndTheNextCycleGoesOn) {
  Station station("IC-7300");
  Answer(station,
         {{kIcomMeter, "FE FE E0 94 15 02 00 42 FD"},
          {kIcomMode, "FE FE E0 94 04 01 01 FD"},
          {kIcomFrequency, "FE FE E0 94 03 70 53 02 14 00 FD"}},
         10ms);
  station.Beat(50ms);
  station.loop.RunFor(450ms);
  EXPECT_EQ(station.Log(),
            (Log{"100 " + kIcomMeter, "200 " + kIcomMode, "300 " + kIcomFrequency, "400 " + kIcomMeter}));
  EXPECT_EQ(station.Display(), "14025.37 USB");
  EXPECT_EQ(*station.console.SMeter, 42);
}

TEST(Poller, ARigThatDoesOneThingAfterTheOtherIsNotAskedFasterThanItAnswers) {
  struct Row {
    std::string rig;
    char end;
    std::map<std::string, std::string> answers;
  };
  const std::string frequency = "FE FE E0 94 03 70 53 02 14 00 FD";
  for (const Row& row :
       {Row{"TS-2000", ';', {{"SM0;", "SM00005;"}, {"IF;", "IF00014025370     +00000000003000000 ;"}}},
        Row{"IC-7300",
            '\xFD',
            {{kIcomMeter, "FE FE E0 94 15 02 00 42 FD"},
             {kIcomMode, "FE FE E0 94 04 03 01 FD"},
             {kIcomFrequency, frequency}}},
        Row{"FT-DX5000", ';', {{"SM0;", "SM0005;"}, {"PS;", "PS1;"}, {"MD0;", "MD03;"}, {"FA;", "FA14025370;"}}}}) {
    for (const Duration time : {Duration(150ms), Duration(400ms)}) {
      Station station(row.rig);
      TimePoint free{};
      station.port.on_write = [&](std::string_view bytes) {
        for (std::size_t at = 0; at < bytes.size();) {
          const std::size_t end = std::min(bytes.find(row.end, at), bytes.size() - 1) + 1;
          const std::string query = station.Shown(bytes.substr(at, end - at));
          free = std::max(free, station.loop.Now()) + time;
          if (const auto answer = row.answers.find(query); answer != row.answers.end())
            station.loop.StartTimer(free, [&station, text = answer->second] { station.Arrive(text); });
          at = end;
        }
      };
      station.engine.poller.Start();
      station.Beat(50ms);
      station.loop.RunFor(40s);
      EXPECT_EQ(station.Display(), "14025.37 CW") << row.rig;
      for (int i = 0; i < 100; ++i) {
        station.loop.RunFor(70ms);
        EXPECT_LE(free - station.loop.Now(), 5 * time) << row.rig;
      }
    }
  }
}

TEST(Poller, QueriesThatTheRowDoesNotHaveAreLeftOut) {
  Station station(MakeRow("X", "ICOM", {"hex", "rev", "Add1=94", "GetFreq=FEFE<ADDR>E003FD"}));
  station.Beat(50ms);
  station.loop.RunFor(450ms);
  EXPECT_EQ(station.Log(), (Log{"100 " + kIcomFrequency, "400 " + kIcomFrequency}));
}

TEST(Poller, ABlockFlagEndsTheCycleAndTheNextComesFourTicksLater) {
  for (const bool tuning : {false, true}) {
    Station station("IC-7300");
    auto& flag = tuning ? station.console.Tuning : station.console.Transmitting;
    station.Beat(90ms);
    station.loop.RunFor(250ms);
    EXPECT_EQ(station.Log(), (Log{"180 " + kIcomMeter}));
    flag.Set(true);  // during the wait
    station.loop.RunFor(250ms);
    EXPECT_EQ(station.engine.poller.counter(), -2);
    EXPECT_FALSE(station.engine.poller.cycle_running());
    flag.Set(false);
    station.loop.RunFor(350ms);  // ticks at 540, 630, 720, 810 ms
    EXPECT_EQ(station.Log(), (Log{"810 " + kIcomMeter}));
    flag.Set(true);
    station.loop.RunFor(3s);
    EXPECT_EQ(station.Log(), Log{});
  }
}

TEST(Poller, NoPollingWithoutTheSwitchOrWithAnOpenPort) {
  Station station("IC-7300");
  station.console.Polling.Set(false);
  station.Beat(50ms);
  station.loop.RunFor(1s);
  EXPECT_EQ(station.Log(), Log{});
  station.console.Polling.Set(true);
  station.engine.link.CloseRigPort();
  station.loop.RunFor(1s);
  EXPECT_EQ(station.Log(), Log{});
}

TEST(Poller, KenwoodIsAskedMeterAndStatusEveryCycle) {
  Station station("TS-2000");
  station.Beat(50ms);
  station.loop.RunFor(220ms);
  EXPECT_EQ(station.Log(), (Log{"100 SM0;", "100 IF;", "200 SM0;", "200 IF;"}));
  station.console.MeterOn.Set(true);
  station.console.MeterNumber.Set("3");
  station.loop.RunFor(200ms);
  EXPECT_EQ(station.Log(), (Log{"300 RM3;RM;", "400 RM3;RM;", "400 IF;"}))
      << "the display follows under a meter as well";
  station.console.MeterOn.Set(false);
  station.console.Transmitting.Set(true);
  station.loop.RunFor(2s);
  EXPECT_EQ(station.Log(), Log{});
}

TEST(Poller, TheFastMeterPollNeverKeepsTheCyclesFromTheLine) {
  Station station("FT-DX5000");
  station.engine.poller.Start();
  station.port.on_write = [&](std::string_view bytes) {  // every write is on the line for 5 ms
    station.sent.push_back({station.loop.Now() - station.start, std::string(bytes)});
    station.port.unsent = bytes.size();
    station.loop.StartTimer(station.loop.Now() + 5ms, [&station] { station.port.unsent = 0; });
  };
  station.loop.RunFor(91ms);
  station.Beat(50ms);  // each second beat falls into the meter poll's bytes
  station.loop.RunFor(3s);
  const std::string written = station.port.written;
  EXPECT_NE(written.find("FA;"), std::string::npos) << written;
  EXPECT_NE(written.find("MD0;"), std::string::npos) << written;
}

TEST(Poller, FtDxModelsGetAFastMeterPoll) {
  Station station("FT-DX5000");
  station.engine.poller.Start();
  station.loop.RunFor(310ms);
  EXPECT_EQ(station.Log(), (Log{"0 AI0;", "90 PS;SM0;", "190 PS;SM0;", "290 PS;SM0;"}));
  station.console.MeterOn.Set(true);
  station.console.MeterNumber.Set("4");
  station.loop.RunFor(100ms);
  EXPECT_EQ(station.Log(), (Log{"390 PS;RM4;"}));
  station.engine.link.OpenRigPort({.number = 1, .speed = 1200}, true);
  station.Log();
  station.loop.RunFor(10s);
  EXPECT_LE(station.Log().size(), 27U) << "a slow line gets it more seldom";
  station.Use(ShippedRigs().at("FT-991"));
  station.Log();
  station.loop.RunFor(1s);
  EXPECT_EQ(station.Log().size(), 1U) << "only its init string";
}

TEST(Poller, TheInitStringIsWrittenOnceInTheFormOfTheFamily) {
  struct Row {
    std::string family, encoding, init;
    Log log;
  };
  for (const Row& row : {Row{"KENWOOD", "", "AI0;PS;X", {"0 AI0;", "0 PS;", "0 X"}},
                         Row{"KENWOOD", "hex", "AI0;", {"0 AI0;"}}, Row{"YAESU", "", "AI0;PS1;", {"0 AI0;PS1;"}},
                         Row{"YAESU", "hex", "0000000000 01000000 07 0A", {"0 00 00 00 00 00", "100 01 00 00 00 07"}},
                         Row{"ICOM", "hex,rev", "FEFE<ADDR>E01AFDFEFE", {"0 FE FE 94 E0 1A FD FE FE"}},
                         Row{"OTHER", "", "A;B;", {"0 A;B;"}}, Row{"YAESU", "", "", {}}}) {
    std::vector<std::string> fields = Split(row.encoding, ',');
    fields.push_back("Add1=94");
    fields.push_back("US7=" + row.init);
    Station station(MakeRow("X", row.family, fields));
    station.engine.poller.Start();
    station.loop.RunFor(60s);
    EXPECT_EQ(station.Log(), row.log) << row.family << " " << row.init;
    station.port.Lose();
    station.loop.RunFor(60s);
    EXPECT_EQ(station.Log().size(), row.log.size()) << "a rig that comes back is told again";
    station.Use(MakeRow("Y", "KENWOOD", {"US7=Z;"}));
    station.loop.RunFor(2s);
    EXPECT_TRUE(station.port.written.ends_with("Z;")) << "and so is another rig";
  }
}

TEST(Poller, TheInitStringWaitsForThePort) {
  Station station("TS-2000");
  station.engine.link.CloseRigPort();
  station.engine.poller.Start();
  station.loop.RunFor(10s);
  EXPECT_EQ(station.Written(), "");
  station.engine.link.OpenRigPort({.number = 1}, true);
  station.loop.RunFor(20ms);
  EXPECT_EQ(station.Written(), "AI0;");
}

TEST(Poller, AFiveByteRigIsWrittenToInPiecesOfOneCommand) {
  const auto row = MakeRow("X", "YAESU", {"hex", "GetSMeter=0000000001 0000000002 00000[1-2]10"});
  Station station(row);
  station.Beat(50ms);
  station.loop.RunFor(350ms);
  EXPECT_EQ(station.Log(), (Log{"100 00 00 00 00 01", "200 00 00 00 00 02"})) << "25 digits are two pieces";
}

TEST(Poller, JustAfterMidnightThePiecesAreNotSpaced) {
  struct Row {
    std::chrono::milliseconds utc_step;
    std::chrono::minutes offset;
    bool spaced;
  };
  // The virtual clock stands at 14:00 UTC.
  for (const Row& row : {Row{10h, 0min, false}, Row{10h + 19s, 0min, false}, Row{10h + 21s, 0min, true},
                         Row{8h, 120min, false}, Row{8h, 0min, true}}) {
    Station station(MakeRow("X", "YAESU", {"hex", "US7=000000000100000000020000000003"}));
    station.loop.StepUtc(row.utc_step);
    station.loop.SetLocalOffset(row.offset);
    station.engine.poller.Start();
    station.loop.RunFor(50ms);
    EXPECT_EQ(station.Log().size(), row.spaced ? 1U : 3U) << row.utc_step.count();
  }
}

TEST(Poller, OperatorCommandsAndPollsNeverMixUpAFiveByteRigsReplies) {
  Station station("FT-857");
  const std::string frequency = "00 00 00 00 03";
  station.port.on_write = [&](std::string_view bytes) {
    const std::string shown = SpacedHex(bytes);
    const std::string answer = shown == frequency ? "01 40 25 37 01" : shown == "00 00 00 00 E7" ? "09" : "00";
    station.loop.StartTimer(station.loop.Now() + 30ms, [&station, answer] { station.Arrive(answer); });
  };
  station.engine.parser.on_reply = [&](const Reply& told) {
    if (told.kind == Reply::Kind::kShownFrequency) {
      EXPECT_EQ(KhzText(told.frequency), "14025.37");
    }
    if (told.kind == Reply::Kind::kSMeter) {
      EXPECT_EQ(told.value, 9);
    }
  };
  station.Beat(50ms);
  for (int i = 0; i < 200; ++i) {
    station.loop.RunFor(std::chrono::milliseconds(1 + i * 37 % 211));
    station.Send(i % 3 == 0 ? "XUSB" : i % 3 == 1 ? "XSETFREQ" : "XGETFREQ");
  }
  station.loop.RunFor(2s);
  EXPECT_GT(station.engine.parser.replies_read(), 100U);
  EXPECT_EQ(station.engine.link.buffer(), "");
}

}  // namespace
}  // namespace kvx::cat
