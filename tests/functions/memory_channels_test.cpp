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
  const std::vector<std::string> foreign{"# mine",
                                         "0,zero,1.00,,,,,",
                                         "101,much,1.00,,,,,",
                                         "3,x,abc,,,,,",
                                         "4,x,1.00,,wide,,,",
                                         "5,x,1.00,,,C,,",
                                         "6,\"open,1.00,,,,,",
                                         "garbage",
                                         "7,short,1.00"};
  std::string content = kHead + "2,two,2.00,USB,,,skip,c\n";
  for (const std::string& line : foreign) content += line + "\n";
  bench.folder.Put("RIGMEM.MEM", content);
  ASSERT_TRUE(bench.memories.Load().ok());
  EXPECT_TRUE(bench.memories.channel(2).skip);
  ASSERT_TRUE(bench.memories.Save().ok());
  EXPECT_EQ(bench.folder.Get("RIGMEM.MEM"), content);
}

TEST(MemoryChannels, ASecondLineOfAChannelDoesNotComeBackWhenTheFirstIsDeleted) {
  Bench bench;
  bench.folder.Put("RIGMEM.MEM", kHead + "2,two,2.00,USB,,,,\n2,twice,1.00,,,,,\n");
  ASSERT_TRUE(bench.memories.Load().ok());
  EXPECT_EQ(bench.memories.channel(2).name, "two");
  ASSERT_TRUE(bench.memories.Delete(2).ok());
  EXPECT_EQ(bench.folder.Get("RIGMEM.MEM"), kHead + "# 2,twice,1.00,,,,,\n") << "what stood there is not lost";
  ASSERT_TRUE(bench.memories.Load().ok());
  EXPECT_TRUE(bench.memories.channel(2).empty());
}

TEST(MemoryChannels, ChangesAreTakenBackOneByOne) {
  Bench bench;
  for (int i = 1; i <= 3; ++i) bench.memories.Store(i, "n" + std::to_string(i)).ok();
  const std::string before = bench.folder.Get("RIGMEM.MEM");
  ASSERT_TRUE(bench.memories.Delete({1, 3, 50}).ok());
  EXPECT_EQ(bench.memories.first_free(), 1);
  ASSERT_TRUE(bench.memories.Move(2, 9).ok());
  EXPECT_TRUE(bench.memories.Undo().ok());
  EXPECT_EQ(bench.memories.channel(2).name, "n2");
  EXPECT_TRUE(bench.memories.Undo().ok());
  EXPECT_EQ(bench.folder.Get("RIGMEM.MEM"), before) << "both deleted ones at once";
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(bench.memories.Undo().ok());
  EXPECT_FALSE(bench.memories.can_undo());
  EXPECT_EQ(bench.memories.Undo().error().code, ErrorCode::kNotFound);
  EXPECT_FALSE(bench.memories.Delete({7, 0}).ok());
}

TEST(MemoryChannels, SteppingGoesRoundThoseThatHoldSomething) {
  Bench bench;
  EXPECT_EQ(bench.memories.Neighbour(1), 0);
  for (const int number : {3, 50, 100}) bench.memories.Store(number).ok();
  EXPECT_EQ(bench.memories.Neighbour(1), 3);
  EXPECT_EQ(bench.memories.Neighbour(-1), 100);
  ASSERT_TRUE(bench.memories.Recall(50).ok());
  EXPECT_EQ(bench.memories.Neighbour(-1), 3);
  ASSERT_TRUE(bench.memories.Recall(100).ok());
  EXPECT_EQ(bench.memories.Neighbour(1), 3);
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

const std::string kColumns =
    "Location,Name,Frequency,Duplex,Offset,Tone,rToneFreq,cToneFreq,DtcsCode,DtcsPolarity,RxDtcsCode,CrossMode,";
const std::string kNone = ",0.000000,,88.5,88.5,023,NN,023,Tone->Tone,";

TEST(ChannelCsv, WhatAMemoryProgramWroteIsTakenByTheNamesOfItsColumns) {
  Bench bench;
  bench.folder.Put("in.csv",
                   "Location,Name,Frequency,Duplex,Offset,Tone,rToneFreq,cToneFreq,DtcsCode,DtcsPolarity,RxDtcsCode,"
                   "CrossMode,Mode,TStep,Skip,Power,Comment,URCALL,RPT1CALL,RPT2CALL,DVCODE\r\n"
                   "0,CALL,146.520000,,0.600000,,88.5,88.5,023,NN,023,Tone->Tone,FM,5.00,S,50W,\"first, any\",,,,\r\n"
                   "3,NET,7.030500,,,,,,,,,,NCW,,,,,,,,\r\n"
                   "4,NFM,0145.5,+,0.600000,Tone,103.5,88.5,023,NN,023,Tone->Tone,NFM,12.50,,,,,,,\r\n");
  ASSERT_TRUE(bench.memories.Import("in.csv", Conflict::kRefuse).ok());
  EXPECT_EQ(bench.memories.channel(1), (MemoryChannel{.name = "CALL",
                                                      .frequency = Frequency::FromHz(146'520'000),
                                                      .mode = "FM",
                                                      .skip = true,
                                                      .comment = "first, any"}));
  EXPECT_EQ(bench.memories.channel(3),
            (MemoryChannel{.name = "NET", .frequency = Frequency::FromHz(7'030'500), .mode = "CW", .narrow = true}));
  EXPECT_TRUE(bench.memories.channel(4).narrow);
  EXPECT_EQ(bench.memories.channel(4).comment, "[Duplex=+; Offset=0.600000; Tone=Tone; rToneFreq=103.5]");
  EXPECT_NE(bench.memories.Import("in.csv", Conflict::kRefuse).error().message.find("there already: 3, 4"),
            std::string::npos);
  ASSERT_TRUE(bench.memories.Export("out.csv").ok());
  EXPECT_EQ(bench.folder.Get("out.csv"),
            kColumns +
                "Mode,TStep,Skip,Comment\n"
                "1,CALL,146.520000," +
                kNone +
                "FM,5.00,S,\"first, any\"\n"
                "3,NET,7.030500," +
                kNone +
                "NCW,5.00,,\n"
                "4,NFM,145.500000,+,0.600000,Tone,103.5,88.5,023,NN,023,Tone->Tone,NFM,5.00,,\n");
  const MemoryChannel before = bench.memories.channel(3);
  bench.memories.SetName(3, "other").ok();
  ASSERT_TRUE(bench.memories.Import("out.csv", Conflict::kReplace).ok());
  EXPECT_EQ(bench.memories.channel(3), before);
}

TEST(ChannelCsv, WhatAChannelHasNoPlaceForIsKeptInItsCommentAndGoesBack) {
  struct Row {
    std::string heading;
    std::string line;
    std::string comment;
  };
  const std::string older = "Location,Name,Frequency,Duplex,Offset,Tone,rToneFreq,cToneFreq,DtcsCode,DtcsPolarity,";
  const std::string newer =
      older + "RxDtcsCode,CrossMode,Mode,TStep,Skip,Power,Comment,URCALL,RPT1CALL,RPT2CALL,DVCODE";
  for (const Row& row :
       {Row{older + "Mode,TStep,Skip,Comment", "1,A,145.6,-,0.600000,TSQL,88.5,100.0,023,NN,FM,5.00,,hill top",
            "hill top [Duplex=-; Offset=0.600000; Tone=TSQL; cToneFreq=100.0]"},
        Row{newer, "1,A,145.6,split,439.000000,Cross,88.5,88.5,023,NR,047,DTCS->DTCS,FM,12.50,,50W,,,,,",
            "[Duplex=split; Offset=439.000000; Tone=Cross; DtcsPolarity=NR; RxDtcsCode=047; CrossMode=DTCS->DTCS]"},
        Row{newer, "1,A,145.6,,0.600000,,103.5,88.5,023,NN,023,Tone->Tone,DV,5.00,,,d,CQCQCQ,W1AW  B,,",
            "d [URCALL=CQCQCQ; RPT1CALL=W1AW  B; Mode=DV]"},
        Row{"Comment,Frequency,NewColumn", "a [note],7.03,x", "a [note]"}}) {
    Bench bench;
    bench.folder.Put("in.csv", row.heading + "\r\n0,,,\r\n" + row.line + "\r\n");
    ASSERT_TRUE(bench.memories.Import("in.csv", Conflict::kRefuse).ok()) << row.line;
    const MemoryChannel taken = bench.memories.channel(1);
    EXPECT_EQ(taken.comment, row.comment);
    EXPECT_TRUE(bench.memories.channel(2).empty()) << "a line without a frequency is no channel";
    bench.memories.Export("out.csv").ok();
    ASSERT_TRUE(bench.memories.Import("out.csv", Conflict::kReplace).ok());
    EXPECT_EQ(bench.memories.channel(1), taken);
  }
}

TEST(ChannelCsv, TheVfoOfAChannelOutlivesExportAndImport) {
  Bench bench;
  const MemoryChannel channel{.name = "Z\xC3\xBCrich",
                              .frequency = Frequency::FromHz(145'600'000),
                              .mode = "FM",
                              .vfo = 'B',
                              .comment = "hill [Duplex=-; Offset=0.600000]"};
  ASSERT_TRUE(bench.memories.Change(4, channel).ok());
  ASSERT_TRUE(bench.memories.Export("out.csv").ok());
  EXPECT_NE(bench.folder.Get("out.csv").find("hill [VFO=B]"), std::string::npos);
  bench.folder.Put("out.csv", ReplaceAll(bench.folder.Get("out.csv"), "\xC3\xBC", "\xFC"));  // as an older program
  ASSERT_TRUE(bench.memories.Import("out.csv", Conflict::kReplace).ok());
  EXPECT_EQ(bench.memories.channel(4), channel);
}

TEST(ChannelCsv, ImportKeepsOrReplacesWhatIsThere) {
  for (const bool replace : {false, true}) {
    Bench bench;
    bench.memories.Store(3, "mine").ok();
    bench.folder.Put("in.csv", "Location,Name,Frequency\n3,theirs,7.03\n4,four,7.04\n,any,7.05\n");
    const auto read = bench.memories.Read("in.csv");
    ASSERT_TRUE(read.ok());
    EXPECT_EQ(bench.memories.Conflicts(*read), std::vector<int>{3});
    const auto taken = bench.memories.Take(*read, replace ? Conflict::kReplace : Conflict::kKeep, "in.csv");
    EXPECT_EQ(taken->substr(0, 15), replace ? "3 channels from" : "2 channels from");
    EXPECT_EQ(bench.memories.channel(3).name, replace ? "theirs" : "mine");
    EXPECT_EQ(bench.memories.channel(4).name + bench.memories.channel(1).name, "fourany");
  }
}

TEST(ChannelCsv, ABadLineIsNamedAndNothingIsTaken) {
  struct Row {
    std::string csv;
    std::string why;
  };
  const std::string good = "Location,Frequency,Mode\n1,7.03,CW\n";
  for (const Row& row : {Row{"Location,Mode\n", "line 1: the heading"}, Row{good + "2,x,CW\n", "line 3: \"x\" is no"},
                         Row{good + "1,7.04,CW\n", "line 3: Location 1"},
                         Row{good + "2,99999999.0,CW\n", "line 3: \"99999999.0\" is no"},
                         Row{good + "2,\"7.03,CW\n", "line 3: a quote"}, Row{"", "line 1: the heading"}}) {
    Bench bench;
    bench.folder.Put("in.csv", row.csv);
    const auto imported = bench.memories.Import("in.csv", Conflict::kReplace);
    ASSERT_FALSE(imported.ok()) << row.csv;
    EXPECT_NE(imported.error().message.find(row.why), std::string::npos) << imported.error().message;
    EXPECT_TRUE(bench.memories.channel(1).empty());
  }
  Bench bench;
  std::string many = "Frequency\n";
  for (int i = 0; i < 101; ++i) many += "7.03\n";
  bench.folder.Put("in.csv", many);
  EXPECT_FALSE(bench.memories.Import("in.csv", Conflict::kReplace).ok());
  EXPECT_TRUE(bench.memories.channel(1).empty());
}

}  // namespace
}  // namespace kvx::functions
