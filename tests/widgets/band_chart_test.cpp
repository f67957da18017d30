#include "widgets/band_chart.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QImage>
#include <QTest>
#include <QToolTip>
#include <string>
#include <vector>

namespace kvx::widgets {
namespace {

using Color = ChartSegment::Color;

Frequency Khz(const char* text) {
  return ParseKhz(text).value();
}

class BandChartTest : public testing::Test {
 protected:
  BandChartTest() {
    appearance_.Use(MakeTheme("dark"), 100);
    chart_.on_tune = [this](Frequency f) { tuned_.push_back(KhzText(f)); };
    chart_.ChartLines(Khz("14000"), Khz("14350"),
                      {{.from = Khz("13900"), .to = Khz("14070"), .color = Color::kCw, .text = "CW"},
                       {.from = Khz("14070"), .to = Khz("14150"), .color = Color::kData, .text = "CW,RTTY,Data"},
                       {.from = Khz("14150"), .to = Khz("14350"), .color = Color::kPhone, .text = "Phone"},
                       {.from = Khz("14074"), .to = Khz("14077"), .color = Color::kData, .text = "FT8", .note = true}});
    chart_.SetCursor(Khz("14025"));
    chart_.resize(1400, 74);  // 250 Hz a pixel
    chart_.show();
    QApplication::setActiveWindow(&chart_);
    chart_.setFocus();
  }

  std::vector<std::string> Tuned() { return std::exchange(tuned_, {}); }
  QImage Picture() {
    QImage picture(chart_.size(), QImage::Format_RGB32);
    picture.fill(appearance_.theme().background);
    chart_.render(&picture);
    return picture;
  }
  /// The columns that hold the cursor's red, low in the body where no text stands.
  std::vector<int> RedColumns() {
    const QImage picture = Picture();
    std::vector<int> columns;
    for (int x = 0; x < picture.width(); ++x) {
      if (picture.pixel(x, kBodyRow) == appearance_.theme().red.rgb()) columns.push_back(x);
    }
    return columns;
  }
  QString ToolTipAt(QPoint at) {
    QToolTip::hideText();
    QHelpEvent event(QEvent::ToolTip, at, chart_.mapToGlobal(at));
    QCoreApplication::sendEvent(&chart_, &event);
    return QToolTip::text().section('\n', 0, 0);
  }

  static constexpr int kBodyRow = 45;
  Appearance appearance_;
  BandChart chart_{appearance_};
  std::vector<std::string> tuned_;
};

TEST_F(BandChartTest, EveryStretchHasTheColourOfItsUse) {
  const QImage picture = Picture();
  const Theme& theme = appearance_.theme();
  EXPECT_EQ(picture.pixelColor(20, kBodyRow), ChartGround(theme, Color::kCw));
  EXPECT_EQ(picture.pixelColor(300, kBodyRow), ChartGround(theme, Color::kData));
  EXPECT_EQ(picture.pixelColor(1300, kBodyRow), ChartGround(theme, Color::kPhone));
}

TEST_F(BandChartTest, TheCursorStandsAtTheFrequencyOrPointsToIt) {
  EXPECT_EQ(RedColumns(), (std::vector{99, 100}));
  chart_.SetCursor(Khz("14350"));
  EXPECT_EQ(RedColumns(), (std::vector{1396, 1397})) << "clear of the focus ring";
  chart_.SetCursor(Khz("7030"));
  const QImage below = Picture();
  EXPECT_EQ(below.pixelColor(10, 26), appearance_.theme().red);
  chart_.SetCursor(Khz("21000"));
  const QImage above = Picture();
  EXPECT_EQ(above.pixelColor(1389, 26), appearance_.theme().red);
  EXPECT_NE(above.pixelColor(10, 26), appearance_.theme().red);
}

TEST_F(BandChartTest, AClickTunesAndADragTunesAlongTheWay) {
  QTest::mousePress(&chart_, Qt::LeftButton, {}, {400, 30});
  QTest::mouseMove(&chart_, {401, 30});
  QTest::mouseMove(&chart_, {401, 32});
  chart_.SetCursor(Khz("14100"));  // an answer of the rig does not disturb the drag
  QTest::mouseMove(&chart_, {401, 31});
  QTest::mouseMove(&chart_, {9000, 30});
  QTest::mouseRelease(&chart_, Qt::LeftButton, {}, {9000, 30});
  QTest::mouseMove(&chart_, {500, 30});
  QTest::mouseClick(&chart_, Qt::RightButton, {}, {600, 30});
  EXPECT_EQ(Tuned(), (std::vector<std::string>{"14100.00", "14100.20", "14350.00"}));
}

TEST_F(BandChartTest, KeysTuneByARoundStepAndAddUpBeforeTheRigAnswers) {
  for (const auto key : {Qt::Key_Right, Qt::Key_Right, Qt::Key_Left, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_End,
                         Qt::Key_Right, Qt::Key_Home, Qt::Key_A}) {
    QTest::keyClick(&chart_, key);
  }
  EXPECT_EQ(Tuned(), (std::vector<std::string>{"14026.00", "14027.00", "14026.00", "14036.00", "14026.00", "14350.00",
                                               "14000.00"}));
}

TEST_F(BandChartTest, TheToolTipTellsFrequencyAndUseUnderThePointer) {
  EXPECT_EQ(ToolTipAt({100, 30}), "14025.00 kHz · CW");
  EXPECT_EQ(ToolTipAt({400, 30}), "14100.00 kHz · CW · RTTY · Data");
  EXPECT_EQ(ToolTipAt({300, 30}), "14075.00 kHz · FT8");
  EXPECT_EQ(ToolTipAt({1399, 30}), "14349.80 kHz · Phone");
}

TEST_F(BandChartTest, WithoutABandItIsAnEmptyFrameThatTunesNothing) {
  chart_.ChartLines(Khz("14350"), Khz("14000"), {});
  QTest::mouseClick(&chart_, Qt::LeftButton, {}, {400, 30});
  QTest::keyClick(&chart_, Qt::Key_Right);
  QTest::keyClick(&chart_, Qt::Key_End);
  EXPECT_TRUE(Tuned().empty());
  EXPECT_TRUE(RedColumns().empty());
  EXPECT_EQ(ToolTipAt({400, 30}), "Band chart");
}

TEST_F(BandChartTest, AScreenReaderHearsWhereTheCursorStandsAndMayTune) {
  QAccessibleInterface* access = QAccessible::queryAccessibleInterface(&chart_);
  ASSERT_NE(access, nullptr);
  EXPECT_EQ(access->role(), QAccessible::Slider);
  EXPECT_EQ(access->text(QAccessible::Name), "Band chart");
  EXPECT_EQ(access->text(QAccessible::Value), "14025.00 kHz, CW");
  access->valueInterface()->setCurrentValue(14100.37);
  access->actionInterface()->doAction(QAccessibleActionInterface::decreaseAction());
  access->valueInterface()->setCurrentValue(1e9);
  EXPECT_EQ(Tuned(), (std::vector<std::string>{"14100.37", "14100.00", "14350.00"}));
}

}  // namespace
}  // namespace kvx::widgets
