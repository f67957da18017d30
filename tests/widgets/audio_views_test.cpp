#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QImage>
#include <QTest>
#include <cmath>
#include <vector>

#include "fakes/window_hands.h"
#include "widgets/scope_view.h"
#include "widgets/spectrum_view.h"
#include "widgets/tone_pointer.h"
#include "widgets/waterfall_view.h"

namespace kvx::widgets {
namespace {

constexpr double kBin = 10;  // Hz

/// The views on the screen, 500 to 1000 Hz on 1000 pixels, with a tone at 700 Hz.
class AudioViewsTest : public testing::Test {
 protected:
  AudioViewsTest() {
    appearance_.Use(MakeTheme("dark"), 100);
    levels_[70] = -20;
    for (QWidget* view : std::initializer_list<QWidget*>{&spectrum_, &waterfall_, &scope_}) {
      view->resize(1000, 300);
      view->show();
    }
    scene_.from = 500;
    scene_.to = 1000;
    spectrum_.Show(scene_);
    waterfall_.Show({.from = 500, .to = 1000});
    for (TonePointer* pointer : {&spectrum_.pointer(), &waterfall_.pointer()}) {
      pointer->on_point = [this](double hertz, double) { told_ << QString("at %1").arg(std::lround(hertz)); };
      pointer->on_move = [this](double hertz) { told_ << QString("to %1").arg(std::lround(hertz)); };
      pointer->on_range = [this](double from, double to) { told_ << QString("%1-%2").arg(from).arg(to); };
    }
    spectrum_.on_threshold = [this](int threshold) { told_ << QString("threshold %1").arg(threshold); };
    scope_.on_threshold = spectrum_.on_threshold;
  }
  QStringList Told() { return std::exchange(told_, {}); }
  static QImage Picture(QWidget& view) {
    QImage picture(view.size(), QImage::Format_RGB32);
    view.render(&picture);
    return picture;
  }
  /// The rows of the picture where this column is brighter than noise.
  static std::vector<int> BrightRows(QWidget& view, int column) {
    std::vector<int> rows;
    const QImage picture = Picture(view);
    for (int y = 3; y < picture.height() - 3; ++y) {
      if (qGray(picture.pixel(column, y)) > 120) rows.push_back(y);
    }
    return rows;
  }

  Appearance appearance_;
  SpectrumView spectrum_{appearance_};
  WaterfallView waterfall_{appearance_};
  ScopeView scope_{appearance_};
  SpectrumScene scene_;
  std::vector<float> levels_ = std::vector<float>(2401, -90);
  QStringList told_;
};

TEST_F(AudioViewsTest, MouseAndKeysPointAtTones) {
  for (QWidget* view : std::initializer_list<QWidget*>{&spectrum_, &waterfall_}) {
    QTest::mouseClick(view, Qt::LeftButton, {}, {400, 30});
    QTest::mouseClick(view, Qt::RightButton, {}, {400, 30});
    EXPECT_EQ(Told(), QStringList("at 700"));
    QTest::mousePress(view, Qt::LeftButton, {}, {400, 30});
    QTest::mouseMove(view, {600, 90});
    QTest::mouseRelease(view, Qt::LeftButton, {}, {600, 90});
    QTest::mouseMove(view, {700, 90});
    EXPECT_EQ(Told(), QStringList({"at 700", "at 800"}));
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Right, Qt::Key_PageUp, Qt::Key_Left, Qt::Key_End, Qt::Key_Plus})
      QTest::keyClick(view, key);
    EXPECT_EQ(Told(), QStringList({"to 505", "to 510", "to 560", "to 555", "to 1000", "600-1000"}));
    TurnWheel(*view, {400, 20}, {0, 120});
    TurnWheel(*view, {400, 20}, {0, -120}, Qt::ShiftModifier);
    EXPECT_EQ(Told(), QStringList({"540-940", "563-1063"}));
  }
}

TEST_F(AudioViewsTest, TheThresholdHasAHandleAndKeys) {
  scene_.threshold = 500;
  spectrum_.Show(scene_);
  const QImage picture = Picture(spectrum_);
  int at = 0;
  for (int y = 0; y < picture.height(); ++y) {
    if (picture.pixelColor(997, y) == appearance_.theme().red) at = y;
  }
  ASSERT_GT(at, 0);
  QTest::mousePress(&spectrum_, Qt::LeftButton, {}, {996, at - 3});
  QTest::mouseMove(&spectrum_, {996, 0});
  QTest::mouseRelease(&spectrum_, Qt::LeftButton, {}, {996, 0});
  EXPECT_EQ(Told(), QStringList("threshold 0")) << "and no tone";
  QTest::keyClick(&spectrum_, Qt::Key_Down);
  EXPECT_EQ(Told(), QStringList("threshold 10"));
  QTest::mouseClick(&scope_, Qt::LeftButton, {}, {10, 150});
  QTest::mousePress(&scope_, Qt::LeftButton, {}, {10, 75});
  QTest::mouseMove(&scope_, {10, -40});
  QTest::mouseRelease(&scope_, Qt::LeftButton, {}, {10, -40});
  EXPECT_EQ(Told(), QStringList({"threshold 500", "threshold 250"})) << "outside of its scale nothing is set";
}

TEST_F(AudioViewsTest, TheTraceStandsAtItsLevel) {
  spectrum_.SetTraces(levels_, {}, kBin);
  // The row that is most like the colour: a line between two rows has neither wholly.
  const auto topmost = [&](int column, const QColor& color) {
    const QImage picture = Picture(spectrum_);
    const auto unlike = [&](int y) {
      const QColor at = picture.pixelColor(column, y);
      return std::abs(at.red() - color.red()) + std::abs(at.green() - color.green()) +
             std::abs(at.blue() - color.blue());
    };
    int best = 0;
    for (int y = 1; y < picture.height(); ++y) {
      if (unlike(y) < unlike(best)) best = y;
    }
    return best;
  };
  const QColor trace = appearance_.theme().digits;
  const int height = 300 - Picture(spectrum_).height() / 12;  // about: the labels' row is below
  EXPECT_NEAR(topmost(400, trace), 0.2 * height, 8);
  EXPECT_NEAR(topmost(700, trace), 0.9 * height, 8);
  scene_.difference = true;
  spectrum_.Show(scene_);
  spectrum_.SetTraces(std::vector<float>(2401, 0), {}, kBin);
  EXPECT_NEAR(topmost(700, trace), 0.5 * height, 8);
  scene_.difference = false;
  scene_.plain = true;
  spectrum_.Show(scene_);
  spectrum_.SetTraces(levels_, std::vector<float>(2401, -50), kBin);
  EXPECT_NEAR(topmost(400, Qt::white), 0.2 * height, 8);
  const QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(&spectrum_);
  EXPECT_EQ(interface->text(QAccessible::Value), "marker 500 Hz, strongest tone 700 Hz at -20 dB");
}

TEST_F(AudioViewsTest, TheNewestLineIsOnTopOrBelowTheMovingLine) {
  const std::vector<float> quiet(2401, -90);
  for (int i = 0; i < 20; ++i) waterfall_.WaterFall(quiet, kBin);
  waterfall_.WaterFall(levels_, kBin);
  for (int i = 0; i < 9; ++i) waterfall_.WaterFall(quiet, kBin);
  EXPECT_EQ(BrightRows(waterfall_, 400), std::vector{9});
  for (int i = 0; i < 270; ++i) waterfall_.WaterFall(quiet, kBin);  // round the ring
  EXPECT_EQ(BrightRows(waterfall_, 400), std::vector{279});
  waterfall_.Show({.from = 600, .to = 850});
  EXPECT_EQ(BrightRows(waterfall_, 410), std::vector{279}) << "what was heard goes with the scale";
  EXPECT_EQ(BrightRows(waterfall_, 600), std::vector<int>());
  waterfall_.resize(500, 300);
  EXPECT_EQ(BrightRows(waterfall_, 205), std::vector{279});
  waterfall_.Show({.from = 600, .to = 850, .colors = "Grey", .overwriting = true});
  for (int i = 0; i < 10; ++i) waterfall_.WaterFall(i == 5 ? levels_ : quiet, kBin);
  const std::vector<int> rows = BrightRows(waterfall_, 205);
  ASSERT_FALSE(rows.empty());
  EXPECT_EQ(rows.front(), 5) << "from the top down, nothing moves";
}

TEST_F(AudioViewsTest, EveryThemeAndTextSizeIsDrawn) {
  std::vector<float> wave(4096);
  for (std::size_t i = 0; i < wave.size(); ++i) wave[i] = 0.1F * static_cast<float>(std::sin(0.1 * double(i)));
  for (const QString& theme : ThemeNames()) {
    appearance_.Use(MakeTheme(theme), theme == "light" ? 200 : 100);
    spectrum_.SetTraces(levels_, levels_, kBin);
    spectrum_.SetFlags({{.hertz = 700, .text = "K1ABC", .color = Qt::red}});
    scope_.SetSamples(wave);
    for (QWidget* view : std::initializer_list<QWidget*>{&spectrum_, &waterfall_, &scope_}) {
      const QImage picture = Picture(*view);
      EXPECT_EQ(picture.pixelColor(0, 0), appearance_.theme().background) << "the corners are round";
    }
    const DisplayColors colors = MakeDisplayColors(appearance_.theme(), 60, 0, false);
    for (const QColor& ink : {colors.trace, colors.text, colors.marker, colors.threshold, colors.second})
      EXPECT_GE(Contrast(ink, colors.ground), 3) << theme.toStdString();
  }
  EXPECT_EQ(MakeDisplayColors(MakeTheme("classic"), 60, 90, false).ground, QColor(90, 90, 90));
}

}  // namespace
}  // namespace kvx::widgets
