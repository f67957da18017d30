#include "config/settings.h"

#include <gtest/gtest.h>

#include "config/setting_faults.h"
#include "config/station_settings.h"

namespace kvx::config {
namespace {

using namespace std::string_literals;

TEST(Settings, ValuesAreUpperCaseFromAFixedColumn) {
  const Settings settings = Settings::Parse(
      "SCREENCOLOR= 8421504\r\n"
      "xrig=ts-850s\r\n"
      "F1Title=CQ\r\n"
      "F2=cq test\r\n"
      "REVPADDLE=True\nXPADJUST=YES\nRTSON1=1\nPOT2=False\n"
      "no equals sign GMT\n"
      "HANGTIME=many\n"
      "FontName=Courier New");
  EXPECT_EQ(settings.text("SCREENCOLOR="), " 8421504");
  EXPECT_EQ(settings.number("SCREENCOLOR="), 8421504);
  EXPECT_EQ(settings.text("XRIG="), "TS-850S");
  EXPECT_EQ(settings.text("F1Title="), "=CQ");
  EXPECT_EQ(StationSettings::From(settings).function_titles[0], "CQ");
  EXPECT_EQ(settings.text("F2="), "CQ TEST");
  EXPECT_TRUE(settings.flag("REVPADDLE=") && settings.flag("XPADJUST=") && settings.flag("RTSON1="));
  EXPECT_FALSE(settings.flag("POT2="));
  EXPECT_EQ(settings.number("HANGTIME="), 0);
  EXPECT_EQ(settings.text("FONTNAME="), "COURIER NEW");
  EXPECT_FALSE(settings.has("GMT="));
  EXPECT_EQ(settings.text("NOSUCHKEY="), "");
}

TEST(Settings, AKeyMatchesAnywhereAndTheLastLineWins) {
  EXPECT_EQ(Settings::Parse("RIGPORT= 3\nRIGPORT= 4\n").number("RIGPORT="), 4);
  EXPECT_EQ(Settings::Parse("  RIGPORT= 3").text("RIGPORT="), "T= 3") << "the column is counted from the line's start";
  EXPECT_EQ(Settings::Parse("INVERT=True\nDIRECTINVERT=False").text("INVERT="), "NVERT=FALSE");
  EXPECT_EQ(Settings::Parse("DIRECTINVERT=False\nINVERT=True").text("INVERT="), "TRUE");
  EXPECT_EQ(Settings::Parse("\xEF\xBB\xBFXRIG=ORION\n").text("XRIG="), "ORION");
}

TEST(Settings, NumberedKeysDifferInTheirBlankAndBothFormsOfABandModeReadAlike) {
  EXPECT_EQ(SavedRigKey("KEYERPORT", 1), "KEYERPORT 1=");
  EXPECT_EQ(SavedRigKey("RTSON", 8), "RTSON8=");
  EXPECT_EQ(BandKey("BANDMODE", 3), "BANDMODE03=");
  EXPECT_EQ(Settings::Parse("KEYERPORT 1=COM3").text("KEYERPORT 1="), "COM3");
  EXPECT_FALSE(Settings::Parse("KEYERPORT1=COM3").has("KEYERPORT 1="));
  EXPECT_EQ(Settings::Parse("BANDMODE03= USB").text("BANDMODE03="), " USB");
  EXPECT_EQ(Settings::Parse("BANDMODE03=USB").text("BANDMODE03="), "USB");
}

TEST(Settings, ThePlainKeyerPortAndThoseOfTheSavedRigsDoNotDisturbEachOther) {
  const Settings settings = Settings::Parse("KEYERPORT=WINKEY\nKEYERPORT 1=COM3\nKEYERPORT 8=NONE\nKEYERSTOP=2\n");
  EXPECT_EQ(settings.text("KEYERPORT="), "WINKEY");
  EXPECT_EQ(settings.text("KEYERPORT 1="), "COM3");
  EXPECT_FALSE(settings.has("KEYERPORT 2=") || Settings::Parse("KEYERPORT 1=COM3\n").has("KEYERPORT="));
  EXPECT_EQ(RewriteSettings("KEYERPORT 1=COM3\nKEYERPORT=LPT1\n", {{"KEYERPORT=", "NONE"}, {"KEYERPORT 1=", "COM4"}}),
            "KEYERPORT 1=COM4\nKEYERPORT=NONE\n");
  // Readers look for a key anywhere in a line.
  for (const std::string& key : SettingKeys()) {
    for (const std::string& other : SettingKeys()) {
      const bool known = key == "INVERT=" && other == "DIRECTINVERT=";
      EXPECT_TRUE(key == other || known || other.find(key) == std::string::npos) << key << " is in " << other;
    }
  }
}

TEST(Settings, ZeroHoursMeanFive) {
  for (const char* five : {"", "GMT=0", "GMT= 0", "GMT=", "GMT=x"})
    EXPECT_EQ(Settings::Parse(five).gmt_offset(), 5) << five;
  EXPECT_EQ(Settings::Parse("GMT=-3").gmt_offset(), -3);
  EXPECT_EQ(Settings::Parse("GMT=99999999999999999999").gmt_offset(), 1000);
}

TEST(Settings, NumbersThatCannotBeUsedAreNamedAndDoNotBecomeAnotherPort) {
  struct Row {
    std::string line;
    std::string fault;
    int port = 3;
    int speed = 38400;
  };
  for (const Row& row :
       {Row{"", ""},
        Row{"RIGPORT= 99999", "rig.ini: RIGPORT=99999 is no whole number from 0 to 99", 0},
        Row{"RIGPORT= -1", "rig.ini: RIGPORT=-1 is no whole number from 0 to 99", 0},
        Row{"RIGPORT=abc", "rig.ini: RIGPORT=ABC is no whole number from 0 to 99", 0},
        Row{"RIGSPEED= 7", "rig.ini: RIGSPEED=7 is no whole number from 300 to 4000000", 3, 9600},
        Row{"RIGSPEED= 4294967297", "rig.ini: RIGSPEED=4294967297 is no whole number from 300 to 4000000", 3, 9600},
        Row{"RIGPORT= 3.5", "rig.ini: RIGPORT=3.5 is no whole number from 0 to 99", 0},
        Row{"RIGSPEED= 12345",
            "rig.ini: RIGSPEED=12345 is no usual speed of a serial port, as 4800, 9600, 19200, 38400, 57600 and 115200 "
            "are",
            3, 12345},
        Row{"RIGSPEED= 0", "rig.ini: RIGSPEED=0 is no whole number from 300 to 4000000", 3, 9600},
        Row{"RIGSPEED= 0\nRIGPORT= 0", "", 0, 9600},
        Row{"RIGPORT=", "", 0},
        Row{"THEME=PINK", "rig.ini: THEME=PINK is none of dark, light, contrast, classic"},
        Row{"PIN5=9", "rig.ini: PIN5=9 is none of NONE, PTT, SIDE TONE"},
        Row{"PIN5=2", ""},
        Row{"RTSON1= 7", "rig.ini: RTSON1=7 is no whole number from 0 to 1"},
        Row{"STOPBIT 1=9", "rig.ini: STOPBIT 1=9 is no whole number from 1 to 2"},
        Row{"BANDREM05=abc", "rig.ini: BANDREM05=ABC is no frequency in kHz"},
        Row{"NETPORT= 99999", "rig.ini: NETPORT=99999 is no whole number from 1 to 65535"},
        Row{"SPEED 8= fast", "rig.ini: SPEED 8=FAST is no whole number from 0 to 4000000"},
        Row{"PDOFFSET=up", "rig.ini: PDOFFSET=UP is no frequency in kHz"}}) {
    const Settings settings = Settings::Parse("RIGPORT= 3\nRIGSPEED= 38400\n" + row.line + "\n");
    const std::vector<std::string> faults = SettingFaults(settings);
    EXPECT_EQ(faults, row.fault.empty() ? std::vector<std::string>() : std::vector{row.fault}) << row.line;
    EXPECT_EQ(StationSettings::From(settings).rig_port, row.port) << row.line;
    EXPECT_EQ(StationSettings::From(settings).rig_speed, row.speed) << row.line;
  }
  std::string all;
  for (const std::string& key : SettingKeys()) all += key + std::string(5000, '9') + "\n";
  EXPECT_EQ(SettingFaults(Settings::Parse(all)).size(), 11U) << "of very many the first are told";
}

TEST(RewriteSettings, ReplacesInPlaceKeepsTheRestAndAppends) {
  const std::string old = "; by hand\r\nxrig=old\r\nUNKNOWN=1\r\nDIRECTINVERT=True\r\nBANDMODE03= USB\r\nlast line";
  EXPECT_EQ(RewriteSettings(old, {{"XRIG=", "FT-857"},
                                  {"INVERT=", "False"},
                                  {"BANDMODE03=", "LSB", true},
                                  {"BANDMODE04=", "CW", true},
                                  {"GMT=", " 6"}}),
            "; by hand\r\nXRIG=FT-857\r\nUNKNOWN=1\r\nDIRECTINVERT=True\r\nBANDMODE03=LSB\r\nlast line\r\n"
            "INVERT=False\r\nBANDMODE04= CW\r\nGMT= 6\r\n");
  EXPECT_EQ(RewriteSettings("", {{"XRIG=", "A"}}), "XRIG=A\n");
  EXPECT_EQ(RewriteSettings("A=1\n\n", {}), "A=1\n\n");
}

TEST(RewriteSettings, ALineBelongsToTheKeyItBeginsWith) {
  EXPECT_EQ(RewriteSettings("F3=xrig=1\n xrig=2\nXRIG=3\n", {{"XRIG=", "N"}}), "F3=xrig=1\nXRIG=N\nXRIG=N\n");
  EXPECT_EQ(RewriteSettings("DIRECTINVERT=True\nINVERT=True\n", {{"INVERT=", "False"}, {"DIRECTINVERT=", "no"}}),
            "DIRECTINVERT=no\nINVERT=False\n");
  EXPECT_EQ(RewriteSettings("INVERT=True\nA=1\n", {{"DIRECTINVERT=", "False"}}),
            "A=1\nDIRECTINVERT=False\nINVERT=True\n");
  EXPECT_EQ(RewriteSettings("INVERT=False\nDIRECTINVERT=False\n", {{"INVERT=", "True"}}),
            "DIRECTINVERT=False\nINVERT=True\n");
}

TEST(RewriteSettings, AValueCannotBreakTheFile) {
  const std::string content = RewriteSettings("A=1\n", {{"F1=", "CQ\r\nXRIG=evil\0"s}});
  EXPECT_EQ(content, "A=1\nF1=CQ  XRIG=evil \n");
  EXPECT_EQ(RewriteSettings(content, {{"F1=", "CQ"}}), "A=1\nF1=CQ\n");
}

TEST(RewriteSettings, WhatIsWrittenIsRead) {
  std::vector<SettingChange> changes;
  for (const std::string& key : SettingKeys()) {
    if (key != "INVERT=") changes.push_back({key, "V" + std::to_string(changes.size())});
  }
  const Settings settings = Settings::Parse(RewriteSettings("", changes));
  for (const SettingChange& change : changes) {
    const bool title = change.key.ends_with("Title=");
    EXPECT_EQ(settings.text(change.key), (title ? "=" : "") + change.value) << change.key;
  }
}

}  // namespace
}  // namespace kvx::config
