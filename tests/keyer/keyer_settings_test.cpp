#include "keyer/keyer_settings.h"

#include <gtest/gtest.h>

#include "config/kept_settings.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

KeyerSettings From(std::string_view content, int slot = 0) {
  return KeyerSettings::From(config::Settings::Parse(content), slot);
}

TEST(KeyerSettings, TheKeyerPortOfTheMomentIsChosen) {
  const std::string_view both = "KEYERPORT 1=COM2\nKEYERPORT=LPT2\nKEYERPORT 3=RIGPORT\n";
  struct Row {
    std::string_view file;
    int slot;
    std::string word;
  };
  for (const Row& row : {
           Row{"", 0, "NONE"},
           Row{"KEYERPORT 1=COM2\n", 0, "COM2"},
           Row{both, 0, "LPT2"},
           Row{both, 1, "COM2"},
           Row{both, 2, "LPT2"},
           Row{both, 3, "RIGPORT"},
           Row{"KEYERPORT=NONE\nKEYERPORT 1=COM2\n", 0, "NONE"},
           Row{"KEYERPORT=\nKEYERPORT 1= com8 \n", 0, "COM8"},
           Row{"KEYERPORT=RigKeyer\n", 0, "RIGKEYER"},
           Row{"KEYERPORT=COM9\n", 0, "NONE"},
           Row{"KEYERPORT=COM\n", 0, "NONE"},
           Row{"KEYERPORT=L P T 1\n", 0, "LPT1"},
       }) {
    const KeyerSettings keyer = From(row.file, row.slot);
    EXPECT_EQ(KeyerWord(keyer.kind, keyer.port), row.word) << row.file << row.slot;
  }
  EXPECT_EQ(From("KEYERPORT=winkey\nPADDLECOM= 7\nKEYERSTOP=2\n").port, 7);
  EXPECT_EQ(From("KEYERPORT=winkey\nPADDLECOM= 7\nKEYERSTOP=2\n").stop_bits, 2);
}

TEST(KeyerSettings, OldNumbersAndWordsMeanTheSame) {
  for (const char* mode : {"KYMODX= 2", "KYMODX= 32", "KYMODX=Ultimatic"})
    EXPECT_EQ(From(mode).mode, PaddleMode::kUltimatic) << mode;
  for (const char* mode : {"", "KYMODX= 0", "KYMODX= 5", "KYMODX= 17", "KYMODX= 64", "KYMODX=BUG", "KYMODX=-1"})
    EXPECT_EQ(From(mode).mode, PaddleMode::kIambicB) << mode;
  EXPECT_EQ(From("KYMODX= 48").mode, PaddleMode::kSemiAutomatic);
  EXPECT_EQ(From("PIN5= 1\nSIDETONE2=True").second_output, SecondOutput::kPtt);
  EXPECT_EQ(From("PIN5=Side Tone").second_output, SecondOutput::kSideTone);
  EXPECT_EQ(From("PIN5= 0\nSIDETONE2=True").second_output, SecondOutput::kSideTone);
  EXPECT_EQ(From("PIN5= 16").second_output, SecondOutput::kNone);
  EXPECT_TRUE(From("WINKEY1=-1").key1);
  EXPECT_FALSE(From("WINKEY1= 0").key1 || From("WINKEY1= 1").key2);
  EXPECT_TRUE(From("USE2ND=True").key2 && From("WINKEY2= 1").key2);
}

TEST(KeyerSettings, NumbersStayInTheirBoundsAndMissingOnesMeanWhatIsShown) {
  const KeyerSettings wild = From(
      "CWSPEED= 300\nTUNETIME= 9999\nPTTLEADTIME= 999\nXLEADTIME=-5\nXTAILTIME= 99999\nCWTONE= 5\nCWVOLUME=-1\n"
      "KEYINGCOMPX= 400\nPADDLECOM= 500\nKEYERPORT=WINKEY\nKEYLINE=rts\nKEYPTT=False\nINVERT=True\nLOCALCW=True");
  EXPECT_EQ(wild.speed, 99);
  EXPECT_EQ(wild.tune_limit, 120s);
  EXPECT_EQ(wild.ptt_lead, 255);
  EXPECT_EQ(wild.lead, 0s);
  EXPECT_EQ(wild.tail, 2s);
  EXPECT_EQ(wild.tone_hertz, 200);
  EXPECT_EQ(wild.tone_volume, 0);
  EXPECT_EQ(wild.compensation, 255);
  EXPECT_EQ(wild.port, 0);  // another port would be another device
  EXPECT_TRUE(wild.key_on_rts && !wild.use_ptt && wild.inverted && wild.local_tone);

  const KeyerSettings none = From("CWSPEED= 0\nTUNETIME=\n");
  EXPECT_EQ(none, KeyerSettings());
  const auto shown = [](const char* key) { return config::ShownValue(*config::FindKeptSetting(key), {}); };
  EXPECT_EQ(shown("CWSPEED"), std::to_string(none.speed));
  EXPECT_EQ(shown("TUNETIME"), std::to_string(none.tune_limit / 1s));
  EXPECT_EQ(shown("TXTIME"), std::to_string(none.transmit_limit / 1s));
  EXPECT_EQ(shown("CWTONE"), std::to_string(none.tone_hertz));
  EXPECT_EQ(shown("CWVOLUME"), std::to_string(none.tone_volume));
  EXPECT_EQ(shown("SIDETONE"), std::to_string(none.side_tone));
  EXPECT_EQ(shown("KEYPTT"), none.use_ptt ? "True" : "False");
  EXPECT_EQ(shown("KEYLINE"), none.key_on_rts ? "RTS" : "DTR");
}

}  // namespace
}  // namespace kvx::keyer
