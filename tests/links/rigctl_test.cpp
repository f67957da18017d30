#include <random>

#include "cat/cat_fixture.h"
#include "core/tunable.h"
#include "fakes/fake_tcp_server.h"
#include "links/net_server.h"
#include "links/rigctl_caps.h"

namespace kvx::links {
namespace {

using namespace std::chrono_literals;

/// A rig with the NET server before it: `Bench bench("TS-2000"); bench.Ask("f\n")`.
struct Bench {
  explicit Bench(const std::string& rig = "TS-2000") : station(rig) {
    net.on_notice = [this](const std::string& line) { notices.push_back(line); };
    net.Use({.on = true});
    server.Connect(client);
    station.Written();
  }
  std::string Ask(std::string_view bytes) { return client.Ask(bytes); }
  std::string Sent() { return station.Written(); }

  cat::Station station;
  FakeTcpServer server;
  FakeTcpClient client;
  FakeTcpClient second;
  NetServer net{station.loop, station.console, station.engine, server};
  std::vector<std::string> notices;
};

TEST(Rigctl, ReadsTellTheConsoleAndAskTheRigNothing) {
  Bench bench;
  Console& console = bench.station.console;
  console.FreqDisp.Set(Frequency::FromHz(14'025'370));
  console.FreqB.Set(Frequency::FromHz(7'011'110));
  console.SMeter.Set(30);
  console.Slider.Set(6, 51);
  struct Row {
    const char* line;
    const char* answer;
  };
  const Row rows[] = {
      {"f\n", "14025370\n"},
      {"\\get_freq\r\n", "14025370\n"},
      {"f VFOB\n", "7011110\n"},
      {"m\n", "CW\n500\n"},
      {"fmv\n", "14025370\nCW\n500\nVFOA\n"},
      {"f m v t\n", "14025370\nCW\n500\nVFOA\n0\n"},
      {"s\n", "0\nVFOA\n"},
      {"i\n", "7011110\n"},
      {"\\get_vfo_info VFOB\n", "7011110\nCW\n500\n0\n0\n"},
      {"\\chk_vfo\n", "0\n"},
      {"\\get_powerstat\n", "1\n"},
      {"_\n", "KVX NONE\n"},
      {"l STRENGTH\n", "60\n"},
      {"l AF\n", "0.200000\n"},
      {"l KEYSPD\n", "25\n"},
      {"+f\n", "get_freq:\nFrequency: 14025370\nRPRT 0\n"},
      {";f\n", "get_freq:;Frequency: 14025370;RPRT 0\n"},
      {"|m\n", "get_mode:|Mode: CW|Passband: 500|RPRT 0\n"},
      {"+\\get_vfo\n", "get_vfo:\nVFO: VFOA\nRPRT 0\n"},
      {"+l KEYSPD\n", "get_level: KEYSPD\n25\nRPRT 0\n"},
      {"+\\chk_vfo\n", "ChkVFO: 0\n"},
      {"+s +t\n", "get_split_vfo:\nSplit: 0\nTX VFO: VFOA\nRPRT 0\nget_ptt:\nPTT: 0\nRPRT 0\n"},
      {"\n \r\n# a remark\n", ""},
  };
  for (const Row& row : rows) EXPECT_EQ(bench.Ask(row.line), row.answer) << row.line;
  EXPECT_EQ(bench.Sent(), "");
}

TEST(Rigctl, WhatCannotBeDoneIsAnsweredByItsCodeAndReachesNoRig) {
  Bench bench;
  struct Row {
    const char* line;
    const char* answer;
  };
  const Row rows[] = {
      {"F\n", "RPRT -1\n"},
      {"F abc m\n", "RPRT -1\nCW\n500\n"},
      {"F -14025000\n", "RPRT -1\n"},
      {"F 0\n", "RPRT -1\n"},
      {"F 29999\n", "RPRT -1\n"},
      {"I 14,025\n", "RPRT -1\n"},
      {"F VFOB 10500000001\n", "RPRT -1\n"},
      {"F 14e6\n", "RPRT -1\n"},
      {"F 99999999999999999999\n", "RPRT -1\n"},
      {"M FOO 0\n", "RPRT -1\n"},
      {"M FAX 0\n", "RPRT -11\n"},
      {"M USB wide\n", "RPRT -1\n"},
      {"V VFOQ\n", "RPRT -1\n"},
      {"l FOO\n", "RPRT -1\n"},
      {"l SQL\n", "RPRT -11\n"},
      {"L FOO 1\n", "RPRT -1\n"},
      {"L SQL 0.5\n", "RPRT -11\n"},
      {"L RFPOWER 1.1\n", "RPRT -1\n"},
      {"L RFPOWER nan\n", "RPRT -1\n"},
      {"L KEYSPD 30\n", "RPRT -11\n"},
      {"L STRENGTH 0\n", "RPRT -11\n"},
      {"b CQ\n", "RPRT -11\n"},
      {"u NB\n", "RPRT -11\n"},
      {"w FA00007000000;\n", "RPRT -11\n"},
      {"+F\n", "set_freq:\nRPRT -1\n"},
      {"+l FOO\n", "get_level: FOO\nRPRT -1\n"},
      {"V ?\n", "VFOA VFOB currVFO\nRPRT 0\n"},
      {"L ?\n", "AF RF RFPOWER\nRPRT 0\n"},
      {"l ?\n", "AF RF RFPOWER KEYSPD STRENGTH\n"},
      {"\\foo f\n", "RPRT -4\n"},
      {"@\n", ""},
      {"T x\nT -1\nT 4\nT 9\n", "RPRT -1\nRPRT -1\nRPRT -1\nRPRT -1\n"},
  };
  for (const Row& row : rows) EXPECT_EQ(bench.Ask(row.line), row.answer) << row.line;
  EXPECT_EQ(bench.Sent(), "");
  bench.station.engine.link.CloseRigPort();
  EXPECT_EQ(bench.Ask("F 7000000\nM USB 0\nT 1\nL AF 0.5\nV VFOB\nF 7000000\nS 1 VFOB\n\\get_powerstat\n"),
            "RPRT -6\nRPRT -6\nRPRT -6\nRPRT -6\nRPRT 0\nRPRT -6\nRPRT -6\n0\n");
  EXPECT_EQ(KhzText(*bench.station.console.FreqDisp), "14000.00") << "the display shows what the rig never got";
}

TEST(Rigctl, SetsReachTheRig) {
  struct Row {
    const char* rig;
    const char* line;
    const char* sent;
  };
  const Row rows[] = {
      {"TS-2000", "F 14025370", "FA00014025370;"},
      {"TS-2000", "F 14025370.500000", "FA00014025370;"},
      {"TS-2000", "F 14025370,5", "FA00014025370;"},
      {"TS-2000", "F VFOA 7000000", "FA00007000000;"},
      {"TS-2000", "F VFOB 7000000", "FB00007000000;FB;"},
      {"TS-2000", "I 7000000", "FB00007000000;FB;"},
      {"TS-2000", "M USB 2400", "MD2;"},
      {"TS-2000", "M PKTUSB 0", "MD2;"},
      {"TS-2000", "M PKTLSB -1", "MD1;"},
      {"TS-2000", "M RTTYR 0", "MD6;"},
      {"TS-2000", "M CW", "MD3;"},
      {"TS-2000", "M CWR 200", "MD7;"},
      {"TS-2000", "M CW 200", "MD3;"},
      {"TS-2000", "M FM 8000", "MD4;"},
      {"TS-2000", "X LSB 0", "FR1;FT1;MD1;FR0;FT0;"},
      {"TS-2000", "S 1 VFOB", "FR0;FT1;"},
      {"TS-2000", "S 0 VFOA", ""},
      {"TS-2000", "L RFPOWER 0.5", "PC050;"},
      {"TS-2000", "L RFPOWER 0", "PC005;"},
      {"TS-2000", "L AF 0,2", "AG0051;"},
      {"FT-857", "F 14025370", "01 40 25 37 01"},
      {"FT-857", "F VFOB 7000000", "00 00 00 00 81 00 70 00 00 01 00 00 00 00 81"},
      {"FT-857", "M FM 8000", "88 00 00 00 07"},
      {"FT-857", "M FM 0", "08 00 00 00 07"},
      {"FT-857", "M CW 250", "02 00 00 00 07"},
      {"FT-857", "M CWR 0", "03 00 00 00 07"},
      {"FT-DX5000", "M CWR 0", "MD07;"},
      {"FT-710", "M USB 0", "MD02;"},
      {"FT-710", "X USB 0", "MD12;"},
      {"FT-DX101", "M CWR 0", "MD07;"},
      {"FT-DX101", "X CWR 0", "MD17;"},
      {"FT-857", "S 1 VFOB", "00 00 00 00 02"},
      {"IC-7300", "F 14025370", "FE FE 94 E0 05 70 53 02 14 00 FD"},
      {"IC-7300", "F VFOB 7000000", "FE FE 94 E0 07 01 FD FE FE 94 E0 05 00 00 00 07 00 FD FE FE 94 E0 07 00 FD"},
      {"IC-7300", "M CW 250", "FE FE 94 E0 06 03 02 FD"},
  };
  for (const Row& row : rows) {
    Bench bench(row.rig);
    const std::string shown = KhzText(*bench.station.console.FreqDisp);
    EXPECT_EQ(bench.Ask(std::string(row.line) + "\n"), "RPRT 0\n") << row.line;
    EXPECT_EQ(bench.Sent(), row.sent) << row.rig << " " << row.line;
    if (std::string_view(row.line).find("VFOB") == std::string_view::npos) continue;
    EXPECT_EQ(KhzText(*bench.station.console.FreqDisp), shown) << "the operator's VFO was disturbed";
    EXPECT_EQ(*bench.station.console.ActiveVfo, 'A');
  }
}

TEST(Rigctl, TheModeToldIsTheOneThatTheRigHas) {
  struct Row {
    const char* rig;
    const char* set;
    const char* told;
  };
  const Row rows[] = {{"TS-2000", "M CW 250", "CW\n500\n"},    {"TS-2000", "M CWR 250", "CWR\n500\n"},
                      {"TS-2000", "M FM 8000", "FM\n15000\n"}, {"FT-857", "M CWR 0", "CWR\n500\n"},
                      {"FT-1000D", "M CW 250", "CW\n250\n"},   {"IC-7300", "M CW 250", "CW\n250\n"},
                      {"IC-7300", "M FM 8000", "FM\n8000\n"}};
  for (const Row& row : rows) {
    Bench bench(row.rig);
    EXPECT_EQ(bench.Ask(std::string(row.set) + "\nm\n"), std::string("RPRT 0\n") + row.told) << row.rig << row.set;
  }
}

TEST(Rigctl, SplitIsAsItWasAfterASetOnTheOtherVfo) {
  Bench bench;
  EXPECT_EQ(bench.Ask("S 1 VFOB\nX LSB 0\ns\nT 1\n"), "RPRT 0\nRPRT 0\n1\nVFOB\nRPRT 0\n");
  EXPECT_EQ(bench.Sent(), "FR0;FT1;FR1;FT1;MD1;FR0;FT0;FR0;FT1;TX;");
  Bench orion("Orion");
  orion.Ask("S 1 VFOB\nX LSB 0\n");
  EXPECT_TRUE(orion.Sent().ends_with("*KVANA<CR>*KVANB<CR>"));
}

TEST(Rigctl, AClientTransmitsOnItsVfoOrNotAtAll) {
  Bench bench;
  EXPECT_EQ(bench.Ask("V VFOB\nT 1\nV VFOA\nT VFOB 1\n"), "RPRT 0\nRPRT -9\nRPRT 0\nRPRT -9\n");
  EXPECT_EQ(bench.Sent(), "");
  EXPECT_EQ(bench.Ask("S 1 VFOB\nV VFOB\nT 1\n"), "RPRT 0\nRPRT 0\nRPRT 0\n");
}

TEST(Rigctl, NobodyElseMovesATransmission) {
  for (const char* rig : {"TS-2000", "FT-857", "IC-7300"}) {
    Bench bench(rig);
    bench.server.Connect(bench.second);
    bench.Ask("T 1\n");
    bench.Sent();
    EXPECT_EQ(bench.second.Ask("F 7000000\nF VFOB 7000000\nM USB 0\nX USB 0\nS 1 VFOB\n"),
              "RPRT -9\nRPRT -9\nRPRT -9\nRPRT -9\nRPRT -9\n");
    EXPECT_EQ(bench.Ask("S 1 VFOB\n"), "RPRT -9\n");
    EXPECT_EQ(bench.Sent(), "") << rig;
  }
}

TEST(Rigctl, WhatWaitsDoesSoUntilAnothersTransmissionHasEnded) {
  Bench bench("FT-857");
  bench.server.Connect(bench.second);
  bench.station.engine.link.OpenRigPort({.number = 1, .speed = 4800}, true);
  for (const bool by_client : {true, false}) {
    bench.station.loop.RunFor(1s);
    bench.second.Ask("F VFOB 7000000\nF VFOB 7000010\nF VFOB 7000020\n");
    by_client ? void(bench.Ask("T 1\n")) : void(bench.station.Send("XSETALPHA"));
    bench.station.loop.RunFor(2s);
    EXPECT_TRUE(bench.Sent().ends_with("00 00 00 00 08")) << by_client;
    by_client ? void(bench.Ask("T 0\n")) : void(bench.station.engine.dispatcher.ReleaseTransmitter());
    bench.station.loop.RunFor(2s);
    EXPECT_EQ(bench.Sent(), "00 00 00 00 88 00 00 00 00 81 00 70 00 02 01 00 00 00 00 81");
  }
}

TEST(Rigctl, ABurstOfSetsOnTheOtherVfoLeavesTheRigOnItsOwn) {
  Bench bench("FT-857");
  bench.station.engine.link.OpenRigPort({.number = 1, .speed = 4800}, true);
  for (int count = 20; count < 60; ++count) {
    for (int i = 0; i < count; ++i) bench.Ask("X USB 0\n");
    const std::string sent = bench.Sent();
    EXPECT_EQ((sent.size() + 1) % 45, 0U) << "not whole sets of three commands";
    EXPECT_TRUE(sent.ends_with("01 00 00 00 07 00 00 00 00 81"));
    bench.station.loop.RunFor(std::chrono::milliseconds(1000 + count));
  }
}

TEST(Rigctl, AWebPagesRequestEndsItsConnection) {
  const std::string body = "\r\nHost: 127.0.0.1\r\n\r\nT 1\nb CQ\n";
  for (const std::string& request :
       {"POST / HTTP/1.1" + body, "b / HTTP/1.0" + body, "POST /" + std::string(5000, 'a') + " HTTP/1.1" + body}) {
    for (const std::size_t size : {1UL, 7UL, 100'000UL}) {
      Bench bench;
      std::string answers;
      for (std::size_t at = 0; at < request.size(); at += size) answers += bench.Ask(request.substr(at, size));
      EXPECT_TRUE(bench.client.ending);
      EXPECT_EQ(answers, request.size() < 1000 ? "" : "RPRT -1\n");
      EXPECT_EQ(bench.Sent(), "");
    }
  }
}

TEST(Rigctl, EachClientHasItsOwnVfo) {
  Bench bench;
  bench.server.Connect(bench.second);
  EXPECT_EQ(bench.Ask("f VFOB\n"), "0\n") << "the rig has not told it";
  EXPECT_EQ(bench.Ask("V VFOB\nF 7011110\nf\nv\n"), "RPRT 0\nRPRT 0\n7011110\nVFOB\n");
  EXPECT_EQ(bench.second.Ask("f\nv\ni\n"), "14000000\nVFOA\n7011110\n");
  bench.station.console.ActiveVfo.Set('B');  // by the operator: who has chosen none goes along
  EXPECT_EQ(bench.second.Ask("v\n"), "VFOB\n");
  EXPECT_EQ(bench.second.Ask("V VFOA\nv\nV currVFO\nv\n"), "RPRT 0\nVFOA\nRPRT 0\nVFOB\n");
  EXPECT_EQ(bench.second.Ask("\\set_vfo_opt 1\n\\chk_vfo\n"), "RPRT 0\n1\n");
  EXPECT_EQ(bench.Ask("\\chk_vfo\nv\n"), "0\nVFOB\n");
}

TEST(Rigctl, TheTransmitterIsReleasedByWhoKeyedItOrWhenHeGoes) {
  Bench bench;
  bench.server.Connect(bench.second);
  EXPECT_EQ(bench.Ask("T 3\nt\nT 1\n"), "RPRT 0\n1\nRPRT 0\n");
  EXPECT_EQ(bench.Sent(), "TX;");
  EXPECT_EQ(bench.second.Ask("t\nT 1\nT 0\n"), "1\nRPRT -9\nRPRT 0\n");
  EXPECT_EQ(bench.Sent(), "") << "released by another client";
  bench.second.Leave();
  EXPECT_EQ(bench.Sent(), "");
  EXPECT_EQ(bench.Ask("T 0\nt\n"), "RPRT 0\n0\n");
  EXPECT_EQ(bench.Sent(), "RX;");

  bench.Ask("T 1\n");
  bench.Sent();
  bench.client.Leave();
  EXPECT_EQ(bench.Sent(), "RX;") << "its client has gone";
  EXPECT_FALSE(bench.client.connected);

  bench.server.Connect(bench.second);
  bench.station.Send("XSETALPHA");  // the operator
  bench.Sent();
  EXPECT_EQ(bench.second.Ask("T 0\n"), "RPRT 0\n");
  bench.second.Leave();
  EXPECT_EQ(bench.Sent(), "") << "the operator's transmission was ended";
  EXPECT_TRUE(*bench.station.console.Transmitting);
}

TEST(Rigctl, ATransmissionIsItsOwnersUntilItsReleaseIsWritten) {
  Bench bench;
  bench.Ask("T 1\n");
  bench.station.engine.link.CloseRigPort();
  EXPECT_EQ(bench.Ask("T 0\nT 0\nt\n"), "RPRT -6\nRPRT -6\n1\n");
  bench.station.engine.link.OpenRigPort({.number = 1, .speed = 38400}, true);
  EXPECT_EQ(bench.Ask("T 0\nt\n"), "RPRT 0\n0\n");
  bench.Ask("T 1\n");
  bench.station.Send("XSETALPHA");  // the operator takes over
  bench.Sent();
  EXPECT_EQ(bench.Ask("T 0\nt\n"), "RPRT 0\n1\n");
  bench.client.Leave();
  EXPECT_EQ(bench.Sent(), "");
}

TEST(Rigctl, WhatTheOperatorHasReleasedIsTheClientsNoMore) {
  Bench bench;
  bench.Ask("T 1\n");
  EXPECT_TRUE(bench.station.engine.dispatcher.ReleaseTransmitter());  // Escape
  EXPECT_EQ(bench.Ask("t\n"), "0\n");
  bench.station.Send("XSETALPHA");
  bench.Sent();
  EXPECT_EQ(bench.Ask("T 0\n"), "RPRT 0\n");
  bench.client.Leave();
  EXPECT_EQ(bench.Sent(), "");
}

TEST(Rigctl, KeyingTakesTheLastFrequencyAlongAndNoVfoChangesMeanwhile) {
  Bench bench("FT-857");
  bench.station.engine.link.OpenRigPort({.number = 1, .speed = 4800}, true);
  bench.Sent();
  std::string lines;
  for (int hz = 14'000'000; hz <= 14'000'500; hz += 10) lines += "F " + std::to_string(hz) + "\n";
  bench.Ask(lines + "T 1\n");
  EXPECT_TRUE(bench.Sent().ends_with("01 40 00 50 01 00 00 00 00 08"));
  EXPECT_EQ(bench.Ask("F VFOB 7000000\nX USB 0\n"), "RPRT -9\nRPRT -9\n");
  EXPECT_EQ(bench.Sent(), "");
}

TEST(Rigctl, OnASlowLineTheLastOfManyValuesArrivesLast) {
  for (const char* vfo : {"VFOA", "VFOB"}) {
    Bench bench;
    bench.station.engine.link.OpenRigPort({.number = 1, .speed = 4800}, true);
    bench.station.loop.RunFor(1s);
    bench.Sent();
    for (int hz = 14'100'000; hz < 14'102'000; hz += 10) {
      ASSERT_EQ(bench.Ask("F " + std::string(vfo) + " " + std::to_string(hz) + "\n"), "RPRT 0\n");
      bench.station.loop.RunFor(10ms);
    }
    bench.station.loop.RunFor(100ms);
    const std::string sent = bench.Sent();
    EXPECT_TRUE(sent.ends_with("00014101990;") || sent.ends_with("00014101990;FB;")) << sent.substr(sent.size() - 40);
    EXPECT_LT(sent.size(), 17 * 80U) << "more than the line takes in two seconds";
    EXPECT_GT(sent.size(), 14 * 40U);
  }
}

TEST(Rigctl, WhatAClientHasSetGoesOutAlsoWhenItLeavesButNotToAnotherRig) {
  Bench bench;
  bench.station.engine.link.OpenRigPort({.number = 1, .speed = 4800}, true);
  bench.Ask("F VFOB 7000000\nF VFOB 7000010\nF VFOB 7000020\nF VFOB 7000030\n");
  bench.client.Leave();
  EXPECT_TRUE(bench.Sent().ends_with("FB00007000030;FB;"));

  bench.server.Connect(bench.client);
  bench.Ask("F VFOB 7000000\nF VFOB 7000010\nF VFOB 7000020\nF VFOB 7000040\n");
  bench.Sent();
  bench.station.Use(cat::ShippedRigs().at("IC-7300"));
  bench.station.console.RigRow.Set(1);
  bench.station.loop.RunFor(1s);
  EXPECT_EQ(bench.Sent(), "");
}

TEST(Rigctl, ServerBeyondThisMachineIsForReadingUnlessAllowed) {
  Bench bench;
  for (const bool allowed : {false, true}) {
    bench.net.Use({.on = true, .address = "0.0.0.0", .write = allowed});
    if (!bench.client.connected) bench.server.Connect(bench.client);
    const std::string code = allowed ? "RPRT 0\n" : "RPRT -9\n";
    EXPECT_EQ(bench.Ask("F 7000000\nM USB 0\nV VFOA\nT 1\nT 0\n"), code + code + "RPRT 0\n" + code + "RPRT 0\n");
    EXPECT_EQ(bench.Sent().empty(), !allowed);
    EXPECT_EQ(bench.Ask("f\n").size(), allowed ? 8U : 9U);
  }
  bench.Ask("T 1\n");
  bench.Sent();
  bench.net.Use({.on = true, .address = "0.0.0.0"});
  EXPECT_EQ(bench.Sent(), "RX;") << "it may operate the rig no longer";
  EXPECT_TRUE(bench.client.connected);
}

TEST(Rigctl, KeyerIsTheStations) {
  Bench bench;
  std::vector<std::string> keyed;
  std::vector<cat::Party> parties;
  bench.net.rig.send_morse = [&](cat::Party party, std::string_view text) -> Status {
    parties.push_back(party);
    keyed.emplace_back(text);
    if (text == "busy") return Error{ErrorCode::kBusy, ""};
    return Ok();
  };
  bench.net.rig.stop_morse = [&](cat::Party party) {
    parties.push_back(party);
    keyed.emplace_back("(stop)");
  };
  bench.net.rig.set_key_speed = [&](int wpm) -> Status {
    if (wpm > 99) return Error{ErrorCode::kInvalid, ""};
    keyed.push_back(std::to_string(wpm));
    return Ok();
  };
  EXPECT_EQ(bench.Ask("b CQ DE K1ABC\n\\send_morse TEST \n+b K\n\\stop_morse\nb\nb busy\n"),
            "RPRT 0\nRPRT 0\nsend_morse: K\nRPRT 0\nRPRT 0\nRPRT -1\nRPRT -9\n");
  EXPECT_EQ(bench.Ask("L KEYSPD 30\nL KEYSPD 200\n"), "RPRT 0\nRPRT -1\n");
  bench.server.Connect(bench.second);
  bench.second.Ask("b X\n");
  bench.second.Leave();
  EXPECT_EQ(keyed, (std::vector<std::string>{"CQ DE K1ABC", "TEST", "K", "(stop)", "busy", "30", "X", "(stop)"}));
  const cat::Party first = parties.front();
  EXPECT_EQ(parties, (std::vector<cat::Party>{first, first, first, first, first, first + 1, first + 1}));
  bench.client.Leave();
  keyed.clear();
  FakeTcpClient single;
  bench.server.Connect(single);
  single.Ask("b CQ\nq\n");
  single.Leave();
  EXPECT_EQ(keyed, std::vector<std::string>{"CQ"}) << "whoever ends in order has it sent to its end";
}

TEST(Rigctl, StateForClientLibrariesHasTheFormTheyRead) {
  Bench bench;
  const std::string state = bench.Ask("\\dump_state\n");
  EXPECT_TRUE(state.starts_with("1\n"));
  EXPECT_TRUE(state.ends_with("\ndone\n"));
  const auto lines = Split(state, '\n');
  // Lists end in a line of zeros; behind the filters' come eight lines, then names with values.
  int ends = 0;
  std::size_t line = 3;
  for (; ends < 4; ++line) {
    ASSERT_LT(line, lines.size());
    if (lines[line] == "0 0 0 0 0 0 0" || lines[line] == "0 0") ++ends;
  }
  ASSERT_LT(line + 12, lines.size());
  EXPECT_EQ(lines[line + 8], "0x40005018");
  EXPECT_EQ(lines[3], "30000.000000 10500000000.000000 0x1dbf -1 -1 0x3 0x1");
  EXPECT_EQ(lines[line + 12], "vfo_ops=0x0");
  EXPECT_TRUE(bench.Ask("+\\dump_state\n").ends_with("done\nRPRT 0\n"));
  const std::string caps = bench.Ask("1\n");
  for (const char* end : {"Can set PTT:\tY\n", "Can send Morse:\tN\n", "Can get mW2power:\tN\n"})
    EXPECT_NE(caps.find(end), std::string::npos) << end;
  EXPECT_NE(Bench("TS-520").Ask("1\n").find("Can set PTT:\tN\n"), std::string::npos);
}

TEST(Rigctl, LinesMayComeInAnyPiecesAndAreBounded) {
  const std::string lines = "f\nF 14025370\n+\\get_freq\nm f;f\r\nV VFOB\n\nv\n\\get_vfo_info VFOA\n";
  std::string whole;
  for (std::size_t size = 1; size <= lines.size(); ++size) {
    Bench bench;
    std::string answers;
    for (std::size_t at = 0; at < lines.size(); at += size) answers += bench.Ask(lines.substr(at, size));
    if (size == 1) whole = answers;
    EXPECT_EQ(answers, whole) << "pieces of " << size;
  }
  Bench bench;
  EXPECT_EQ(bench.Ask(std::string(1'000'000, 'f')), "RPRT -1\n");
  EXPECT_EQ(bench.Ask("fff\nf\n"), "14000000\n");
  const std::string many = bench.Ask(std::string(1000, '1') + "\n");
  EXPECT_TRUE(many.ends_with("RPRT -1\n"));
  EXPECT_LT(many.size(), 128'000U);
}

TEST(Rigctl, QuitAnswersAndEnds) {
  Bench bench;
  EXPECT_EQ(bench.Ask("f q f\nf\n"), "14000000\nRPRT 0\n");
  EXPECT_TRUE(bench.client.ending);
  EXPECT_EQ(bench.Ask("f\n"), "");
  bench.client.Leave();
  EXPECT_EQ(bench.net.clients(), 0U);
}

TEST(Rigctl, NoiseAndMutatedCommandsPutNoIllegalFrameOnTheLine) {
  std::mt19937 random(20'261'121);
  const std::vector<std::string> seeds{"F 14025370\n",  "+\\set_mode USB 0\n", "L RFPOWER 0.5\n",       "S 1 VFOB\n",
                                       "X PKTUSB -1\n", "T 1\nT 0\n",          "\\get_vfo_info VFOA\n", ";b CQ\n",
                                       "I VFOA 7e6\n"};
  Bench bench;
  std::size_t answered = 0;
  for (int round = 0; round < 60'000; ++round) {
    std::string line = seeds[random() % seeds.size()];
    for (int change = static_cast<int>(random() % 4); change > 0; --change)
      line[random() % line.size()] = static_cast<char>(random());
    if (round % 10 == 0) line.append(random() % 3000, static_cast<char>(random()));
    answered += bench.Ask(line).size();
    if (!bench.client.connected || bench.client.ending) {
      bench.client.Leave();
      bench.client = {};
      bench.server.Connect(bench.client);
    }
    if (round % 100 == 0) bench.station.loop.RunFor(1s);
  }
  EXPECT_GT(answered, 100'000U);
  for (const std::string& frame : Split(bench.Sent(), ';')) {
    const bool legal =
        frame.empty() || frame == "TX" || frame == "RX" || frame == "FB" || frame.starts_with("FR") ||
        frame.starts_with("FT") || (frame.starts_with("MD") && frame.size() == 3) ||
        (frame.starts_with("PC") && frame.size() == 5) || (frame.starts_with("AG0") && frame.size() == 6) ||
        (frame.starts_with("RG") && frame.size() == 5) ||
        ((frame.starts_with("FA") || frame.starts_with("FB")) && frame.size() == 13 &&
         IsTunable(Frequency::FromHz(ParseNumber(std::string_view(frame).substr(2), 0, 99'999'999'999).value_or(0))));
    ASSERT_TRUE(legal) << frame;
  }
}

TEST(NetServer, ClientThatDoesNotListenIsNotReadFromAndThenDropped) {
  Bench bench;
  bench.client.listens = false;
  for (int i = 0; i < 100; ++i) bench.client.Send("1\n1\n1\n1\n1\n1\n1\n1\n1\n1\n");
  EXPECT_LT(bench.client.unsent.size(), 150'000U);
  EXPECT_FALSE(bench.client.waiting.empty());
  bench.station.loop.RunFor(9s);
  ASSERT_TRUE(bench.client.connected);
  while (!bench.client.unsent.empty()) bench.client.TakeAll();  // it listens again: nothing was lost
  EXPECT_EQ(bench.client.received.size(), 1000 * DumpCaps(bench.net.rig).size());
  bench.station.loop.RunFor(1h);
  ASSERT_TRUE(bench.client.connected) << "an idle client was dropped";
  EXPECT_EQ(bench.station.loop.timers(), 0U) << "an idle client costs something";
  bench.Ask("T 1\n");
  bench.Sent();
  bench.client.Send("f\n");
  bench.station.loop.RunFor(11s);
  EXPECT_FALSE(bench.client.connected);
  EXPECT_EQ(bench.Sent(), "RX;");
}

TEST(NetServer, ClientsAreBoundedAndATakenPortIsNamed) {
  Bench bench;
  std::vector<FakeTcpClient> crowd(70);
  for (FakeTcpClient& client : crowd) bench.server.Connect(client);
  EXPECT_EQ(bench.net.clients(), 64U);
  EXPECT_EQ(crowd[62].Ask("f\n"), "14000000\n");
  EXPECT_FALSE(crowd[63].connected);
  EXPECT_EQ(bench.net.state(), "on 127.0.0.1:4532, 64 clients");
  bench.net.Use({.on = false});
  EXPECT_EQ(bench.net.clients(), 0U);
  EXPECT_EQ(bench.net.state(), "off");

  bench.notices.clear();
  bench.server.taken_port = 4532;
  bench.net.Use({.on = true});
  const std::vector<std::string> told{"NET rigctl server: port 4532 on 127.0.0.1 is taken by another program"};
  EXPECT_EQ(bench.notices, told);
  EXPECT_EQ(bench.net.state(), told.front());
  bench.net.Use({.on = true});
  bench.station.loop.RunFor(5min);
  EXPECT_EQ(bench.notices, told) << "said again";
  bench.server.taken_port = 0;
  bench.station.loop.RunFor(30s);
  EXPECT_EQ(bench.net.state(), "on 127.0.0.1:4532, 0 clients");
}

TEST(NetServer, SettingsHaveTheirDefaults) {
  EXPECT_EQ(NetSettings::From(config::Settings::Parse("XRIG=TS-2000\n")), NetSettings{});
  const auto all = config::Settings::Parse("NETSERVER=True\nNETPORT= 4533\nNETADDRESS=LocalHost\nNETWRITE=True\n");
  EXPECT_EQ(NetSettings::From(all), (NetSettings{.on = true, .port = 4533, .address = "127.0.0.1", .write = true}));
}

}  // namespace
}  // namespace kvx::links
