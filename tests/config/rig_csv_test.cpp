#include "config/rig_csv.h"

#include <gtest/gtest.h>

namespace kvx::config {
namespace {

using namespace std::string_literals;

TEST(RigCsv, ReadsBlocks) {
  const auto rows = ParseRigCsv(
      "\xEF\xBB\xBF# Kenwood, from the \"manual\"\r\n\r\n"
      "RigName,TS-2000\r\nsendashex,no\r\nSETFREQ,FA<FREQ11>;\r\nMEMO3,\"One, \"\"Two\"\"\"\r\n"
      "   \n#x\nRigName,Orion\nSendAsHEX,Yes\nRevData,True\nUS7,?V<CR><0x00>\nSET ALPHA, x \nVFOA,\n");
  ASSERT_TRUE(rows.ok()) << rows.error().message;
  ASSERT_EQ(rows->size(), 2U);
  const RigRow& kenwood = (*rows)[0];
  EXPECT_EQ(kenwood["SetFreq"] + '|' + kenwood["MEMO3"], "FA<FREQ11>;|One, \"Two\"");
  EXPECT_FALSE(kenwood.send_as_hex);
  const RigRow& orion = (*rows)[1];
  EXPECT_TRUE(orion.send_as_hex && orion.rev_data);
  EXPECT_EQ(orion["US7"], "?V\r\0"s);
  EXPECT_EQ(orion["SET ALPHA"], " x ");
}

TEST(RigCsv, AFaultIsNamedWithItsLineAndNothingIsTaken) {
  const struct {
    const char* csv;
    const char* message;
  } cases[] = {
      {"SetFreq,FA;", "line 1: a rig begins with RigName"},
      {"# x\nRigName,A\n\nFreqSet,FA;", "line 4: there is no field \"FreqSet\""},
      {"RigName,A\nRevData,1x", "line 2: \"1x\" is neither Yes nor No"},
      {"RigName,A\nSendAsHEX,maybe", "line 2: \"maybe\" is neither Yes nor No"},
      {"RigName,A\nUSB,1\nusb,2", "line 3: the field usb is there already"},
      {"RigName,A\nRigName,a", "line 2: the rig a is there already"},
      {"RigName,", "line 1: the rig has no name"},
      {"RigName,A\nSET,A,B", "line 2: a line is a field, a comma and its value (quote a value that holds a comma)"},
      {"RigName", "line 1: a line is a field, a comma and its value (quote a value that holds a comma)"},
      {"RigName,\"A\nB", "line 1: a quote is not closed"},
      {"RigName,\"A\"B", "line 1: there is something behind a closing quote"},
  };
  for (const auto& c : cases) {
    const auto rows = ParseRigCsv(c.csv);
    ASSERT_FALSE(rows.ok()) << c.csv;
    EXPECT_EQ(rows.error().message, c.message);
  }
  EXPECT_TRUE(ParseRigCsv("").ok());
  EXPECT_TRUE(ParseRigCsv("# only a comment").ok());
}

TEST(RigCsv, WhatIsWrittenReadsBackTheSame) {
  const std::string values[] = {"FA<FREQ11>;", "a,b",   "\"",  " lead", "trail ", "#x", "*AF\r", "\r\n", "<CR>",
                                "<0x41>",      "Grüße", "\0"s, "\t",    "x\"y,z", ",",  "=1",    "'"};
  std::vector<RigRow> rows;
  for (const std::string& value : values) {
    RigRow& row = rows.emplace_back();
    row.Set("RigName", "rig " + std::to_string(rows.size()) + value);
    for (const std::string_view field : kRigTextFields) {
      if (field != "RigName") row.Set(field, value);
    }
    row.send_as_hex = rows.size() % 2 == 0;
    row.rev_data = rows.size() % 3 == 0;
  }
  const std::string csv = FormatRigCsv(rows);
  const auto read = ParseRigCsv(csv);
  ASSERT_TRUE(read.ok()) << read.error().message;
  EXPECT_EQ(*read, rows);
  EXPECT_EQ(FormatRigCsv({rows[0]}).substr(0, 60), "RigName,rig 1FA<FREQ11>;\nRigType,FA<FREQ11>;\nSendAsHEX,No\nRe");
}

}  // namespace
}  // namespace kvx::config
