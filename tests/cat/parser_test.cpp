#include <random>

#include "cat_fixture.h"

namespace kvx::cat {
namespace {

/// A reply of each kind of rig that changes frequency or mode; `ask` is sent first.
struct Sample {
  std::string rig, ask, reply, display, noise;
};
const std::vector<Sample>& Samples() {
  static const std::vector<Sample> kSamples{
      {"TS-2000", "", "IF000140253700000+0000000000030000000;", "14025.37 CW", "0<0x80>IF;F"},
      {"TS-850S", "", "IF00007030120     +0000000 001000000 ;", "7030.12 LSB", ";IF00014"},
      {"TS-2000", "", "FA00432100000;MD4;", "432100.00 FM", "?;"},
      {"FT-DX5000", "", "FA07030120;MD02;", "7030.12 USB", "A;FA0703"},
      {"FT-991", "", "FA439700000;MD04;", "439700.00 FM", "FA4397000001"},
      {"IC-7300", "", "FE FE E0 94 03 70 53 02 14 00 FD FE FE E0 94 04 01 01 FD", "14025.37 USB",
       "FC FC FE FE E0 94 03 70"},
      {"Orion", "", "@AF14025370<CR>@RMM1<CR>", "14025.37 LSB", "Z!<CR>@AF140"},
      {"IC-735", "", "FE FE E0 04 03 70 53 02 14 FD FE FE E0 04 04 00 FD", "14025.37 LSB", "FE FE 04 E0 03 FD"},
      {"Jupiter", "", "41 00 D6 0D 02 0D 4D 31 31 0D", "14028.03 USB", "0D 5A 2A 0D 58 00 D6 0D"},
      {"Argonaut V", "", "47 0D 41 00 D6 0D 02 0D 47 0D 4D 32 31 0D 47 0D", "14028.03 LSB", "47 0D 5A 0D"},
      {"FT-857", "XGETFREQ", "01 40 25 37 01", "14025.37 USB", ""},
      {"FT-1000D", "XGETFREQ", "05 15 66 A9 00 00 00 01 00 00 00 00 00 00 00 00", "14025.37 USB", ""},
  };
  return kSamples;
}

TEST(Parser, ReadsAReplyWholeInPiecesAndBehindNoise) {
  for (const Sample& sample : Samples()) {
    for (const std::string how : {"whole", "pieces", "noise"}) {
      SCOPED_TRACE(sample.rig + " " + how);
      Station station(sample.rig);
      if (!sample.ask.empty()) station.Send(sample.ask);
      if (how == "noise") station.Arrive(sample.noise);
      const std::string bytes = station.FromShown(sample.reply);
      EXPECT_EQ(station.Display(), "14000.00 CW");
      if (how == "pieces") {
        for (const char byte : bytes) station.port.Arrive(std::string(1, byte));
      } else {
        station.port.Arrive(bytes);
      }
      EXPECT_EQ(station.Display(), sample.display);
      EXPECT_EQ(station.engine.link.buffer(), "") << "a reply that was read is removed";
    }
  }
}

/// Whatever arrives that is no reply to us leaves the display alone.
TEST(Parser, IgnoresWhatIsNoReplyToUs) {
  // A blank as 12th character and a reply that is cut short; of the Icom frames our own query and command echoed, one
  // to another controller, two from another rig; the FT-857's reply is one that nobody asked for.
  const std::pair<std::string, std::string> rows[] = {
      {"TS-2000",
       "IF;|IF000140253 00000+0000000000020000000;|IF000140253700000+00000;|FA0001402537;|FA000140253700;|"
       "FA0001402537X;|MD0;|MDX;|MD21;"},
      {"FT-DX5000", "FA014025370;"},
      {"FT-991", "FA14025370;|MD12;"},
      {"Orion", "*AF14025370<CR>|@AF1402537<CR>|@RMM9<CR>"},
      {"IC-7300",
       "FE FE 94 E0 03 FD|FE FE 94 E0 05 00 00 03 07 00 FD|FE FE E1 94 03 00 00 03 07 00 FD|"
       "FE FE E0 58 03 00 00 03 07 00 FD|FE FE 00 58 00 00 00 03 07 00 FD|FE FE E0 94 03 00 00 FD|"
       "FE FE E0 94 03 00 A0 03 07 00 FD|FE FE E0 94 03 00 00 00 00 00 FD|FE FE E0 94 FD|FD FD FE FD|"
       "FE FE E0 94 04 99 01 FD"},
      {"Omni VII", "41 7F D6 0D 02 0D|41 00 D6 0D 02 41|4D 39 31 0D|4D 31 31 31"},
      {"FT-857", "07 03 00 00 01"}};
  for (const auto& [rig, replies] : rows) {
    for (const std::string& reply : Split(replies, '|')) {
      Station station(rig);
      station.Arrive(reply);
      EXPECT_EQ(station.Display(), "14000.00 CW") << rig << " " << reply;
    }
  }
}

TEST(Parser, EachVfoKeepsItsFrequencyAndTheDisplayShowsTheOneInUse) {
  Station station("TS-2000");
  station.Arrive("FB00007030000;FA00014025000;");
  EXPECT_EQ(KhzText(*station.console.FreqA) + KhzText(*station.console.FreqB) + station.Display(),
            "14025.007030.0014025.00 CW");
  station.Arrive("IF000070300000000+0000000000031000000;");  // the rig has been switched to VFO B by hand
  EXPECT_EQ(*station.console.ActiveVfo, 'B');
  EXPECT_EQ(station.Display(), "7030.00 CW");
  station.Arrive("FA00014030000;");
  EXPECT_EQ(station.Display(), "7030.00 CW");
  Station icom("IC-7300");
  icom.Arrive("FE FE E0 94 25 01 00 00 03 07 00 FD");
  EXPECT_EQ(KhzText(*icom.console.FreqB) + icom.Display(), "7030.0014000.00 CW");
  Station older("FT-1000D");
  older.Send("XGETFREQB");
  older.Arrive("05 15 66 84 00 00 00 02 00 00 00 00 00 00 00 00 05 0A BA 1D 00 00 00 02 00 00 00 00 00 00 00 00");
  EXPECT_EQ(KhzText(*older.console.FreqB) + older.Display(), "7030.0514000.00 CW");
}

TEST(Parser, FollowsTransceiveFramesAndAFrameBehindACollision) {
  Station station("IC-7300");
  station.Arrive("FE FE 00 94 00 20 01 03 07 00 FD FE FE 00 94 01 01 01 FD");
  EXPECT_EQ(station.Display(), "7030.12 USB");
  station.Arrive("FE FE E0 94 03 70 53 FE FE FE FE E0 94 03 00 00 80 01 00 FD");
  EXPECT_EQ(station.Display(), "1800.00 USB");
  station.Arrive("FE FE E0 94 FA FD");
  EXPECT_EQ(station.engine.parser.refusals(), 1U);
  Station kenwood("TS-2000");
  kenwood.Arrive("?;E;O;");
  EXPECT_EQ(kenwood.engine.parser.refusals(), 3U);
}

TEST(Parser, FiveByteRigAcknowledgementsAreNoReplies) {
  Station station("FT-857");
  station.Send("XUSB");
  station.Arrive("00");
  station.Send("XGETFREQ");
  station.Arrive("01 40 25 37 01");
  EXPECT_EQ(station.Display(), "14025.37 USB");
  // The reply comes right behind the acknowledgements of what was sent just before.
  station.loop.RunFor(1s);
  station.Send("XLSB");
  station.Send("XCWW");
  station.Send("XGETFREQ");
  station.Arrive("00 F0 00 70 30 12");
  station.Arrive("02");
  EXPECT_EQ(station.Display(), "7030.12 CW");
  EXPECT_EQ(station.engine.link.buffer(), "");
}

TEST(Parser, AReplyThatLostBytesDoesNotShiftTheFollowingOnes) {
  for (const std::string rig : {"FT-857", "FT-1000D"}) {
    Station station(rig);
    const std::string reply = rig == "FT-857" ? "01 40 25 37 01" : "05 15 66 A9 00 00 00 01 00 00 00 00 00 00 00 00";
    bool lose = true;
    station.engine.parser.on_reply = [&](const Reply& told) {
      if (told.kind == Reply::Kind::kShownFrequency) {
        EXPECT_EQ(KhzText(told.frequency), "14025.37") << rig;
      }
      station.engine.operations.Follow(told);
    };
    station.port.on_write = [&](std::string_view bytes) {
      const bool meter = bytes.back() == '\xE7' || bytes.back() == '\xF7';
      std::string answer = meter ? Bytes(rig == "FT-857" ? "09" : "09 09 09 09 F7") : Bytes(reply);
      if (!meter && std::exchange(lose, false)) answer.erase(0, 2);
      station.loop.StartTimer(station.loop.Now() + 15ms, [&station, answer] { station.port.Arrive(answer); });
    };
    station.Beat(50ms);
    station.loop.RunFor(3s);
    EXPECT_FALSE(lose);
    EXPECT_EQ(station.Display(), "14025.37 USB");
    EXPECT_EQ(*station.console.SMeter, 9);
  }
}

TEST(Parser, SliderRepliesNeedTheirQueryAndTheirCode) {
  struct Row {
    std::string rig, ask, reply;
    int slider, value;  // value 0: not taken
  };
  for (const Row& row : {Row{"TS-2000", "XGETAF", "AG0128;", 7, 128}, Row{"TS-2000", "XGETAF", "AG1128;", 7, 0},
                         Row{"TS-2000", "", "AG0128;", 7, 0}, Row{"TS-2000", "XGETAF", "PC100;AG0128;", 7, 128},
                         Row{"Orion", "XGETPOWER", "@TP7<CR>", 9, 7}, Row{"Orion", "XGETPOWER", "@TPx<CR>", 9, 0},
                         Row{"Orion", "XGETFILTER", "@RMF2400<CR>", 10, 2400},
                         Row{"IC-7300", "XGETAF", "FE FE E0 94 14 01 01 28 FD", 7, 128},
                         Row{"IC-7300", "XGETAF", "FE FE E0 94 14 02 01 28 FD", 7, 0}}) {
    Station station(row.rig);
    if (!row.ask.empty()) station.Send(row.ask);
    station.Arrive(row.reply);
    EXPECT_EQ(station.console.Slider[static_cast<std::size_t>(row.slider - 1)], row.value) << row.rig << row.reply;
  }
  // The editor's own example: hexadecimal data, the code behind them.
  Station hex(MakeRow("X", "YAESU", {"hex", "GetAF=007C0000BB[1-2]{3/2}32"}));
  for (const auto& [reply, value] : {std::pair{"41 32", 0x41}, {"42 33", 0x41}}) {
    hex.Send("XGETAF");
    hex.Arrive(reply);
    EXPECT_EQ(hex.console.Slider[6], value);
  }
  Station late("TS-2000");
  late.Send("XGETAF");
  late.loop.RunFor(2s);
  late.Arrive("AG0128;");
  EXPECT_EQ(late.console.Slider[6], 0) << "nobody waits for it any more";
}

TEST(Parser, MeterRepliesTellTheMeterAndTheOtherReceiverIsNotShown) {
  Station kenwood("TS-2000");
  kenwood.Arrive("SM00015;SM10030;RM30007;");
  EXPECT_EQ(*kenwood.console.SMeter, 15);
  EXPECT_EQ(*kenwood.console.MeterValue, 7);
  Station yaesu("FT-DX101");
  yaesu.Arrive("SM0120;SM1250;RM4100000;");
  EXPECT_EQ(*yaesu.console.SMeter, 120);
  EXPECT_EQ(*yaesu.console.MeterValue, 100);
  yaesu.console.ActiveVfo.Set('B');
  yaesu.Arrive("SM1030;SM0120;");
  EXPECT_EQ(*yaesu.console.SMeter, 30);
}

// MD0 is VFO A, MD1 is VFO B, whichever is in use (FT-710, FT-DX10, FT-DX101 CAT manuals).
TEST(Parser, TheModeIsThatOfTheVfoInUse) {
  Station station("FT-DX10");
  station.console.ActiveVfo.Set('B');
  station.Send("XUSB");
  station.Send("XREADMODE");
  EXPECT_EQ(station.Written(), "MD12;MD1;");
  station.Arrive("MD13;MD01;");
  EXPECT_EQ(*station.console.Mode, "  CW");
  station.console.ActiveVfo.Set('A');
  station.Arrive("MD01;MD12;");
  EXPECT_EQ(*station.console.Mode, " LSB");
}

TEST(Parser, AFamilyWithoutRulesIsNotParsed) {
  Station station(MakeRow("X", "ELECRAFT", {"SetFreq=FA<FREQ11>;"}));
  station.Arrive("FA00007000000;");
  EXPECT_EQ(station.Display(), "14000.00 CW");
  EXPECT_EQ(station.engine.link.buffer(), "FA00007000000;");
  for (int i = 0; i < 100; ++i) station.port.Arrive(std::string(999, 'x'));
  EXPECT_LE(station.engine.link.buffer().size(), 4096U);
}

TEST(Parser, AnEndlessOrRandomStreamCostsBoundedMemoryAndTheNextReplyIsRead) {
  std::mt19937 random(20261121);
  for (const Sample& sample : Samples()) {
    for (const std::string kind : {"A", "\xFE", ";", "\r", "random", "digits"}) {
      Station station(sample.rig);
      std::size_t largest = 0;
      for (int i = 0; i < 300; ++i) {
        std::string chunk(1000, kind[0]);
        for (char& byte : chunk) {
          if (kind == "random") byte = static_cast<char>(random());
          if (kind == "digits") byte = "0123456789;MDIA@"[random() % 16];  // all but a frequency
        }
        if (i % 3 == 0 && !sample.ask.empty()) station.Send(sample.ask);
        station.port.Arrive(chunk);
        largest = std::max(largest, station.engine.link.buffer().size());
        station.loop.RunFor(100ms);
      }
      EXPECT_LE(largest, 4096U) << sample.rig << " " << kind[0];
      station.loop.RunFor(2s);  // the line is quiet again, and polled
      station.engine.parser.ForgetOverdue();
      if (!sample.ask.empty()) station.Send(sample.ask);
      station.Arrive(sample.reply);
      EXPECT_EQ(KhzText(*station.console.FreqDisp), sample.display.substr(0, sample.display.find(' ')))
          << sample.rig << " " << kind;
    }
  }
}

TEST(Parser, AKenwoodSpeakingRigTellsOfTheReceiverInUseOnly) {
  Station big("TS-890S");
  big.console.Mode.Set("  CW");
  big.Arrive("OM11;SM0035;FR1;FB00007012340;OM0D;");
  EXPECT_EQ(big.Display(), "7012.34 USB");
  EXPECT_EQ(*big.console.ActiveVfo, 'B');
  EXPECT_EQ(*big.console.SMeter, 35);
  Station sdr("PowerSDR");
  sdr.Arrive("ZZFA00014025000;ZZMD01;ZZIF000070250000100+0000000000003000000;");
  EXPECT_EQ(sdr.Display(), "14025.00 USB");
  for (const auto& [rig, scale] :
       {std::pair("TS-890S", 70), {"PowerSDR", 254}, {"TS-480SAT", 20}, {"KX3", 15}, {"TS-850S", 30}}) {
    EXPECT_EQ(SMeterFullScale(Station(rig).engine.rig()), scale) << rig;
  }
}

}  // namespace
}  // namespace kvx::cat
