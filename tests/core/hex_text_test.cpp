#include "core/hex_text.h"

#include <gtest/gtest.h>

namespace kvx {
namespace {

std::string AllBytes() {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
  return bytes;
}

TEST(HexText, EveryByteSurvivesTheWayThereAndBack) {
  const HexText text = HexText::FromBytes(AllBytes());
  EXPECT_EQ(text.digits.substr(0, 8) + text.digits.substr(508), "00010203FEFF");
  EXPECT_EQ(BytesFromHex(text.digits), AllBytes());
  EXPECT_EQ(SpacedHex("\xFE\xFE\x94"), "FE FE 94");
  EXPECT_EQ(SpacedHex(""), "");
}

TEST(HexText, WhatIsNoHexadecimalIsRefused) {
  EXPECT_EQ(BytesFromHex("fE0a"), "\xFE\x0A");
  EXPECT_EQ(BytesFromHex(""), "");
  for (const char* bad : {"F", "FFF", "G0", "0G", " 0", "0x", "F F "}) EXPECT_FALSE(BytesFromHex(bad)) << bad;
  EXPECT_EQ(HexByte("7"), 7);
  EXPECT_EQ(HexByte("ff"), 255);
  for (const char* bad : {"", "100", "-1", "+1", "g"}) EXPECT_FALSE(HexByte(bad)) << bad;
}

}  // namespace
}  // namespace kvx
