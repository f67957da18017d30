#include <random>

#include "cat/cat_fixture.h"
#include "fakes/fake_dde.h"
#include "links/dde_server.h"
#include "platform/gateway_lines.h"

namespace kvx::links {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using platform::DdeAnswer;
using platform::DdeService;
using platform::DdeType;
using Lines = std::vector<std::string>;

struct Bench {
  explicit Bench(bool started = true) {
    dde.on_notice = [this](const std::string& line) { notices.push_back(line); };
    Show("14025.00", "  CW");
    station.console.RigName.Set("TS-2000");
    if (started) dde.Use({});
    Settle();
    transport.posted.clear();
  }
  void Show(const char* khz, const char* mode) {
    station.console.FreqDisp.Set(*ParseKhz(khz));
    station.console.Mode.Set(mode);
  }
  void Settle() {
    station.loop.RunFor(3s);
    station.Written();
  }
  /// The text that a request gives, and behind it the bytes that follow: "01402500+1"; "-" for no data.
  std::string Request(const std::string& item, unsigned format = platform::kDdeText) {
    const DdeAnswer answer = dde.HandleDDECallback({.type = DdeType::kRequest, .format = format, .item = item});
    if (!answer.accepted) return answer.data.empty() ? "-" : "refused with data";
    const std::string text = answer.data.c_str();
    return text + "+" + std::to_string(answer.data.size() - text.size());
  }
  bool Execute(const std::string& command) {
    return dde.HandleDDECallback({.type = DdeType::kExecute, .data = command}).accepted;
  }
  bool Poke(const std::string& item, const std::string& value) {
    return dde.HandleDDECallback({.type = DdeType::kPoke, .item = item, .data = value}).accepted;
  }

  cat::Station station{"TS-2000"};
  FakeDde transport;
  DdeServer dde{station.loop, station.console, station.engine.operations, transport};
  Lines notices;
};

TEST(DdeAnswers, AFrequencyIsEightCharactersOrNothing) {
  struct Row {
    const char* displayed;
    const char* told;
  };
  const Row rows[] = {
      {"14025.00", "01402500"},
      {" 14025.37 ", "01402537"},
      {"1000.00", "00100000"},
      {"999.99", ""},
      {"475.50", ""},
      {"144300.00", "14430000"},
      {"989999.99", "98999999"},
      {"990000.00", ""},
      {"1296000.00", ""},
      {"1000", "00010000"},
      {"14025", "00014025"},
      {"9999", "00099990"},
      {"1000.5", "00010005"},
      {"0.00", ""},
      {"-14025.00", ""},
      {"", ""},
      {"  ", ""},
      {"abc", ""},
      {"1.4.0", ""},
  };
  for (const Row& row : rows) EXPECT_EQ(DdeHertz(row.displayed).value_or(""), row.told) << row.displayed;
}

TEST(DdeServer, ARequestIsAnsweredByTheItemFoundAnywhereInItsName) {
  Bench bench;
  EXPECT_EQ(bench.Request("HRD_HERTZ"), "01402500+1");
  EXPECT_EQ(*bench.station.console.DdeBox, "X01402500X");
  EXPECT_EQ(bench.Request("[HRD_MODE]1"), "CW+4");
  EXPECT_EQ(bench.Request("HRD_RADIO_000"), "TS-2000+1");
  for (const char* unknown : {"", "HRD", "HRD_HERT", "MODE"}) EXPECT_EQ(bench.Request(unknown), "-") << unknown;
  EXPECT_EQ(bench.Request("HRD_HERTZ", 13), "-");  // wide characters
  const std::pair<const char*, const char*> modes[] = {{" USB", "USB+4"}, {" LSB", "LSB+4"}, {"  AM", "AM+4"},
                                                       {"RTTY", "FSK+4"}, {"  FM", "-"},     {"DATA", "-"}};
  for (const auto& [caption, told] : modes) {
    bench.Show("475.00", caption);
    EXPECT_EQ(bench.Request("HRD_MODE"), told) << caption;
  }
  EXPECT_EQ(bench.Request("HRD_HERTZ"), "-");
  EXPECT_EQ(bench.dde.told(), "X01402500X");
  bench.station.console.RigName.Set("NONE");
  EXPECT_EQ(bench.Request("HRD_RADIO"), "-");
}

TEST(DdeServer, AnExecuteSetsModeAndFrequency) {
  struct Row {
    const char* command;
    const char* display;
    const char* rig;
  };
  const Row rows[] = {
      {"MODE USB", "14025.00 USB", "MD2;"},
      {"MODE:lsb", "14025.00 LSB", "MD1;"},
      {"[MODE=CW R]", "14025.00 CW", "MD3;"},
      {"MODE,CW", "14025.00 CW", "MD3;"},
      {"SET MODE = AM\r\n", "14025.00 AM", "MD5;"},
      {"MODE FM", "14025.00 FM", "MD4;"},
      {"MODE FSK", "14025.00 RTTY", "MD6;"},
      {"MODE RTTY", "14025.00 RTTY", "MD6;"},
      {"FREQ 14030", "14030.00 USB", "FA00014030000;"},
      {"FREQ:7012.55", "7012.55 USB", "FA00007012550;"},
      {"freq=14200000", "14200.00 USB", "FA00014200000;"},
      {"FREQUENCY 14039", "14039.00 USB", "FA00014039000;"},
      {"Set Frequency-Hz 14039100", "14039.10 USB", "FA00014039100;"},
      {"SET FREQUENCY TO 14047kHz", "14047.00 USB", "FA00014047000;"},
      {"FREQ,28500,5", "28500.50 USB", "FA00028500500;"},
      {"FREQ 01402500", "14025.00 USB", "FA00014025000;"},
      {"FREQ 14047,MODE CW", "14047.00 CW", "MD3;FA00014047000;"},
      {"FREQ 21300.5 MODE LSB", "21300.50 LSB", "MD1;FA00021300500;"},
  };
  for (const Row& row : rows) {
    Bench bench;
    bench.Show("14025.00", " USB");
    bench.station.Written();
    EXPECT_TRUE(bench.Execute(row.command)) << row.command;
    const std::string sent = bench.station.Written();
    EXPECT_NE(sent.find(row.rig), std::string::npos) << row.command << ": " << sent;
    EXPECT_EQ(bench.station.Display(), row.display) << row.command;
  }
}

TEST(DdeServer, WhatIsNotUnderstoodIsRefusedAndDoesNothing) {
  Bench bench;
  for (const char* command : {"",
                              "MODE",
                              "MODE ",
                              "MODE XYZ",
                              "MODE USBX",
                              "FREQ",
                              "FREQ x",
                              "FREQ .",
                              "FREQ 0",
                              "FREQ -14000",
                              "14030",
                              "HELLO",
                              "FREQ 14021 MODE XX",
                              "MODE USB FREQ x",
                              "FREQ 5",
                              "FREQ 14.038",
                              "FREQ 14,025,000",
                              "FREQ 14.038MHz",
                              "FREQ 00000099",
                              "FREQ 99999999999"}) {
    EXPECT_FALSE(bench.Execute(command)) << command;
  }
  EXPECT_FALSE(bench.Poke("HRD_HERTZ", ""));
  EXPECT_FALSE(bench.Poke("HRD_HERTZ", "00000099"));
  EXPECT_FALSE(bench.Poke("HRD_MODE", "14030"));
  EXPECT_FALSE(bench.Poke("HRD_RADIO", "FT-857"));
  EXPECT_FALSE(bench.Execute(std::string(5000, 'x')));
  EXPECT_LE(bench.dde.activity().last_refused().size(), 80u);
  EXPECT_EQ(bench.station.Written(), "");
  EXPECT_EQ(bench.station.Display(), "14025.00 CW");
  bench.station.port.Lose();
  EXPECT_FALSE(bench.Execute("FREQ 14030 MODE USB"));
  EXPECT_EQ(bench.station.Display(), "14025.00 CW") << "what does not reach the rig is not shown";
}

TEST(DdeServer, APokeSetsWhatARequestOfTheSameTextTells) {
  for (const char* khz : {"1800.00", "14025.37", "144300.01", "989999.99"}) {
    Bench bench;
    const std::string text = *DdeHertz(khz);
    EXPECT_TRUE(bench.Poke("HRD_HERTZ", text)) << text;
    EXPECT_EQ(KhzText(*bench.station.console.FreqDisp), khz);
    EXPECT_EQ(bench.Request("HRD_HERTZ"), text + "+1");
  }
  Bench bench;
  EXPECT_TRUE(bench.Poke("HRD_HERTZ", "7030.5"));
  EXPECT_TRUE(bench.Poke("HRD_MODE", "FSK"));
  EXPECT_EQ(bench.station.Display(), "7030.50 RTTY");
}

TEST(DdeServer, AdviseLinksAreForFrequencyAndMode) {
  Bench bench;
  const auto accepts = [&](DdeType type, const char* item, unsigned format) {
    return bench.dde.HandleDDECallback({.type = type, .format = format, .item = item}).accepted;
  };
  EXPECT_TRUE(accepts(DdeType::kAdviseStart, "HRD_HERTZ", 1));
  EXPECT_TRUE(accepts(DdeType::kAdviseStart, "HRD_MODE", 1));
  EXPECT_FALSE(accepts(DdeType::kAdviseStart, "HRD_RADIO", 1));
  EXPECT_FALSE(accepts(DdeType::kAdviseStart, "HRD_HERTZ", 13));
  for (const DdeType type : {DdeType::kConnect, DdeType::kConnectConfirm, DdeType::kDisconnect, DdeType::kAdviseStop,
                             DdeType::kRegister, DdeType::kUnregister, DdeType::kMonitor})
    EXPECT_TRUE(accepts(type, "", 1));
  EXPECT_FALSE(bench.dde.is_busy());
}

TEST(DdeServer, EachChangeIsPostedOnceAndAStormIsThinned) {
  Bench bench;
  bench.Show("14030.00", "  CW");
  bench.Settle();
  EXPECT_EQ(bench.transport.posted, Lines{"HRD_HERTZ 01403000"});
  bench.transport.posted.clear();
  bench.Show("14030.00", "  FM");
  bench.Settle();
  EXPECT_EQ(bench.transport.posted, Lines{"HRD_MODE -"});
  bench.transport.posted.clear();
  for (int i = 0; i < 1000; ++i) {
    bench.station.console.FreqDisp.Set(Frequency::FromHz(14'000'000 + 10 * i));
    bench.station.loop.RunFor(1ms);
  }
  bench.Settle();
  EXPECT_LE(bench.transport.posted.size(), 52u);
  EXPECT_GE(bench.transport.posted.size(), 45u);
  EXPECT_EQ(bench.transport.posted.back(), "HRD_HERTZ 01400999");
  // Whoever sets something finds it told before the command is acknowledged.
  bench.transport.posted.clear();
  bench.Execute("FREQ 14040");
  EXPECT_EQ(bench.transport.posted, Lines{"HRD_HERTZ 01404000"});
}

TEST(DdeServer, StartsWhereDdeIsAtHandAndAsTheSettingSays) {
  const auto setting = [](const char* file) { return DdeSettings::From(config::Settings::Parse(file)).on; };
  EXPECT_EQ(setting("DDESERVER=True\n"), true);
  EXPECT_EQ(setting("DDESERVER=False\n"), false);
  EXPECT_EQ(setting("NETSERVER=True\nDDESERVER=\n"), std::nullopt);
  Bench bench(false);
  bench.transport.at_hand = false;
  bench.dde.Use({});
  EXPECT_EQ(bench.transport.log, Lines{});
  EXPECT_EQ(bench.dde.state(), "off");
  bench.dde.Use({.on = true});
  bench.dde.Use({.on = true});
  EXPECT_EQ(bench.transport.log, Lines{"start HRD_RADIO_000 HRD_CAT"});
  EXPECT_EQ(bench.dde.state(), "on, 1 client");
  EXPECT_TRUE(bench.dde.is_active());
  bench.dde.Use({.on = false});
  EXPECT_EQ(bench.transport.log, (Lines{"start HRD_RADIO_000 HRD_CAT", "stop"}));
  EXPECT_FALSE(bench.dde.is_active());
  bench.Show("14033.00", " USB");
  bench.Settle();
  EXPECT_EQ(bench.transport.posted, Lines{});
  EXPECT_EQ(bench.notices, Lines{});
}

TEST(DdeServer, ASecondConsoleFindsTheServicePostsNothingAndTakesOverWhenItIsFree) {
  Bench bench(false);
  bench.transport.outcome = DdeService::kFound;
  bench.dde.INITDDE();
  EXPECT_TRUE(bench.dde.is_active());
  EXPECT_EQ(bench.dde.state(), "on, another program serves HRD_RADIO_000");
  bench.Show("14033.00", " USB");
  bench.Settle();
  EXPECT_EQ(bench.transport.posted, Lines{});
  EXPECT_EQ(bench.transport.log.back(), "take over");
  bench.transport.outcome = DdeService::kRegistered;
  bench.Settle();
  EXPECT_EQ(bench.dde.state(), "on, 1 client");
  bench.transport.log.clear();
  bench.Settle();
  EXPECT_EQ(bench.transport.log, Lines{});
}

TEST(DdeServer, AFailureIsOneLineHoweverOftenItIsTriedAgain) {
  Bench bench(false);
  bench.transport.outcome = DdeService::kFailed;
  bench.transport.why = "error 1";
  bench.dde.INITDDE();
  bench.transport.on_service(DdeService::kStarting, "");
  bench.transport.on_service(DdeService::kFailed, "error 1");
  EXPECT_EQ(bench.notices, Lines{"DDE Did not Initialize: error 1"});
  EXPECT_EQ(bench.dde.state(), "off: error 1");
  EXPECT_FALSE(bench.dde.is_active());
  bench.transport.on_service(DdeService::kRegistered, "");
  EXPECT_TRUE(bench.dde.is_active());

  Bench without(false);
  without.transport.outcome = DdeService::kMissing;
  without.transport.why = without.transport.lacking = "Wine is not installed";
  without.dde.Use({.on = true});
  EXPECT_EQ(without.notices, Lines{"DDE is off: Wine is not installed"});
  EXPECT_EQ(without.dde.state(), "off: Wine is not installed");
}

TEST(DdeServer, AnythingFromAClientGivesTheRigWholeCommandsOnly) {
  Bench bench;
  std::mt19937 random(7);
  const Lines pieces{"MODE",  "FREQ", " ", ":", "=",    ",", "USB",       "CW R",
                     "14025", ".",    "9", "0", "\xFF", "-", "HRD_HERTZ", "\t"};
  for (int i = 0; i < 20'000; ++i) {
    std::string text;
    for (auto count = random() % 12; count > 0; --count) {
      text += random() % 4 == 0 ? std::string(1, static_cast<char>(random() % 256)) : pieces[random() % pieces.size()];
    }
    if (random() % 2 == 0) {
      bench.Execute(text);
    } else {
      bench.Poke(random() % 2 == 0 ? "HRD_HERTZ" : "HRD_MODE", text);
    }
    if (const auto told = DdeHertz(text)) {
      EXPECT_EQ(told->size(), 8u) << text;
    }
    bench.station.loop.RunFor(1ms);
  }
  std::size_t frequencies = 0;
  std::size_t modes = 0;
  for (const std::string& command : Split(bench.station.Written(), ';')) {
    const bool frequency = command.starts_with("FA");
    if (command.empty() || command == "FA") continue;  // the question for the mode's frequency
    EXPECT_TRUE(frequency ? command.size() == 13 && AllDigits(command.substr(2)) : command.starts_with("MD"))
        << command;
    ++(frequency ? frequencies : modes);
  }
  EXPECT_GT(frequencies, 100u);
  EXPECT_GT(modes, 100u);
}

TEST(GatewayLines, CutWhatArrivesHoweverItArrives) {
  platform::GatewayLines lines;
  EXPECT_EQ(lines.Take("call 1 exe"), Lines{});
  EXPECT_EQ(lines.Take("cute FREQ\r\nclients 2\nrest"), (Lines{"call 1 execute FREQ", "clients 2"}));
  EXPECT_EQ(lines.Take(std::string(5000, 'x')), Lines{});
  EXPECT_EQ(lines.Take("\n\nnext\n"), (Lines{"", "next"}));
  EXPECT_EQ(platform::GatewayText("FREQ\r\n14\0 30"s), "FREQ  14");
  EXPECT_EQ(platform::GatewayText(std::string(999, 'y')).size(), platform::kLongestGatewayText);
  EXPECT_EQ(platform::WordNumber("12"), 12);
  for (const char* word : {"", "-1", "1x", "1234567890"}) EXPECT_EQ(platform::WordNumber(word), -1) << word;
}

}  // namespace
}  // namespace kvx::links
