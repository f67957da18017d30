#include "console/console_window.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QSlider>
#include <QStyle>
#include <QVBoxLayout>
#include <QWheelEvent>

#include "console/band_panel.h"
#include "console/footer_panel.h"
#include "console/function_panel.h"
#include "console/knob_panel.h"
#include "console/memory_menu.h"
#include "console/meter_panel.h"
#include "console/mode_panel.h"
#include "console/questions.h"
#include "console/screen_panel.h"
#include "console/slider_panel.h"
#include "core/text.h"
#include "widgets/elided_label.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

constexpr int kClockCharacters = 19;   // of RIGGMT: date and time to the second
constexpr int kNotch = 120;            // eighths of a degree
constexpr int kTextStep = 10;          // percent
constexpr Frequency kSliderUnit{100};  // of the tuning slider: 10 Hz
constexpr int kWide = 80;              // heights of text: a console of its usual size
constexpr int kHigh = 50;
constexpr int kLargestTenths = 22;  // of the usual text
constexpr const char* kConsoleName = "console";

QFrame* Plain(const char* role) {
  auto* frame = new QFrame;
  frame->setProperty("role", role);
  return frame;
}

/// Whether the wheel over it is meant for that control, even though it does not take it: it is greyed.
bool IsMeantFor(const QWidget* control) {
  return control != nullptr && !control->isEnabled();
}

/// How far a window's inside is from the corner of its frame.
QPoint FrameOf(const QWidget& window) {
  return window.geometry().topLeft() - window.pos();
}

}  // namespace

ConsoleWindow::ConsoleWindow(Station& station, widgets::Appearance& appearance)
    : station_(station), appearance_(appearance), escape_(station) {
  setWindowTitle("KVX");
  ApplyAppearance();
  setMenuWidget(MakeHeader());
  MakeMenus();
  auto* scroll = new QScrollArea;  // a small screen with large text still reaches everything
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setFocusPolicy(Qt::NoFocus);
  scroll->setWidget(MakeCenter());
  setCentralWidget(scroll);
  scroll->viewport()->installEventFilter(this);
  scroll->installEventFilter(this);
  MakeKeys();
  station_.MaxAllForms = [this] { MaxAllForms(); };
  station_.UnloadStuff = [this] { UnloadStuff(); };
  subscription_ = station_.console.Subscribe([this](Field field) { Follow(field); });
  PutInPlace();
  ShowAll();
}

QWidget* ConsoleWindow::MakeCenter() {
  center_ = new QWidget;
  center_->setObjectName("center");
  screen_ = new ScreenPanel(station_, appearance_);
  auto* meter = new MeterPanel(station_, appearance_);
  band_ = new BandPanel(station_, appearance_);
  auto* mode = new ModePanel(station_);
  auto* knob = new KnobPanel(station_, appearance_);
  auto* functions = new FunctionPanel(station_);
  functions->on_list = [this] { OpenWindow("functions"); };
  auto* sliders = new SliderPanel(station_, appearance_);
  footer_ = new FooterPanel(station_, appearance_);
  footer_->on_logger = [this](bool on) {
    if (on_logger) on_logger(on);
  };
  footer_->on_logger_keyer = [this](bool on) {
    if (on_logger_keyer) on_logger_keyer(on);
  };
  footer_->on_net = [this](bool on) {
    if (on_net) on_net(on);
  };
  panels_ = {screen_, meter, band_, mode, knob, functions, sliders, footer_};
  const int gap = fontMetrics().height() / 3 + 2;
  auto* column = new QVBoxLayout(center_);
  column->setContentsMargins(gap, gap, gap, gap);
  column->setSpacing(gap);
  const auto add_row = [&](int stretch, const std::vector<std::pair<QWidget*, int>>& widgets) {
    auto* row = new QHBoxLayout;
    row->setSpacing(gap);
    for (const auto& [widget, share] : widgets) row->addWidget(widget, share);
    column->addLayout(row, stretch);
  };
  offer_ = MakeOffer();
  column->addWidget(offer_);
  add_row(20, {{screen_, 67}, {meter, 33}});
  column->addWidget(band_, 12);
  column->addWidget(mode, 4);
  add_row(28, {{knob, 25}, {functions, 42}, {sliders, 33}});
  column->addWidget(MakeTuningSlider());
  column->addWidget(footer_);
  return center_;
}

QWidget* ConsoleWindow::MakeOffer() {
  QFrame* frame = Plain("panel");
  auto* row = new QHBoxLayout(frame);
  row->addWidget(new QLabel(tr("No rig is chosen on this station yet.")), 1);
  auto* setup = new QPushButton(tr("&Choose a rig…"));
  setup->setToolTip(tr("Opens the setup (Alt+C)"));
  connect(setup, &QPushButton::clicked, this, [this] { OpenWindow("setup"); });
  auto* simulated = new QPushButton(tr("&Try the simulated station"));
  simulated->setToolTip(tr("Try the console on a simulated TS-2000 (Alt+T)"));
  connect(simulated, &QPushButton::clicked, this, [this] {
    if (on_use_simulated_rig) on_use_simulated_rig();
  });
  row->addWidget(setup);
  row->addWidget(simulated);
  frame->hide();
  return frame;
}

/// Tunes through the whole band.
QWidget* ConsoleWindow::MakeTuningSlider() {
  tuning_ = new QSlider(Qt::Horizontal);
  tuning_->setAccessibleName(tr("Frequency within the band"));
  tuning_->setToolTip(tr("Frequency within the band"));
  connect(tuning_, &QSlider::valueChanged, this, [this](int value) {
    footer_->Report(
        station_.engine.operations.TuneTo({station_.console.FromF->decihertz + value * kSliderUnit.decihertz}));
  });
  // What has come in during the drag, and a frequency that was refused, show when it is let go.
  connect(tuning_, &QSlider::sliderReleased, this, [this] { ShowTuningSlider(); });
  return tuning_;
}

void ConsoleWindow::MakeMenus() {
  QMenu* station = menus_->addMenu(tr("&Station"));
  station->addAction(tr("&Setup…"), QKeySequence("Ctrl+P"), this, [this] { OpenWindow("setup"); });
  station->addAction(tr("Save settin&gs"), QKeySequence("Ctrl+S"), this, [this] { station_.Save(); });
  station->addSeparator();
  station->addAction(tr("&Quit"), QKeySequence("Ctrl+Q"), this, &QWidget::close);
  QMenu* rig = menus_->addMenu(tr("&Rig"));
  rig->addAction(tr("Type a &frequency"), QKeySequence("Ctrl+F"), this,
                 [this] { screen_->display().setFocus(Qt::ShortcutFocusReason); });
  rig->addAction(tr("Release the &transmitter"), QKeySequence("Esc"), this, [this] { escape_.Release(); });
  rig->addAction(tr("&Ask the rig for its levels"), QKeySequence("Ctrl+R"), this, [this] { station_.AskLevels(); });
  rig->addSeparator();
  QAction* polling = rig->addAction(tr("&Poll the rig"));
  polling->setCheckable(true);
  connect(polling, &QAction::triggered, this, [this](bool on) { station_.console.Polling.Set(on); });
  QAction* limits = rig->addAction(tr("Tune without band &limits"));
  limits->setCheckable(true);
  connect(limits, &QAction::triggered, this, [this](bool on) {
    station_.console.NoLimits.Set(on);
    station_.bands.SetLimits();
  });
  connect(rig, &QMenu::aboutToShow, this, [this, polling, limits] {
    polling->setChecked(*station_.console.Polling);
    limits->setChecked(*station_.console.NoLimits);
  });
  auto* memories = new MemoryMenu(station_, this);
  memories->on_open_table = [this] { OpenWindow("memories"); };
  menus_->addMenu(memories);
  windows_menu_ = menus_->addMenu(tr("&Windows"));
  MakeViewMenu();
  QMenu* help = menus_->addMenu(tr("&Help"));
  help->addAction(tr("&Check the station"), this, [this] { OpenWindow("doctor"); });
  help->addAction(tr("&Keys and mouse"), QKeySequence("Ctrl+F1"), this, [this] { ShowHelp(); });
}

/// The menus, and beside them what a screen reader could not find in a menu bar's own corner.
QWidget* ConsoleWindow::MakeHeader() {
  auto* header = new QFrame;
  header->setProperty("role", "header");
  auto* row = new QHBoxLayout(header);
  const int em = fontMetrics().height();
  row->setContentsMargins(0, 0, em, 0);
  row->setSpacing(em / 2);
  menus_ = new QMenuBar;
  menus_->setSizePolicy(QSizePolicy::MinimumExpanding, QSizePolicy::Preferred);
  rig_ = widgets::WithRole(new widgets::ElidedLabel, "quiet");  // gives way to the menus
  rig_->setAccessibleName(tr("Rig and its port"));
  clock_ = new widgets::TabularLabel(tr("UTC clock"));
  row->addWidget(menus_, 1);
  row->addWidget(rig_);
  row->addWidget(clock_);
  return header;
}

void ConsoleWindow::MakeViewMenu() {
  QMenu* view = menus_->addMenu(tr("&View"));
  theme_menu_ = view->addMenu(tr("&Theme"));
  auto* themes = new QActionGroup(this);
  const QStringList titles{tr("&Dark"), tr("&Light"), tr("&High contrast"), tr("&Classic")};
  for (qsizetype i = 0; i < widgets::ThemeNames().size(); ++i) {
    const QString name = widgets::ThemeNames()[i];
    QAction* action = theme_menu_->addAction(titles[i]);
    action->setCheckable(true);
    action->setData(name);
    themes->addAction(action);
    connect(action, &QAction::triggered, this, [this, name] { (void)station_.SetTheme(name.toStdString()); });
  }
  const auto resize_text = [this](int percent) {
    if (auto set = station_.SetTextSize(percent); !set) station_.Notice(set.error().message);
  };
  view->addAction(tr("L&arger text"), QKeySequence("Ctrl++"), this,
                  [this, resize_text] { resize_text(*station_.console.TextSize + kTextStep); });
  view->addAction(tr("&Smaller text"), QKeySequence("Ctrl+-"), this,
                  [this, resize_text] { resize_text(*station_.console.TextSize - kTextStep); });
  view->addAction(tr("&Usual text"), QKeySequence("Ctrl+0"), this, [resize_text] { resize_text(100); });
  view->addSeparator();
  QAction* announce = view->addAction(tr("Spoken &announcements"), QKeySequence("Ctrl+Shift+A"), this,
                                      [this] { station_.SetAnnounce(!*station_.console.Announce); });
  announce->setCheckable(true);
  connect(view, &QMenu::aboutToShow, this, [this, announce] { announce->setChecked(*station_.console.Announce); });
  QAction* full = view->addAction(tr("&Full screen"), QKeySequence("F11"), this,
                                  [this] { setWindowState(windowState() ^ Qt::WindowFullScreen); });
  full->setCheckable(true);
  connect(view, &QMenu::aboutToShow, this, [this, full] { full->setChecked(isFullScreen()); });
}

void ConsoleWindow::Turn(int steps) {
  footer_->Report(station_.bands.TurnKnob(steps));
}

void ConsoleWindow::AddKey(const QKeySequence& keys, const std::function<void()>& action) {
  connect(new QShortcut(keys, this), &QShortcut::activated, this, action);
}

void ConsoleWindow::MakeKeys() {
  AddKey(QKeySequence("Ctrl+Up"), [this] { band_->PressNeighbour(1); });
  AddKey(QKeySequence("Ctrl+Down"), [this] { band_->PressNeighbour(-1); });
  AddKey(QKeySequence("Ctrl+Right"), [this] { Turn(1); });
  AddKey(QKeySequence("Ctrl+Left"), [this] { Turn(-1); });
  AddKey(QKeySequence("Ctrl+Shift+PgUp"), [this] { (void)station_.keyer.SetSpeed(*station_.console.CWSpeed + 1); });
  AddKey(QKeySequence("Ctrl+Shift+PgDown"), [this] { (void)station_.keyer.SetSpeed(*station_.console.CWSpeed - 1); });
  AddKey(QKeySequence("F10"), [this] {
    menus_->setFocus(Qt::MenuBarFocusReason);
    menus_->setActiveAction(menus_->actions().first());
  });
  AddKey(QKeySequence("F12"), [this] {
    const std::string before = *station_.console.SPKBX;
    station_.announcer.SayStatus();
    if (*station_.console.SPKBX == before) footer_->RepeatAnnouncement();
  });
}

void ConsoleWindow::ShowHelp() {
  if (help_) return help_->activateWindow();
  help_ = new QMessageBox(QMessageBox::NoIcon, {}, {}, QMessageBox::Close, this);
  help_->setTextFormat(Qt::PlainText);
  help_->setText(
      tr("Turn the wheel over a digit of the frequency to tune that digit, anywhere else to tune by the step.\n"
         "Type digits anywhere to enter a frequency in kHz; Enter tunes there, Escape drops it.\n"
         "If you click and hold the left mouse button while on the tuning knob the frequency will change as you move "
         "left and right .\n"
         "If you click and hold the right mouse button while on the tuning knob the frequency will change at double "
         "the rate .\n"
         "The frequency can also be changed with the slider at the bottom of the console.\n\n"
         "Ctrl+Left, Ctrl+Right\tone step down, up\n"
         "Ctrl+Down, Ctrl+Up\tthe band before, the next band\n"
         "Alt+1 to Alt+6\tCW, USB, LSB, AM, FM, RTTY\n"
         "Alt+N, Alt+A, Alt+B\tnarrow, VFO A, VFO B\n"
         "Alt+0\tthe other tuning step\n"
         "F1 to F9\tfunction keys\n"
         "F12\tsays frequency, mode and signal\n"
         "Ctrl+PgDn, Ctrl+PgUp\tthe memory channel before, the next one\n"
         "Ctrl+Shift+1 to Ctrl+Shift+0\tthe first ten memory channels with a name\n"
         "Ctrl+Shift+M, Ctrl+M\tstores a memory channel, opens their table\n"
         "Ctrl+K\tsends CW\n"
         "Ctrl+B\tantennas and rotator\n"
         "Ctrl+T\ttunes: holds the key down, or lets it go\n"
         "Ctrl+Shift+PgDn, Ctrl+Shift+PgUp\tone word a minute slower, faster\n"
         "Ctrl+1 to Ctrl+7\trig numbers\n"
         "Ctrl+Alt+0 to Ctrl+Alt+8\tsaved rigs\n"
         "Ctrl+L\tlist of stored function keys\n"
         "Ctrl+Shift+N, Ctrl+Shift+K\tlink to the logger, link from the logger to the WinKeyer\n"
         "Ctrl+Shift+R\tNET rigctl server for other programs\n"
         "Escape\treleases the transmitter, stops CW, ends a scan"));
  ShowQuestion({.window = this, .title = tr("Keys and mouse")}, help_, [](int) {});
}

void ConsoleWindow::AddWindow(const QString& menu_text, const QKeySequence& keys, const QString& file_name, Maker maker,
                              const std::string& places) {
  windows_menu_->addAction(menu_text, keys, this, [this, file_name] { OpenWindow(file_name); });
  others_.push_back({file_name, std::move(maker), places, {}});
  ReadPlaces(places);
}

QWidget* ConsoleWindow::OpenWindow(const QString& file_name) {
  for (OtherWindow& other : others_) {
    if (other.file_name != file_name) continue;
    if (!other.window) {
      other.window = other.maker(this);
      other.window->installEventFilter(this);
      other.window->resize(
          other.window->sizeHint().expandedTo(other.window->size()).boundedTo(screen()->availableSize()));
      Restore(other.window, file_name.toStdString(), other.places);
    }
    other.window->show();
    other.window->raise();
    other.window->activateWindow();
    return other.window;
  }
  return nullptr;
}

QStringList ConsoleWindow::window_names() const {
  QStringList names;
  for (const OtherWindow& other : others_) names << other.file_name;
  return names;
}

void ConsoleWindow::OfferSimulatedRig(bool offer) {
  offer_->setVisible(offer);
}

void ConsoleWindow::ReadPlaces(const std::string& file) {
  if (places_.contains(file)) return;
  const auto content = station_.ReadFile(file);
  places_[file] = content ? ParseWindowPlaces(*content) : WindowPlaces();
  if (!content && content.error().code != ErrorCode::kNotFound) station_.Notice(content.error().message);
}

void ConsoleWindow::PutInPlace() {
  ReadPlaces(kPlacesFile);
  const int em = QFontMetrics(QApplication::font()).height();  // its own may still be the one before
  const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
  resize(std::min(kWide * em, screen.width()), std::min(kHigh * em, screen.height()));
  Restore(this, kConsoleName, kPlacesFile);
  const QPoint place(station_.position.left, station_.position.top);
  if (!place.isNull() && QGuiApplication::screenAt(place + QPoint(em, em)) != nullptr) move(place);
}

/// A place that is on no screen any more is not taken.
void ConsoleWindow::Restore(QWidget* window, const std::string& name, const std::string& file) {
  const auto place = places_[file].find(name);
  if (place == places_[file].end()) return;
  const QRect rectangle(place->second.left, place->second.top, place->second.width, place->second.height);
  const QScreen* screen = QGuiApplication::screenAt(rectangle.topLeft() + QPoint(1, 1));
  if (screen == nullptr) return;
  window->resize(rectangle.size().boundedTo(screen->availableSize()));
  window->move(rectangle.topLeft());
  if (place->second.maximized) window->setWindowState(Qt::WindowMaximized);
}

void ConsoleWindow::NotePlace(QWidget* window, const std::string& name, const std::string& file) {
  // A window that fills the screen keeps the place that it goes back to.
  const bool fills = window->windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen);
  const QRect normal = window->normalGeometry();
  const bool known = fills && normal.isValid();
  const QPoint corner = known ? normal.topLeft() - FrameOf(*window) : window->pos();
  const QSize size = known ? normal.size() : window->size();
  places_[file][name] = {corner.x(), corner.y(), size.width(), size.height(), window->isMaximized()};
}

void ConsoleWindow::WritePlaces(const std::string& file) {
  if (places_[file].empty()) return;
  const auto present = station_.ReadFile(file);
  if (!present && present.error().code != ErrorCode::kNotFound) return;  // what cannot be read is not overwritten
  const std::string content =
      WithWindowPlaces(present ? std::string_view(*present) : std::string_view(), places_[file]);
  if (auto written = station_.WriteFile(file, content); !written) station_.Notice(written.error().message);
}

/// A window that closes writes its file, so that its place survives whatever happens to the program.
void ConsoleWindow::KeepPlaceOf(const QObject* window) {
  for (const OtherWindow& other : others_) {
    if (other.window.data() != window) continue;
    NotePlace(other.window, other.file_name.toStdString(), other.places);
    WritePlaces(other.places);
  }
}

void ConsoleWindow::MaxAllForms() {
  NotePlace(this, kConsoleName, kPlacesFile);
  for (const OtherWindow& other : others_) {
    if (other.window) NotePlace(other.window, other.file_name.toStdString(), other.places);
  }
  for (const auto& [file, places] : places_) WritePlaces(file);
  for (QWidget* window : QApplication::topLevelWidgets()) {
    if (window->isWindow() && window->isVisible() && window->windowState() != Qt::WindowNoState)
      window->setWindowState(Qt::WindowNoState);
  }
  station_.position.top = places_[kPlacesFile][kConsoleName].top;
  station_.position.left = places_[kPlacesFile][kConsoleName].left;
}

void ConsoleWindow::UnloadStuff() {
  for (QWidget* window : findChildren<QWidget*>()) {
    if (window->isWindow()) window->hide();
  }
}

void ConsoleWindow::closeEvent(QCloseEvent* event) {
  event->ignore();  // the program ends after the orderly shut-down
  AskBeforeEnd(0);
}

void ConsoleWindow::AskBeforeEnd(std::size_t first) {
  if (first < before_end_.size()) return before_end_[first]([this, first] { AskBeforeEnd(first + 1); });
  if (on_close) on_close();
}

void ConsoleWindow::resizeEvent(QResizeEvent* event) {
  QMainWindow::resizeEvent(event);
  FitText();
}

/// A console that is larger than usual has larger text as well.
void ConsoleWindow::FitText() {
  QFont font = QApplication::font();
  const int em = QFontMetrics(font).height();
  const int tenths = std::min(10 * width() / (kWide * em), 10 * height() / (kHigh * em));
  font.setPointSizeF(font.pointSizeF() * std::clamp(tenths, 10, kLargestTenths) / 10);
  if (center_->font() == font) return;
  for (QWidget* part : {center_, menuWidget()}) {
    part->setFont(font);
    // Sizes that the style sheet gives in text heights are worked out when a widget is polished.
    for (QWidget* control : part->findChildren<QWidget*>()) {
      if (!control->inherits("QAbstractButton") && !control->inherits("QLineEdit")) continue;
      control->style()->unpolish(control);
      control->style()->polish(control);
      control->updateGeometry();
    }
  }
}

/// Digits that nothing else wants are the beginning of a frequency.
void ConsoleWindow::keyPressEvent(QKeyEvent* event) {
  const bool digit = event->text().size() == 1 && event->text()[0] >= '0' && event->text()[0] <= '9';
  const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  widgets::FrequencyDisplay& display = screen_->display();
  if (!digit || !plain || display.hasFocus()) return QMainWindow::keyPressEvent(event);
  display.setFocus(Qt::ShortcutFocusReason);
  QApplication::sendEvent(&display, event);
}

/// Wherever no control wants it, the wheel tunes; with Shift it scrolls what is larger than the window.
bool ConsoleWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Close) KeepPlaceOf(watched);
  if (event->type() != QEvent::Wheel || static_cast<QWidget*>(watched)->isWindow())
    return QMainWindow::eventFilter(watched, event);
  const auto* wheel = static_cast<QWheelEvent*>(event);
  if (wheel->modifiers() & Qt::ShiftModifier) return false;
  if (IsMeantFor(center_->childAt(center_->mapFromGlobal(wheel->globalPosition().toPoint())))) return true;
  wheel_ += wheel->angleDelta().y();
  const int notches = wheel_ / kNotch;
  wheel_ -= notches * kNotch;
  if (notches != 0) Turn(notches);
  event->accept();
  return true;
}

void ConsoleWindow::ShowAll() {
  for (int field = 0; field <= static_cast<int>(kLastField); ++field) Follow(static_cast<Field>(field));
}

void ConsoleWindow::Follow(Field field) {
  for (Panel* panel : panels_) panel->Follow(field);
  switch (field) {
    case Field::kRiggmt:
      return ShowClock();
    case Field::kRigName:
      OfferSimulatedRig(*station_.console.RigName == "NONE" && station_.settings().rig_port == 0);
      return ShowRig();
    case Field::kPort:
      return ShowRig();
    case Field::kFreqDisp:
    case Field::kFromF:
    case Field::kToF:
      return ShowTuningSlider();
    case Field::kTheme:
    case Field::kTextSize:
    case Field::kColors:
      return ApplyAppearance();
    default:
      return;
  }
}

void ConsoleWindow::ApplyAppearance() {
  const config::StationSettings& settings = station_.settings();
  appearance_.Use(widgets::MakeTheme(ToQt(*station_.console.Theme), {settings.body_color, settings.screen_color}),
                  *station_.console.TextSize);
  if (center_ != nullptr && !isVisible()) PutInPlace();  // it begins as large as its text wants it
  if (center_ != nullptr) FitText();
  if (theme_menu_ == nullptr) return;
  for (QAction* action : theme_menu_->actions()) action->setChecked(action->data() == ToQt(*station_.console.Theme));
}

void ConsoleWindow::ShowClock() {
  clock_->SetText(ToQt(*station_.console.RIGGMT).left(kClockCharacters) + " UTC");
}

void ConsoleWindow::ShowRig() {
  const config::StationSettings& settings = station_.settings();
  QString text = ToQt(*station_.console.RigName);
  if (settings.rig_port != 0) text += QString("  ·  COM%1 %2").arg(settings.rig_port).arg(settings.rig_speed);
  rig_->setToolTip(text);
  ShowText(rig_, text + "  · ");
}

void ConsoleWindow::ShowTuningSlider() {
  const Console& console = station_.console;
  if (tuning_->isSliderDown()) return;
  const QSignalBlocker quiet(tuning_);
  const auto places = [&](Frequency frequency) {
    return static_cast<int>((frequency.decihertz - console.FromF->decihertz) / kSliderUnit.decihertz);
  };
  tuning_->setRange(0, std::max(0, places(*console.ToF)));
  tuning_->setSingleStep(std::max(1, static_cast<int>(station_.bands.step().decihertz / kSliderUnit.decihertz)));
  tuning_->setPageStep(tuning_->singleStep() * 10);
  tuning_->setValue(places(*console.FreqDisp));
  station_.position.h_scroll2 = tuning_->value();
}

}  // namespace kvx::console
