#include "cat/dispatcher.h"

#include "cat_fixture.h"

namespace kvx::cat {
namespace {

// The keys that no rig of rig_expectations.csv needs, with the fields that their names do not tell.
TEST(Dispatcher, AKeySendsItsFieldInAnyCase) {
  config::RigRow full = MakeRow("X", "KENWOOD", {});
  for (const std::string_view field : config::kRigTextFields) {
    if (field != "RigName" && field != "RigType" && !field.ends_with("Desc"))
      full.Set(field, "=" + std::string(field) + ";");
  }
  full.Set("MEMO5", "=M1;/=M2;");
  Station station(full);
  for (const std::string& pair :
       Split("XGETALPHA=GET ALPHA,XGETBRAVO=GET BRAVO,XGETCHAR=GET CHAR,XGETMISC=USR1,XGETFILTER=User2,XRITUP=RITUP,"
             "XRITDOWN=RITDOWN,XXITUP=XITUP,XXITDOWN=XITDOWN,xSetGen=GENON,xSetHam=SSScan,xSSScan=SSScan,XMEMCH=Memo6,"
             "XMEMTOVFO=XITOFF,xReadFreq=ReadFreq,xUSER5=USER5,xUSER8=user8,xFn5=Function5,XSENDALPHA=SET ALPHA,"
             "XSENDBRAVO=SET BRAVO,XSENDCHAR=SET CHAR,PWR=Meter2,ID=Meter4,VDD=Meter5,COMP=Meter6,AGCMED=AGC4",
             ',')) {
    const std::string key = pair.substr(0, pair.find('='));
    for (const std::string& written : {key, Upper(key)}) {
      EXPECT_EQ(station.Send(written), SendOutcome::kSent);
      EXPECT_EQ(station.Written(), pair.substr(key.size()) + ";") << written;
    }
  }
  for (const char* key : {"xSetFreqB", "XVFOTOMEM", "ZZ9;"}) station.Send(key);
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
  station.console.SMeter.Set(84);
  station.Use(ShippedRigs().at("TS-2000"));
  EXPECT_EQ(*station.console.SMeter, 0) << "and its meter has told nothing yet";
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

TEST(Dispatcher, AButtonMayAskForTheState) {
  Station station(MakeRow("X", "KENWOOD",
                          {"GetFreq=FA;", "GetSMeter=SM0;", "ReadMode=IF;", "Function1=A;", "Function2=B;",
                           "Function3=C;", "F1Desc=get freq a", "F2Desc=Get S Meter", "F3Desc=Get Mode"}));
  for (const std::string key : {"XFN1", "XFN2", "XFN3"}) station.Send(key);
  EXPECT_EQ(station.Written(), "FA;SM0;IF;");
  Station five_byte(MakeRow("FT-857", "YAESU", {"hex", "Function1=0000000003[1-8]10"}));
  five_byte.Send("XFN1");
  EXPECT_EQ(five_byte.Written(), "00 00 00 00 03");
  five_byte.Arrive("01 40 25 37 02");
  EXPECT_EQ(KhzText(*five_byte.console.FreqDisp), "14025.37");
}

TEST(Dispatcher, AFaultyPairIsReportedAndTheRestStillSent) {
  Station station(MakeRow("X", "YAESU", {"hex", "USB=01ZZ0000 07", "LSB=123"}));
  EXPECT_EQ(station.Send("XUSB"), SendOutcome::kSent);
  EXPECT_EQ(station.Written(), "01 00 00 07");
  EXPECT_EQ(*station.console.ErrorText, "Error converting ZZ to hex. Check your setup file for 01ZZ0000 07");
  station.Send("XLSB");
  EXPECT_EQ(station.Written(), "12 03");
}

// The console asks for them by itself: a fault is no flood, and has a name.
TEST(Dispatcher, AFaultyFieldIsToldOnceUntilAnotherDefinitionIsLoaded) {
  const std::string garbage(5000, '<');
  for (const auto& [row, told] :
       {std::pair{
            MakeRow("X", "KENWOOD", {"GetSMeter=" + garbage, "ReadMode=" + garbage, "US7=" + garbage}),
            Log{"X, field US7: The command", "X, field GetSMeter: The command", "X, field ReadMode: The command"}},
        std::pair{MakeRow("X", "ICOM", {"hex", "GetFreq=ZZYY000003"}),
                  Log{"Error converting YY to hex. Check your setup file for"}}}) {
    Station station("TS-2000");
    Log texts;
    const auto follow = station.console.Subscribe([&](Field field) {
      if (field == Field::kErrorText && !station.console.ErrorText->empty())
        texts.push_back(*station.console.ErrorText);
    });
    for (const auto& definition : {row, ShippedRigs().at("TS-2000"), row}) {
      station.Use(definition);
      station.console.ErrorText.Set("");
      station.engine.poller.Start();
      station.Beat(50ms);
      station.loop.RunFor(10s);
    }
    ASSERT_EQ(texts.size(), 2 * told.size()) << testing::PrintToString(texts);
    for (std::size_t i = 0; i < texts.size(); ++i)
      EXPECT_TRUE(std::any_of(told.begin(), told.end(), [&](auto& one) { return texts[i].starts_with(one); }))
          << texts[i];
  }
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
    Station station(MakeRow("X", "OTHER", {"Alpha=TX<ADDR>;", "Bravo=RX;", "Add1=0", "ADesc="s + caption}));
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
