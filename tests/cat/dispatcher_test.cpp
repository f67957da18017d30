#include "cat/dispatcher.h"

#include "cat_fixture.h"

namespace kvx::cat {
namespace {

TEST(Dispatcher, EveryKeySendsItsField) {
  struct Row {
    std::string key, field;
  };
  const auto kRows = {
      Row{"XGETALPHA", "GET ALPHA"},
      Row{"XGETBRAVO", "GET BRAVO"},
      Row{"XGETCHAR", "GET CHAR"},
      Row{"XGETAF", "GetAF"},
      Row{"XGETRF", "GetRF"},
      Row{"XGETMISC", "USR1"},
      Row{"XGETPOWER", "User1"},
      Row{"XGETFILTER", "User2"},
      Row{"XGETNOTCH", "User3"},
      Row{"XRITUP", "RITUP"},
      Row{"XRITDOWN", "RITDOWN"},
      Row{"XXITUP", "XITUP"},
      Row{"XXITDOWN", "XITDOWN"},
      Row{"xSetAlpha", "Alpha"},
      Row{"xSetBravo", "Bravo"},
      Row{"xSetGen", "GENON"},
      Row{"xSetHam", "SSScan"},
      Row{"XMEMCH", "Memo6"},
      Row{"XMEMTOVFO", "XITOFF"},
      Row{"xGetFreq", "GetFreq"},
      Row{"xGetFreqB", "ReadFreq"},
      Row{"xGetSMeter", "GetSMeter"},
      Row{"xReadMode", "ReadMode"},
      Row{"XSENDALPHA", "SET ALPHA"},
      Row{"XSENDBRAVO", "SET BRAVO"},
      Row{"XSENDCHAR", "SET CHAR"},
      Row{"xAFGain", "AFGain"},
      Row{"xRFGain", "RFGain"},
      Row{"xPower", "Power"},
      Row{"xFilter", "Filter"},
      Row{"xNotch", "Notch"},
      Row{"xMISC", "USER4"},
      Row{"xVFOA", "VFOA"},
      Row{"xVFOB", "VFOB"},
      Row{"xSetFreq", "SetFreq"},
      Row{"xSSScan", "SSScan"},
      Row{"xReadFreq", "ReadFreq"},
      Row{"xLSB", "LSB"},
      Row{"xUSB", "USB"},
      Row{"xCWw", "CWw"},
      Row{"xCWn", "CWn"},
      Row{"xAM", "AM"},
      Row{"xFMw", "FMw"},
      Row{"xFMn", "FMn"},
      Row{"xRTTY", "RTTY"},
      Row{"xFn1", "Function1"},
      Row{"xFn9", "Function9"},
      Row{"xUSER5", "USER5"},
      Row{"xUSER8", "user8"},
      Row{"ALC", "Meter1"},
      Row{"PWR", "Meter2"},
      Row{"SWR", "Meter3"},
      Row{"ID", "Meter4"},
      Row{"VDD", "Meter5"},
      Row{"COMP", "Meter6"},
      Row{"AGCOFF", "AGC1"},
      Row{"AGCAUTO", "AGC2"},
      Row{"AGCFAST", "AGC3"},
      Row{"AGCMED", "AGC4"},
      Row{"AGCSLOW", "AGC5"},
  };
  config::RigRow full = MakeRow("X", "KENWOOD", {});
  for (const std::string_view field : config::kRigTextFields) {
    if (field != "RigName" && field != "RigType" && !field.ends_with("Desc"))
      full.Set(field, "=" + std::string(field) + ";");
  }
  full.Set("MEMO5", "=M1;/=M2;");
  Station station(full);
  for (const Row& row : kRows) {
    for (const std::string& key : {row.key, Upper(row.key)}) {
      EXPECT_EQ(station.Send(key), SendOutcome::kSent);
      EXPECT_EQ(station.Written(), "=" + row.field + ";") << key;
    }
  }
  station.Send("xSetFreqB");
  station.Send("XVFOTOMEM");
  station.Send("ZZ9;");
  EXPECT_EQ(station.Written(), "=M2;=M1;ZZ9;");
  EXPECT_EQ(Station(MakeRow("X", "KENWOOD", {})).Send("XVFOA"), SendOutcome::kNoTemplate);
}

TEST(Dispatcher, CutsSuffixesAndNamesVfoBInTheFrequencyCommand) {
  Station station(
      MakeRow("X", "KENWOOD", {"SetFreq=FA<FREQ11>;", "GetAF=AG0;[4-3]{1/3}AG0", "AFGain=AG0<AFGAIN3>;{200-0}"}));
  station.Send("XGETAF");
  station.console.Slider.Set(6, 55);
  station.Send("XAFGAIN");
  station.console.Offset.Set(*ParseKhz("-1.5"));
  station.Send("XSETFREQB");
  EXPECT_EQ(station.Written(), "AG0;AG0055;FB00013998500;");
}

TEST(Dispatcher, TwoStateButtonAlternates) {
  Station station(MakeRow("X", "KENWOOD",
                          {"Function1=NB1;/NB0;", "Function2=AB/CD/EF", "Function3=ON;/", "Function4=TN<F?VAL>;/TO;"}));
  for (const std::string expect : {"NB1;", "NB0;", "NB1;"}) {
    station.Send("XFN1");
    EXPECT_EQ(station.Written(), expect);
  }
  EXPECT_TRUE(station.console.FunctionState[0]);
  station.Send("XFN2");
  station.Send("XFN2");
  station.Send("XFN3");
  station.Send("XFN3");
  station.Send("XFN3");
  EXPECT_EQ(station.Written(), "ABCD/EFON;ON;");
  EXPECT_EQ(station.Send("XFN4"), SendOutcome::kRefused);
  EXPECT_FALSE(station.console.FunctionState[3]) << "nothing was sent: the button keeps its state";
  station.Use(ShippedRigs().at("TS-2000"));
  station.Send("XFN1");
  EXPECT_EQ(station.Written(), "NB1;") << "another rig's buttons begin with their first command";
}

TEST(Dispatcher, ButtonValueIsFilledInOrAskedFor) {
  Station station(MakeRow("X", "KENWOOD", {"Function9=TN<F?VAL>;", "USB=MD2;SL<F?VAL>;"}));
  for (const std::string key : {"XFN9", "XUSB"}) {
    station.console.MsgArea.Set("");
    EXPECT_EQ(station.Send(key), SendOutcome::kRefused);
    EXPECT_EQ(*station.console.MsgArea, "Value not set. Right click on button and enter the value to be sent");
  }
  EXPECT_EQ(station.Written(), "");
  station.console.Text5.Set(8, "08");
  station.engine.dispatcher.SetButtonValue("xUSB", "11");
  station.Send("XFN9");
  station.Send("XUSB");
  EXPECT_EQ(station.Written(), "TN08;MD2;SL11;");
  Station five_byte("FT-857");
  five_byte.console.Text5.Set(7, "885");
  EXPECT_EQ(five_byte.Send("XFN8"), SendOutcome::kRefused) << "it would shift every command that follows";
  EXPECT_EQ(five_byte.Written(), "");
}

TEST(Dispatcher, CaptionsThatAskForTheStateSendTheRowsQueries) {
  Station station(MakeRow("X", "KENWOOD",
                          {"GetFreq=FA;", "GetSMeter=SM0;", "ReadMode=IF;", "Function1=A;", "Function2=B;",
                           "Function3=C;", "F1Desc=get freq a", "F2Desc=Get S Meter", "F3Desc=Get Mode"}));
  for (const std::string key : {"XFN1", "XFN2", "XFN3"}) station.Send(key);
  EXPECT_EQ(station.Written(), "FA;SM0;IF;");
}

TEST(Dispatcher, AFrequencyQueryOnAButtonIsReadAsAFrequency) {
  Station station(MakeRow("FT-857", "YAESU", {"hex", "Function1=0000000003[1-8]10"}));
  EXPECT_EQ(station.Send("XFN1"), SendOutcome::kSent);
  EXPECT_EQ(station.Written(), "00 00 00 00 03");
  station.Arrive("01 40 25 37 02");
  EXPECT_EQ(KhzText(*station.console.FreqDisp), "14025.37");
}

TEST(Dispatcher, AFaultyPairIsReportedAndTheRestStillSent) {
  Station station(MakeRow("X", "YAESU", {"hex", "USB=01ZZ0000 07", "LSB=123"}));
  EXPECT_EQ(station.Send("XUSB"), SendOutcome::kSent);
  EXPECT_EQ(station.Written(), "01 00 00 07");
  EXPECT_EQ(*station.console.ErrorText, "Error converting ZZ to hex. Check your setup file for 01ZZ0000 07");
  station.Send("XLSB");
  EXPECT_EQ(station.Written(), "12 03");
}

TEST(Dispatcher, TextGoesOutUnchanged) {
  Station station(MakeRow("X", "Kenwood", {"hex", "USB=MD2;", "LSB=M\r\n\x01\xC3\xA4"}));
  station.Send("XUSB");
  station.Send("XLSB");
  EXPECT_EQ(station.port.written, "MD2;M\r\n\x01\xE4") << "a KENWOOD row never is hexadecimal; one byte a character";
}

TEST(Dispatcher, NothingIsSentToAClosedPortOrBeyondTheRigsDigits) {
  Station station("FT-DX5000");
  EXPECT_EQ(station.engine.operations.TuneTo(*ParseKhz("144200")), SendOutcome::kRefused);
  EXPECT_NE(station.console.ErrorText->find("144200.00"), std::string::npos);
  station.engine.link.CloseRigPort();
  EXPECT_EQ(station.Send("XUSB"), SendOutcome::kClosed);
  EXPECT_EQ(station.Written(), "");
}

TEST(Dispatcher, KnowsWhenTheTransmitterIsKeyed) {
  for (const auto& [caption, tracked] : {std::pair{"XMT", true}, {"", true}, {"MOX/TX", true}, {"Tuner", false}}) {
    Station station(MakeRow("X", "KENWOOD", {"Alpha=TX<ADDR>;", "Bravo=RX;", "Add1=0", "ADesc="s + caption}));
    for (const auto& [key, keyed] :
         {std::pair{"XSETALPHA", true}, {"XSETBRAVO", false}, {"tx0;", true}, {"RX;", false}}) {
      station.Send(key);
      EXPECT_EQ(*station.console.Transmitting, keyed && tracked) << caption << " " << key;
    }
  }
}

TEST(Dispatcher, PegasusIsTunedByItsOwnRule) {
  struct Row {
    std::string khz, mode;
    bool narrow;
    std::string bytes;  // empty: refused
  };
  // Worked by hand from the programmer's guide, with the filter widths that the row sets.
  for (const Row& row :
       {Row{"14025.00", "  CW", false, "4E 5C 39 17 FE 5E 1C 0D 54 5C 39 09 99 07 77 0D"},
        Row{"14025.00", "  CW", true, "4E 5C 39 1A A9 5C C7 0D 54 5C 39 09 99 07 77 0D"},
        Row{"14025.37", "  CW", false, "4E 5C 39 1F E2 5E 1C 0D 54 5C 39 11 7D 07 77 0D"},
        Row{"14200.00", " USB", false, "4E 5C 80 03 33 64 3E 0D 54 5C 80 05 55 0F FF 0D"},
        Row{"3799.00", " LSB", false, "4E 4C 3E 1C CB 64 3E 0D 54 4C 3E 1A A9 0F FF 0D"},
        Row{"10000.00", "  AM", false, "4E 55 EF 1A A9 55 50 0D 54 55 EF 1A A9 00 00 0D"},
        Row{"14080.00", "RTTY", false, ""}, Row{"50125.00", "  CW", false, ""}, Row{"50.00", "  CW", false, ""}}) {
    Station station("Pegasus");
    station.console.Mode.Set(row.mode);
    station.console.Xnarrow.Set(row.narrow);
    EXPECT_EQ(station.engine.operations.TuneTo(*ParseKhz(row.khz)),
              row.bytes.empty() ? SendOutcome::kRefused : SendOutcome::kSent);
    EXPECT_EQ(station.Written(), row.bytes) << row.khz << row.mode;
    EXPECT_EQ(station.console.ErrorText->empty(), !row.bytes.empty());
  }
  Station station("Pegasus");
  station.engine.operations.TuneTo(*ParseKhz("14200.00"));
  station.Written();
  station.engine.operations.SetUpper();
  EXPECT_EQ(station.Written(), "4D 31 31 0D 57 0E 0D 43 0E 0D 4E 5C 80 03 33 64 3E 0D 54 5C 80 05 55 0F FF 0D")
      << "its tuning depends on mode and filter: a new mode needs new factors";
}

}  // namespace
}  // namespace kvx::cat
