#include "core/utf8.h"

#include <gtest/gtest.h>

namespace kvx {
namespace {

TEST(Utf8, TextOfOlderProgramsIsConvertedAndUtf8StandsAsItIs) {
  struct Row {
    std::string content;
    std::string text;
  };
  for (const Row& row :
       {Row{"plain", "plain"}, Row{"\xC3\xBC \xE2\x82\xAC \xF0\x9F\x93\xBB", "\xC3\xBC \xE2\x82\xAC \xF0\x9F\x93\xBB"},
        Row{"\xFC \x80 \x96", "\xC3\xBC \xE2\x82\xAC \xE2\x80\x93"}, Row{"\xC3\xBC\xFC", "\xC3\x83\xC2\xBC\xC3\xBC"},
        Row{"cut \xC3", "cut \xC3\x83"}, Row{"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xE2\x82\xAC"}, Row{"", ""}}) {
    EXPECT_EQ(Utf8Of(row.content), row.text);
    EXPECT_TRUE(IsUtf8(Utf8Of(row.content)));
  }
}

}  // namespace
}  // namespace kvx
