#include <gtest/gtest.h>

#include "bench.h"

namespace kvx::sim {
namespace {

using namespace std::string_literals;

struct Exchange {
  std::string ask;
  std::string answer;
};

void Check(Bench& bench, const std::vector<Exchange>& exchanges) {
  for (const Exchange& exchange : exchanges) EXPECT_EQ(bench.Ask(exchange.ask), exchange.answer) << exchange.ask;
}

TEST(KenwoodRig, AnswersAsTheCommandTablesSay) {
  Bench bench("ts2000");
  bench.rig->Operate("smeter 15");
  Check(bench, {{"ID;", "ID019;"},
                {"FA00007000000;", ""},
                {"FA;", "FA00007000000;"},
                {"FB00014250000;FB;", "FB00014250000;"},
                {"fa00432100000;fa;", "FA00432100000;"},
                {"MD2;MD;", "MD2;"},
                {"FR1;FR;FT;", "FR1;FT1;"},
                {"FT0;FR;FT;", "FR1;FT0;"},
                {"FR0;", ""},
                {"SM0;", "SM00015;"},
                {"RM1;RM;", "RM10000;"},
                {"AG0128;AG0;", "AG0128;"},
                {"AG1007;AG1;AG0;", "AG1007;AG0128;"},
                {"RG200;RG;", "RG200;"},
                {"PC050;PC;", "PC050;"},
                {"GT000;GT;", "GT000;"},
                {"NB1;NB;", "NB1;"},
                {"PA1;PA;", "PA10;"},
                {"RA01;RA;", "RA0100;"},
                {"BC2;BP040;BP;", "BP040;"},
                {"VX1;VX;", "VX1;"},
                {"PS;", "PS1;"},
                {"MD3;FW0450;FW;", "FW0400;"}});
  EXPECT_EQ(bench.State("refused"), "0");
}

TEST(KenwoodRig, InformationHasTheModeAtItsThirtiethCharacter) {
  Bench bench("ts2000");
  bench.Ask("FA00014025370;MD7;RT1;RU00120;FT1;");
  const std::string text = bench.Ask("IF;");
  EXPECT_EQ(text,
            "IF000140253700000+00120100000"
            "7"
            "00"
            "1"
            "0080;");
  EXPECT_EQ(text.size(), 38u);
  EXPECT_EQ(text[29], '7');
  bench.Ask("RC;RD00050;XT1;TX;");
  EXPECT_EQ(bench.Ask("IF;"),
            "IF000140253700000-00050110001"
            "7"
            "00"
            "1"
            "0080;");
}

TEST(KenwoodRig, RefusesWhatTheRigWouldRefuse) {
  Bench bench("ts2000");
  const std::vector<std::string> bad{"FA1402;",
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
                                     "FA 0014025000;"};
  for (const std::string& command : bad) EXPECT_EQ(bench.Ask(command), "?;") << command;
  EXPECT_EQ(bench.State("refused"), std::to_string(bad.size()));
  EXPECT_EQ(bench.complaints.front(), "refused: FA1402;");
  EXPECT_EQ(bench.State("a"), "14025000");
  EXPECT_EQ(bench.State("tx"), "off");

  EXPECT_EQ(bench.Ask(std::string(100'000, 'A')), "");
  EXPECT_EQ(bench.Ask(";"), "E;");
  EXPECT_EQ(bench.Ask("I"), "");
  EXPECT_EQ(bench.Ask("D;"), "ID019;");
}

TEST(KenwoodRig, TransmitsAndShowsItInState) {
  Bench bench("ts2000");
  bench.rig->Operate("smeter 3");
  bench.Ask("RM1;TX;");
  EXPECT_EQ(bench.State("tx"), "on");
  EXPECT_EQ(bench.Ask("SM0;RM;"), "SM00027;RM10003;");
  bench.Ask("PS0;");
  EXPECT_EQ(bench.State("tx"), "off");
  EXPECT_EQ(bench.Ask("ID;"), "");
  EXPECT_EQ(bench.Ask("PS1;ID;"), "ID019;");
}

TEST(KenwoodRig, ReportsTheKnobAsAutoInformationSays) {
  Bench bench("ts2000");
  EXPECT_EQ(bench.rig->Operate("knob 14030.00"), "ok");
  EXPECT_EQ(bench.Sent(), "");
  bench.Ask("AI1;");
  bench.rig->Operate("knob 7012.34");
  EXPECT_EQ(bench.Sent().substr(0, 13), "IF00007012340");
  bench.Ask("AI2;");
  bench.rig->Operate("knob 7013");
  bench.rig->Operate("mode USB");
  bench.rig->Operate("vfo B");
  bench.rig->Operate("knob 21000");
  EXPECT_EQ(bench.Sent(), "FA00007013000;MD2;FR1;FT1;FB00021000000;");
}

TEST(KenwoodRig, KeepsMemories) {
  Bench bench("ts2000");
  EXPECT_EQ(bench.Ask("MW0012000070300001000808000000000000000000MYCHAN;"), "");
  EXPECT_EQ(bench.Ask("MR0012;").substr(0, 18), "MR0012000070300001");
  EXPECT_EQ(bench.Ask("SV;"), "?;");
  bench.Ask("MC012;FR2;SV;");
  EXPECT_EQ(bench.State("a"), "7030000");
  EXPECT_EQ(bench.State("mode"), "LSB");
  EXPECT_EQ(bench.Ask("MW00120000703;"), "?;");
}

TEST(YaesuTextRig, AnswersAsTheReferenceBookSays) {
  Bench bench("ftdx5000");
  bench.rig->Operate("smeter 15");
  Check(bench, {{"ID;", "ID0362;"},
                {"FA14250000;FA;", "FA14250000;"},
                {"FB07012340;FB;", "FB07012340;"},
                {"MD02;MD0;", "MD02;"},
                {"MD0B;MD0;", "MD0B;"},
                {"md0c;MD0;", "MD0C;"},
                {"VS1;VS;FA;", "VS1;FA14250000;"},
                {"VS0;FT3;FT;", "FT1;"},
                {"FT2;FT;", "FT0;"},
                {"SM0;", "SM0127;"},
                {"PS;RM1;", "PS1;RM1127;"},
                {"RM4;", "RM4000;"},
                {"AG0200;AG0;", "AG0200;"},
                {"RG0100;RG0;", "RG0100;"},
                {"PC200;PC;", "PC200;"},
                {"SH016;SH0;", "SH016;"},
                {"BP00001;BP01123;BP00;BP01;", "BP00001;BP01123;"},
                {"GT03;GT0;", "GT03;"},
                {"NB02;NB0;", "NB02;"},
                {"PA01;PA0;", "PA01;"},
                {"RA03;RA0;", "RA03;"},
                {"IS0-0500;IS0;", "IS0-0500;"},
                {"BS07;FA;", "FA21000000;"},
                {"AC001;AC;", "AC001;"}});
  EXPECT_EQ(bench.State("refused"), "0");
}

TEST(YaesuTextRig, InformationAndClarifier) {
  Bench bench("ftdx5000");
  bench.Ask("FA14200000;MD07;RT1;RD0150;MC059;");
  EXPECT_EQ(bench.Ask("IF;"),
            "IF05914200000-01501070"
            "0000;");
  bench.Ask("RC;");
  EXPECT_EQ(bench.Ask("IF;"),
            "IF05914200000+00001070"
            "0000;");
  EXPECT_EQ(bench.Ask("OI;").substr(0, 13), "OI05914030000");
}

TEST(YaesuTextRig, RefusesWhatTheRigWouldRefuse) {
  Bench bench("ftdx5000");
  const std::vector<std::string> bad{"FA014250000;", "FA1425000;", "FA00010000;", "FA70000000;", "MD2;",
                                     "MD0D;",        "MD00;",      "SM;",         "RM;",         "RM9;",
                                     "AG0256;",      "PC004;",     "PC201;",      "IS01000;",    "IS0+100;",
                                     "IS0 +1000;",   "FT1;",       "TX2;",        "IS0+10000;"};
  for (const std::string& command : bad) EXPECT_EQ(bench.Ask(command), "?;") << command;
  EXPECT_EQ(bench.State("refused"), std::to_string(bad.size()));
  EXPECT_EQ(bench.State("a"), "14025000");
}

TEST(YaesuTextRig, TransmitsAndReportsTheKnob) {
  Bench bench("ftdx5000");
  bench.rig->Operate("knob 7000");
  EXPECT_EQ(bench.Sent(), "");
  bench.Ask("AI1;TX1;");
  EXPECT_EQ(bench.State("tx"), "on");
  EXPECT_EQ(bench.Ask("TX;SM0;RM5;"), "TX1;SM0000;RM5100;");
  EXPECT_EQ(bench.Ask("TX0;TX;"), "TX0;");
  bench.rig->Operate("knob 7001.23");
  bench.rig->Operate("mode CWR");
  EXPECT_EQ(bench.Sent(), "FA07001230;MD07;");
}

TEST(OrionRig, AnswersAsTheProgrammersGuideSays) {
  Bench bench("orion");
  bench.rig->Operate("smeter 15");
  Check(bench, {{"?V\r", "Version 1.372\r"},
                {"XX\r", "ORION START\r"},
                {"*AF14025000\r?AF\r", "@AF14025000\r"},
                {"*BF7030120\r?BF\r", "@BF07030120\r"},
                {"*RMM0\r?RMM\r", "@RMM0\r"},
                {"*KVBNA\r?KV\r", "@KVBNA\r"},
                {"*KVANA\r?S\r", "@SRM047S000\r"},
                {"*UM200\r?UM\r", "@UM200\r"},
                {"*RMF350\r?RMF\r", "@RMF350\r"},
                {"*RMP-450\r?RMP\r", "@RMP-450\r"},
                {"*RMG80\r?RMG\r", "@RMG80\r"},
                {"*RMT2\r?RMT\r", "@RMT2\r"},
                {"*RMAS\r?RMA\r", "@RMAS\r"},
                {"*RMNB4\r?RMNB\r", "@RMNB4\r"},
                {"*RMR-250\r?RMR\r", "@RMR-250\r"},
                {"*TP50\r?TP\r", "@TP50\r"},
                {"*CS25\r?CS\r", "@CS25\r"},
                {"*AL\r?AU\r", "@AL\r"},
                {"*TK\r?S\r", "@STF050R002S340\r"},
                {"*TU\r/E\r", ""}});
  EXPECT_EQ(bench.State("refused"), "0");
}

TEST(OrionRig, TakesBinaryFrequenciesWithACarriageReturnInside) {
  Bench bench("orion");
  // 7 015 680 Hz is 00 6B 0D 00: a carriage return in the third byte.
  EXPECT_EQ(bench.Ask("*A\x00\x6B\x0D\x00\r"s), "");
  EXPECT_EQ(bench.State("a"), "7015680");
  EXPECT_EQ(bench.Ask("?A\r"), "@A\x00\x6B\x0D\x00\r"s);
}

TEST(OrionRig, RefusesWhatTheRigWouldRefuse) {
  Bench bench("orion");
  const std::vector<std::string> bad{"*AF31000000\r",
                                     "*AF\r",
                                     "*AF14o25\r",
                                     "*RMM7\r",
                                     "*RMM\r",
                                     "*RMF99\r",
                                     "*TP101\r",
                                     "?QQ\r",
                                     "FA;\r",
                                     "*KVNNA\r",
                                     "*RMAX\r",
                                     "*TKX\r",
                                     "*RMF-\r",
                                     "*\r",
                                     "?\r",
                                     "*UM256\r",
                                     std::string(500, 'x') + "\r"};
  for (const std::string& command : bad) EXPECT_EQ(bench.Ask(command), "Z!\r") << command;
  EXPECT_EQ(bench.State("refused"), std::to_string(bad.size()));
  EXPECT_EQ(bench.State("a"), "14025000");
  EXPECT_EQ(bench.State("tx"), "off");
}

}  // namespace
}  // namespace kvx::sim
