#include "widgets/frequency_display.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QShortcut>
#include <QTest>
#include <QVBoxLayout>
#include <string>
#include <vector>

#include "fakes/window_hands.h"
#include "widgets/frequency_face.h"
#include "widgets/painting.h"

namespace kvx::widgets {
namespace {

Frequency Khz(const char* text) {
  return ParseKhz(text).value();
}

class FrequencyDisplayTest : public testing::Test {
 protected:
  FrequencyDisplayTest() {
    appearance_.Use(MakeTheme("dark"), 100);
    auto* const column = new QVBoxLayout(&window_);
    display_ = new FrequencyDisplay(appearance_);
    other_ = new QLineEdit;
    column->addWidget(display_);
    column->addWidget(other_);
    display_->on_tune = [this](Frequency f) { Note("tune " + KhzText(f)); };
    display_->on_base_frequency = [this](Frequency f) { Note("base " + KhzText(f)); };
    display_->on_wheel = [this](int steps) { Note("wheel " + std::to_string(steps)); };
    display_->on_refused = [this](const QString& why) { Note(why.toStdString()); };
    display_->SetFrequency(Khz("14025.00"));
    window_.resize(700, 200);
    window_.show();
    QApplication::setActiveWindow(&window_);
    display_->setFocus();
  }

  void Note(std::string what) { heard_.push_back(std::move(what)); }
  std::vector<std::string> Heard() { return std::exchange(heard_, {}); }
  /// The middle of a digit.
  QPointF At(int place) const {
    const double margin = 0.4 * Em(*display_);
    const DigitLayout layout(kPlaces, {margin, margin, display_->width() - 2 * margin, display_->height() - 2 * margin},
                             MeasureDigits(display_->font()));
    return {layout.PlaceX(place) + layout.cell() / 2, layout.baseline() - layout.cell() / 4};
  }
  QPointF Elsewhere() const { return {display_->width() - 3.0, display_->height() - 3.0}; }
  void Wheel(QPointF at, QPoint angle, QPoint pixels = {}) { TurnWheel(*display_, at, angle, {}, pixels); }
  void Keys(std::initializer_list<Qt::Key> keys) {
    for (const Qt::Key key : keys) QTest::keyClick(display_, key);
  }
  QAccessibleInterface& seen() const { return *QAccessible::queryAccessibleInterface(display_); }
  std::string shown() const { return seen().text(QAccessible::Value).toStdString(); }

  Appearance appearance_;
  QWidget window_;
  FrequencyDisplay* display_ = nullptr;
  QLineEdit* other_ = nullptr;
  std::vector<std::string> heard_;
};

using Lines = std::vector<std::string>;

TEST_F(FrequencyDisplayTest, TheWheelTurnsTheDigitUnderThePointerAndElsewhereSteps) {
  Wheel(At(2), {0, 120});
  Wheel(At(7), {0, 120});
  Wheel(At(0), {0, -240});
  EXPECT_EQ(Heard(), (Lines{"tune 14026.00", "tune 114026.00", "tune 114025.98"}));
  for (int i = 0; i < 4; ++i) Wheel(At(3), {0, 30});  // a touch pad: one notch
  EXPECT_EQ(Heard(), (Lines{"tune 114035.98"}));
  Wheel(At(3), {0, 100});
  Wheel(At(4), {0, 100});  // what was left of another digit's notch does not count here
  EXPECT_EQ(Heard(), Lines{});
  Wheel(Elsewhere(), {0, 360});
  Wheel(Elsewhere(), {0, -120});
  Wheel(Elsewhere(), {}, {0, display_->fontMetrics().height()});  // a device that tells pixels alone
  EXPECT_EQ(Heard(), (Lines{"wheel 3", "wheel -1", "wheel 1"}));
}

TEST_F(FrequencyDisplayTest, EveryTickAddsUpUntilTheOwnerAnswers) {
  for (int i = 0; i < 3; ++i) Wheel(At(1), {0, 120});
  EXPECT_EQ(Heard().back(), "tune 14025.30");
  EXPECT_EQ(shown(), "14025.30 kHz");
  display_->SetFrequency(Khz("14025.10"));  // a limit, the rig's own knob
  Wheel(At(1), {0, 120});
  EXPECT_EQ(Heard(), (Lines{"tune 14025.20"}));
  // The owner answers at once with less than was asked for.
  display_->on_tune = [this](Frequency) { display_->SetFrequency(Khz("14025.15")); };
  Wheel(At(2), {0, 120});
  EXPECT_EQ(shown(), "14025.15 kHz");
  // It has nothing to tell, since the tuning was stopped where the frequency was already.
  display_->on_tune = {};
  Wheel(At(2), {0, 120});
  EXPECT_EQ(shown(), "14026.15 kHz");
  EXPECT_TRUE(QTest::qWaitFor([this] { return shown() == "14025.15 kHz"; }));
}

TEST_F(FrequencyDisplayTest, KeysMoveTheCursorAndTurnItsDigit) {
  Keys({Qt::Key_Up, Qt::Key_Right, Qt::Key_Down, Qt::Key_End, Qt::Key_Up, Qt::Key_Right, Qt::Key_Up, Qt::Key_Home,
        Qt::Key_Left, Qt::Key_Up});
  EXPECT_EQ(Heard(), (Lines{"tune 14026.00", "tune 14025.90", "tune 14025.91", "tune 14025.92", "tune 114025.92"}));
  QTest::mouseClick(display_, Qt::LeftButton, {}, At(5).toPoint());
  Keys({Qt::Key_Down});
  EXPECT_EQ(Heard(), (Lines{"tune 113025.92"}));
  QTest::keyClick(display_, Qt::Key_Up, Qt::ControlModifier);
  EXPECT_EQ(Heard(), Lines{});
}

TEST_F(FrequencyDisplayTest, TypedDigitsBecomeTheBaseFrequencyWithReturn) {
  QTest::keyClicks(display_, "7030,5");
  display_->SetFrequency(Khz("14030.00"));  // the rig's knob turns meanwhile
  EXPECT_EQ(shown(), "7030.5 kHz, not yet entered");
  Wheel(At(2), {0, 120});  // nor can what stands behind be turned unseen
  EXPECT_EQ(Heard(), Lines{});
  Keys({Qt::Key_Backspace, Qt::Key_1, Qt::Key_Return});
  EXPECT_EQ(Heard(), (Lines{"base 7030.10"}));
  EXPECT_EQ(shown(), "7030.10 kHz");
  QTest::keyClicks(display_, "3");
  Keys({Qt::Key_Escape});
  EXPECT_EQ(shown(), "7030.10 kHz");
  QTest::keyClicks(display_, "3");
  other_->setFocus();
  EXPECT_EQ(shown(), "7030.10 kHz");
  EXPECT_EQ(Heard(), Lines{});
}

TEST_F(FrequencyDisplayTest, WhatIsNoFrequencyIsRefusedAndKept) {
  QTest::keyClicks(display_, "0");
  Keys({Qt::Key_Enter});
  EXPECT_EQ(Heard(), (Lines{"\"0\" is no frequency in kHz, as in 14025.00."}));
  QTest::keyClicks(display_, "50");
  Keys({Qt::Key_Enter});
  EXPECT_EQ(Heard(), (Lines{"base 50.00"}));
}

TEST_F(FrequencyDisplayTest, ADoubleClickOffersThePresentFrequencyForOvertyping) {
  QTest::mouseDClick(display_, Qt::LeftButton, {}, At(3).toPoint());
  Keys({Qt::Key_Return});
  QTest::mouseDClick(display_, Qt::LeftButton, {}, At(3).toPoint());
  QTest::keyClicks(display_, "70");
  Keys({Qt::Key_Return});
  EXPECT_EQ(Heard(), (Lines{"base 14025.00", "base 70.00"}));
}

TEST_F(FrequencyDisplayTest, TheClipboardTakesAndGivesKilohertz) {
  QTest::keyClick(display_, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QApplication::clipboard()->text(), "14025.00");
  QApplication::clipboard()->setText("7 030.3 kHz\n");
  QTest::keyClick(display_, Qt::Key_V, Qt::ControlModifier);
  Keys({Qt::Key_Return});
  QApplication::clipboard()->setText("CQ DX");
  QTest::keyClick(display_, Qt::Key_V, Qt::ControlModifier);
  EXPECT_EQ(Heard(), (Lines{"base 7030.30", "\"CQ DX\" is no frequency in kHz, as in 14025.00."}));
}

TEST_F(FrequencyDisplayTest, ItsKeysWinOverTheWindowsShortcutsButLeaveItTheRest) {
  int digit = 0, escape = 0;
  const QShortcut first(QKeySequence("7"), &window_, [&digit] { ++digit; });
  const QShortcut second(QKeySequence("Esc"), &window_, [&escape] { ++escape; });
  QTest::keyClick(window_.windowHandle(), Qt::Key_7);
  EXPECT_EQ(shown(), "7 kHz, not yet entered");
  QTest::keyClick(window_.windowHandle(), Qt::Key_Escape);  // ends the entry
  EXPECT_EQ(shown(), "14025.00 kHz");
  EXPECT_EQ(escape, 0);
  QTest::keyClick(window_.windowHandle(), Qt::Key_Escape);  // nothing to end here
  EXPECT_EQ(escape, 1);
  EXPECT_EQ(digit, 0);
}

TEST_F(FrequencyDisplayTest, AssistiveTechnologyReadsAndTunesIt) {
  EXPECT_EQ(seen().role(), QAccessible::SpinBox);
  EXPECT_EQ(seen().text(QAccessible::Name), "Frequency");
  EXPECT_EQ(shown(), "14025.00 kHz");
  EXPECT_EQ(seen().valueInterface()->currentValue().toDouble(), 14025);
  seen().valueInterface()->setCurrentValue(14030.37);
  seen().valueInterface()->setCurrentValue(1e12);
  Keys({Qt::Key_Left});
  EXPECT_TRUE(seen().text(QAccessible::Description).endsWith(", Up and Down tune by 10 kHz"));
  display_->SetFrequency(Khz("14025"));
  seen().actionInterface()->doAction(QAccessibleActionInterface::decreaseAction());
  EXPECT_EQ(Heard(), (Lines{"tune 14030.37", "tune 999999.99", "tune 14015.00"}));
}

TEST_F(FrequencyDisplayTest, GrowsWithTheText) {
  const QSize usual = display_->minimumSizeHint();
  appearance_.Use(MakeTheme("dark"), 200);
  QApplication::processEvents();
  EXPECT_NEAR(display_->minimumSizeHint().width(), 2 * usual.width(), usual.width() * 0.15);
  appearance_.Use(MakeTheme("dark"), 100);
}

}  // namespace
}  // namespace kvx::widgets
