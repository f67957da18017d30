#include "keyer/cw_sender.h"

#include <gtest/gtest.h>

#include "fakes/fake_cw_backend.h"
#include "fakes/virtual_loop.h"
#include "keyer/cw_text.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

struct Bench {
  Bench() {
    sender.on_notice = [this](const std::string& line) { notices.push_back(line); };
    sender.on_symbol = [this](const std::string& symbol, int) { begun += symbol; };
    sender.on_silence = [this] { ++silences; };
    sender.SetSpeed(20);
    sender.Use(&keyer);
  }
  Status Type(const std::string& text) { return sender.Type(ParseCwText(text).symbols); }

  VirtualLoop loop;
  FakeCwBackend keyer{loop};
  CwSender sender{loop};
  std::vector<std::string> notices;
  std::string begun;
  int silences = 0;
};

TEST(CwSender, TypeAheadGoesOutOnceInItsOrderAndIsTold) {
  Bench bench;
  const std::string text = "CQ CQ DE K1ABC K1ABC TEST";
  for (const char c : text) {
    ASSERT_TRUE(bench.Type(std::string(1, c)).ok());
    bench.loop.RunFor(70ms);
  }
  EXPECT_EQ(bench.keyer.opens > 0, true) << "the keyer was closed";
  EXPECT_LT(bench.keyer.sent.size(), text.size()) << "few are given at a time";
  EXPECT_EQ(bench.sender.sent() + bench.sender.waiting(), text);
  const Duration left = bench.sender.left();
  bench.loop.RunFor(left - 10ms);
  EXPECT_TRUE(bench.sender.sending());
  bench.loop.RunFor(20ms);
  EXPECT_FALSE(bench.sender.sending());
  EXPECT_EQ(bench.keyer.keyed, text);
  EXPECT_EQ(bench.begun, text);
  EXPECT_EQ(bench.silences, 1);
  EXPECT_EQ(bench.sender.history().back(), text);
}

TEST(CwSender, BackspaceTakesBackWhatTheKeyerHasNotBeenGiven) {
  Bench bench;
  ASSERT_TRUE(bench.Type("PARIX").ok());
  bench.loop.RunFor(301ms);
  EXPECT_EQ(bench.keyer.sent, "PAR");
  EXPECT_TRUE(bench.sender.Backspace());
  ASSERT_TRUE(bench.Type("S").ok());
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.keyer.keyed, "PARIS");
  EXPECT_EQ(bench.sender.Backspace(), 0U);
  int changes = 0;
  ASSERT_TRUE(bench.Type("ABCDEFG").ok());
  bench.sender.on_change = [&changes] { ++changes; };
  EXPECT_EQ(bench.sender.Backspace(100), 4U);
  EXPECT_EQ(changes, 1);
}

TEST(CwSender, AbortStopsInTheMiddleOfASignAndForgetsTheRest) {
  Bench bench;
  ASSERT_TRUE(bench.Type("TEST 0000").ok());
  bench.loop.RunFor(300ms + MorseLength("T", 20) + 10ms);
  bench.sender.Abort();
  EXPECT_FALSE(bench.sender.sending());
  bench.loop.RunFor(60s);
  EXPECT_EQ(bench.keyer.keyed, "T[E]");
  EXPECT_EQ(bench.silences, 1);
  ASSERT_TRUE(bench.Type("73").ok());
  bench.loop.RunFor(60s);
  EXPECT_EQ(bench.keyer.keyed, "T[E]73");
}

TEST(CwSender, APauseHoldsBackWhatTheKeyerHasNotAndASpeedChangeCountsFromThere) {
  Bench bench;
  ASSERT_TRUE(bench.Type("ABCDEFG").ok());
  bench.loop.RunFor(301ms);
  bench.sender.Pause(true);
  bench.loop.RunFor(60s);
  EXPECT_EQ(bench.keyer.keyed, "ABC");
  EXPECT_TRUE(bench.sender.sending());
  bench.sender.SetSpeed(40);
  EXPECT_EQ(bench.keyer.speed, 40);
  bench.sender.Pause(false);
  const Duration left = bench.sender.left();
  EXPECT_EQ(left, MorseLength("D", 40) + MorseLength("E", 40) + MorseLength("F", 40) + MorseLength("G", 40));
  bench.loop.RunFor(left);
  EXPECT_EQ(bench.keyer.keyed, "ABCDEFG");
}

TEST(CwSender, APauseOutlivesWhatTheKeyerHas) {
  Bench bench;
  ASSERT_TRUE(bench.Type("E").ok());
  bench.loop.RunFor(301ms);
  bench.sender.Pause(true);
  bench.loop.RunFor(10s);
  EXPECT_TRUE(bench.sender.paused() && !bench.sender.sending());
  ASSERT_TRUE(bench.Type("T").ok());
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.keyer.keyed, "E");
  bench.sender.Abort();
  ASSERT_TRUE(bench.Type("K").ok());
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.keyer.keyed, "EK");
}

TEST(CwSender, WhoeverHearsOfASymbolMayTakeTheKeyerAway) {
  Bench bench;
  std::string heard;
  bench.sender.on_symbol = [&](const std::string& symbol, int) {
    bench.sender.Use(nullptr);
    heard += symbol;
  };
  ASSERT_TRUE(bench.Type("<SOSSOS>E").ok());
  bench.loop.RunFor(10s);
  EXPECT_EQ(heard, "SOSSOS");
}

TEST(CwSender, ALostKeyerDropsTheRestWithOneLineAndNothingIsSentTwice) {
  Bench bench;
  ASSERT_TRUE(bench.Type("CQ CQ CQ").ok());
  bench.loop.RunFor(300ms + MorseLength("C", 20) + 1ms);
  bench.keyer.Lose();
  EXPECT_EQ(bench.notices, std::vector<std::string>{"the keyer has gone; 7 characters were not sent"});
  EXPECT_FALSE(bench.sender.sending());
  bench.keyer.Open();
  bench.loop.RunFor(60s);
  EXPECT_EQ(bench.keyer.keyed, "C");
  ASSERT_TRUE(bench.Type("K").ok());
  bench.loop.RunFor(60s);
  EXPECT_EQ(bench.keyer.keyed, "CK");
  EXPECT_EQ(bench.notices.size(), 1U);
}

TEST(CwSender, AKeyerThatCannotBeOpenedIsTriedAgainWithTheNextText) {
  Bench bench;
  bench.keyer.refuses = true;
  ASSERT_TRUE(bench.Type("K").ok());
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.notices, std::vector<std::string>{"it does not answer; 1 character was not sent"});
  bench.keyer.refuses = false;
  bench.loop.RunFor(10s);
  ASSERT_TRUE(bench.Type("R").ok());
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.keyer.keyed, "R");
}

TEST(CwSender, TheQueueIsBoundedAndTakesATextWholeOrNotAtAll) {
  Bench bench;
  ASSERT_TRUE(bench.Type(std::string(CwSender::kMostWaiting, 'E')).ok());
  EXPECT_EQ(bench.Type("K").error().code, ErrorCode::kBusy);
  bench.loop.RunFor(24h);
  EXPECT_EQ(bench.keyer.keyed.size(), CwSender::kMostWaiting);
  bench.sender.Use(nullptr);
  EXPECT_EQ(bench.Type("K").error().code, ErrorCode::kClosed);
  bench.sender.Use(&bench.keyer);
  ASSERT_TRUE(bench.sender.Type({"A", "#", "B"}).ok());
  bench.loop.RunFor(1min);
  EXPECT_EQ(bench.keyer.sent.substr(bench.keyer.sent.size() - 3), "A#B");
  EXPECT_EQ(bench.begun.substr(bench.begun.size() - 2), "AB") << "a sign that the keyer lacks is left out";
  EXPECT_FALSE(bench.sender.sending());
}

}  // namespace
}  // namespace kvx::keyer
