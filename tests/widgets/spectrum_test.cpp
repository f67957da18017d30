#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "widgets/color_map.h"
#include "widgets/drawing_budget.h"
#include "widgets/spectrum_columns.h"
#include "widgets/tone_scale.h"
#include "widgets/trace_raster.h"
#include "widgets/waterfall_levels.h"

namespace kvx::widgets {
namespace {

std::string Labels(const std::vector<GridLine>& lines) {
  std::string all;
  for (const GridLine& line : lines) all += line.label.empty() ? "- " : line.label + " ";
  return all;
}

TEST(ToneScale, LinesAreRoundAndHaveRoom) {
  struct Case {
    double from, to, width, room;
    std::string labels;
  };
  for (const Case& c :
       {Case{500, 1000, 950, 60, "500 550 600 650 700 750 800 850 900 950 1000 "},
        Case{460, 920, 300, 60, "500 600 700 800 900 "}, Case{0, 24000, 600, 60, "0 5000 10000 15000 20000 "},
        Case{697, 703, 600, 60, "697 698 699 700 701 702 703 "}, Case{500, 500, 600, 60, ""},
        Case{1000, 500, 600, 60, ""}, Case{500, 1000, 0, 60, ""}})
    EXPECT_EQ(Labels(ToneLines({c.from, c.to, c.width}, c.room)), c.labels) << c.from << " " << c.width;
  const std::vector<GridLine> lines = ToneLines({500, 1000, 1000}, 90);
  EXPECT_DOUBLE_EQ(lines[4].at, 400);
  EXPECT_EQ(Labels(LevelLines({0, 10, 100}, 18)), "0 dB - -20 dB - -40 dB - -60 dB - -80 dB - ");
  EXPECT_EQ(Labels(LevelLines({-20, 5, 300}, 18)),
            "-20 dB -25 dB -30 dB -35 dB -40 dB -45 dB -50 dB -55 dB -60 dB -65 dB ");
  EXPECT_DOUBLE_EQ(LevelScale(0, 5, 200).YOf(-25), 100);
}

TEST(ToneScale, ZoomKeepsThePlaceAndStaysInTheAudio) {
  const ToneScale scale(500, 1000, 1000);
  const ToneScale closer = scale.Zoomed(700, 0.5, 24000);
  EXPECT_DOUBLE_EQ(closer.XOf(700), scale.XOf(700));
  EXPECT_EQ(std::pair(closer.from(), closer.to()), std::pair(600.0, 850.0));
  EXPECT_EQ(std::pair(scale.Zoomed(500, 8, 3000).from(), scale.Zoomed(500, 8, 3000).to()), std::pair(0.0, 3000.0));
  EXPECT_EQ(scale.Zoomed(700, 0.001, 24000).to() - scale.Zoomed(700, 0.001, 24000).from(), 20);
  EXPECT_EQ(scale.Moved(-900, 3000).from(), 0);
  EXPECT_EQ(scale.Moved(9000, 3000).to(), 3000);
  EXPECT_EQ(scale.KeyStep(), 5);
  EXPECT_EQ(ThresholdAt(ThresholdY(880, 320), 320), 880);
  EXPECT_LT(ThresholdAt(-1, 320), 0);
  EXPECT_GT(ThresholdAt(321, 320), kThresholdSteps);
}

TEST(SpectrumColumns, NoPeakIsLostAndFarBinsAreJoined) {
  std::vector<float> levels(8193, -90);
  levels[239] = -10;  // 700.2 Hz
  std::vector<float> columns;
  for (const double width : {200.0, 950.0, 2560.0}) {
    const ToneScale scale(0, 24000, width);
    ToColumns(levels, 24000.0 / 8192, scale, -200, columns);
    ASSERT_EQ(columns.size(), static_cast<std::size_t>(width));
    const auto peak = std::max_element(columns.begin(), columns.end());
    EXPECT_EQ(*peak, -10) << width;
    EXPECT_NEAR(static_cast<double>(peak - columns.begin()), scale.XOf(700.2), 1) << width;
    EXPECT_EQ(columns.back(), -90);
  }
  const std::vector<float> coarse{-80, -40, -80};  // 100 Hz apart
  ToColumns(coarse, 100, {0, 400, 400}, -200, columns);
  EXPECT_NEAR(columns[50], -60, 0.5);
  EXPECT_NEAR(columns[150], -60, 0.5);
  EXPECT_EQ(columns[399], -200) << "there is nothing above half the sample rate";
  ToColumns({}, 100, {0, 400, 400}, -200, columns);
  EXPECT_EQ(columns, std::vector<float>(400, -200));
}

TEST(SpectrumColumns, AClickFindsTheToneBesideIt) {
  std::vector<float> levels(257, -80);
  std::mt19937 random(3);
  for (float& level : levels) level += std::normal_distribution<float>(0, 2)(random);
  levels[36] = -24;
  levels[37] = -20;  // between 37 and 36.5
  levels[38] = -60;
  const double bin = 20;
  EXPECT_NEAR(ToneNear(levels, bin, 748, 20), 732, 4);
  EXPECT_EQ(ToneNear(levels, bin, 800, 20), 800) << "too far";
  EXPECT_EQ(ToneNear(levels, bin, 2000, 40), 2000) << "noise";
  EXPECT_EQ(ToneNear({}, bin, 2000, 40), 2000);
  const ToneLevel strongest = StrongestTone(levels, bin, 300, 3000);
  EXPECT_NEAR(strongest.hertz, 733, 4);
  EXPECT_EQ(strongest.decibels, -20);
  EXPECT_LT(StrongestTone(levels, bin, 1000, 3000).decibels, -70);
}

TEST(Scope, ColumnsHoldEveryExtremeAndBeginAtTheWaysUp) {
  std::vector<float> samples(1000);
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = static_cast<float>(0.3 * std::cos(2 * std::numbers::pi * static_cast<double>(i) / 80));
  EXPECT_NEAR(static_cast<double>(ScopeStart(samples)), 60, 1);
  EXPECT_EQ(ScopeRange(samples), 0.5F);
  EXPECT_FLOAT_EQ(ScopeRange(std::vector<float>{0.15F}), 0.2F);
  EXPECT_FLOAT_EQ(ScopeRange(std::vector<float>{0.0F}), 0.001F);
  samples[503] = 0.9F;
  std::vector<std::pair<float, float>> ranges;
  for (const int columns : {10, 333, 1000, 3000}) {
    ToScope(samples, columns, ranges);
    ASSERT_EQ(ranges.size(), static_cast<std::size_t>(columns));
    float highest = 0;
    for (const auto& [low, high] : ranges) {
      EXPECT_LE(low, high);
      highest = std::max(highest, high);
    }
    EXPECT_NEAR(highest, 0.9F, columns > 1000 ? 0.3F : 0.001F) << columns;
  }
  ToScope({}, 5, ranges);
  EXPECT_EQ(ranges.size(), 5U);
}

TEST(ColorMap, LuminanceGoesOneWay) {
  const auto luminance = [](std::uint32_t color) {
    const auto linear = [](std::uint32_t part) { return std::pow(part / 255.0, 2.2); };
    return 0.2126 * linear(color >> 16 & 0xff) + 0.7152 * linear(color >> 8 & 0xff) + 0.0722 * linear(color & 0xff);
  };
  ASSERT_GE(ColorMapNames().size(), 4U);
  for (const std::string_view name : ColorMapNames()) {
    const ColorMap& map = ColorMapOf(name);
    const double way = luminance(map[255]) > luminance(map[0]) ? 1 : -1;
    EXPECT_GT(std::abs(luminance(map[255]) - luminance(map[0])), 0.6) << name;
    for (std::size_t i = 1; i < map.size(); ++i)
      EXPECT_GE(way * (luminance(map[i]) - luminance(map[i - 1])), -0.0015) << name << " " << i;
  }
  EXPECT_EQ(&ColorMapOf("none such"), &ColorMapOf("Ember"));
}

/// Noise of a receiver, with a keyed tone in it half of the time.
struct Band {
  std::vector<float> Line(float noise, float tone) {
    std::vector<float> line(500);
    for (float& level : line) level = noise + std::normal_distribution<float>(0, 4)(random);
    if (++lines % 20 < 10) line[250] = line[251] = tone;
    return line;
  }
  std::mt19937 random{1};
  int lines = 0;
};

TEST(WaterfallLevels, NoiseIsDarkAndTheToneBrightWhateverTheGain) {
  Band band;
  WaterfallLevels levels;
  std::vector<std::uint8_t> shades(500);
  struct Step {
    float noise, tone;
    int lines;
  };
  for (const auto& [noise, tone, lines] : {Step{-80, -20, 60}, Step{-55, 5, 120}, Step{-110, -60, 900}}) {
    for (int i = 0; i < lines; ++i) levels.Follow(band.Line(noise, tone));
    const std::vector<float> line = band.Line(noise, tone);
    levels.Shade(line, shades.data());
    double mean = 0;
    for (const std::uint8_t shade : shades) mean += shade / 500.0;
    EXPECT_LT(mean, 60) << noise;
    EXPECT_GT(mean, 5) << noise;
    const std::vector<float> loud{tone};
    levels.Shade(loud, shades.data());
    EXPECT_GT(shades[0], 190) << noise;
  }
  for (int i = 0; i < 200; ++i) levels.Follow(std::vector<float>(500, -140));
  levels.Shade(std::vector<float>(500, -140), shades.data());
  EXPECT_LT(shades[0], 60) << "silence";
}

TEST(TraceRaster, TheCurveStandsWhereItsLevelsAreAndNeverOutside) {
  constexpr int kWidth = 40;
  constexpr int kHeight = 20;
  const std::vector<std::uint32_t> above(kWidth * kHeight, 0xff000000);
  const std::vector<std::uint32_t> below(kWidth * kHeight, 0xff000040);
  std::vector<std::uint32_t> pixels(kWidth * (kHeight + 2), 0xff123456);
  const PixelArea area{pixels.data() + kWidth, kWidth, kHeight};  // a row before and after that nobody may touch
  std::vector<float> heights(kWidth, 10.5F);
  heights[5] = -1e9F;
  heights[20] = 1e9F;
  heights[30] = std::nanf("");
  TraceGround ground;
  ground.Paint(area, above.data(), below.data(), std::vector<float>(kWidth, 15), heights, 1);
  PaintCurve(area, heights, 0xffffffff, 1);
  ground.Paint(area, above.data(), below.data(), heights, {}, 1);  // where the last curve was it is gone
  const auto at = [&](int x, int y) { return area.pixels[y * kWidth + x]; };
  EXPECT_EQ(at(15, 9), 0xff000000U);
  EXPECT_EQ(at(15, 10), 0xff000040U);
  EXPECT_EQ(at(5, 0), 0xff000040U);
  EXPECT_EQ(at(20, 19), 0xff000000U);
  PaintCurve(area, heights, 0xffffffff, 1);
  EXPECT_EQ(at(15, 10), 0xffffffffU);
  EXPECT_EQ(at(15, 8), 0xff000000U);
  EXPECT_EQ(at(4, 5), 0xffffffffU) << "the way up";
  for (int x = 0; x < kWidth; ++x) {
    EXPECT_EQ(pixels[static_cast<std::size_t>(x)], 0xff123456U);
    EXPECT_EQ(pixels[static_cast<std::size_t>(x + kWidth * (kHeight + 1))], 0xff123456U);
  }
}

TEST(DrawingBudget, LeavesThreeQuartersOfTheTime) {
  using std::chrono_literals::operator""ms;
  DrawingBudget budget;
  budget.SetInterval(16ms);
  EXPECT_EQ(budget.Wait(0ms), DrawingBudget::Duration(0)) << "the first one at once";
  budget.Begin(100ms);
  budget.Spend(2ms);
  EXPECT_EQ(budget.Wait(110ms), DrawingBudget::Duration(6ms));
  EXPECT_EQ(budget.Wait(116ms), DrawingBudget::Duration(0));
  budget.Begin(116ms);
  for (int i = 0; i < 2; ++i) budget.Spend(5ms);
  EXPECT_EQ(budget.Wait(126ms), DrawingBudget::Duration(30ms));
}

}  // namespace
}  // namespace kvx::widgets
