#include "app/start_failure.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QMessageBox>
#include <QTimer>
#include <chrono>
#include <cstdlib>
#include <iostream>

namespace kvx::app {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kBoxPatience = 60s;

QtMessageHandler usual_handler = nullptr;

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

/// What was looked for in vain: "on the display :99 with QT_QPA_PLATFORM=xcb".
std::string Sought() {
  const std::string display = Variable("DISPLAY").empty() ? Variable("WAYLAND_DISPLAY") : Variable("DISPLAY");
  const std::string platform = Variable("QT_QPA_PLATFORM");
  return (display.empty() ? "" : " on the display " + display) +
         (platform.empty() ? "" : " with QT_QPA_PLATFORM=" + platform);
}

/// The warnings before the end say the same at length.
void Hear(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  if (type == QtDebugMsg && usual_handler != nullptr) return usual_handler(type, context, text);
  if (type != QtFatalMsg) return;
  std::cerr << "kvx: no window can be opened" << Sought() << "; kvx --headless runs without windows" << std::endl;
  std::_Exit(1);
}

/// Whether standard error leads to a terminal, or to the program that has started this one.
bool StandardErrorIsRead() {
  struct stat facts {};
  return ::isatty(STDERR_FILENO) != 0 || (::fstat(STDERR_FILENO, &facts) == 0 && S_ISFIFO(facts.st_mode));
}

}  // namespace

DisplaySearch::DisplaySearch() {
  usual_handler = qInstallMessageHandler(Hear);
}

DisplaySearch::~DisplaySearch() {
  qInstallMessageHandler(usual_handler);
}

void TellStartFailure(const std::string& why, bool may_show_box) {
  std::cerr << "kvx: " << why << std::endl;
  if (!may_show_box || StandardErrorIsRead()) return;
  QMessageBox box(QMessageBox::Critical, "KVX", QMessageBox::tr("KVX cannot start."), QMessageBox::Close);
  box.setTextFormat(Qt::PlainText);
  box.setInformativeText(QString::fromStdString(why));
  box.setDefaultButton(QMessageBox::Close);
  QTimer::singleShot(kBoxPatience, &box, &QMessageBox::reject);
  box.exec();
}

}  // namespace kvx::app
