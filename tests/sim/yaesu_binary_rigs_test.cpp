#include <gtest/gtest.h>

#include "bench.h"

namespace kvx::sim {
namespace {

using namespace std::chrono_literals;

TEST(YaesuFiveByteRig, AnswersAsTheManualSays) {
  Bench bench("ft857");
  bench.rig->Operate("smeter 15");
  // First 439.70 MHz, the manual's example; 12.34 kHz (F5) is beyond its clarifier.
  bench.Play(R"(
      43 97 00 00 01 > 00 | 00 00 00 00 03 > 43 97 00 00 02 | 01 40 25 37 01 > 00 | 01 00 00 00 07 > 00
      00 00 00 00 03 > 01 40 25 37 01 | 88 00 00 00 07 > 00 | 00 00 00 00 03 > 01 40 25 37 88 | 0A 00 00 00 07 > 00
      00 00 00 00 E7 > 09 | 00 00 00 00 F7 > FF | 00 00 00 00 08 > 00 | 00 00 00 00 08 > F0 | 00 00 00 00 F7 > 0A
      00 00 00 00 88 > 00 | 00 00 00 00 88 > F0 | 00 00 00 00 00 > 00 | 00 00 00 00 00 > F0 | 00 00 00 00 80 > 00
      00 00 00 00 05 > 00 | 00 00 12 34 F5 > | 01 00 01 20 F5 > 00 | 00 00 00 00 81 > 00
      00 00 00 00 03 > 01 40 30 00 02 | 00 68 00 00 BB > 01 00)",
             &Bench::AskHex);
  EXPECT_EQ(bench.State("offset"), "-1200");
  EXPECT_EQ(bench.State("refused"), "1");
}

TEST(YaesuFiveByteRig, IgnoresAndCountsWhatItCannotDo) {
  Bench bench("ft857");
  // No such opcode, no packed decimal, below 100 kHz, 60 MHz lies in a gap, no such mode, narrow CW by CAT.
  bench.ExpectRefused(
      {"00 00 00 00 42", "01 4A 25 00 01", "00 00 99 99 01", "06 00 00 00 01", "05 00 00 00 07", "82 00 00 00 07"}, "",
      &Bench::AskHex);
  bench.Play("00 00 00 00 08 > 00 | 00 70 00 00 01 > | 00 00 00 00 88 > 00", &Bench::AskHex);
  EXPECT_EQ(bench.State("a"), "14025000") << "tuned while it transmits";
  EXPECT_EQ(bench.complaints.front(), "refused: 00 00 00 00 42");
}

TEST(YaesuFiveByteRig, ForgetsABeginningAfterAPause) {
  Bench bench("ft857");
  for (const std::string piece : {"01", "40", "25", "00"}) {
    EXPECT_EQ(bench.AskHex(piece), "");
    bench.loop.RunFor(199ms);
  }
  EXPECT_EQ(bench.AskHex("01"), "00");
  bench.AskHex("00 70 00");
  bench.loop.RunFor(201ms);
  EXPECT_EQ(bench.AskHex("00 00 00 00 03"), "01 40 25 00 02");
  EXPECT_EQ(bench.complaints, std::vector<std::string>{"refused: 00 70 00"});
}

TEST(YaesuStatusRig, TakesCommandsAndAnswersUpdates) {
  Bench bench("ft1000d");
  bench.rig->Operate("smeter 30");
  // 14.250 MHz, as the Yaesu books have it; then the transmit clarifier 3.5 kHz up.
  bench.Play(R"(
      00 50 42 01 0A > | 00 00 00 01 0C > | 00 00 00 02 10 > 11 15 BE 68 00 00 00 01 00 00 00 00 00 00 00 00
      50 03 00 81 09 > | 00 00 00 02 10 > 11 15 BE 68 01 01 5E 01 00 00 00 00 00 00 00 00
      00 00 00 FF 09 > | 20 00 FF 01 09 > | 00 00 00 02 10 > 11 15 BE 68 03 FF EC 01 00 00 00 00 00 00 00 00
      00 00 00 00 F7 > F0 F0 F0 F0 F7 | 00 00 00 01 10 > 00 | 00 00 00 00 FA > 08 20 00 10 00
      00 00 00 01 0F > | 00 00 00 00 FA > 88 20 01 10 00 | 00 00 00 00 0F >)",
             &Bench::AskHex);
  EXPECT_EQ(bench.State("a"), "14250000");
  EXPECT_EQ(bench.State("mode"), "USB");
  EXPECT_EQ(bench.State("tx"), "off");
  EXPECT_EQ(bench.State("refused"), "0");
}

TEST(YaesuStatusRig, DescribesBothVfosAndEverything) {
  Bench bench("ft1000d");
  bench.AskHex("00 00 70 00 8A");  // VFO B to 7 MHz
  bench.AskHex("00 00 00 89 0C");  // and to RTTY on the upper side
  const std::string vfos = bench.AskHex("00 00 00 03 10");
  EXPECT_EQ(vfos.substr(0, 11), "11 15 66 84");
  EXPECT_EQ(vfos.substr(48, 26), "0B 0A AE 60 00 00 00 05 80");
  bench.AskHex("00 00 00 01 05");
  bench.AskHex("12 80 01 00 0A");  // VFO B in use now: 180.12 kHz
  EXPECT_EQ(bench.State("b"), "180120");
  bench.rig->Receive(std::string("\x00\x00\x00\x00\x10", 5));
  EXPECT_EQ(bench.Sent().size(), 1636u);
}

TEST(YaesuStatusRig, IgnoresAndCountsWhatItCannotDo) {
  // Split is off or on; 10 Hz above 30 MHz is above its end.
  Bench("ft1000d").ExpectRefused(
      {"00 00 00 02 01", "00 00 00 00 0A", "00 0A 42 01 0A", "01 00 00 03 0A", "00 00 00 0D 0C", "00 00 00 02 05",
       "00 00 00 05 10", "00 00 00 02 0F", "00 00 00 00 42"},
      "", &Bench::AskHex);
}

/// "~320" stands for so many bytes 00.
std::string WithZeros(std::string script) {
  for (std::size_t at = script.find('~'); at != std::string::npos; at = script.find('~')) {
    const auto count = static_cast<std::size_t>(LeadingNumber(std::string_view(script).substr(at + 1)));
    const std::size_t end = script.find_first_not_of("0123456789", at + 1);
    std::string zeros;
    for (std::size_t i = 0; i < count; ++i) zeros += i == 0 ? "00" : " 00";
    script.replace(at, std::min(end, script.size()) - at, zeros);
  }
  return script;
}

// Tuned to 14.25 MHz, another mode, and asked for all that it tells; VFO B is on 14.03 MHz, CW.
TEST(YaesuStatusRig, TellsItsStateAsItsManualSays) {
  struct Row {
    std::string rig, script;
  };
  for (const Row& row : {
           Row{"ft890",
               "00 50 42 01 0A > | 00 00 00 03 0C > | 00 00 00 02 10 > 00 11 15 BE 68 00 00 02 00 80 11 15 68 78 00 00 "
               "02 00 00 | 00 00 00 03 10 > 11 15 BE 68 00 00 02 00 80 11 15 68 78 00 00 02 00 00 | 00 00 00 00 F7 > "
               "9D 9D 9D 9D F7 | 00 00 00 01 01 > | 00 00 00 00 FA > 84 00 00 08 41"},
           Row{"ft920",
               "00 50 42 01 0A > | 00 00 00 01 0C > | 00 00 00 02 10 > 11 00 D9 70 10 00 00 40 00 00 00 00 00 00 11 00 "
               "D6 14 B0 00 00 41 00 00 00 00 00 00 | 00 00 00 07 0C > | 00 00 00 03 10 > 11 00 D9 70 10 00 00 83 00 "
               "00 00 00 00 00 11 00 D6 14 B0 00 00 41 00 00 00 00 00 00 | 00 00 00 00 F7 > F0 00 8A 10 F7 | 00 00 00 "
               "01 0F > | 00 00 00 01 FA > 80 20 00 00 00 00 00 00"},
           Row{"ft990",
               "00 50 42 01 0A > | 00 00 00 08 0C > | 00 00 00 02 10 > 11 15 BE 68 00 00 00 05 00 00 00 00 00 00 00 00 "
               "11 15 68 78 00 00 00 02 00 00 00 00 00 00 00 00 | 00 00 00 00 F7 > F0 F0 F0 F0 F7"},
           Row{"ft1000mp",
               "00 50 42 01 0A > | 00 00 00 09 0C > | 00 00 00 02 10 > 11 01 5B E6 80 00 00 05 80 11 00 00 00 00 00 00 "
               "| 00 00 00 03 10 > 11 01 5B E6 80 00 00 05 80 11 00 00 00 00 00 00 11 01 56 87 80 00 00 02 00 11 00 00 "
               "00 00 00 00 | 00 00 00 00 F7 > FF FF FF FF F7"},
           Row{"ft100",
               "00 50 42 01 0A > | 00 00 00 06 0C > | 00 00 00 00 10 > 11 00 AD F3 40 16 ~26 | 00 00 00 00 F7 > 00 00 "
               "00 5A 40 00 00 20 00 | 00 00 00 01 05 > | 00 00 00 01 FA > 00 04 00 00 00 00 00 00"},
           Row{"ft757gx2",
               "00 50 42 01 0A > | 00 00 00 05 0C > | 00 00 00 01 10 > 0F | 00 00 00 00 10 > 00 00 00 00 00 00 50 42 "
               "01 05 00 50 42 01 05 00 30 40 01 02 ~55"},
           Row{"ft747",
               "00 50 42 01 0A > | 00 00 00 03 0C > | 00 00 00 01 01 > | 00 00 00 00 10 > 02 14 25 00 00 48 00 00 00 "
               "14 25 00 00 00 00 00 00 14 03 00 00 00 00 00 84 ~320 | 00 00 00 00 07 > | 00 00 00 01 0F > | 00 00 00 "
               "00 10 >"},
       }) {
    SCOPED_TRACE(row.rig);
    Bench bench(row.rig);
    bench.rig->Operate("smeter 30");
    bench.Play(WithZeros(row.script), &Bench::AskHex);
    EXPECT_EQ(bench.State("refused"), "0");
  }
}

// External control on, main band, S-meter, modes; and nothing without it.
TEST(YaesuFiveByteRig, ListensAfterExternalControlOn) {
  Bench ft847("ft847");
  ft847.rig->Operate("smeter 30");
  ft847.Play(R"(
      00 00 00 00 03 > | 00 00 00 00 00 > | 43 21 00 00 01 > | 88 00 00 00 07 > | 00 00 00 00 03 > 43 21 00 00 88
      00 00 00 00 E7 > 1F | 00 00 00 00 08 > | 00 00 00 00 88 > | 00 00 00 00 80 > | 01 40 25 00 01 >)",
             &Bench::AskHex);
  EXPECT_EQ(ft847.State("a"), "432100000");
  EXPECT_EQ(ft847.State("refused"), "2");
  Bench ft736("ft736");
  ft736.rig->Operate("smeter 15");
  ft736.Play("00 00 00 00 00 > | 14 59 00 00 01 > | 00 00 00 00 F7 > 54 54 54 54 F7 | 01 40 25 00 01 >",
             &Bench::AskHex);
  EXPECT_EQ(ft736.State("a"), "145900000");
  EXPECT_EQ(ft736.State("refused"), "1");
}

TEST(YaesuStatusRig, PacesItsBytesOnDemand) {
  Bench bench("ft1000d");
  bench.AskHex("00 00 00 0A 0E");
  bench.AskHex("00 00 00 00 F7");
  bench.loop.RunFor(35ms);
  EXPECT_EQ(bench.Sent().size(), 4u);
  bench.loop.RunFor(5ms);
  EXPECT_EQ(bench.Sent(), "\xF7");
}

}  // namespace
}  // namespace kvx::sim
