#include "widgets/slider_column.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QTest>
#include <vector>

#include "fakes/window_hands.h"
#include "widgets/level_slider.h"
#include "widgets/tabular_label.h"

namespace kvx::widgets {
namespace {

class SliderColumnTest : public testing::Test {
 protected:
  SliderColumnTest() {
    appearance_.Use(MakeTheme("dark"), 100);
    column_.on_move = [this](int value) { moves_.push_back(value); };
    column_.SetControl("af", "Audio Gain", 0, 255);
    column_.resize(60, 300);
    column_.show();
    slider_ = column_.findChild<LevelSlider*>();
  }

  std::vector<int> Moves() { return std::exchange(moves_, {}); }
  QString Shown() const { return column_.findChild<TabularLabel*>()->text(); }
  /// The handle's middle at the lower end of the slider, and so much of the way up from there.
  QPoint At(double share) const {
    const int end = 4 + 6;
    return {slider_->width() / 2, static_cast<int>(slider_->height() - end - share * (slider_->height() - 2 * end))};
  }
  void Wheel(int angle, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    TurnWheel(*slider_, slider_->rect().center(), {0, angle}, modifiers);
  }

  Appearance appearance_;
  SliderColumn column_{appearance_};
  LevelSlider* slider_;
  std::vector<int> moves_;
};

TEST_F(SliderColumnTest, FollowsTheRigWithoutAnsweringIt) {
  column_.SetValue(184);
  EXPECT_EQ(column_.value(), 184);
  EXPECT_EQ(Shown(), "184");
  column_.SetValue(999);
  EXPECT_EQ(column_.value(), 255);
  EXPECT_TRUE(Moves().empty());
}

TEST_F(SliderColumnTest, ADragSendsEveryPositionItPasses) {
  QTest::mousePress(slider_, Qt::LeftButton, {}, At(0));
  EXPECT_TRUE(Moves().empty()) << "taking the handle moves nothing";
  for (const double share : {0.25, 0.5, 0.75}) QTest::mouseMove(slider_, At(share));
  QTest::mouseMove(slider_, At(0.75));
  QTest::mouseMove(slider_, {slider_->width() * 3, -500});
  QTest::mouseRelease(slider_, Qt::LeftButton, {}, At(1));
  QTest::mouseMove(slider_, At(0.3));
  const std::vector<int> moves = Moves();
  ASSERT_EQ(moves.size(), 4U);
  EXPECT_NEAR(moves[0], 64, 4);
  EXPECT_NEAR(moves[1], 128, 4);
  EXPECT_NEAR(moves[2], 191, 4);
  EXPECT_EQ(moves[3], 255);
  EXPECT_EQ(Shown(), "255");
}

TEST_F(SliderColumnTest, AnAnswerDuringAMovementIsKeptBackAndShownAfterwards) {
  QTest::mousePress(slider_, Qt::LeftButton, {}, At(0));
  QTest::mouseMove(slider_, At(0.5));
  const int dragged = column_.value();
  column_.SetValue(10);
  EXPECT_EQ(column_.value(), dragged);
  QTest::mouseMove(slider_, {0, -500});
  EXPECT_EQ(Moves().back(), 255);
  column_.SetValue(250);  // the rig stops below what was asked for
  QTest::mouseRelease(slider_, Qt::LeftButton, {}, {0, -500});
  EXPECT_EQ(column_.value(), 255);
  EXPECT_TRUE(QTest::qWaitFor([&] { return column_.value() == 250; }, 3000));
  EXPECT_EQ(Shown(), "250");
  EXPECT_TRUE(Moves().empty());
  column_.SetValue(20);
  EXPECT_EQ(column_.value(), 20);
}

TEST_F(SliderColumnTest, AnAnswerFromBeforeAMovementIsForgotten) {
  QTest::keyClick(slider_, Qt::Key_Up);
  column_.SetValue(0);
  QTest::keyClick(slider_, Qt::Key_Up);
  EXPECT_EQ(Moves(), (std::vector{1, 2}));
  EXPECT_FALSE(QTest::qWaitFor([&] { return column_.value() != 2; }, 900));
  EXPECT_EQ(column_.value(), 2);
  // What the owner makes of a movement at once is an answer to it.
  column_.on_move = [&](int value) { column_.SetValue(std::min(value, 40)); };
  for (int i = 0; i < 4; ++i) QTest::keyClick(slider_, Qt::Key_PageUp);
  EXPECT_TRUE(QTest::qWaitFor([&] { return column_.value() == 40; }, 3000));
}

TEST_F(SliderColumnTest, KeysWheelAndClicksMoveByStepsAndPages) {
  column_.SetValue(100);
  Wheel(120);
  Wheel(-240);
  Wheel(60);
  Wheel(60);
  Wheel(120, Qt::ShiftModifier);
  EXPECT_EQ(Moves(), (std::vector{101, 99, 100, 115}));
  QTest::keyClick(slider_, Qt::Key_PageUp);
  QTest::keyClick(slider_, Qt::Key_Down);
  QTest::keyClick(slider_, Qt::Key_End);
  QTest::keyClick(slider_, Qt::Key_Home);
  EXPECT_EQ(Moves(), (std::vector{130, 129, 255, 0}));
  QTest::mouseClick(slider_, Qt::LeftButton, {}, At(0.9));
  QTest::mouseClick(slider_, Qt::RightButton, {}, At(0.9));
  EXPECT_EQ(Moves(), (std::vector{15}));
}

TEST_F(SliderColumnTest, LimitsMayComeInEitherOrder) {
  column_.SetControl("nt", "Notch", 20, 0);
  column_.SetValue(7);
  QTest::keyClick(slider_, Qt::Key_End);
  QTest::keyClick(slider_, Qt::Key_Up);
  EXPECT_EQ(Moves(), (std::vector{20}));
  QTest::keyClick(slider_, Qt::Key_Home);
  EXPECT_EQ(Moves(), (std::vector{0}));
}

TEST_F(SliderColumnTest, AControlThatTheRigHasNotIsGreyAndDead) {
  column_.SetControl("na", "N/A", 0, 255);
  EXPECT_FALSE(slider_->isEnabled());
  column_.SetValue(30);
  Wheel(120);
  QTest::keyClick(slider_, Qt::Key_Up);
  QTest::mouseClick(slider_, Qt::LeftButton, {}, At(1));
  EXPECT_TRUE(Moves().empty());
  EXPECT_EQ(Shown(), "");
  column_.SetControl("rf", "RF Gain", 0, 255);
  EXPECT_TRUE(slider_->isEnabled());
  column_.SetValue(31);
  EXPECT_EQ(Shown(), "31");
}

TEST_F(SliderColumnTest, AScreenReaderAndTheToolTipNameTheControl) {
  QAccessibleInterface* access = QAccessible::queryAccessibleInterface(slider_);
  EXPECT_EQ(access->role(), QAccessible::Slider);
  EXPECT_EQ(access->text(QAccessible::Name), "Audio Gain (af)");
  EXPECT_TRUE(column_.toolTip().contains("Audio Gain (af): 0 to 255"));
  access->valueInterface()->setCurrentValue(77);
  EXPECT_EQ(Moves(), (std::vector{77}));
}

}  // namespace
}  // namespace kvx::widgets
