#include "core/byte_text.h"

#include <gtest/gtest.h>

#include "core/hex_text.h"

namespace kvx {
namespace {

TEST(ByteText, EveryByteReadsAsItsDigitsButForOne) {
  const ByteText table;
  ASSERT_EQ(table.table().size(), 3U * 256 + 1);
  for (int byte = 0; byte < 256; ++byte) {
    const std::string exact = HexText::FromBytes(std::string(1, static_cast<char>(byte))).digits;
    EXPECT_EQ(table[static_cast<std::uint8_t>(byte)], byte == 0x21 ? "22" : exact) << byte;
    EXPECT_EQ(table.table()[static_cast<std::size_t>(3 * byte)], ' ') << byte;
  }
  EXPECT_EQ(table.Spaced("\xFE\x20!\"\xFF"), "FE 20 22 22 FF");
  EXPECT_EQ(table.Spaced(""), "");
}

}  // namespace
}  // namespace kvx
