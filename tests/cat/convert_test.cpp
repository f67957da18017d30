#include "cat/convert.h"

#include <gtest/gtest.h>

namespace kvx::cat {
namespace {

using namespace std::string_literals;

TEST(Convert, HexTextBecomesBytesLeastSignificantFirst) {
  struct Row {
    std::string text, bytes, faulty;
  };
  for (const Row& row :
       {Row{"12345678", "\x78\x56\x34\x12", ""}, Row{"5", "\x05", ""}, Row{"0A", "\x0A", ""}, Row{"123", "\x23", ""},
        Row{" 1 2 34 ", "\x34\x12", ""}, Row{"00ff", "\xFF\x00"s, ""}, Row{"", "", ""}, Row{"  ", "", ""},
        Row{"xy", "", "xy"}, Row{"12G434", "\x34\x12", "G4"}, Row{"-1", "", "-1"}, Row{"+112", "\x12", "+1"}}) {
    std::string faulty;
    const auto on_error = [&](std::string_view text) { faulty += text; };
    EXPECT_EQ(Converthex1(row.text, on_error), row.bytes) << row.text;
    EXPECT_EQ(faulty, row.faulty) << row.text;
    EXPECT_EQ(ConvertHex(row.text, "YAESU"), row.bytes) << row.text;
    EXPECT_EQ(ConvertHex(row.text, "Kenwood"), row.text);
  }
}

TEST(Convert, HexTextBecomesANumber) {
  struct Row {
    std::string text;
    std::int64_t value;
  };
  for (const Row& row :
       {Row{"FF", 255}, Row{"ff", 255}, Row{"&hFF", 255}, Row{"0", 0}, Row{"", 0}, Row{"1566A9", 1402537},
        Row{"FFFFFFFFFFFF", 281474976710655}, Row{"1234567890123", 0}, Row{"1G", 0}}) {
    EXPECT_EQ(ConvertDec(row.text), row.value) << row.text;
  }
}

TEST(Convert, PackedDecimalBothWays) {
  EXPECT_EQ(GetDecFromBCD("\x01\x40\x25\x37"), 1402537);
  EXPECT_EQ(GetDecFromReversedBCD("\x70\x53\x02\x14\x00"s), 14025370);
  EXPECT_EQ(GetDecFromBCD("\x1A"), std::nullopt);
  EXPECT_EQ(GetDecFromBCD("\xA1"), std::nullopt);
  EXPECT_EQ(GetDecFromBCD(std::string(9, '\x99')), std::nullopt);
  EXPECT_EQ(GetByteArrayFromDec(0x15C39, 2), "\x5C\x39");
  EXPECT_EQ(GetByteArrayFromDec(7, 3), "\x00\x00\x07"s);
  EXPECT_EQ(HiByte(0x5C39), 0x5C);
  EXPECT_EQ(LoByte(0x5C39), 0x39);
}

}  // namespace
}  // namespace kvx::cat
