#include "keyer/cw_text.h"

#include <gtest/gtest.h>

#include "core/text.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "keyer/cw_functions.h"

namespace kvx::keyer {
namespace {

std::string Shown(const CwText& text) {
  std::string shown;
  for (const std::string& symbol : text.symbols) shown += ShownSymbol(symbol);
  return shown;
}

TEST(CwText, WhatIsTypedBecomesSymbolsAndNothingElseReachesAKeyer) {
  struct Row {
    std::string typed;
    std::string symbols;
    std::string complaint;
  };
  for (const Row& row : {
           Row{"cq de k1abc/p = + @", "CQ DE K1ABC/P = + @", ""},
           Row{"tu <sk><Bk> <ARs>", "TU <SK><BK> <ARS>", ""},
           Row{"<a>b<>c<A R>", "ABCA R", "There is no Morse sign for < and >"},  // one letter is no sign of several
           Row{"a\r\nb\nc\td\re", "A B C D E", ""},
           Row{"größe Ångström ’“–…", "GROESSE AANGSTROEM '\"-...", ""},
           Row{"a|b\x13\x0B"
               "c{d}~€\xFFz",
               "ABCDZ", "There is no Morse sign for |, <0x13>, <0x0B>, {, }, ~, € and \xFF"},
           Row{"<SK", "SK", "There is no Morse sign for <"},
           Row{"", "", ""},
       }) {
    const CwText text = ParseCwText(row.typed);
    EXPECT_EQ(Shown(text), row.symbols) << row.typed;
    EXPECT_EQ(text.complaint(), row.complaint) << row.typed;
  }
}

TEST(CwMacros, EveryMacroIsWrittenOutOrNothingIs) {
  const MacroValues values{
      .call = "DL1ABC", .rst = "599", .number = 7, .my_call = "OE1X", .frequency = *ParseKhz("14025.40")};
  MacroValues cut = values;
  cut.number = 100;
  cut.cut_rst = cut.cut_number = true;
  struct Row {
    MacroValues values;
    std::string text;
    std::string expanded;
    int next;
  };
  for (const Row& row : {
           Row{values, "{CALL} {rst} {NR} DE {MyCall} QRG {FREQ}", "DL1ABC 599 007 DE OE1X QRG 14025.4", 7},
           Row{values, "{NR+} {NR}", "007 007", 8},
           Row{cut, "{RST} {NR+}", "5NN 1TT", 101},
           Row{values, "plain }", "plain }", 7},
       }) {
    const auto expanded = ExpandMacros(row.text, row.values);
    ASSERT_TRUE(expanded.ok()) << row.text;
    EXPECT_EQ(expanded->text, row.expanded);
    EXPECT_EQ(expanded->next_number, row.next);
  }
  EXPECT_EQ(ExpandMacros("CQ {CAL}", values).error().message, "There is no macro {CAL}");
  EXPECT_EQ(ExpandMacros("CQ {CALL} {", values).error().message, "A macro begins with { and never ends: {");
  EXPECT_EQ(ExpandMacros("DE {MYCALL}", MacroValues()).error().message, "{MYCALL} has no value yet");
  cut.number = kMostContacts;
  EXPECT_EQ(ExpandMacros("{NR+}", cut)->next_number, 1);
}

TEST(CwFunctions, TextsAndTheirTitlesOutliveTheProgram) {
  TemporaryFolder folder;
  SystemFiles files;
  CwFunctions functions(files, folder.path());
  ASSERT_TRUE(functions.Load().ok());
  EXPECT_EQ(functions.title(1), "CQ ");
  ASSERT_TRUE(functions.SetText(2, "ÄÖÜ de\n{MYCALL}").ok());
  EXPECT_EQ(functions.title(2) + "|" + functions.message(2), "ÄÖÜ| de {MYCALL}");
  ASSERT_TRUE(functions.SetText(3, "ab").ok());
  EXPECT_EQ(functions.title(3) + "|" + functions.message(3), "ab|");
  ASSERT_TRUE(functions.SetText(12, "").ok());
  ASSERT_TRUE(functions.SetMyCall(" oe1x ").ok());
  ASSERT_TRUE(functions.SetNumber(41).ok());
  ASSERT_TRUE(functions.SetCut(true, false).ok());
  EXPECT_FALSE(functions.SetText(13, "x").ok());
  EXPECT_FALSE(functions.SetText(1, std::string(1001, 'x')).ok());
  EXPECT_FALSE(functions.SetCall("a|b").ok());

  CwFunctions again(files, folder.path());
  ASSERT_TRUE(again.Load().ok());
  for (int i = 1; i <= kCwFunctions; ++i) EXPECT_EQ(again.text(i), functions.text(i)) << i;
  EXPECT_EQ(again.values().my_call + std::to_string(again.values().number), "OE1X41");
  EXPECT_TRUE(again.values().cut_rst && !again.values().cut_number);
}

TEST(CwFunctions, AFileOfAnotherHandIsTakenLineByLine) {
  TemporaryFolder folder;
  SystemFiles files;
  folder.Put("KeyScreen.txt",
             "\xEF\xBB\xBF"
             "f2=TU TU\r\nF99=x\r\nNR=100000\r\nmycall=|\r\nrubbish\r\nCUTNR=True\r\nF4=");
  CwFunctions functions(files, folder.path());
  ASSERT_TRUE(functions.Load().ok());
  EXPECT_EQ(functions.text(2) + functions.text(4) + functions.title(1), "TU TUCQ ");
  EXPECT_EQ(functions.values().number, 1);
  EXPECT_EQ(functions.values().my_call, "");
  EXPECT_TRUE(functions.values().cut_number);
  folder.Put("KeyScreen.txt", std::string(1000, '\0'));
  EXPECT_EQ(functions.Load().error().code, ErrorCode::kDamaged);
  EXPECT_EQ(functions.title(1), "CQ ");
}

}  // namespace
}  // namespace kvx::keyer
