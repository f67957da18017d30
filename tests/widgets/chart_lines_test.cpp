#include "widgets/chart_lines.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kvx::widgets {
namespace {

Frequency Khz(const char* text) {
  return ParseKhz(text).value();
}

double SevenPixels(const std::string& text) {
  return 7.0 * static_cast<double>(text.size());
}

TEST(ChartScale, APixelMeansTheRoundestFrequencyWithinIt) {
  struct Row {
    const char* from;
    const char* to;
    double width;
    double x;
    const char* frequency;
  };
  constexpr Row kRows[] = {
      {"14000", "14350", 1260, 0, "14000.00"},
      {"14000", "14350", 1260, 90, "14025.00"},
      {"14000", "14350", 1260, 91, "14025.20"},     // 277.8 Hz a pixel, exactly 14025.278
      {"14000", "14350", 1260, 359.7, "14100.00"},  // 14099.917: the whole 100 kHz is within the pixel
      {"14000", "14350", 1260, 1260, "14350.00"},
      {"14000", "14350", 1260, -40, "14000.00"},
      {"14000", "14350", 1260, 9999, "14350.00"},
      {"420000", "450000", 1000, 500, "435000.00"},
      {"420000", "450000", 1000, 501.2, "435050.00"},  // 435036: a pixel is 30 kHz
      {"10100", "10150", 5000, 1234, "10112.34"},      // finer than 10 Hz is never asked for
      {"10100", "10100.5", 5000, 1234, "10100.12"},
      {"5330.5", "5406.4", 100, 0, "5330.50"},  // never below the limit, however round
  };
  for (const Row& row : kRows) {
    const ChartScale scale(Khz(row.from), Khz(row.to), row.width);
    EXPECT_EQ(KhzText(scale.FrequencyAt(row.x)), row.frequency) << row.from << " x " << row.x;
  }
}

TEST(ChartScale, EveryPixelLeadsBackToItselfAndNoneStandsBelowItsNeighbour) {
  for (const double width : {101.0, 640.0, 1259.5, 3840.0}) {
    const ChartScale scale(Khz("7000"), Khz("7300"), width);
    Frequency last;
    for (double x = 0; x <= width; ++x) {
      const Frequency frequency = scale.FrequencyAt(x);
      EXPECT_NEAR(scale.XOf(frequency), x, 0.6);
      EXPECT_EQ(frequency.decihertz % 100, 0);
      EXPECT_GT(frequency, last);
      last = frequency;
    }
  }
}

TEST(ChartScale, KeysGoByARoundTwoHundredthAndStopAtTheLimits) {
  struct Row {
    const char* from;
    const char* to;
    const char* start;
    int steps;
    const char* end;
  };
  constexpr Row kRows[] = {
      {"14000", "14350", "14025", 1, "14026.00"},     {"14000", "14350", "14025.37", 1, "14026.00"},
      {"14000", "14350", "14025.37", -1, "14025.00"}, {"14000", "14350", "14025", -10, "14015.00"},
      {"14000", "14350", "14000.2", -1, "14000.00"},  {"14000", "14350", "14349.5", 10, "14350.00"},
      {"14000", "14350", "7030", 1, "14001.00"},      {"420000", "450000", "432100", 1, "432200.00"},
      {"10100", "10150", "10110", 1, "10110.20"},     {"14000", "14000.5", "14000.1", 1, "14000.11"},
  };
  for (const Row& row : kRows) {
    const ChartScale scale(Khz(row.from), Khz(row.to), 500);
    EXPECT_EQ(KhzText(scale.Stepped(Khz(row.start), row.steps)), row.end) << row.from << " " << row.start;
  }
}

TEST(ChartScale, WithoutABandOrRoomThereIsNothing) {
  for (const ChartScale& scale : {ChartScale(), ChartScale(Khz("14350"), Khz("14000"), 500),
                                  ChartScale(Khz("14000"), Khz("14000"), 500), ChartScale({}, Khz("1"), 0)}) {
    EXPECT_TRUE(scale.empty());
    EXPECT_TRUE(Ticks(scale, SevenPixels).empty());
    EXPECT_EQ(scale.XOf(Khz("14100")), 0);
    EXPECT_EQ(scale.FrequencyAt(100), scale.from());
  }
}

std::string Labels(const std::vector<ChartTick>& ticks) {
  std::string labels;
  for (const ChartTick& tick : ticks) {
    if (!tick.label.empty()) labels += (labels.empty() ? "" : " ") + tick.label;
  }
  return labels;
}

TEST(ChartTicks, TheLabelsAreTheLimitsAndRoundFrequenciesWithRoom) {
  struct Row {
    const char* from;
    const char* to;
    double width;
    const char* labels;
  };
  constexpr Row kRows[] = {
      {"14000", "14350", 1260, "14000 14050 14100 14150 14200 14250 14300 14350"},
      {"14000", "14350", 400, "14000 14100 14200 14350"},  // 14300 would touch the limit
      {"10100", "10150", 600, "10100 10110 10120 10130 10140 10150"},
      {"5330.5", "5406.4", 600, "5330.5 5340 5360 5380 5406.4"},  // 5400 would touch
      {"420000", "450000", 700, "420000 430000 440000 450000"},
      {"14000", "14001", 800, "14000 14000.2 14000.4 14000.6 14000.8 14001"},
      {"14000", "14350", 60, "14000"},  // not even room for both limits
      {"0", "1000000", 500, "0 500000 1000000"},
  };
  for (const Row& row : kRows) {
    EXPECT_EQ(Labels(Ticks({Khz(row.from), Khz(row.to), row.width}, SevenPixels)), row.labels) << row.width;
  }
}

TEST(ChartTicks, NoLabelTouchesAnotherOrLeavesTheChartAtAnyWidth) {
  constexpr const char* kBands[][2] = {{"14000", "14350"},   {"7000", "7300"},     {"144000", "148000"},
                                       {"5330.5", "5406.4"}, {"420000", "450000"}, {"14000.01", "14000.04"}};
  for (const auto& band : kBands) {
    for (double width = 40; width < 2600; width += 7) {
      const auto ticks = Ticks({Khz(band[0]), Khz(band[1]), width}, SevenPixels);
      double taken = 0;
      double last_x = -1;
      const ChartTick* right = nullptr;
      for (const ChartTick& tick : ticks) {
        EXPECT_GT(tick.x, last_x);
        last_x = tick.x;
        if (tick.label.empty()) continue;
        if (right != nullptr) {
          EXPECT_GE(tick.label_left, taken) << band[0] << " at " << width << ": " << tick.label;
        }
        taken = tick.label_left + SevenPixels(tick.label);
        right = &tick;
      }
      EXPECT_LE(ticks.size(), width / 4) << "lines stay apart";
      if (width > 100) {
        EXPECT_LE(taken, width + 1e-6);
      }
    }
  }
}

TEST(ChartNotes, ATextStandsAtItsMarkClearOfEveryOther) {
  const std::vector<NoteSpan> notes{
      {10, 14, 50},    // room
      {100, 104, 50},  // the next mark is too near
      {120, 124, 50},  // room again
      {200, 300, 40},  // a window ...
      {260, 262, 30},  // ... and a note within it
      {480, 490, 60},  // no room to the right of the last: to its left
  };
  const auto places = PlaceNotes(notes, 500, 8);
  const std::vector<std::optional<double>> expected{10, std::nullopt, 120, 200, 260, 430};
  EXPECT_EQ(places, expected);
  EXPECT_EQ(PlaceNotes({{480, 490, 60}}, 40, 8), std::vector<std::optional<double>>{std::nullopt});
  EXPECT_TRUE(PlaceNotes({}, 500, 8).empty());
}

TEST(ChartNotes, ThePlaceOfANoteNeedNotBeRepeatedInItsText) {
  EXPECT_EQ(ShortNote("FT8 (USB dial 14074)"), "FT8");
  EXPECT_EQ(ShortNote("QRP calling CW 14060"), "QRP calling CW");
  EXPECT_EQ(ShortNote("DX window"), "DX window");
  EXPECT_EQ(ShortNote("PSK31"), "PSK31");
  EXPECT_EQ(ShortNote("14230"), "14230");
  EXPECT_EQ(ShortNote(""), "");
}

}  // namespace
}  // namespace kvx::widgets
