#include "widgets/compass_rose.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QTest>

namespace kvx::widgets {
namespace {

class CompassRoseTest : public testing::Test {
 protected:
  CompassRoseTest() {
    appearance_.Use(MakeTheme("dark"), 100);
    rose_.on_ask = [this](int bearing) { asked_ += QString::number(bearing) + " "; };
    rose_.SetAntennas({{"One", {0, 120}}, {"Two", {100, 200}, true}});
    rose_.resize(301, 301);
    rose_.show();
    QApplication::setActiveWindow(&rose_);
    rose_.setFocus();
  }
  static QPoint At(int bearing) {
    const RosePoint point = RoseAt(bearing, 100);
    return QPointF(150 + point.x, 150 + point.y).toPoint();
  }
  QString Asked() { return std::exchange(asked_, {}); }
  QString Told() { return QAccessible::queryAccessibleInterface(&rose_)->text(QAccessible::Value); }

  Appearance appearance_;
  CompassRose rose_{appearance_};
  QString asked_;
};

TEST_F(CompassRoseTest, AClickAsksAndADragShowsFirst) {
  QTest::mouseClick(&rose_, Qt::LeftButton, {}, At(90));
  EXPECT_EQ(Asked(), "90 ");
  QTest::mousePress(&rose_, Qt::LeftButton, {}, At(200));
  QTest::mouseMove(&rose_, At(250));
  EXPECT_EQ(rose_.wanted(), 250);
  EXPECT_EQ(Asked(), "");
  QTest::mouseRelease(&rose_, Qt::LeftButton, {}, At(250));
  EXPECT_EQ(Asked(), "250 ");
  for (const auto& give_up : std::initializer_list<std::function<void()>>{
           [this] { QTest::keyClick(&rose_, Qt::Key_Escape); }, [this] { rose_.clearFocus(); },
           [this] { QTest::mousePress(&rose_, Qt::RightButton, {}, At(10)); }}) {
    rose_.setFocus();
    QTest::mousePress(&rose_, Qt::LeftButton, {}, At(10));
    give_up();
    EXPECT_EQ(rose_.wanted(), 250);
    QTest::mouseRelease(&rose_, Qt::LeftButton, {}, At(10));
    EXPECT_EQ(Asked(), "");
  }
  QTest::mouseClick(&rose_, Qt::LeftButton, {}, {150, 151});
  QTest::mouseClick(&rose_, Qt::LeftButton, {}, {2, 2});
  EXPECT_EQ(Asked(), "") << "neither hub nor corner is a bearing";
}

TEST_F(CompassRoseTest, KeysTurnThePreviewAndEnterAsks) {
  rose_.SetBearing(5);
  QTest::keyClick(&rose_, Qt::Key_Return);
  EXPECT_EQ(Asked(), "") << "nothing is wanted yet";
  for (const auto key : {Qt::Key_PageDown, Qt::Key_Left, Qt::Key_Down, Qt::Key_Right}) QTest::keyClick(&rose_, key);
  EXPECT_EQ(rose_.wanted(), 354);
  QTest::keyClick(&rose_, Qt::Key_Return);
  EXPECT_EQ(Asked(), "354 ");
  QTest::keyClick(&rose_, Qt::Key_Home);
  EXPECT_EQ(rose_.wanted(), 0);
  QTest::keyClick(&rose_, Qt::Key_Escape);
  EXPECT_EQ(rose_.wanted(), std::nullopt);
}

TEST_F(CompassRoseTest, AssistiveTechnologyReadsAndTurnsIt) {
  EXPECT_EQ(Told(), "no bearing yet");
  rose_.SetBearing(110);
  EXPECT_EQ(Told(), "last bearing 110 degrees, antenna One, antenna Two");
  QAccessible::queryAccessibleInterface(&rose_)->valueInterface()->setCurrentValue(130);
  EXPECT_EQ(Told(), "130 degrees, antenna Two, not sent; last bearing 110 degrees, antenna One, antenna Two");
  EXPECT_EQ(Asked(), "");
}

}  // namespace
}  // namespace kvx::widgets
