#include "config/rig_setups.h"

#include <gtest/gtest.h>

namespace kvx::config {
namespace {

const std::string kHead = "RigName,Speed,StopBits,DTR,RTS,Address,Digits,Ranges,Replies\n";

TEST(RigSetups, ReadsATable) {
  const auto setups = ParseRigSetups("# from the manuals\n" + kHead +
                                     "TS-440S,4800,2,on,OFF,,11,0.03-30 144.0005-146,frequency mode\r\n"
                                     "\"IC-7300\",19200,1,off,off,94,10,0.03-74.8,\n");
  ASSERT_TRUE(setups.ok()) << setups.error().message;
  ASSERT_EQ(setups->size(), 2U);
  const RigSetup* kenwood = FindRigSetup(*setups, "ts-440s");
  ASSERT_NE(kenwood, nullptr);
  EXPECT_EQ(kenwood->speed, 4800);
  EXPECT_EQ(kenwood->stop_bits, 2);
  EXPECT_TRUE(kenwood->dtr && !kenwood->rts);
  EXPECT_EQ(kenwood->ranges,
            (std::vector<FrequencyRange>{{Frequency::FromHz(30'000), Frequency::FromKhz(30'000)},
                                         {Frequency::FromHz(144'000'500), Frequency::FromKhz(146'000)}}));
  EXPECT_TRUE(kenwood->Receives(Frequency::FromKhz(30'000)) && !kenwood->Receives(Frequency::FromKhz(144'000)));
  EXPECT_EQ(kenwood->replies, (std::vector<std::string>{"frequency", "mode"}));
  EXPECT_EQ((*setups)[1].address + "|" + std::to_string((*setups)[1].digits), "94|10");
  EXPECT_EQ(FindRigSetup(*setups, "IC-73"), nullptr);
}

TEST(RigSetups, AFaultIsNamedWithItsLineAndNothingIsTaken) {
  const struct {
    std::string csv;
    const char* message;
  } cases[] = {
      {"A,1,1,on,on,,1,,", "line 1: the column RigName is not where it belongs"},
      {"RigName,Speed", "line 1: the column StopBits is not where it belongs"},
      {kHead + "A,1,1", "line 2: a line has 9 cells"},
      {kHead + ",1,1,on,on,,1,,", "line 2: the rig has no name"},
      {kHead + "A,9600 Bd,1,on,on,,1,,", "line 2: the speed \"9600 Bd\" is not 0 to 4000000"},
      {kHead + "A,1,3,on,on,,1,,", "line 2: the number of stop bits \"3\" is not 1 to 2"},
      {kHead + "A,1,1,on,yes,,1,,", "line 2: \"yes\" is neither on nor off"},
      {kHead + "A,1,1,on,on,5G,1,,", "line 2: the address \"5G\" is not two hexadecimal digits"},
      {kHead + "A,1,1,on,on,,13,,", "line 2: the number of digits \"13\" is not 0 to 12"},
      {kHead + "A,1,1,on,on,,1,1.8-2-3,", "line 2: the range \"1.8-2-3\" is not two frequencies in MHz, low-high"},
      {kHead + "A,1,1,on,on,,1,7-1.8,", "line 2: the range \"7-1.8\" is not two frequencies in MHz, low-high"},
      {kHead + "A,1,1,on,on,,1,1-7 6-8,", "line 2: the range 6-8 is not above the last"},
      {kHead + "A,1,1,on,on,,1,,swr", "line 2: there is no reply \"swr\""},
      {kHead + "A,1,1,on,on,,1,,\na,1,1,on,on,,1,,", "line 3: the rig a is there already"},
  };
  for (const auto& c : cases) {
    const auto setups = ParseRigSetups(c.csv);
    ASSERT_FALSE(setups.ok()) << c.csv;
    EXPECT_EQ(setups.error().message, c.message);
  }
}

}  // namespace
}  // namespace kvx::config
