#include <gtest/gtest.h>

#include "bench.h"

namespace kvx::sim {
namespace {

struct Exchange {
  std::string body;
  std::string answer;
};

const std::string kDone = "FB";
const std::string kRefused = "FA";

/// The answer's body to an order's body, in spaced pairs.
std::string Order(Bench& bench, const std::string& body) {
  const std::string answer = bench.AskHex("FE FE 94 E0 " + body + " FD");
  const std::string head = "FE FE E0 94 ";
  if (!answer.starts_with(head) || !answer.ends_with(" FD")) return "no frame: " + answer;
  return answer.substr(head.size(), answer.size() - head.size() - 3);
}

TEST(IcomRig, AnswersAsTheCommandTableSays) {
  Bench bench("ic7300");
  bench.rig->Operate("smeter 15");
  const std::vector<Exchange> exchanges{
      {"05 00 50 02 14 00", kDone},
      {"03", "03 00 50 02 14 00"},
      {"06 01 02", kDone},
      {"04", "04 01 02"},
      {"06 03", kDone},
      {"04", "04 03 01"},
      {"07 01", kDone},
      {"03", "03 00 00 03 14 00"},
      {"25 01", "25 01 00 50 02 14 00"},
      {"25 00 45 23 07 07 00", kDone},
      {"03", "03 45 23 07 07 00"},
      {"26 00", "26 00 03 00 01"},
      {"26 00 01 01 02", kDone},
      {"1A 06", "1A 06 01 02"},
      {"1A 06 00 00", kDone},
      {"07 00", kDone},
      {"0F 01", kDone},
      {"0F", "0F 01"},
      {"0F 00", kDone},
      {"14 01 01 28", kDone},
      {"14 01", "14 01 01 28"},
      {"14 0A", "14 0A 02 55"},
      {"14 0D 00 00", kDone},
      {"15 02", "15 02 01 20"},
      {"15 01", "15 01 01"},
      {"15 11", "15 11 00 00"},
      {"11 20", kDone},
      {"11", "11 20"},
      {"16 02 01", kDone},
      {"16 02", "16 02 01"},
      {"16 12 03", kDone},
      {"16 22 01", kDone},
      {"1A 03 10", kDone},
      {"1A 03", "1A 03 10"},
      {"21 00 50 01 01", kDone},
      {"21 00", "21 00 50 01 01"},
      {"21 01 01", kDone},
      {"1C 00", "1C 00 00"},
      {"1C 00 01", kDone},
      {"15 11", "15 11 02 13"},
      {"15 02", "15 02 00 00"},
      {"1C 00 00", kDone},
      {"19 00", "19 00 94"},
      {"02", "02 00 00 03 00 00 2D 00 00 80 74 00"},
  };
  for (const Exchange& exchange : exchanges) EXPECT_EQ(Order(bench, exchange.body), exchange.answer) << exchange.body;
  EXPECT_EQ(bench.State("a"), "14025000");
  EXPECT_EQ(bench.State("offset"), "-150");
  EXPECT_EQ(bench.State("refused"), "0");
}

TEST(IcomRig, RefusesWhatTheRigWouldRefuse) {
  Bench bench("ic7300");
  const std::vector<std::string> bad{
      "05 00 50 02 14",     // four bytes of frequency
      "05 00 5A 02 14 00",  // no packed decimal
      "05 00 00 00 75 00",  // 75 MHz
      "05 99 99 02 00 00",  // 29.999 kHz
      "06 06",              // WFM
      "06 03 04",           // fourth filter
      "06 03 01 01",
      "14 01 02 56",
      "14 01 12",
      "16 12 00",  // AGC cannot be switched off here
      "1C 00 02",
      "1A 05 99 99",
      "15 02 00",
      "11 10",
      "77",
  };
  for (const std::string& body : bad) EXPECT_EQ(Order(bench, body), kRefused) << body;
  EXPECT_EQ(bench.State("refused"), std::to_string(bad.size()));
  EXPECT_EQ(bench.State("a"), "14025000");
  EXPECT_EQ(bench.State("tx"), "off");
}

TEST(IcomRig, FindsFramesAmongNoiseAndAnswersTheRightController) {
  Bench bench("ic7300");
  EXPECT_EQ(bench.AskHex("00 FD 94 E0 03 FD FE 03 FE FE 94 E1 03 FD"), "FE FE E1 94 03 00 50 02 14 00 FD");
  // A frame cut off by the next one, a jammed one, one for another rig, one from nobody else but itself.
  EXPECT_EQ(bench.AskHex("FE FE 94 E0 05 00 FE FE 94 E0 04 FD"), "FE FE E0 94 04 03 01 FD");
  EXPECT_EQ(bench.AskHex("FE FE 94 E0 03 FC FD FE FE 58 E0 03 FD FE FE 94 94 03 FD"), "");
  EXPECT_EQ(bench.Ask(std::string(5000, '\x55') + std::string("\xFE\xFE\x94\xE0", 4) + std::string(5000, '\x03')), "");
  EXPECT_EQ(bench.AskHex("FD FE FE FE 94 E0 04 FD"), "FE FE E0 94 04 03 01 FD");
  EXPECT_EQ(bench.State("refused"), "0");
}

TEST(IcomRig, EchoesTheBusAndReportsItsKnobToAll) {
  Bench bench("ic7300");
  bench.rig->Operate("echo on");
  EXPECT_EQ(bench.AskHex("FE FE 94 E0 04 FD"), "FE FE 94 E0 04 FD FE FE E0 94 04 03 01 FD");
  bench.rig->Operate("echo off");
  bench.rig->Operate("knob 7012.34");
  bench.rig->Operate("mode USB");
  EXPECT_EQ(SpacedHex(bench.Sent()), "FE FE 00 94 00 40 23 01 07 00 FD FE FE 00 94 01 01 01 FD");
  bench.rig->Operate("transceive off");
  bench.rig->Operate("knob 7013");
  EXPECT_EQ(bench.Sent(), "");
  // Another rig's report is followed without a word.
  EXPECT_EQ(bench.AskHex("FE FE 00 58 00 00 00 21 14 00 FD"), "");
  EXPECT_EQ(bench.State("a"), "14210000");
}

}  // namespace
}  // namespace kvx::sim
