// How much of the processor a picture of spectrum and waterfall takes on a large screen, beside copying a picture of
// that size, which none can do without. Figures: docs/performance.md.
//
//     kvx_drawing [WIDTH HEIGHT]

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <utility>
#include <vector>

#include "widgets/spectrum_view.h"
#include "widgets/waterfall_view.h"

namespace kvx::widgets {
namespace {

constexpr int kPictures = 200;
constexpr int kBins = 16384;
constexpr int kRate = 48000;

/// Noise with tones in it, another one each time.
std::vector<float> Levels(std::mt19937& random) {
  std::vector<float> levels(kBins / 2 + 1);
  for (std::size_t k = 0; k < levels.size(); ++k) {
    levels[k] = -85 + std::normal_distribution<float>(0, 5)(random);
    if (k % 500 == 250) levels[k] = -20;
  }
  return levels;
}

void Print(const char* what, std::vector<double> times) {
  std::sort(times.begin(), times.end());
  std::printf("%-32s median %.2f ms, 99%% %.2f ms\n", what, times[times.size() / 2], times[times.size() * 99 / 100]);
}

int Measure(int width, int height) {
  Appearance appearance;
  appearance.Use(MakeTheme("dark"), 100);
  SpectrumView spectrum(appearance);
  WaterfallView waterfall(appearance);
  spectrum.resize(width, height * 42 / 100);
  waterfall.resize(width, height * 58 / 100);
  spectrum.Show({.from = 0, .to = kRate / 2.0});
  waterfall.Show({.from = 0, .to = kRate / 2.0});
  QImage spectrum_picture(spectrum.size(), QImage::Format_RGB32);
  QImage waterfall_picture(waterfall.size(), QImage::Format_RGB32);
  std::mt19937 random(1);
  QImage copied(width, height, QImage::Format_RGB32);
  const QImage whole(width, height, QImage::Format_RGB32);
  std::vector<double> lines, upper, lower, all, copies;
  for (int i = 0; i < kPictures; ++i) {
    const std::vector<float> levels = Levels(random);
    std::clock_t begun = std::clock();
    const auto lap = [&] {
      return 1000.0 * static_cast<double>(std::clock() - std::exchange(begun, std::clock())) / CLOCKS_PER_SEC;
    };
    waterfall.WaterFall(levels, double{kRate} / kBins);
    lines.push_back(lap());
    spectrum.SetTraces(levels, {}, double{kRate} / kBins);
    spectrum.render(&spectrum_picture);
    upper.push_back(lap());
    waterfall.render(&waterfall_picture);
    lower.push_back(lap());
    all.push_back(lines.back() + upper.back() + lower.back());
    QPainter(&copied).drawImage(0, 0, whole);
    copies.push_back(lap());
  }
  std::printf("%d x %d, %d bins, %d pictures\n", width, height, kBins, kPictures);
  Print("a line into the waterfall", lines);
  Print("spectrum", upper);
  Print("waterfall", lower);
  Print("all", all);
  Print("copying such a picture", copies);
  return 0;
}

}  // namespace
}  // namespace kvx::widgets

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  const auto number = [&](int index, int otherwise) { return argc > index ? std::atoi(argv[index]) : otherwise; };
  return kvx::widgets::Measure(std::max(number(1, 2560), 100), std::max(number(2, 1440), 100));
}
