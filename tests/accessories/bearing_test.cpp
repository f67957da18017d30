#include "accessories/bearing.h"

#include <gtest/gtest.h>

#include "accessories/antenna_control.h"
#include "accessories/rotator_presets.h"
#include "core/text.h"

namespace kvx::accessories {
namespace {

TEST(Bearing, IsANumberOrALocator) {
  struct Row {
    std::string typed;
    bool long_path;
    std::string text;  ///< empty: refused
  };
  const Row rows[] = {
      {"0", false, "0"},       {"359", false, "359"},       {" 7.9 ", false, "7.9"}, {"45", true, "225"},
      {"270", true, "90"},     {"359.5", false, ""},        {"360", false, ""},      {"-1", false, ""},
      {"", false, ""},         {"abc", false, ""},          {"4 5", false, ""},      {"1.2.3", false, ""},
      {"QF67bf", false, "74"}, {"qf67BF", true, "254"},     {"JN48q", false, ""},    {"ZZ00", false, ""},
      {".", false, ""},        {"00045.5", false, "045.5"}, {"jn48qm", false, ""}};
  for (const Row& row : rows) {
    const auto target = ParseTarget(row.typed, "JN48QM", row.long_path);
    EXPECT_EQ(target ? target->text : "", row.text) << row.typed;
  }
  EXPECT_EQ(ParseTarget("400", "", false).error().message, "Please enter a bearing between 0 and 359");
  EXPECT_NE(ParseTarget("QF67", "", false).error().message.find("own locator"), std::string::npos);
  EXPECT_NE(ParseTarget("QF67", "xx", false).error().message.find("xx, is no"), std::string::npos);
  // To the antipodes' neighbourhood and back: the two ways add up to the whole circle.
  const auto there = ParseTarget("QF67bf", "JN48QM", false);
  const auto around = ParseTarget("QF67bf", "JN48QM", true);
  EXPECT_NEAR(*there->kilometres, 16'467, 20);
  EXPECT_NEAR(*there->kilometres + *around->kilometres, 40'030, 1);
}

TEST(Bearing, FillsTheTemplate) {
  struct Row {
    const char* command;
    const char* bearing;
    const char* filled;
  };
  const Row rows[] = {{"M<BEARING>", "7", "M007"},
                      {"M<BEARING>;", "45", "M045;"},
                      {"<BEARING>", "7.9", "007"},
                      {"<BEARING>", " 180 ", "180"},
                      {"A<BEARING>B<BEARING>", "1", "A001B<BEARING>"},
                      {"nothing", "12", "nothing"},
                      {"", "12", ""},
                      {"<BEARING>", ".5", "000"},
                      {"<BEARING+360>", "45", "405"}};
  for (const Row& row : rows) EXPECT_EQ(FormatIt(row.command, row.bearing), row.filled) << row.command;
}

/// What the controllers' documents say for 45 and 359 degrees.
TEST(Bearing, PresetsMakeTheControllersCommands) {
  struct Row {
    const char* name;
    std::string at_45;
    std::string at_359;
  };
  const std::string zeros = "<0x00><0x00><0x00><0x00><0x00><0x00>";
  const Row rows[] = {{"gs-232", "M045<CR>", "M359<CR>"},
                      {"DCU-1", "AP1045;AM1;", "AP1359;AM1;"},
                      {"Rotor-EZ", "AP1045;AM1;", "AP1359;AM1;"},
                      {"SPID ROT1", "W4050" + zeros + "/ ", "W7190" + zeros + "/ "},
                      {"SPID ROT2", "W0405<0x01>0360<0x01>/ ", "W0719<0x01>0360<0x01>/ "},
                      {"SPID ROT2 0.5", "W0810<0x02>0720<0x02>/ ", "W1438<0x02>0720<0x02>/ "},
                      {"Easycomm", "AZ045.0 EL0.0<LF>", "AZ359.0 EL0.0<LF>"},
                      {"rotctld", "P 045 0<LF>", "P 359 0<LF>"}};
  EXPECT_EQ(std::size(rows), RotatorPresets().size());
  for (const Row& row : rows) {
    const RotatorPreset* preset = FindRotatorPreset(row.name);
    ASSERT_NE(preset, nullptr) << row.name;
    // rig.ini gives every value back in upper case.
    for (const std::string& command : {std::string(preset->command), Upper(preset->command)}) {
      EXPECT_EQ(ToVisible(RotatorBytes(FormatIt(command, "45"))), row.at_45) << row.name;
      EXPECT_EQ(ToVisible(RotatorBytes(FormatIt(command, "359"))), row.at_359) << row.name;
    }
  }
}

TEST(HexToBin, ReadsUpperCaseDigitsOnly) {
  EXPECT_EQ(*HexToBin("0F"), "00001111");
  EXPECT_EQ(*HexToBin("A"), "00001010");
  EXPECT_EQ(*HexToBin("3C"), "00111100");
  for (const char* wrong : {"0g", "0f", "x1", " 1"})
    EXPECT_EQ(HexToBin(wrong).error().message, "HexToBin: Invalid Input") << wrong;
}

}  // namespace
}  // namespace kvx::accessories
