#include <gtest/gtest.h>

#include "bench.h"

namespace kvx::sim {
namespace {

/// The answer's body to an order's body, in spaced pairs; "FB" is done, "FA" refused.
struct IcomBench : Bench {
  IcomBench() : Bench("ic7300") {}
  std::string Order(std::string_view body) {
    const std::string answer = AskHex("FE FE 94 E0 " + std::string(body) + " FD");
    const std::string head = "FE FE E0 94 ";
    if (!answer.starts_with(head) || !answer.ends_with(" FD")) return "no frame: " + answer;
    return answer.substr(head.size(), answer.size() - head.size() - 3);
  }
};
const auto kOrder = static_cast<Bench::Way>(&IcomBench::Order);

TEST(IcomRig, AnswersAsTheCommandTableSays) {
  IcomBench bench;
  bench.rig->Operate("smeter 15");
  bench.Play(R"(
      05 00 50 02 14 00 > FB | 03 > 03 00 50 02 14 00 | 06 01 02 > FB | 04 > 04 01 02 | 06 03 > FB | 04 > 04 03 01
      07 01 > FB | 03 > 03 00 00 03 14 00 | 25 01 > 25 01 00 50 02 14 00 | 25 00 45 23 07 07 00 > FB
      03 > 03 45 23 07 07 00 | 26 00 > 26 00 03 00 01 | 26 00 01 01 02 > FB | 1A 06 > 1A 06 01 02
      1A 06 00 00 > FB | 07 00 > FB | 0F 01 > FB | 0F > 0F 01 | 0F 00 > FB | 14 01 01 28 > FB | 14 01 > 14 01 01 28
      14 0A > 14 0A 02 55 | 14 0D 00 00 > FB | 15 02 > 15 02 01 20 | 15 01 > 15 01 01 | 15 11 > 15 11 00 00
      11 20 > FB | 11 > 11 20 | 16 02 01 > FB | 16 02 > 16 02 01 | 16 12 03 > FB | 16 22 01 > FB | 1A 03 10 > FB
      1A 03 > 1A 03 10 | 21 00 50 01 01 > FB | 21 00 > 21 00 50 01 01 | 21 01 01 > FB | 1C 00 > 1C 00 00
      1C 00 01 > FB | 15 11 > 15 11 02 13 | 15 02 > 15 02 00 00 | 1C 00 00 > FB | 19 00 > 19 00 94
      02 > 02 00 00 03 00 00 2D 00 00 80 74 00)",
             kOrder);
  EXPECT_EQ(bench.State("a"), "14025000");
  EXPECT_EQ(bench.State("offset"), "-150");
  EXPECT_EQ(bench.State("refused"), "0");
}

TEST(IcomRig, RefusesWhatTheRigWouldRefuse) {
  // Four bytes of frequency, no packed decimal, 75 MHz, 29.999 kHz; WFM, a fourth filter; AGC cannot be switched off.
  IcomBench().ExpectRefused(
      {"05 00 50 02 14", "05 00 5A 02 14 00", "05 00 00 00 75 00", "05 99 99 02 00 00", "06 06", "06 03 04",
       "06 03 01 01", "14 01 02 56", "14 01 12", "16 12 00", "1C 00 02", "1A 05 99 99", "15 02 00", "11 10", "77"},
      "FA", kOrder);
}

TEST(IcomRig, FindsFramesAmongNoiseAndAnswersTheRightController) {
  IcomBench bench;
  EXPECT_EQ(bench.AskHex("00 FD 94 E0 03 FD FE 03 FE FE 94 E1 03 FD"), "FE FE E1 94 03 00 50 02 14 00 FD");
  // A frame cut off by the next one, a jammed one, one for another rig, one from nobody else but itself.
  EXPECT_EQ(bench.AskHex("FE FE 94 E0 05 00 FE FE 94 E0 04 FD"), "FE FE E0 94 04 03 01 FD");
  EXPECT_EQ(bench.AskHex("FE FE 94 E0 03 FC FD FE FE 58 E0 03 FD FE FE 94 94 03 FD"), "");
  EXPECT_EQ(bench.Ask(std::string(5000, '\x55') + std::string("\xFE\xFE\x94\xE0", 4) + std::string(5000, '\x03')), "");
  EXPECT_EQ(bench.AskHex("FD FE FE FE 94 E0 04 FD"), "FE FE E0 94 04 03 01 FD");
  EXPECT_EQ(bench.State("refused"), "0");
}

TEST(IcomRig, EchoesTheBusAndReportsItsKnobToAll) {
  IcomBench bench;
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
