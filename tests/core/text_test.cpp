#include "core/text.h"

#include <gtest/gtest.h>

#include <random>

namespace kvx {
namespace {

using namespace std::string_literals;

std::string RandomText(std::mt19937& random, std::string_view alphabet) {
  std::string text;
  for (auto length = random() % 24; length > 0; --length) text += alphabet[random() % alphabet.size()];
  return text;
}

TEST(Text, LeadingNumberReadsWhatSettingsHold) {
  using Case = std::pair<std::string_view, std::int64_t>;
  for (const auto& [text, number] :
       {Case{" 8421504", 8421504}, Case{"20-0}", 20}, Case{"-0}", 0}, Case{"", 0}, Case{"abc", 0}, Case{"-12x", -12},
        Case{"+7", 7}, Case{"3.9", 3}, Case{"- 5", 0}, Case{"\t4", 4}, Case{"0009", 9},
        Case{"99999999999999999999999", 1'000'000'000'000'000},
        Case{"-99999999999999999999999", -1'000'000'000'000'000}}) {
    EXPECT_EQ(LeadingNumber(text), number) << text;
  }
}

TEST(Text, WholeNumbersStayWithinTheirBounds) {
  EXPECT_EQ(ParseNumber(" 42 ", 0, 99), 42);
  EXPECT_EQ(ParseNumber("-5", -5, 5), -5);
  for (const char* bad : {"", "-", "100", "4 2", "4x", "+4", "0x1", "9999999999999999"}) {
    EXPECT_FALSE(ParseNumber(bad, 0, 99)) << bad;
  }
  EXPECT_EQ(NumberText(3), " 3");
  EXPECT_EQ(NumberText(-3), "-3");
  EXPECT_EQ(PadNumber(7, 3), "007");
  EXPECT_EQ(PadNumber(1234, 3), "1234");
}

TEST(Text, SearchAndSplitAtTheEdges) {
  EXPECT_TRUE(ContainsNoCase("xRigPort= 3", "RIGPORT="));
  EXPECT_TRUE(ContainsNoCase("", ""));
  EXPECT_FALSE(ContainsNoCase("RIG", "RIGS"));
  EXPECT_EQ(Split("a,,b,", ','), (std::vector<std::string>{"a", "", "b", ""}));
  EXPECT_EQ(Split("", ','), std::vector<std::string>{""});
  EXPECT_EQ(ReplaceAll("<A><A>", "<A>", "<A>1"), "<A>1<A>1");
  EXPECT_EQ(Trim(" \t a b\t "), "a b");
  EXPECT_EQ(Trim("  "), "");
  EXPECT_EQ(Upper("aüz"), "AüZ");
}

TEST(Text, VisibleFormLosesNothingAndHoldsNoControlCharacter) {
  EXPECT_EQ(ToVisible("*AF14025000\r"), "*AF14025000<CR>");
  EXPECT_EQ(ToVisible("<CR>\n\0"s), "<0x3C>CR><LF><0x00>");
  EXPECT_EQ(FromVisible("<cr><0xZZ><0x7><"), "<cr><0xZZ><0x7><");
  std::mt19937 random(1);
  const std::string alphabet = "<<<>>0xCRLF3a1\r\n\x01\x7F\xFF\0"s;
  for (int i = 0; i < 20'000; ++i) {
    const std::string text = RandomText(random, alphabet);
    const std::string visible = ToVisible(text);
    ASSERT_EQ(FromVisible(visible), text) << visible;
    for (const char c : visible) ASSERT_TRUE(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F) << visible;
  }
}

TEST(Text, SerialLinesGetOneByteACharacter) {
  EXPECT_EQ(ToLatin1("Grüße €😀"), "Gr\xFC\xDF"s + "e ??");
  EXPECT_EQ(ToLatin1("\xFC"), "\xFC") << "no UTF-8: as it stands";
}

TEST(Text, JsonIsValidWhateverStandsInIt) {
  EXPECT_EQ(JsonString("a\"\\\n\x01ü"), "\"a\\\"\\\\\\u000A\\u0001ü\"");
  EXPECT_EQ(JsonString("\xFC"), "\"ü\"");
  EXPECT_EQ(JsonString("\xC0\x80"), "\"\xC3\x80\xC2\x80\"") << "an overlong form is no UTF-8";
  EXPECT_EQ(JsonString("\xE2\x82"), "\"\xC3\xA2\xC2\x82\"") << "cut inside a character";
}

TEST(Text, OneLineIsBounded) {
  EXPECT_EQ(OneLine("ab\r\n", 10), "ab<CR><LF>");
  EXPECT_EQ(OneLine("abcdef", 3), "abc...");
  EXPECT_EQ(OneLine("aü漢", 2), "a...");
  EXPECT_EQ(OneLine("aü漢", 3), "aü...");
  EXPECT_EQ(OneLine("aü漢", 5), "aü...");
}

}  // namespace
}  // namespace kvx
