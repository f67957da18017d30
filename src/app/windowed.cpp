#include "app/windowed.h"

#include <QApplication>
#include <QIcon>
#include <QProxyStyle>
#include <QTimer>
#include <algorithm>
#include <memory>
#include <optional>

#include "app/program.h"
#include "app/qt_sound.h"
#include "app/start_failure.h"
#include "app/windows.h"
#include "console/console_window.h"
#include "platform/posix/leave_soon.h"
#include "platform/qt/qt_speech.h"
#include "widgets/appearance.h"

namespace kvx::app {
namespace {

constexpr int kGrabDelayMilliseconds = 5500;  // the rig's state and its levels have arrived by then

/// Fusion, which the style sheet is made for and with which pictures look alike everywhere, without its own pictures on
/// buttons.
class PlainStyle final : public QProxyStyle {
 public:
  PlainStyle() : QProxyStyle("Fusion") {}
  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* answer) const override {
    return hint == SH_DialogButtonBox_ButtonsHaveIcons ? 0 : QProxyStyle::styleHint(hint, option, widget, answer);
  }
};

QIcon Icon() {
  QIcon icon;
  for (const int size : {16, 24, 32, 48, 64, 128, 256})
    icon.addFile(QString(":/icons/kvx-%1.png").arg(size), QSize(size, size));
  return icon;
}

int Operate(const Options& options, platform::ReleaseProcess& release_process) {
  const bool keys = options.grab_folder.empty();
  Program program(options, keys ? &release_process : nullptr,
                  {.speech = std::make_unique<platform::QtSpeech>(), .sound = std::make_unique<QtSound>()});
  int code = 0;
  program.on_ended = [&] { QApplication::exit(code); };
  if (auto prepared = program.Prepare(); !prepared) {
    TellStartFailure(prepared.error().message, keys);
    return prepared.error().code == ErrorCode::kBusy ? 2 : 1;
  }
  widgets::Appearance appearance;
  console::ConsoleWindow window(program.station(), appearance);
  window.on_close = [&] {
    window.setEnabled(false);  // nothing goes to the rig any more while the settings are being saved
    program.Stop();
  };
  window.on_use_simulated_rig = [&] { program.UseSimulatedRig(); };
  AddWindows(window, program, appearance);
  program.Start();
  window.show();
  if (program.unconfigured() && options.grab_folder.empty()) window.OpenWindow("setup");
  if (!options.grab_folder.empty()) {
    window.OpenWindow("debug");   // so that there is traffic in its picture
    window.OpenWindow("audio");   // and sound in this one's
    window.OpenWindow("doctor");  // and findings
    QTimer::singleShot(kGrabDelayMilliseconds, &window, [&] {
      code = GrabWindows(window, program.station(), options.grab_folder);
      GrabDecoding(window, program.station(), options.grab_folder, [&](int decoding) {
        code = std::max(code, decoding);
        program.Stop();
      });
    });
  }
  return QApplication::exec();
}

}  // namespace

int RunWindowed(int argc, char** argv, const Options& options) {
  platform::ReleaseProcess release_process(argc, argv);
  if (options.grab_folder.empty())
    release_process.Start();  // while there is nothing that it would inherit; the program tries again if need be
  QApplication::setStyle(new PlainStyle);
  QApplication::setAttribute(
      Qt::AA_UseStyleSheetPropagationInWidgetStyles);  // a window's own text size reaches into it
  std::optional<DisplaySearch> search(std::in_place);
  const QApplication application(argc, argv);
  search.reset();
  QApplication::setApplicationName("kvx");
  QApplication::setApplicationDisplayName("KVX");
  QApplication::setDesktopFileName("kvx");  // a Wayland desktop finds the icon by it
  QApplication::setWindowIcon(Icon());
  QApplication::setQuitOnLastWindowClosed(false);
  const int code = Operate(options, release_process);
  platform::LeaveSoon(code);
  return code;
}

}  // namespace kvx::app
