#include "config/kept_settings.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/text.h"

namespace kvx::config {
namespace {

std::string InFile(const std::string& key, std::string_view value) {
  const KeptSetting* setting = FindKeptSetting(key);
  if (setting == nullptr) return "no such setting";
  const Result<std::string> line = ValueForFile(*setting, value);
  return line ? *line : "error: " + line.error().message;
}

TEST(KeptSettings, EveryKeyIsOneOfTheFileAndStandsOnce) {
  std::vector<std::string> seen;
  for (const KeptSetting& setting : KeptSettings()) {
    EXPECT_EQ(std::count(SettingKeys().begin(), SettingKeys().end(), setting.key), 1) << setting.key;
    EXPECT_EQ(std::count(seen.begin(), seen.end(), setting.key), 0) << setting.key;
    EXPECT_EQ(FindKeptSetting(Lower(setting.name())), &setting) << setting.key;
    seen.push_back(setting.key);
  }
  EXPECT_EQ(FindKeptSetting("XRIG="), nullptr) << "the rig in use is not set here";
  EXPECT_EQ(FindKeptSetting("KEYERPORT1"), nullptr) << "its key has a blank";
  EXPECT_EQ(FindKeptSetting(""), nullptr);
}

TEST(KeptSettings, AValueIsWrittenAsReadersTakeItOrRefusedInOneSentence) {
  struct Row {
    std::string key, value, line;
  };
  for (const Row& row : {
           Row{"REVPADDLE", "yes", "True"},
           Row{"revpaddle=", "OFF", "False"},
           Row{"PACKETUSERIG", "1", "True"},
           Row{"XPADJUST", "true", "YES"},
           Row{"XPADJUST", "no", "NO"},
           Row{"XPADJUST", "", "error: XPADJUST is YES or NO"},
           Row{"POT2", "maybe", "error: POT2 is True or False"},
           Row{"WINKEY1", "-1", " 1"},
           Row{"WINKEY2", "off", " 0"},
           Row{"WINKEY1", "1.5", "error: WINKEY1 is True or False"},
           Row{"KYMODX", "ultimatic", " 2"},
           Row{"KYMODX", "48", " 3"},
           Row{"KYMODX", "1", " 1"},
           Row{"KYMODX", "5", "error: KYMODX is one of IAMBIC B, IAMBIC A,"},
           Row{"PIN5", "Side Tone", " 2"},
           Row{"PIN5", "32", "error: PIN5 is one of NONE, PTT,"},
           Row{"HANGTIME", "1.5", "error: HANGTIME is a whole number"},
           Row{"CWSPEED", "4", "error: CWSPEED is a whole number from 5 to 99"},
           Row{"KEYERPORT", "rigport", "RIGPORT"},
           Row{"KEYLINE", "rts", "RTS"},
           Row{"COMMSPEED", " 9600 ", " 9600"},
           Row{"COMMSPEED", "-9600", "error: COMMSPEED is a whole number, 0 or more"},
           Row{"HANGTIME", "", " 0"},
           Row{"SIDETONE", "255", " 255"},
           Row{"NETADDRESS", "0.0.0.0", "0.0.0.0"},
           Row{"NETADDRESS", "fe80::1", "fe80::1"},
           Row{"NETADDRESS", "LocalHost", "LocalHost"},
           Row{"NETADDRESS", "nonsense", "error: NETADDRESS is a numeric address such as 127.0.0.1 or ::1"},
           Row{"NETADDRESS", "1.2.3.256", "error: NETADDRESS is a numeric address"},
           Row{"SIDETONE", "256", "error: SIDETONE is a whole number from 0 to 255"},
           Row{"PTTLEADTIME", "-1", "error: PTTLEADTIME is a whole number from 0 to 255"},
           Row{"CWSKIMMER", "19", " 19"},
           Row{"CWSKIMMER", "COM3", "error: CWSKIMMER is a whole number from 0 to 99"},
           Row{"KEYERPORT 8", "winkey", "WINKEY"},
           Row{"KEYERPORT 8", "COM9", "error: KEYERPORT 8 is one of NONE, WINKEY, COM1, COM2,"},
           Row{"HOSTNAME", "  dx.example.org:7300 ", "dx.example.org:7300"},
           Row{"HOSTNAME", "", ""},
           Row{"HOSTNAME", "a\nRIGPORT= 9", "error: HOSTNAME is one line of plain text"},
           Row{"SPOTPATH", "/x?rigport=9", "error: SPOTPATH cannot contain RIGPORT="},
           Row{"SPOTPATH", std::string(250, 'x'), std::string(250, 'x')},
           Row{"SPOTPATH", std::string(251, 'x'), "error: SPOTPATH is at most 250"},
           Row{"FONTNAME", "Köln Mono", "Köln Mono"},
       }) {
    const std::string line = InFile(row.key, row.value);
    EXPECT_TRUE(row.line.starts_with("error") ? line.starts_with(row.line) : line == row.line)
        << row.key << " " << row.value << " -> " << line;
  }
}

TEST(KeptSettings, WhatAnOldFileHoldsIsShownAsItStandsAndWhatItLacksAsReadersTakeIt) {
  const Settings old = Settings::Parse(
      "POT2=TRUE \nREVPADDLE=\nXPADJUST=YES\nSIDETONE= 4711\nXLEADTIME= 0.5\nKEYERPORT 2=Com12\nHOSTNAME= dx\n"
      "WINKEY1=-1\nKYMODX= 32\nPIN5= 9\nKEYPTT=False\n");
  using Case = std::pair<const char*, const char*>;
  for (const auto& [key, value] :
       {Case{"POT2", "True"}, Case{"REVPADDLE", "False"}, Case{"XPADJUST", "YES"}, Case{"SIDETONE", "4711"},
        Case{"XLEADTIME", "0.5"}, Case{"KEYERPORT 2", "COM12"}, Case{"HOSTNAME", "DX"}, Case{"XTAILTIME", "0"},
        Case{"KEYERPORT 1", "NONE"}, Case{"SPOTPATH", ""}, Case{"WINKEY1", "True"}, Case{"WINKEY2", "False"},
        Case{"KYMODX", "ULTIMATIC"}, Case{"PIN5", "9"}, Case{"KEYPTT", "False"}}) {
    EXPECT_EQ(ShownValue(*FindKeptSetting(key), old), value) << key;
  }
  for (const auto& [key, value] :
       {Case{"XPADJUST", "NO"}, Case{"PIN5", "NONE"}, Case{"KEYPTT", "True"}, Case{"TUNETIME", "10"}}) {
    EXPECT_EQ(ShownValue(*FindKeptSetting(key), {}), value) << key;
  }
}

}  // namespace
}  // namespace kvx::config
