#include "keyer/rig_keyer.h"

#include <gtest/gtest.h>

#include "cat/cat_fixture.h"
#include "fakes/fake_release_guard.h"
#include "keyer/cw_sender.h"
#include "keyer/cw_text.h"
#include "keyer/morse.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

struct Bench {
  explicit Bench(const std::string& rig) {
    engine.UseRig(config::LoadDefinition(cat::ShippedRigs().at(rig)));
    console.RigName.Set(rig);
    console.Polling.Set(false);
    engine.link.OpenRigPort({.number = 3, .speed = 38400}, true);
    loop.RunFor(100ms);
    sender.on_notice = [this](const std::string& line) { notices.push_back(line); };
    sender.SetSpeed(20);
    sender.Use(&keyer);
    keyer.Open();
    loop.RunFor(1s);
    port.written.clear();
    port.writes.clear();
  }
  void Send(const std::string& text) { ASSERT_TRUE(sender.Type(ParseCwText(text).symbols).ok()); }

  VirtualLoop loop;
  Console console;
  FakeSerialPort port;
  cat::Engine engine{loop, console, port};
  FakeReleaseGuard guard;
  RigKeyer keyer{loop, console, engine, &guard};
  CwSender sender{loop};
  std::vector<std::string> notices;
};

/// A rig with a buffer of 24 characters that plays what it is given at 20 words a minute.
class KenwoodBuffer {
 public:
  explicit KenwoodBuffer(VirtualLoop& loop) : loop_(loop) {}
  void Take(std::string_view command) {
    ASSERT_EQ(command.size(), 28U) << command;
    ASSERT_TRUE(command.starts_with("KY ") && command.ends_with(";")) << command;
    std::string text(command.substr(3, 24));
    text.erase(text.find_last_not_of(' ') + 1);
    if (!heard.empty() && loop_.Now() > until_) ++gaps;
    for (const char c : text) until_ = std::max(until_, loop_.Now()) + MorseLength(std::string(1, c), 20);
    heard += text;
    most = std::max(most, until_ - loop_.Now());
  }
  std::string heard;
  Duration most{0};
  int gaps = 0;

 private:
  VirtualLoop& loop_;
  TimePoint until_{};
};

TEST(RigKeyer, AKenwoodHearsALongTextWithoutAGapAndIsNeverFarAhead) {
  Bench bench("TS-2000");
  KenwoodBuffer rig(bench.loop);
  bench.port.on_write = [&](std::string_view bytes) { rig.Take(bytes); };
  std::string text;
  for (int i = 0; i < 40; ++i) text += "CQ TEST DE K1ABC ";
  bench.Send(text + "K");
  bench.loop.RunFor(20min);
  EXPECT_EQ(rig.heard, text + "K");
  EXPECT_EQ(rig.gaps, 0);
  EXPECT_LT(rig.most, 1600ms) << "nothing stops it: a zero takes 1.3 s";
  EXPECT_FALSE(bench.sender.sending());
}

TEST(RigKeyer, EachMakersCommandCarriesTheText) {
  struct Row {
    std::string rig;
    std::string text;
    std::string bytes;
  };
  for (const Row& row : {
           // A blank at the end would be padding: it begins the next command.
           Row{"TS-2000", "TU <SK>",
               "KY T                       ;KY U                       ;KY  >                      ;"s},
           Row{"TS-590SG", "A;B", "KY AB                      ;"s},  // no text ends a command
           Row{"IC-7300", "E<SK>",
               "\xFE\xFE\x94\xE0\x17"
               "E\xFD"
               "\xFE\xFE\x94\xE0\x17^SK\xFD"s},
           Row{"Orion", "5 K", "/5\r/ \r/K\r"s},
       }) {
    Bench bench(row.rig);
    bench.Send(row.text);
    bench.loop.RunFor(20s);
    EXPECT_EQ(bench.port.written, row.bytes) << row.rig;
    EXPECT_FALSE(bench.sender.sending());
  }
}

TEST(RigKeyer, TheSpeedReachesTheRigInItsOwnUnits) {
  for (const auto& [rig, wpm, bytes] : {std::tuple{"TS-2000", 30, "KS030;"s}, std::tuple{"TS-2000", 99, "KS060;"s},
                                        std::tuple{"IC-7300", 27, "\xFE\xFE\x94\xE0\x14\x0C\x01\x28\xFD"s}}) {
    Bench bench(rig);
    bench.sender.SetSpeed(wpm);
    bench.loop.RunFor(1s);
    EXPECT_EQ(bench.port.written, bytes) << rig;
  }
}

TEST(RigKeyer, AbortStopsTheRigAndForgetsTheRest) {
  Bench bench("IC-7300");
  bench.Send("CQ CQ CQ");
  bench.loop.RunFor(500ms);
  bench.port.written.clear();
  EXPECT_EQ(SpacedHex(bench.guard.armed), "FE FE 94 E0 17 FF FD") << "should the console die";
  bench.sender.Abort();
  EXPECT_EQ(SpacedHex(bench.port.written), "FE FE 94 E0 17 FF FD");
  EXPECT_EQ(bench.guard.armed, "");
  bench.loop.RunFor(60s);
  EXPECT_EQ(bench.port.written.size(), 7U);
  bench.sender.Abort();
  EXPECT_EQ(bench.port.written.size(), 7U) << "nothing is being sent";
}

TEST(RigKeyer, ARigThatNothingStopsHasOneSignAndGetsItsRelease) {
  for (const bool keyed_by_cat : {false, true}) {
    Bench bench("TS-2000");
    bench.sender.SetSpeed(5);
    bench.Send("PARIS");
    bench.loop.RunFor(2s);
    EXPECT_EQ(bench.port.written, "KS010;KY P                       ;");
    EXPECT_EQ(bench.guard.armed, ";RX;");
    bench.console.Transmitting.Set(keyed_by_cat);
    bench.port.written.clear();
    bench.sender.Abort();
    EXPECT_EQ(bench.port.written, keyed_by_cat ? "" : "RX;") << "who has keyed it releases it";
    bench.loop.RunFor(60s);
    EXPECT_EQ(bench.guard.armed, "");
  }
}

TEST(RigKeyer, ARigThatStillSendsIsStoppedWhenItsPortIsBack) {
  for (const bool escape : {false, true}) {
    Bench bench("IC-7300");
    bench.sender.SetSpeed(5);
    bench.Send("0000000000");
    bench.loop.RunFor(200ms);
    bench.port.Lose();
    bench.notices.clear();
    if (escape) bench.sender.Abort();
    bench.port.written.clear();
    bench.loop.RunFor(600ms);
    ASSERT_TRUE(bench.engine.link.is_open());
    EXPECT_NE(SpacedHex(bench.port.written).find("FE FE 94 E0 17 FF FD"), std::string::npos) << escape;
    EXPECT_EQ(bench.guard.armed, "");
    EXPECT_EQ(bench.notices.size(), escape ? 1U : 0U);
  }
}

TEST(RigKeyer, ABusyLineDropsTheTextAndTheKeyerStaysReady) {
  Bench bench("TS-2000");
  bool gone = false;
  bench.sender.on_gone = [&gone](bool) { gone = true; };
  bench.engine.link.WriteRigPort(std::string(8000, ';'));
  bench.Send("CQ");
  bench.loop.RunFor(1s);
  EXPECT_EQ(bench.notices, std::vector<std::string>{"The rig line is busy; 2 characters were not sent"});
  EXPECT_TRUE(bench.keyer.ready() && !gone);
}

TEST(RigKeyer, ALostPortDropsTheTextOnceAndTheKeyerReturnsWithIt) {
  Bench bench("TS-2000");
  bench.Send("CQ CQ CQ");
  bench.loop.RunFor(500ms);
  bench.port.written.clear();
  bench.port.Lose();
  bench.loop.RunFor(60s);
  EXPECT_EQ(bench.notices.size(), 1U);
  EXPECT_NE(bench.notices.front().find("not sent"), std::string::npos) << bench.notices.front();
  EXPECT_EQ(bench.port.written.find("KY"), std::string::npos);
  EXPECT_TRUE(bench.keyer.ready());
  bench.Send("K");
  bench.loop.RunFor(1s);
  EXPECT_NE(bench.port.written.find("KY K "), std::string::npos) << bench.port.written;
}

TEST(RigKeyer, ARigWithoutTheCommandIsNamed) {
  Bench bench("FT-857");
  EXPECT_EQ(bench.notices, std::vector<std::string>{"FT-857 has no command for CW text"});
  EXPECT_FALSE(bench.keyer.ready());
  EXPECT_FALSE(bench.keyer.Key(true));
}

TEST(RigKeyer, TemplatesSayHowMuchTextTheyTake) {
  EXPECT_TRUE(CwTemplate::Parse("KY <CW24>;")->padded);
  EXPECT_EQ(CwTemplate::Parse("FEFE<ADDR>E017<CW-30>FD")->width, 30U);
  EXPECT_EQ(CwTemplate::Parse("KS<CWSPEED3>;<CW-9>")->before, "KS<CWSPEED3>;");
  for (const char* text : {"", "KY ;", "<CW>", "<CW-0>", "<CW999>", "<CW", "<CW24"})
    EXPECT_FALSE(CwTemplate::Parse(text)) << text;
}

}  // namespace
}  // namespace kvx::keyer
