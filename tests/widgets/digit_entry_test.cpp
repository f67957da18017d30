#include "widgets/digit_entry.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "widgets/digit_layout.h"

namespace kvx::widgets {
namespace {

Frequency Khz(const char* text) {
  return ParseKhz(text).value();
}

TEST(FrequencyPlaces, DigitsLeadingZerosAndNamesCountFromTheRight) {
  const Frequency f = Khz("14025.37");
  std::string digits;
  for (int place = kPlaces - 1; place >= 0; --place) digits += std::to_string(DigitAtPlace(f, place));
  EXPECT_EQ(digits, "01402537");

  struct Case {
    const char* khz;
    int places, zeros;
  };
  for (const Case& c : {Case{"0", 8, 5}, Case{"0.5", 8, 5}, Case{"50", 8, 4}, Case{"14025", 8, 1},
                        Case{"999999.99", 8, 0}, Case{"1000000", 9, 0}, Case{"1000000000", 12, 0}}) {
    EXPECT_EQ(PlacesShown(Khz(c.khz)), c.places) << c.khz;
    EXPECT_EQ(LeadingZeros(Khz(c.khz)), c.zeros) << c.khz;
  }
  EXPECT_EQ(PlaceName(0) + ", " + PlaceName(2) + ", " + PlaceName(7) + ", " + PlaceName(8),
            "10 Hz, 1 kHz, 100 MHz, 1 GHz");
}

TEST(TurnDigit, CarriesBorrowsAndStopsWithTheLowerDigitsUntouched) {
  struct Case {
    const char* from;
    int place, steps;
    const char* to;
  };
  constexpr int kMost = std::numeric_limits<int>::max();
  constexpr int kLeast = std::numeric_limits<int>::min();
  for (const Case& c : {
           Case{"14025.00", 0, 1, "14025.01"},
           Case{"14029.99", 0, 1, "14030.00"},
           Case{"14000.00", 2, -1, "13999.00"},
           Case{"14025.37", 6, 1, "24025.37"},
           Case{"14025.37", 6, -3, "4025.37"},
           Case{"14025.37", 7, -1, "14025.37"},
           Case{"14025.37", 7, 20, "914025.37"},
           Case{"999999.98", 0, 5, "999999.99"},
           Case{"999999.99", 0, 1, "999999.99"},
           Case{"0.00", 0, -1, "0.00"},
           Case{"14025.3799", 1, 1, "14025.4799"},
           Case{"14025.00", 0, kMost, "999999.99"},
           Case{"14025.00", 0, kLeast, "0.00"},
           Case{"1296000.00", 2, 1, "1296001.00"},
           Case{"1296000.00", 8, 20, "9296000.00"},
           Case{"1000000000", 0, 1, "1000000000.00"},
       }) {
    EXPECT_EQ(TurnDigit(Khz(c.from), c.place, c.steps), Khz(c.to)) << c.from << " " << c.place << " " << c.steps;
  }
}

// "<" is Backspace.
std::string Typed(DigitEntry& entry, std::string_view keys) {
  for (const char c : keys) c == '<' ? entry.Backspace() : static_cast<void>(entry.Type(c));
  return entry.text();
}

TEST(DigitEntry, TakesSixDigitsOnePointAndTwoDecimals) {
  struct Case {
    const char* keys;
    const char* text;
  };
  for (const Case& c : {Case{"14025.37", "14025.37"}, Case{"14025,3", "14025.3"}, Case{"1234567.891", "123456.89"},
                        Case{"7.0.3,", "7.03"}, Case{"1-a 4k", "14"}, Case{".5", ".5"}, Case{"140<<70.1<2", "170.2"},
                        Case{"7<<<", ""}}) {
    DigitEntry entry;
    EXPECT_EQ(Typed(entry, c.keys), c.text) << c.keys;
    EXPECT_EQ(entry.active(), *c.text != '\0');
  }
}

TEST(DigitEntry, ConfirmGivesTheFrequencyAndKeepsWhatIsNone) {
  DigitEntry entry;
  Typed(entry, "14025,3");
  EXPECT_EQ(entry.Confirm().value(), Khz("14025.30"));
  EXPECT_FALSE(entry.active());

  for (const char* text : {".", "0", "000.00", "0.0", "14.02", "29.99"}) {
    entry.Drop();
    Typed(entry, text);
    const auto refused = entry.Confirm();
    ASSERT_FALSE(refused.ok()) << text;
    EXPECT_EQ(refused.error().message, "\"" + std::string(text) + "\" is no frequency in kHz, as in 14025.00.");
    EXPECT_EQ(entry.text(), text);
    EXPECT_TRUE(entry.refused());
  }
  entry.Drop();
  Typed(entry, "17.2");
  EXPECT_FALSE(entry.refused());
  EXPECT_EQ(entry.Confirm(Khz("125000")).value(), Khz("17.2"));  // behind a converter
}

TEST(DigitEntry, ASelectedFrequencyIsReplacedByWhatIsTyped) {
  DigitEntry entry;
  entry.Select(Khz("14025.00"));
  EXPECT_EQ(Typed(entry, "7"), "7");
  entry.Select(Khz("14025.00"));
  EXPECT_EQ(Typed(entry, "<"), "");
  entry.Select(Khz("1296000.00"));
  EXPECT_EQ(Typed(entry, "x"), "1296000.00");
  EXPECT_EQ(entry.Confirm().value(), Khz("1296000"));
}

TEST(DigitEntry, PasteTakesKilohertzAndNothingElse) {
  struct Case {
    const char* pasted;
    const char* text;
  };
  for (const Case& c : {Case{"14025.3", "14025.30"}, Case{" 14 025,30 kHz ", "14025.30"}, Case{"7030KHZ", "7030.00"},
                        Case{"999999.99", "999999.99"}}) {
    DigitEntry entry;
    Typed(entry, "1");
    EXPECT_TRUE(entry.Paste(c.pasted).ok()) << c.pasted;
    EXPECT_EQ(entry.text(), c.text);
  }
  for (const std::string bad : {"", "kHz", "-7030", "14.025.300", "14.025 MHz", "1000000", "CQ", "1\n2"}) {
    DigitEntry entry;
    Typed(entry, "1");
    EXPECT_FALSE(entry.Paste(bad).ok()) << bad;
    EXPECT_EQ(entry.text(), "1") << bad;
  }
  const Status endless = DigitEntry().Paste(std::string(100'000, '7'));
  ASSERT_FALSE(endless.ok());
  EXPECT_LT(endless.error().message.size(), 100u);
}

TEST(DigitLayout, CellsAreEqualFillTheRoomAndGapsStandBetweenThousands) {
  const DigitMetrics metrics{.digit = 0.6, .point = 0.3, .height = 0.7, .unit = 0.6};
  for (const int places : {8, 9, 12}) {
    const DigitLayout layout(places, {.left = 10, .top = 20, .width = 640, .height = 300}, metrics);
    EXPECT_DOUBLE_EQ(layout.PlaceX(places - 1), 10);
    const double right = layout.unit_x() + metrics.unit * layout.font_size();
    EXPECT_LE(right, 650.001);
    EXPECT_GT(right, 630);  // no size is given away
    EXPECT_NEAR(layout.PlaceX(1) - layout.point_x(), layout.point_width(), 1e-9);
    for (int place = places - 1; place > 0; --place) {
      const double step = layout.PlaceX(place - 1) - layout.PlaceX(place);
      if (place == 5 || place == 8 || place == 11 || place == 2) {
        EXPECT_GT(step, layout.cell() * 1.2) << place;
      } else {
        EXPECT_NEAR(step, layout.cell(), 1e-9) << place;
      }
      const double middle = layout.PlaceX(place) + layout.cell() / 2;
      EXPECT_EQ(layout.PlaceAt(middle, layout.top() + 1), place);
      EXPECT_EQ(layout.PlaceAt(middle, layout.underline_y() + layout.underline_height()), place);
      EXPECT_EQ(layout.PlaceAt(middle, 21), -1);  // above the digits, which stand in the middle of the height
    }
    EXPECT_EQ(layout.PlaceAt(layout.point_x() + 1, layout.baseline()), -1);
    EXPECT_EQ(layout.PlaceAt(layout.unit_x(), layout.baseline()), -1);
  }
  const DigitLayout flat(8, {.width = 5000, .height = 60}, metrics);
  EXPECT_GE(flat.top(), 0);
  EXPECT_LE(flat.underline_y() + flat.underline_height(), 60);
  EXPECT_GT(flat.font_size(), 60);
}

}  // namespace
}  // namespace kvx::widgets
