#include "console/doctor_window.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QListWidget>
#include <QTest>

#include "clinic.h"
#include "fakes/manual_worker.h"

namespace kvx::console {
namespace {

TEST(DoctorWindow, ShowsWhatIsFoundStandsAtTheWorstCopiesItAndChecksAgain) {
  Clinic clinic("", "COM3=/dev/none\n");
  VirtualLoop loop;
  ManualWorker worker;
  Doctor doctor(loop, worker, clinic.Parts());
  DoctorWindow window(doctor);
  window.show();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  auto* list = window.findChild<QListWidget*>();
  const auto examine = [&] {
    while (worker.WorkOnce()) loop.RunFor(10ms);
  };
  examine();
  const QString error = "error: rig port COM3: /dev/none does not exist";
  ASSERT_NE(list->currentItem(), nullptr);
  EXPECT_TRUE(list->currentItem()->text().startsWith(error)) << list->currentItem()->text().toStdString();
  const int count = list->count();
  QTest::keyClick(&window, Qt::Key_C, Qt::ControlModifier);
  const auto on_clipboard = [] { return QApplication::clipboard()->text(); };
  EXPECT_TRUE(QTest::qWaitFor([&] { return on_clipboard().contains(error); })) << "a key presses it for a moment";
  const QString copied = on_clipboard();
  EXPECT_TRUE(copied.trimmed().endsWith("In all: 1 error")) << copied.toStdString();
  EXPECT_EQ(copied.count('\n'), count + 1);
  clinic.inspector.Plug("/dev/none");
  QTest::keyClick(&window, Qt::Key_F5);
  EXPECT_TRUE(QTest::qWaitFor([&] { return list->count() == 0; })) << "the old findings are gone at once";
  examine();
  EXPECT_FALSE(list->currentItem()->text().startsWith("error"));
  window.Examine();  // closed in the middle: what comes is for nobody
  worker.WorkOnce();
}

}  // namespace
}  // namespace kvx::console
