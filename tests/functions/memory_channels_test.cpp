#include "functions/memory_channels.h"

#include "functions_fixture.h"

namespace kvx::functions {
namespace {

const std::string kHead = "KVX memory channels 1\n# channel,name,frequency in kHz,mode,width,vfo,skip,comment\n";

TEST(MemoryChannels, WhatIsStoredIsInTheFileAtOnceAndComesBack) {
  Bench bench;
  bench.Tune("14025.37");
  bench.rig.console.Xnarrow.Set(true);
  bench.rig.engine.operations.SetCW();
  ASSERT_TRUE(bench.memories.Store(7, "Sunday, \"net\"\n").ok());
  EXPECT_EQ(bench.folder.Get("RIGMEM.MEM"), kHead + "7,\"Sunday, \"\"net\"\"<LF>\",14025.37,CW,narrow,A,,\n");
  MemoryChannels again(bench.rig.console, bench.rig.engine.operations, bench.rig.engine.dispatcher, bench.files,
                       bench.folder.path());
  ASSERT_TRUE(again.Load().ok());
  EXPECT_EQ(again.channel(7), bench.memories.channel(7));
  bench.Tune("7010.00");
  bench.rig.console.Xnarrow.Set(false);
  bench.rig.engine.operations.VFOB_Click();
  bench.rig.Written();
  ASSERT_TRUE(again.Recall(7).ok());
  EXPECT_EQ(bench.rig.Written(), "VA;FA00014025370;MN;");
  EXPECT_EQ(again.Recall(8).error().code, ErrorCode::kNotFound);
  for (const int number : {0, 101, -1}) {
    EXPECT_EQ(again.Recall(number).error().code, ErrorCode::kInvalid) << number;
    EXPECT_EQ(again.Store(number).error().code, ErrorCode::kInvalid) << number;
    EXPECT_EQ(again.Move(number, 1).error().code, ErrorCode::kInvalid) << number;
  }
}

TEST(MemoryChannels, MovingShiftsThoseBetween) {
  Bench bench;
  for (int i = 1; i <= 4; ++i) {
    bench.rig.console.FreqDisp.Set(Frequency::FromKhz(i));
    bench.memories.Store(i, std::string(1, static_cast<char>('a' + i - 1))).ok();
  }
  const auto names = [&] {
    std::string text;
    for (int i = 1; i <= 5; ++i) text += bench.memories.channel(i).empty() ? "-" : bench.memories.channel(i).name;
    return text;
  };
  EXPECT_EQ(bench.memories.first_free(), 5);
  bench.memories.Move(1, 3).ok();
  EXPECT_EQ(names(), "bcad-");
  bench.memories.Move(4, 1).ok();
  EXPECT_EQ(names(), "dbca-");
  bench.memories.Delete(2).ok();
  EXPECT_EQ(names(), "d-ca-");
  bench.memories.SetName(3, "x").ok();
  EXPECT_EQ(names(), "d-xa-");
  EXPECT_FALSE(bench.memories.SetName(2, "x").ok());
  EXPECT_EQ(bench.memories.first_free(), 2);
}

TEST(MemoryChannels, LinesThatAreNoChannelStayInTheFile) {
  Bench bench;
  const std::vector<std::string> foreign{
      "# mine",       "0,zero,1.00,,,,,",  "101,much,1.00,,,,,", "2,twice,1.00,,,,,",
      "3,x,abc,,,,,", "4,x,1.00,,wide,,,", "5,x,1.00,,,C,,",     "6,\"open,1.00,,,,,",
      "garbage",      "7,short,1.00"};
  std::string content = kHead + "2,two,2.00,USB,,,skip,c\n";
  for (const std::string& line : foreign) content += line + "\n";
  bench.folder.Put("RIGMEM.MEM", content);
  ASSERT_TRUE(bench.memories.Load().ok());
  EXPECT_TRUE(bench.memories.channel(2).skip);
  ASSERT_TRUE(bench.memories.Save().ok());
  EXPECT_EQ(bench.folder.Get("RIGMEM.MEM"), content);
}

TEST(MemoryChannels, AFileOfAnotherKindIsSetAsideAndNothingOfItIsLost) {
  for (const std::string& content : {"0000\n0000\n"s, "KVX memory channels 2\n"s, "\0\1\2"s, ""s}) {
    Bench bench;
    bench.folder.Put("RIGMEM.MEM", content);
    const Status loaded = bench.memories.Load();
    ASSERT_FALSE(loaded.ok());
    EXPECT_NE(loaded.error().message.find("set aside as RIGMEM.MEM.damaged"), std::string::npos);
    ASSERT_TRUE(bench.memories.Store(1).ok());
    EXPECT_EQ(bench.folder.Get("RIGMEM.MEM.damaged"), content);
  }
}

TEST(MemoryChannels, TheRowsOwnMemoryKeysAreSent) {
  Bench bench;
  bench.rig.Written();
  bench.memories.VfoToMemory();
  bench.memories.MemoryToVfo();
  bench.memories.MemoryChannelKey();
  EXPECT_EQ(bench.rig.Written(), "S1;V1;C1;");
}

TEST(ChannelCsv, WhatAMemoryProgramWroteIsTakenByTheNamesOfItsColumns) {
  Bench bench;
  bench.folder.Put("in.csv",
                   "Location,Name,Frequency,Duplex,Offset,Tone,rToneFreq,cToneFreq,DtcsCode,DtcsPolarity,RxDtcsCode,"
                   "CrossMode,Mode,TStep,Skip,Power,Comment,URCALL,RPT1CALL,RPT2CALL,DVCODE\r\n"
                   "0,CALL,146.520000,,0.600000,,88.5,88.5,023,NN,023,Tone->Tone,FM,5.00,S,50W,\"first, any\",,,,\r\n"
                   "3,NET,7.030500,,,,,,,,,,NCW,,,,,,,,\r\n"
                   "4,NFM,0145.5,+,0.600000,Tone,103.5,88.5,023,NN,023,Tone->Tone,NFM,12.50,,,,,,,\r\n");
  ASSERT_TRUE(bench.memories.Import("in.csv", false).ok());
  EXPECT_EQ(bench.memories.channel(1), (MemoryChannel{.name = "CALL",
                                                      .frequency = Frequency::FromHz(146'520'000),
                                                      .mode = "FM",
                                                      .skip = true,
                                                      .comment = "first, any"}));
  EXPECT_EQ(bench.memories.channel(3),
            (MemoryChannel{.name = "NET", .frequency = Frequency::FromHz(7'030'500), .mode = "CW", .narrow = true}));
  EXPECT_TRUE(bench.memories.channel(4).narrow);
  EXPECT_NE(bench.memories.Import("in.csv", false).error().message.find("there already: 3, 4"), std::string::npos);
  ASSERT_TRUE(bench.memories.Export("out.csv").ok());
  EXPECT_EQ(
      bench.folder.Get("out.csv"),
      "Location,Name,Frequency,Duplex,Offset,Tone,rToneFreq,cToneFreq,DtcsCode,DtcsPolarity,Mode,TStep,Skip,Comment\n"
      "1,CALL,146.520000,,0.000000,,88.5,88.5,023,NN,FM,5.00,S,\"first, any\"\n"
      "3,NET,7.030500,,0.000000,,88.5,88.5,023,NN,NCW,5.00,,\n"
      "4,NFM,145.500000,,0.000000,,88.5,88.5,023,NN,NFM,5.00,,\n");
  const MemoryChannel before = bench.memories.channel(3);
  bench.memories.SetName(3, "other").ok();
  ASSERT_TRUE(bench.memories.Import("out.csv", true).ok());
  EXPECT_EQ(bench.memories.channel(3), before);
}

TEST(ChannelCsv, ABadLineIsNamedAndNothingIsTaken) {
  struct Row {
    std::string csv;
    std::string why;
  };
  const std::string good = "Location,Frequency,Mode\n1,7.03,CW\n";
  for (const Row& row :
       {Row{"Location,Mode\n", "line 1: the heading"}, Row{good + "2,x,CW\n", "line 3: \"x\" is no"},
        Row{good + "2,7.03,DMR\n", "line 3: the mode DMR"}, Row{good + "1,7.04,CW\n", "line 3: Location 1"},
        Row{good + "2,99999999.0,CW\n", "line 3: \"99999999.0\" is no"}, Row{good + "2,\"7.03,CW\n", "line 3: a quote"},
        Row{"", "line 1: the heading"}}) {
    Bench bench;
    bench.folder.Put("in.csv", row.csv);
    const auto imported = bench.memories.Import("in.csv", true);
    ASSERT_FALSE(imported.ok()) << row.csv;
    EXPECT_NE(imported.error().message.find(row.why), std::string::npos) << imported.error().message;
    EXPECT_TRUE(bench.memories.channel(1).empty());
  }
  Bench bench;
  std::string many = "Frequency\n";
  for (int i = 0; i < 101; ++i) many += "7.03\n";
  bench.folder.Put("in.csv", many);
  EXPECT_FALSE(bench.memories.Import("in.csv", true).ok());
  EXPECT_TRUE(bench.memories.channel(1).empty());
}

}  // namespace
}  // namespace kvx::functions
