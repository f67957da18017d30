#include "widgets/meter_dial.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QImage>
#include <QTest>

namespace kvx::widgets {
namespace {

class MeterDialTest : public testing::Test {
 protected:
  MeterDialTest() {
    appearance_.Use(MakeTheme("dark"), 100);
    dial_.resize(390, 155);
  }

  /// Where the needle's tip stands: 0 at the dial's left edge, 1 at its right one.
  double NeedleTip() {
    QImage picture(dial_.size(), QImage::Format_RGB32);
    picture.fill(appearance_.theme().panel);
    dial_.render(&picture);
    const QRgb accent = appearance_.theme().accent.rgb();
    for (int y = 0; y < picture.height(); ++y) {
      for (int x = 0; x < picture.width(); ++x) {
        if (picture.pixel(x, y) == accent) return static_cast<double>(x) / picture.width();
      }
    }
    return -1;
  }

  Appearance appearance_;
  MeterDial dial_{appearance_};
};

TEST_F(MeterDialTest, TellsBothReadingsInOneLine) {
  EXPECT_EQ(dial_.text(), "S0");
  dial_.SetSMeter(15, 30);
  EXPECT_EQ(dial_.text(), "S9");
  dial_.SetMeter("ALC", 0, 30);
  EXPECT_EQ(dial_.text(), "S9 · ALC 0");
  dial_.SetSMeter(25, 30);
  dial_.SetMeter("SWR", 12, 30);
  EXPECT_EQ(dial_.text(), "S9+40 · SWR 12");
  dial_.SetMeter({}, 0, 0);
  EXPECT_EQ(dial_.text(), "S9+40");
}

TEST_F(MeterDialTest, TheNeedleIsDrawnFartherRightTheStrongerTheSignal) {
  dial_.SetGliding(false);
  double last = 0;
  for (const int reading : {0, 5, 10, 15, 20, 25, 30}) {
    dial_.SetSMeter(reading, 30);
    const double tip = NeedleTip();
    EXPECT_GT(tip, last) << reading;
    last = tip;
  }
  EXPECT_LT(last, 1);
}

TEST_F(MeterDialTest, TheNeedleGlidesAndThenNothingRunsAnyMore) {
  dial_.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dial_));
  dial_.SetSMeter(30, 30);
  ASSERT_TRUE(dial_.gliding());
  EXPECT_LT(NeedleTip(), 0.5) << "no jump";
  EXPECT_TRUE(QTest::qWaitFor([&] { return !dial_.gliding(); }));
  const double there = NeedleTip();
  EXPECT_GT(there, 0.7);
  dial_.SetSMeter(30, 30);
  EXPECT_FALSE(dial_.gliding()) << "the same reading again costs nothing";
  dial_.SetSMeter(0, 30);
  dial_.hide();
  EXPECT_FALSE(dial_.gliding()) << "an unseen needle does not move";
  EXPECT_LT(NeedleTip(), 0.3);
}

TEST_F(MeterDialTest, AScreenReaderHearsTheReading) {
  dial_.SetSMeter(20, 30);
  dial_.SetMeter("ALC", 3, 30);
  QAccessibleInterface* access = QAccessible::queryAccessibleInterface(&dial_);
  ASSERT_NE(access, nullptr);
  EXPECT_EQ(access->role(), QAccessible::Dial);
  EXPECT_EQ(access->text(QAccessible::Name), "S-meter");
  EXPECT_EQ(access->text(QAccessible::Value), "S9+20, ALC 3");
}

}  // namespace
}  // namespace kvx::widgets
