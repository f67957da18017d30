#include "widgets/accessible_number.h"

#include <gtest/gtest.h>

#include <QTest>
#include <QWidget>
#include <vector>

namespace kvx::widgets {
namespace {

TEST(AccessibleNumber, TellsTheFirstAndTheLastOfManyChangesAndNoMore) {
  QWidget widget;
  double value = 0;
  std::vector<double> told;
  AccessibleNumber number(widget, {.value = [&] {
                            told.push_back(value);
                            return value;
                          }});
  for (value = 1; value < 200; ++value) number.Announce();
  EXPECT_EQ(told, (std::vector<double>{1}));
  EXPECT_TRUE(QTest::qWaitFor([&told] { return told.size() > 1; }));
  for (int i = 0; i < 10; ++i) QCoreApplication::processEvents();
  EXPECT_EQ(told, (std::vector<double>{1, 200}));
}

TEST(AccessibleNumber, ADisabledWidgetIsReadButNotTurned) {
  QWidget widget;
  int turns = 0;
  new AccessibleNumber(widget, {.role = QAccessible::Dial,
                                .value = [] { return 7.0; },
                                .text = [] { return QString("7 dB"); },
                                .on_set = [&turns](double) { ++turns; },
                                .on_step = [&turns](int) { ++turns; }});
  QAccessibleInterface* const seen = QAccessible::queryAccessibleInterface(&widget);
  ASSERT_NE(seen, nullptr);
  const QString increase = QAccessibleActionInterface::increaseAction();
  EXPECT_TRUE(seen->actionInterface()->actionNames().contains(increase));
  seen->actionInterface()->doAction(increase);
  seen->valueInterface()->setCurrentValue(3);
  seen->valueInterface()->setCurrentValue("loud");
  EXPECT_EQ(turns, 2);
  widget.setEnabled(false);
  seen->actionInterface()->doAction(increase);
  seen->valueInterface()->setCurrentValue(3);
  EXPECT_EQ(turns, 2);
  EXPECT_EQ(seen->text(QAccessible::Value), "7 dB");
}

}  // namespace
}  // namespace kvx::widgets
