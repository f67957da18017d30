#include "app/windows.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QScrollArea>
#include <QTimer>
#include <iostream>
#include <numeric>

#include "accessories/accessories.h"
#include "accessories/antenna_port_window.h"
#include "accessories/antenna_window.h"
#include "accessories/direct_port_window.h"
#include "app/key_list.h"
#include "audio/audio_analysis.h"
#include "audio/spec_display_window.h"
#include "console/debug_window.h"
#include "console/doctor_window.h"
#include "console/function_list_window.h"
#include "console/key_screen.h"
#include "console/link_commands.h"
#include "console/link_window.h"
#include "console/memory_window.h"
#include "console/questions.h"
#include "console/rig_editor_window.h"
#include "console/setup_dialog.h"
#include "console/tuner_window.h"
#include "core/text.h"
#include "widgets/qt_text.h"

namespace kvx::app {
namespace {

QString Tr(const char* text) {
  return QCoreApplication::translate("Windows", text);
}

constexpr std::array kSetupPages{"setup-rig",   "setup-port",       "setup-station",      "setup-keyer",
                                 "setup-links", "setup-appearance", "setup-announcements"};

/// A size in heights of the window's text.
QSize InText(const QWidget& window, int width, int height) {
  return QSize(width, height) * window.fontMetrics().height();
}

constexpr int kLayoutRounds = 4;

bool Save(QWidget& window, const QDir& folder, const QString& name) {
  const QString file = folder.filePath(name + ".png");
  // A theme that has just been put on is laid out by events that are still waiting, the inner ones caused by the outer.
  for (int round = 0; round < kLayoutRounds; ++round)
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
  if (window.grab().save(file)) return true;
  std::cerr << "kvx: cannot write " << file.toStdString() << '\n';
  return false;
}

void ScrollTo(QWidget& widget) {
  for (QWidget* around = widget.parentWidget(); around != nullptr; around = around->parentWidget()) {
    if (auto* scroll = qobject_cast<QScrollArea*>(around)) scroll->ensureWidgetVisible(&widget, 0, widget.height());
  }
}

void AddAntennaWindows(console::ConsoleWindow& console, Program& program, widgets::Appearance& appearance) {
  accessories::Accessories& accessories = *program.station().accessories;
  const auto make_antennas = [&](QWidget* parent) {
    auto* antennas = new accessories::AntContF(accessories.antennas, program.station().console, appearance, parent);
    antennas->on_port_settings = [&] { console.OpenWindow("antenna-port"); };
    antennas->on_direct_port = [&] { console.OpenWindow("direct-port"); };
    antennas->on_message = [antennas](const QString& message) {
      auto* box = new QMessageBox(QMessageBox::Warning, {}, message, QMessageBox::Ok, antennas);
      console::ShowQuestion({.window = antennas, .title = antennas->windowTitle()}, box, [](int) {});
    };
    accessories.antennas.show = [show = accessories.antennas.show,
                                 window = QPointer(antennas)](const std::string& text) {
      show(text);
      if (window) window->ShowMessage(widgets::ToQt(text));
    };
    return antennas;
  };
  console.AddWindow(Tr("&Antenna Control"), QKeySequence("Ctrl+B"), "antennas", make_antennas, "AntContF.Pos");
  console.AddWindow(Tr("Antenna &Port Settings"), QKeySequence("Ctrl+Shift+B"), "antenna-port",
                    [&](QWidget* parent) { return new accessories::AntSpeedF(accessories.antennas, parent); });
  const auto make_direct = [&](QWidget* parent) {
    return new accessories::DirectPF(accessories.antennas, accessories.direct, parent);
  };
  console.AddWindow(Tr("D&irect Port"), QKeySequence("Ctrl+Shift+D"), "direct-port", make_direct, "DirectPF.Pos");
}

}  // namespace

void AddWindows(console::ConsoleWindow& console, Program& program, widgets::Appearance& appearance) {
  program.setup().on_redraw = [&console] { console.Redraw(); };
  console.on_logger = [&program](bool on) { (void)console::SwitchLogger(program.setup(), on); };
  console.on_logger_keyer = [&program](bool on) { (void)console::SwitchLoggerKeyer(program.setup(), on); };
  console.on_net = [&program](bool on) {  // what is wrong it says itself
    if (console::SwitchNet(program.setup(), on))
      program.station().Notice("NET rigctl server " + program.station().net->state());
  };
  console.AddWindow(Tr("&Setup"), {}, "setup", [&](QWidget* parent) {
    auto* setup = new console::SetupDialog(program.setup(), appearance, program.local_tone(), parent);
    setup->resize(InText(*setup, 54, 40));
    setup->on_use_simulated_rig = [&] { program.UseSimulatedRig(); };
    setup->on_edit_definition = [&] { console.OpenWindow("rig-editor"); };
    setup->on_speak = [&](const QString& sentence) { program.Speak(sentence.toStdString()); };
    return setup;
  });
  console.AddWindow(Tr("&Rig definitions"), QKeySequence("Ctrl+E"), "rig-editor", [&](QWidget* parent) {
    auto* editor = new console::RigEditorWindow(program.editor(), appearance, parent);
    console.AddQuestionBeforeEnd([editor](std::function<void()> then) { editor->LeaveThen(std::move(then)); });
    return editor;
  });
  console.AddWindow(Tr("Stored &function keys"), QKeySequence("Ctrl+L"), "functions", [&](QWidget* parent) {
    auto* frame = new QMainWindow(parent);
    auto* list = new console::FunctionListWindow(program.station(), appearance);
    frame->setWindowTitle(list->windowTitle());
    frame->resize(list->size());
    frame->setCentralWidget(list);
    return frame;
  });
  console.AddWindow(Tr("&Memory channels"), QKeySequence("Ctrl+M"), "memories",
                    [&](QWidget* parent) { return new console::MemoryWindow(program.station(), appearance, parent); });
  const auto make_key_screen = [&](QWidget* parent) {
    auto* frame = new QMainWindow(parent);
    auto* screen = new console::KeyScreen(program.station(), program.loop(), program.local_tone(), appearance);
    frame->setWindowTitle(screen->windowTitle());
    frame->setCentralWidget(screen);
    frame->resize(InText(*frame, 58, 32));
    return frame;
  };
  console.AddWindow(Tr("Send &CW"), QKeySequence("Ctrl+K"), "key-screen", make_key_screen, "KeyScreen.pos");
  console.AddWindow(
      Tr("Antenna &tuner"), QKeySequence("Ctrl+U"), "tuner",
      [&](QWidget* parent) { return new console::TunerWindow(program.station(), parent); }, "TunerF.pos");
  AddAntennaWindows(console, program, appearance);
  if (program.station().audio) {
    const auto make_audio = [&](QWidget* parent) {
      const QString folder = QString::fromStdString(program.station().folder().string());
      return new audio::SpecDisplay(*program.station().audio, folder, appearance, parent);
    };
    console.AddWindow(Tr("A&udio"), QKeySequence("Ctrl+H"), "audio", make_audio, "SpecDisplay.pos");
  }
  console.AddWindow(Tr("&Debug view"), QKeySequence("Ctrl+D"), "debug", [&](QWidget* parent) {
    auto* frame = new QMainWindow(parent);  // what a screen reader takes for a window
    auto* debug = new console::DebugWindow(program.station(), appearance);
    frame->setWindowTitle(debug->windowTitle());
    frame->setCentralWidget(debug);
    frame->resize(InText(*frame, 66, 32));
    return frame;
  });
  console.AddWindow(Tr("C&heck the station"), QKeySequence("Ctrl+Shift+F1"), "doctor",
                    [&](QWidget* parent) { return new console::DoctorWindow(program.doctor(), parent); });
  console.AddWindow(Tr("&Link monitor"), QKeySequence("Ctrl+Shift+L"), "links", [&](QWidget* parent) {
    auto* frame = new QMainWindow(parent);
    auto* links = new console::LinkWindow(program.station());
    frame->setWindowTitle(links->windowTitle());
    frame->setCentralWidget(links);
    frame->resize(InText(*frame, 84, 28));
    return frame;
  });
}

int GrabWindows(console::ConsoleWindow& console, console::Station& station, const std::string& folder) {
  const QDir target(QString::fromStdString(folder));
  if (!QDir().mkpath(target.path())) {
    std::cerr << "kvx: cannot make the folder " << folder << '\n';
    return 1;
  }
  bool good = true;
  const std::string theme = *station.console.Theme;
  for (const QString& name : widgets::ThemeNames()) {
    station.console.Theme.Set(name.toStdString());
    good = Save(console, target, "console-" + name) && good;
  }
  station.console.Theme.Set(theme);
  good = Save(console, target, "console") && good;
  QString keys = KeyList("console", console);
  for (const QString& name : console.window_names()) {
    QWidget* window = console.OpenWindow(name);
    keys += KeyList(name, *window);
    if (auto* setup = qobject_cast<console::SetupDialog*>(window)) {
      for (std::size_t page = 0; page < kSetupPages.size(); ++page) {
        setup->Open(static_cast<console::SetupDialog::Page>(page));
        good = Save(*setup, target, kSetupPages[page]) && good;
      }
      setup->Open(console::SetupDialog::kLinks);  // a long one: the network is further down
      for (auto* label : setup->findChildren<QLabel*>()) {
        if (label->accessibleName() == "State of the NET rigctl server") ScrollTo(*label);
      }
      good = Save(*setup, target, "setup-net") && good;
    } else {
      good = Save(*window, target, name) && good;
    }
  }
  QFile list(target.filePath("keys.txt"));
  good = list.open(QIODevice::WriteOnly) && list.write(keys.toUtf8()) >= 0 && good;
  return good ? 0 : 1;
}

void GrabDecoding(console::ConsoleWindow& console, console::Station& station, const std::string& folder,
                  const std::function<void(int code)>& done) {
  constexpr std::array kControls{std::pair{"cboBins", "4096"}, std::pair{"txtFMin", "400"},
                                 std::pair{"txtFMax", "2500"}, std::pair{"CrossIt", "1250"}};  // a contest station
  constexpr int kLook = 500;                                                                   // milliseconds
  constexpr int kLooks = 60;
  constexpr std::size_t kEnough = 30;  // characters
  audio::AudioAnalysis* audio = station.audio.get();
  if (audio == nullptr || audio->settings().source != "sim:receiver" || !audio->Press("DCW")) return done(0);
  for (const auto& [control, value] : kControls) (void)audio->Set(control, value);
  auto* look = new QTimer(&console);
  QObject::connect(look, &QTimer::timeout, look, [=, &console, looks = 0]() mutable {
    const auto longer = [](std::size_t sum, const audio::DecodedText& run) { return sum + run.text.size(); };
    const std::size_t read = std::accumulate(audio->text().begin(), audio->text().end(), std::size_t{0}, longer);
    if (++looks < kLooks && read < kEnough) return;
    look->stop();
    done(Save(*console.OpenWindow("audio"), QDir(QString::fromStdString(folder)), "audio-decoding") ? 0 : 1);
  });
  look->start(kLook);
}

}  // namespace kvx::app
