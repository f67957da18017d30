#include <gtest/gtest.h>

#include "bench.h"

namespace kvx::sim {
namespace {

using namespace std::string_literals;

TEST(KenwoodRig, AnswersAsTheCommandTablesSay) {
  Bench bench("ts2000");
  bench.rig->Operate("smeter 15");
  bench.Play(R"(
      ID; > ID019; | FA00007000000; > | FA; > FA00007000000; | FB00014250000;FB; > FB00014250000;
      fa00432100000;fa; > FA00432100000; | MD2;MD; > MD2; | FR1;FR;FT; > FR1;FT1; | FT0;FR;FT; > FR1;FT0; | FR0; >
      SM0; > SM00015; | RM1;RM; > RM10000; | AG0128;AG0; > AG0128; | AG1007;AG1;AG0; > AG1007;AG0128;
      RG200;RG; > RG200; | PC050;PC; > PC050; | GT000;GT; > GT000; | NB1;NB; > NB1; | PA1;PA; > PA10;
      RA01;RA; > RA0100; | BC2;BP040;BP; > BP040; | VX1;VX; > VX1; | PS; > PS1; | MD3;FW0450;FW; > FW0400;)");
  EXPECT_EQ(bench.State("refused"), "0");
}

TEST(KenwoodRig, InformationHasTheModeAtItsThirtiethCharacter) {
  Bench bench("ts2000");
  bench.Play("FA00014025370;MD7;RT1;RU00120;FT1;IF; > IF000140253700000+001201000007001"s + "0080;");
  bench.Play("RC;RD00050;XT1;TX;IF; > IF000140253700000-000501100017001"s + "0080;");
  EXPECT_EQ(bench.Ask("IF;")[29], '7');
}

TEST(KenwoodRig, RefusesWhatTheRigWouldRefuse) {
  Bench bench("ts2000");
  bench.ExpectRefused({"FA1402;",
                       "FA000140250001;",
                       "FA0001402500A;",
                       "FA00000010000;",
                       "FA00100000000;",
                       "MD8;",
                       "MD0;",
                       "MD12;",
                       "AG0256;",
                       "AG07;",
                       "PC004;",
                       "PC50;",
                       "GT021;",
                       "SM;",
                       "SM2;",
                       "RM4;",
                       "QQ;",
                       "IF0;",
                       "TX2;",
                       ";",
                       "RA1;",
                       "FR3;",
                       "RU12;",
                       "\r\nFA;",
                       "FA 0014025000;"},
                      "?;");
  EXPECT_EQ(bench.complaints.front(), "refused: FA1402;");
  EXPECT_EQ(bench.Ask(std::string(100'000, 'A')), "");
  EXPECT_EQ(bench.Ask(";"), "E;");
  EXPECT_EQ(bench.Ask("I"), "");
  EXPECT_EQ(bench.Ask("D;"), "ID019;");
}

TEST(KenwoodRig, TransmitsAndReportsTheKnobAsAutoInformationSays) {
  Bench bench("ts2000");
  bench.rig->Operate("smeter 3");
  bench.Play("RM1;TX; > | SM0;RM; > SM00027;RM10003;");
  EXPECT_EQ(bench.State("tx"), "on");
  bench.Play("PS0; > | ID; > | PS1;ID; > ID019;");
  EXPECT_EQ(bench.State("tx"), "off");

  bench.rig->Operate("knob 14030.00");
  EXPECT_EQ(bench.Sent(), "");
  bench.Ask("AI1;");
  bench.rig->Operate("knob 7012.34");
  EXPECT_EQ(bench.Sent().substr(0, 13), "IF00007012340");
  bench.Ask("AI2;");
  for (const char* hand : {"knob 7013", "mode USB", "vfo B", "knob 21000"}) bench.rig->Operate(hand);
  EXPECT_EQ(bench.Sent(), "FA00007013000;MD2;FR1;FT1;FB00021000000;");
}

TEST(KenwoodRig, KeepsMemories) {
  Bench bench("ts2000");
  EXPECT_EQ(bench.Ask("MW0012000070300001000808000000000000000000MYCHAN;"), "");
  EXPECT_EQ(bench.Ask("MR0012;").substr(0, 18), "MR0012000070300001");
  bench.Play("SV; > ?; | MC012;FR2;SV; > | MD; > MD1; | FA; > FA00007030000; | MW00120000703; > ?;");
}

TEST(KenwoodKin, AnswersAsTheCommandListOfEachModelSays) {
  const struct {
    const char* kind;
    const char* script;
    std::vector<std::string> refused;
  } rigs[] = {
      {"ts440",
       "ID; > ID004; | FA00007030120;FA; > FA00007030120; | FN1;FB00014030000;MD1;SP1;IF; > "
       "IF00014030000     +000000 0001101    ; | RU;RT1;IF; > IF00014030000     +001010 0001101    ; | UP;FB; > "
       "FB00014030010;",
       {"SM;", "FR0;", "AG0100;", "MD7;", "FA00030000001;", "FN2;"}},
      {"ts480",
       "ID; > ID020; | MD7;FT1;IF; > IF00014025000     +000000 0007001"
       "0000; | SM0; > SM00010; | RG100;RG; > RG100;",
       {"SM;", "RG101;", "GT003;", "OM0;", "PC101;"}},
      {"ts890",
       "OM07;OM0; > OM07; | FR1;FR; > FR1; | TB1;FT; > FT0; | SM; > SM0035; | AG128;AG; > AG128;",
       {"IF0;", "SM0;", "AG0100;"}},
      {"k3",
       "RVM; > RVM05.67; | MD6;MD; > MD6; | FT1;FT;FR; > FT1;FR0; | SM; > SM0007; | AG255;AG; > AG255; | BW0050;BW; > "
       "BW0050;",
       {"SM0;", "AG0100;", "MG061;", "OM02;"}},
      {"powersdr",
       "ZZFA00050125000;ZZFA; > ZZFA00050125000; | ZZMD04;ZZMD; > ZZMD04; | ZZSM0; > ZZSM0127; | ZZTX1;ZZTX; > ZZTX1; "
       "| ZZTX0; >",
       {"FA1;", "ZZMD4;", "ZZSM;", "ZZFA1;", "TX;"}},
  };
  for (const auto& rig : rigs) {
    SCOPED_TRACE(rig.kind);
    Bench bench(rig.kind);
    bench.rig->Operate("smeter 15");
    bench.Play(rig.script);
    Bench fresh(rig.kind);
    fresh.ExpectRefused(rig.refused, "?;");
  }
}

TEST(YaesuTextRig, AnswersAsTheReferenceBookSays) {
  Bench bench("ftdx5000");
  bench.rig->Operate("smeter 15");
  bench.Play(R"(
      ID; > ID0362; | FA14250000;FA; > FA14250000; | FB07012340;FB; > FB07012340; | MD02;MD0; > MD02;
      MD0B;MD0; > MD0B; | md0c;MD0; > MD0C; | VS1;VS;FA; > VS1;FA14250000; | VS0;FT3;FT; > FT1; | FT2;FT; > FT0;
      SM0; > SM0127; | PS;RM1; > PS1;RM1127; | RM4; > RM4000; | AG0200;AG0; > AG0200; | RG0100;RG0; > RG0100;
      PC200;PC; > PC200; | SH016;SH0; > SH016; | BP00001;BP01123;BP00;BP01; > BP00001;BP01123; | GT03;GT0; > GT03;
      NB02;NB0; > NB02; | PA01;PA0; > PA01; | RA03;RA0; > RA03; | IS0-0500;IS0; > IS0-0500;
      BS07;FA; > FA21000000; | AC001;AC; > AC001;
      FA14200000;MD07;RT1;RD0150;MC059; > | IF; > IF05914200000-015010700000; | RC; >
      IF; > IF05914200000+000010700000;)");
  EXPECT_EQ(bench.Ask("OI;").substr(0, 13), "OI05907012340");
  EXPECT_EQ(bench.State("refused"), "0");
}

TEST(YaesuTextRig, RefusesWhatTheRigWouldRefuse) {
  Bench("ftdx5000")
      .ExpectRefused({"FA014250000;", "FA1425000;", "FA00010000;", "FA70000000;", "MD2;",       "MD0D;",  "MD00;",
                      "SM;",          "RM;",        "RM9;",        "AG0256;",     "PC004;",     "PC201;", "IS01000;",
                      "IS0+100;",     "IS0 +1000;", "FT1;",        "TX2;",        "IS0+10000;", "RU;"},
                     "?;");
}

TEST(YaesuTextRig, SpeaksTheDialectOfItsModel) {
  struct Row {
    std::string rig, script;
  };
  for (const Row& row :
       {Row{"ft450",
            "ID; > ID0241; | FA14250000;FA; > FA14250000; | FT1;FT; > FT1; | FT2; > ?; | XT; > ?; | PC255;PC; > "
            "PC255; | MD02;VS1;MD03;MD0; > MD03; | VS0;MD0; > MD02; | MD1; > ?;"},
        Row{"ft991",
            "ID; > ID0570; | FA432100000;FA; > FA432100000; | VS0; > ?; | FT3;FT; > FT1; | SH021;SH0; > SH021;"},
        Row{"ftdx101",
            "ID; > ID0681; | FA014250000;FA; > FA014250000; | VS1;VS; > VS1; | SH0007;SH0; > SH0007; | "
            "MD02;MD13;MD0;MD1; > MD02;MD13; | SM0; > SM0000;"}}) {
    Bench bench(row.rig);
    bench.Play(row.script);
  }
}

TEST(YaesuTextRig, TransmitsAndReportsTheKnob) {
  Bench bench("ftdx5000");
  bench.rig->Operate("knob 7000");
  EXPECT_EQ(bench.Sent(), "");
  bench.Ask("AI1;TX1;");
  EXPECT_EQ(bench.State("tx"), "on");
  bench.Play("TX;SM0;RM5; > TX1;SM0000;RM5100; | TX0;TX; > TX0;");
  bench.rig->Operate("knob 7001.23");
  bench.rig->Operate("mode CWR");
  EXPECT_EQ(bench.Sent(), "FA07001230;MD07;");
}

TEST(OrionRig, AnswersAsTheProgrammersGuideSays) {
  Bench bench("orion");
  bench.rig->Operate("smeter 15");
  bench.Play(R"(
      ?V; > Version 1.372; | XX; > ORION START; | *AF14025000;?AF; > @AF14025000; | *BF7030120;?BF; > @BF07030120;
      *RMM0;?RMM; > @RMM0; | *KVBNA;?KV; > @KVBNA; | *KVANA;?S; > @SRM047S000; | *UM200;?UM; > @UM200;
      *RMF350;?RMF; > @RMF350; | *RMP-450;?RMP; > @RMP-450; | *RMG80;?RMG; > @RMG80; | *RMT2;?RMT; > @RMT2;
      *RMAS;?RMA; > @RMAS; | *RMNB4;?RMNB; > @RMNB4; | *RMR-250;?RMR; > @RMR-250; | *TP50;?TP; > @TP50;
      *CS25;?CS; > @CS25; | *AL;?AU; > @AL; | *TK;?S; > @STF050R002S340; | *TU;/E; >)",
             &Bench::AskLine);
  EXPECT_EQ(bench.State("refused"), "0");
  // 7 015 680 Hz is 00 6B 0D 00: a carriage return in the third byte.
  EXPECT_EQ(bench.Ask("*A\x00\x6B\x0D\x00\r"s), "");
  EXPECT_EQ(bench.State("a"), "7015680");
  EXPECT_EQ(bench.Ask("?A\r"), "@A\x00\x6B\x0D\x00\r"s);
}

TEST(OrionRig, RefusesWhatTheRigWouldRefuse) {
  Bench("orion").ExpectRefused(
      {"*AF31000000;", "*AF;", "*AF14o25;", "*RMM7;", "*RMM;", "*RMF99;", "*TP101;", "?QQ;", "FA,;", "*KVNNA;",
       "*RMAX;", "*TKX;", "*RMF-;", "*;", "?;", "*UM256;", std::string(500, 'x') + ";"},
      "Z!;", &Bench::AskLine);
}

}  // namespace
}  // namespace kvx::sim
