#include "app/windowed.h"

#include <QApplication>
#include <QDir>
#include <QTimer>
#include <iostream>

#include "app/program.h"
#include "console/console_window.h"

namespace kvx::app {
namespace {

constexpr int kGrabDelayMilliseconds = 1500;  // the rig's state has arrived by then

int Grab(console::ConsoleWindow& window, const std::string& folder) {
  const QString target = QString::fromStdString(folder);
  const QString file = QDir(target).filePath("console.png");
  if (QDir().mkpath(target) && window.grab().save(file)) return 0;
  std::cerr << "kvx: cannot write " << file.toStdString() << '\n';
  return 1;
}

}  // namespace

int RunWindowed(int argc, char** argv, const Options& options) {
  if (!options.grab_folder.empty()) QApplication::setStyle("Fusion");  // pictures look alike everywhere
  QApplication application(argc, argv);
  QApplication::setApplicationName("kvx");
  QApplication::setApplicationDisplayName("KVX");
  QApplication::setQuitOnLastWindowClosed(false);
  Program program(options);
  if (auto prepared = program.Prepare(); !prepared) {
    std::cerr << "kvx: " << prepared.error().message << '\n';
    return prepared.error().code == ErrorCode::kBusy ? 2 : 1;
  }
  console::ConsoleWindow window(program.station());
  window.on_close = [&] { program.Stop(); };
  window.on_use_simulated_rig = [&] { program.UseSimulatedRig(); };
  int code = 0;
  program.on_ended = [&] { QApplication::exit(code); };
  program.Start();
  window.OfferSimulatedRig(program.unconfigured());
  window.show();
  if (!options.grab_folder.empty()) {
    QTimer::singleShot(kGrabDelayMilliseconds, &window, [&] {
      code = Grab(window, options.grab_folder);
      program.Stop();
    });
  }
  return QApplication::exec();
}

}  // namespace kvx::app
