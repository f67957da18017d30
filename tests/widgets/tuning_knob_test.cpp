#include "widgets/tuning_knob.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QImage>
#include <QTest>
#include <numeric>
#include <vector>

#include "fakes/window_hands.h"

namespace kvx::widgets {
namespace {

class TuningKnobTest : public testing::Test {
 protected:
  TuningKnobTest() {
    appearance_.Use(MakeTheme("dark"), 100);
    knob_.on_turn = [this](int steps) { turned_.push_back(steps); };
    knob_.SetReadout("5500");
    knob_.resize(160, 160);
    knob_.show();
    QApplication::setActiveWindow(&knob_);
    knob_.setFocus();
  }

  /// All steps since the last call.
  int Turned() {
    const int sum = std::accumulate(turned_.begin(), turned_.end(), 0);
    turned_.clear();
    return sum;
  }
  void Wheel(int movement) { TurnWheel(knob_, {80, 80}, {0, movement}); }
  void Mouse(QEvent::Type type, int x, Qt::MouseButton button, Qt::MouseButtons held) {
    QMouseEvent event(type, QPointF(x, 80), knob_.mapToGlobal(QPointF(x, 80)), button, held, Qt::NoModifier);
    QCoreApplication::sendEvent(&knob_, &event);
  }
  void Move(int x, Qt::MouseButtons held) { Mouse(QEvent::MouseMove, x, Qt::NoButton, held); }
  int Dragged(Qt::MouseButton button, int from, int to) {
    Mouse(QEvent::MouseButtonPress, from, button, button);
    for (int x = from; x != to; x += from < to ? 1 : -1) Move(x, button);
    Move(to, button);
    Mouse(QEvent::MouseButtonRelease, to, button, Qt::NoButton);
    return Turned();
  }

  Appearance appearance_;
  TuningKnob knob_{appearance_};
  std::vector<int> turned_;
};

TEST_F(TuningKnobTest, DraggingTunesAlsoBeyondTheEdgeAndTheRightButtonAtDoubleTheRate) {
  const int once = Dragged(Qt::LeftButton, 20, 140);
  EXPECT_GT(once, 10);
  EXPECT_EQ(Dragged(Qt::LeftButton, 140, 20), -once);
  EXPECT_NEAR(Dragged(Qt::RightButton, 20, 140), 2 * once, 1);
  EXPECT_NEAR(Dragged(Qt::LeftButton, 100, 100 - 5 * 120), -5 * once, 5);
}

TEST_F(TuningKnobTest, ADragEndsWithItsButtonsHoweverTheyAreLost) {
  const auto press = [this] {
    knob_.setFocus();
    Mouse(QEvent::MouseButtonPress, 80, Qt::LeftButton, Qt::LeftButton);
    Move(120, Qt::LeftButton);
    EXPECT_GT(Turned(), 0);
  };
  press();
  knob_.clearFocus();
  Move(20, Qt::LeftButton);
  EXPECT_EQ(Turned(), 0) << "focus lost";
  press();
  Move(20, Qt::NoButton);  // the release went elsewhere
  Move(120, Qt::LeftButton);
  EXPECT_EQ(Turned(), 0) << "release lost";
  press();
  Mouse(QEvent::MouseButtonPress, 120, Qt::RightButton, Qt::LeftButton | Qt::RightButton);
  Mouse(QEvent::MouseButtonRelease, 120, Qt::LeftButton, Qt::RightButton);
  Move(60, Qt::RightButton);
  EXPECT_LT(Turned(), -20) << "the other button is still held";
  Mouse(QEvent::MouseButtonRelease, 60, Qt::RightButton, Qt::NoButton);
  Move(20, Qt::NoButton);
  EXPECT_EQ(Turned(), 0) << "both released";
  press();
  knob_.setEnabled(false);
  Move(20, Qt::LeftButton);
  EXPECT_EQ(Turned(), 0) << "disabled";
}

TEST_F(TuningKnobTest, WheelAndKeysTune) {
  Wheel(120);
  Wheel(-360);
  for (int i = 0; i < 8; ++i) Wheel(15);  // a touch pad: one notch in all
  EXPECT_EQ(turned_, (std::vector{1, -3, 1}));
  turned_.clear();
  for (const auto key : {Qt::Key_Left, Qt::Key_Down, Qt::Key_Right, Qt::Key_Up, Qt::Key_PageDown, Qt::Key_PageUp}) {
    QTest::keyClick(&knob_, key);
  }
  EXPECT_EQ(turned_, (std::vector{-1, -1, 1, 1, -10, 10}));
  turned_.clear();
  QTest::keyClick(&knob_, Qt::Key_Up, Qt::ControlModifier);
  QTest::keyClick(&knob_, Qt::Key_A);
  EXPECT_EQ(Turned(), 0);
}

TEST_F(TuningKnobTest, TheDrawnKnobFollowsTheReadout) {
  const auto picture = [this](const char* readout) {
    knob_.SetReadout(readout);
    // The upper part, without the number itself.
    return knob_.grab(QRect(0, 0, 160, 60)).toImage();
  };
  const QImage first = picture("5500");
  EXPECT_NE(picture("5499"), first);
  EXPECT_EQ(picture("5500"), first);
  EXPECT_EQ(picture("5464"), first);  // once round
  EXPECT_EQ(turned_, std::vector<int>{}) << "being shown a position is no turn";
}

TEST_F(TuningKnobTest, AssistiveTechnologyReadsAndTurnsIt) {
  QAccessibleInterface* seen = QAccessible::queryAccessibleInterface(&knob_);
  ASSERT_NE(seen, nullptr);
  EXPECT_EQ(seen->role(), QAccessible::Dial);
  EXPECT_EQ(seen->text(QAccessible::Name), "Tuning knob");
  EXPECT_EQ(seen->text(QAccessible::Value), "5500");
  ASSERT_NE(seen->valueInterface(), nullptr);
  EXPECT_EQ(seen->valueInterface()->currentValue().toInt(), 5500);
  seen->actionInterface()->doAction(QAccessibleActionInterface::increaseAction());
  seen->actionInterface()->doAction(QAccessibleActionInterface::decreaseAction());
  seen->valueInterface()->setCurrentValue(5490);  // the read-out counts against the frequency
  EXPECT_EQ(turned_, (std::vector{1, -1, 10}));
}

}  // namespace
}  // namespace kvx::widgets
