#include "core/frequency.h"

#include <gtest/gtest.h>

namespace kvx {
namespace {

TEST(Frequency, TextAndValueAgreeOnEveryTenHertz) {
  for (std::int64_t tens = 2'999'990; tens < 3'001'010; ++tens) {
    const Frequency frequency = Frequency::FromHz(tens * 10);
    ASSERT_EQ(ParseKhz(KhzText(frequency)), frequency) << KhzText(frequency);
  }
}

TEST(Frequency, IsShownInKhzCutToTenHertz) {
  const struct {
    std::int64_t hz;
    const char* text;
  } cases[] = {{14'025'000, "14025.00"}, {14'025'379, "14025.37"}, {1'800'050, "1800.05"}, {0, "0.00"},
               {-1'500, "-1.50"},        {-10, "-0.01"},           {-9, "0.00"},           {432'100'000, "432100.00"}};
  for (const auto& c : cases) EXPECT_EQ(KhzText(Frequency::FromHz(c.hz)), c.text) << c.hz;
}

TEST(Frequency, ReadsWhatOperatorsAndFilesWrite) {
  using Case = std::pair<const char*, std::int64_t>;
  for (const auto& [text, decihertz] :
       {Case{"14025", 140'250'000}, Case{" 14025.37 ", 140'253'700}, Case{"14025,5", 140'255'000},
        Case{"-1.5", -15'000}, Case{"+7", 70'000}, Case{".5", 5'000}, Case{"7.", 70'000}, Case{"1.23456", 12'345},
        Case{"1000000000", kHighestFrequency.decihertz}}) {
    EXPECT_EQ(ParseKhz(text), Frequency{decihertz}) << text;
  }
  for (const char* bad : {"", " ", "-", ".", "abc", "14025 kHz", "1.2.3", "1e3", "--1", "1000000001",
                          "99999999999999999999999999", "0.1\n", "٣"}) {
    EXPECT_FALSE(ParseKhz(bad)) << bad;
  }
}

}  // namespace
}  // namespace kvx
