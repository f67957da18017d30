#include "cat/transmit.h"

#include "cat_fixture.h"

namespace kvx::cat {
namespace {

/// Whatever it is called and wherever it comes from: a command that keys is known, and what undoes it goes out.
TEST(Transmit, EveryFamilysKeyingCommandIsKnown) {
  struct Row {
    std::string rig, command;
    std::string release;  // empty: does not key
  };
  for (const Row& row : std::vector<Row>{
           {"TS-2000", "TX1;", "RX;"},
           {"TS-2000", "tx;", "RX;"},
           {"TS-2000", "FA00014025000;TX;", "RX;"},
           {"TS-2000", "TX;FA00014025000;", "RX;"},
           {"TS-2000", "TX;RX;", ""},
           {"TS-2000", "RX;", ""},
           {"TS-2000", "FA00014025000;", ""},
           {"TS-2000", "TXF1;", ""},
           {"PowerSDR", "ZZTX1;", "ZZTX0;"},
           {"PowerSDR", "ZZTX0;", ""},
           {"QMX", "TQ1;", "TQ0;"},
           {"QMX", "TQ;", ""},
           {"FT-DX5000", "TX1;", "TX0;"},
           {"FT-DX5000", "FA14025000;TX1;", "TX0;"},
           {"FT-DX5000", "TX;", ""},
           {"FT-DX5000", "TX0;", ""},
           {"IC-7300", "FEFE70E01C0001FD", "FE FE 70 E0 1C 00 00 FD"},
           {"IC-7300", "FEFE94E01C0001FD FEFE94E003FD", "FE FE 94 E0 1C 00 00 FD"},
           {"IC-7300", "FEFE94E01C00FD", ""},
           {"IC-7300", "FEFE94E01C0101FD", ""},
           {"FT-857", "0000000008", "00 00 00 00 88"},
           {"FT-857", "0100000008", "00 00 00 00 88"},
           {"FT-857", "0000000001 0000000008", "00 00 00 00 88"},
           {"FT-857", "000000010F", ""},
           {"FT-857", "0000000801", ""},
           {"FT-1000D", "000000010F", "00 00 00 00 0F"},
           {"FT-1000D", "0000000108", ""},
           {"Orion", "*TK\r", "*TU<CR>"},
           {"Orion", "*RMM2\r*TK\r", "*TU<CR>"},
           {"Orion", "*TTT\r", ""},
           {"Omni VI", "FEFE05E01601FD", "FE FE 05 E0 16 02 FD"},
           {"Omni VI", "FEFE04E01602FD", ""},
           {"IC-7300", "FEFE94E0160201FD", ""},
           {"Jupiter", "51310D", "51 30 0D"},
           {"Jupiter", "2A4100E4E1C00D 51310D", "51 30 0D"},
           {"Argonaut V", "23310D", "23 30 0D"},
           {"Omni VII", "2A5404010D", "2A 54 00 01 0D"},
           {"Pegasus", "23310D", ""},
       }) {
    Station station(row.rig);
    station.Send(row.command);
    station.Written();
    EXPECT_EQ(*station.console.Transmitting, !row.release.empty()) << row.rig << " " << row.command;
    EXPECT_EQ(station.engine.dispatcher.ReleaseTransmitter(), !row.release.empty()) << row.rig << " " << row.command;
    EXPECT_EQ(station.Written(), row.release) << row.rig << " " << row.command;
    EXPECT_FALSE(*station.console.Transmitting) << row.rig << " " << row.command;
  }
}

TEST(Transmit, ARowWithoutAReleaseUsesTheFamilys) {
  Station station(MakeRow("X", "KENWOOD", {"Alpha=TX;", "Function1=TX2;", "F1Desc=DATA"}));
  for (const char* key : {"XSETALPHA", "XFN1"}) {
    station.Send(key);
    station.Written();
    EXPECT_TRUE(station.engine.dispatcher.ReleaseTransmitter()) << key;
    EXPECT_EQ(station.Written(), "RX;") << key;
  }
}

TEST(Transmit, ItsOwnReleaseEndsWhatTheTransmitButtonBegan) {
  Station station(MakeRow("X", "KENWOOD", {"Alpha=TX;PA1;", "Bravo=RX;PA0;"}));
  station.Send("XSETALPHA");
  station.Send("TX;");
  station.Written();
  EXPECT_TRUE(station.engine.dispatcher.ReleaseTransmitter());
  EXPECT_EQ(station.Written(), "RX;PA0;");
}

/// Bytes that do not come from the dispatcher, and a command that is written in pieces.
TEST(Transmit, WhatIsWrittenToTheLineItselfCountsAsWell) {
  Station station("TS-2000");
  station.engine.link.WriteRigPort("TX1;");
  EXPECT_TRUE(*station.console.Transmitting);
  station.engine.link.WriteRigPort("RX;");
  EXPECT_FALSE(*station.console.Transmitting);
  station.Send("T");
  station.Send("X;");
  EXPECT_TRUE(*station.console.Transmitting);
}

TEST(Transmit, TheRigIsNotAskedWhileAnUnknownButtonKeysIt) {
  Station station("TS-2000");
  station.Send("TX1;");
  station.Written();
  station.Beat(100ms);
  station.loop.RunFor(2s);
  EXPECT_EQ(station.Written(), "");
}

TEST(Transmit, AReleaseThatReachesNobodyIsTold) {
  Station station("TS-2000");
  station.Send("TX;");
  station.port.absent = true;
  station.port.Lose();
  EXPECT_FALSE(station.engine.dispatcher.ReleaseTransmitter());
  EXPECT_NE(station.console.MsgArea->find("cannot be released"), std::string::npos);
  EXPECT_TRUE(*station.console.Transmitting);
}

/// A slow line on which a frequency waits when something else is chosen: it goes to what it was meant for.
TEST(Operations, WhatWaitsIsSentBeforeSomethingElseIsChosen) {
  struct Row {
    std::string name;
    std::function<void(Station&)> choose;
  };
  for (const Row& row : std::vector<Row>{
           {"VFO", [](Station& station) { station.engine.operations.VFOB_Click(); }},
           {"mode", [](Station& station) { station.engine.operations.SetRTTY(); }},
           {"the rig's own VFO",
            [](Station& station) { station.engine.operations.Follow({.kind = Reply::Kind::kVfo, .value = 'B'}); }},
       }) {
    Station station("TS-2000");
    station.engine.link.OpenRigPort({.number = 1, .speed = 1200}, true);
    for (const char* khz : {"14025.05", "14025.10", "14025.15"}) station.engine.operations.TuneTo(*ParseKhz(khz));
    EXPECT_EQ(station.Written(), "FA00014025050;") << row.name << ": the line is too slow for more";
    row.choose(station);
    EXPECT_TRUE(station.Written().starts_with("FA00014025150;")) << row.name;
    station.loop.RunFor(5s);
    EXPECT_EQ(station.Written().find("FB000140251"), std::string::npos) << row.name;
  }
}

TEST(Operations, AWaitingCommandThatIsRefusedIsTold) {
  Station station("TS-2000");
  station.engine.link.OpenRigPort({.number = 1, .speed = 1200}, true);
  std::vector<SendOutcome> told;
  station.engine.operations.SetOnNotSent([&](SendOutcome outcome) { told.push_back(outcome); });
  for (const char* khz : {"14025.05", "14025.10"}) station.engine.operations.TuneTo(*ParseKhz(khz));
  station.port.unsent = 1'000'000;
  station.loop.RunFor(5s);
  EXPECT_EQ(told, std::vector{SendOutcome::kRefused});
}

}  // namespace
}  // namespace kvx::cat
