#include "console/scan_panel.h"

#include <QCoreApplication>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QLabel>
#include <QSlider>
#include <chrono>

#include "console/panel.h"
#include "core/text.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

using functions::ScanSettings;
using functions::ScanState;
using widgets::LampButton;
using widgets::ToQt;

constexpr double kLongestSeconds = 3600;
constexpr int kUsualMark = 3;  // a third of full scale

QString Tr(const char* text) {
  return QCoreApplication::translate("ScanLine", text);
}

double SecondsOf(Duration duration) {
  return std::chrono::duration<double>(duration).count();
}

Duration DurationOf(double seconds) {
  return std::chrono::milliseconds(qRound64(seconds * 1000));
}

}  // namespace

QString ScanLine(const ScanState& state) {
  if (state.phase == ScanState::Phase::kStopped)
    return state.why.empty() ? Tr("Not scanning") : Tr("Stopped: %1").arg(ToQt(state.why));
  QString where = state.stop ? ToQt(KhzText(state.stop->frequency)) : QString();
  if (state.stop && !state.stop->row.description.empty()) where += ", " + ToQt(OneLine(state.stop->row.description));
  return (state.phase == ScanState::Phase::kHeld ? Tr("Held on %1") : Tr("Listening on %1")).arg(where);
}

ScanPanel::ScanPanel(Station& station, const widgets::Appearance& appearance, QWidget* parent)
    : QFrame(parent), station_(station), scanner_(station.functions.scanner), appearance_(appearance) {
  setProperty("role", "panel");
  const int gap = fontMetrics().height() / 2;
  auto* grid = new QGridLayout(this);
  grid->setContentsMargins(gap, gap, gap, gap);
  grid->setHorizontalSpacing(gap);
  grid->setVerticalSpacing(gap / 2 + 1);
  grid->setColumnStretch(5, 1);
  MakeEnds(*grid);
  MakeRun(*grid);
  MakeLevel(*grid);
  following_ = scanner_.changed.Follow([this] { ShowState(); });
  mark_->setRange(0, std::max(1, full_scale()));
  mark_->setValue(full_scale() / kUsualMark);
  ShowState();
  Refresh();
}

LampButton* ScanPanel::Button(const QString& text, const QString& name, const char* keys,
                              const std::function<void()>& action) {
  auto* button = new LampButton(text, name);
  button->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
  button->SetKeys(QKeySequence(keys));
  connect(button, &QPushButton::clicked, this, action);
  return button;
}

QDoubleSpinBox* ScanPanel::Seconds(const QString& name, double least, const std::function<void(Duration)>& set) {
  auto* box = new QDoubleSpinBox;
  box->setRange(least, kLongestSeconds);
  box->setDecimals(1);
  box->setSingleStep(0.5);
  box->setSuffix(tr(" s"));
  box->setKeyboardTracking(false);
  box->setAccessibleName(name);
  box->setToolTip(name);
  connect(box, &QDoubleSpinBox::valueChanged, this, [set](double seconds) { set(DurationOf(seconds)); });
  return box;
}

void ScanPanel::MakeEnds(QGridLayout& grid) {
  using functions::Scanner;
  grid.addWidget(Button(tr("Set scan start"), tr("The scan starts at the chosen row"), "Ctrl+B",
                        [this] { SetEnd(&Scanner::SetStart); }),
                 0, 0);
  grid.addWidget(
      Button(tr("Set scan end"), tr("The scan ends at the chosen row"), "Ctrl+E", [this] { SetEnd(&Scanner::SetEnd); }),
      0, 1);
  ends_ = MakeLabel(tr("Start and end of the scan"), "title");
  grid.addWidget(ends_, 0, 2, 1, 2);
  state_ = MakeLabel(tr("State of the scan"), "message");
  state_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  grid.addWidget(state_, 0, 4, 1, 3);
}

void ScanPanel::MakeRun(QGridLayout& grid) {
  run_ = Button(tr("Scan"), tr("Scans the rows marked with Y, or stops scanning"), "Ctrl+G", [this] {
    if (scanner_.running()) return scanner_.Stop("by the operator");
    if (const Status started = scanner_.Start(); !started && say) say(ToQt(started.error().message));
  });
  skip_ = Button(tr("Skip"), tr("Goes on to the next row"), "Ctrl+K", [this] { scanner_.Skip(); });
  up_ = Button(tr("Up"), tr("Scans upwards"), "Alt+U",
               [this] { ChangeSettings([](ScanSettings& settings) { settings.down = false; }); });
  down_ = Button(tr("Down"), tr("Scans downwards"), "Alt+D",
                 [this] { ChangeSettings([](ScanSettings& settings) { settings.down = true; }); });
  dwell_ = Seconds(tr("Dwell: time on a row where nothing is heard"), 0.1, [this](Duration time) {
    ChangeSettings([time](ScanSettings& settings) { settings.dwell = time; });
  });
  hang_ = Seconds(tr("Hang: time after the level has fallen until the scan goes on"), 0,
                  [this](Duration time) { ChangeSettings([time](ScanSettings& settings) { settings.hang = time; }); });
  grid.addWidget(run_, 1, 0);
  grid.addWidget(skip_, 1, 1);
  grid.addWidget(up_, 1, 2);
  grid.addWidget(down_, 1, 3);
  auto* times = new QHBoxLayout;
  times->setSpacing(fontMetrics().height() / 4);
  for (const auto& [caption, box] : {std::pair(tr("Dwell"), dwell_), std::pair(tr("Hang"), hang_)}) {
    auto* label = new QLabel(caption);
    label->setProperty("role", "quiet");
    label->setBuddy(box);
    times->addWidget(label);
    times->addWidget(box);
  }
  times->addStretch(1);
  grid.addLayout(times, 1, 4, 1, 3);
}

void ScanPanel::MakeLevel(QGridLayout& grid) {
  vu_ = Button(tr("Start VU"), tr("Watches the level: the scan stays where it is above the mark"), "Ctrl+U",
               [this] { TurnLevel(); });
  level_ = new widgets::LevelBar(appearance_, tr("Level"));
  mark_ = new QSlider(Qt::Horizontal);
  mark_->setAccessibleName(tr("Mark above which the scan stays"));
  mark_->setToolTip(tr("The mark above which the scan stays"));
  connect(mark_, &QSlider::valueChanged, this, [this](int value) {
    if (scanner_.settings().level) ChangeSettings([value](ScanSettings& settings) { settings.level = value; });
    ShowLevel();
  });
  mark_text_ = MakeLabel(tr("Level and mark"), "quiet");
  grid.addWidget(vu_, 2, 0);
  grid.addWidget(mark_, 2, 1, 1, 3);
  grid.addWidget(level_, 2, 4, 1, 2);
  grid.addWidget(mark_text_, 2, 6);
}

void ScanPanel::SetEnd(void (functions::Scanner::*set)(Frequency)) {
  const auto frequency = chosen_frequency ? chosen_frequency() : std::nullopt;
  if (frequency) (scanner_.*set)(*frequency);
  if (!frequency && say) say(tr("Choose a row with a frequency first"));
  Refresh();
}

void ScanPanel::ChangeSettings(const std::function<void(ScanSettings&)>& change) {
  ScanSettings settings = scanner_.settings();
  change(settings);
  scanner_.SetSettings(settings);
  Refresh();
}

void ScanPanel::TurnLevel() {
  const bool watches = scanner_.settings().level.has_value();
  ChangeSettings([this, watches](ScanSettings& settings) {
    settings.level = watches ? std::nullopt : std::optional(mark_->value());
  });
}

int ScanPanel::full_scale() const {
  return scanner_.full_scale ? scanner_.full_scale() : 0;
}

void ScanPanel::Refresh() {
  ShowSettings();
  ShowLevel();
}

void ScanPanel::ShowState() {
  const bool running = scanner_.running();
  run_->SetLit(running);
  run_->SetText(running ? tr("Stop") : tr("Scan"));
  skip_->setEnabled(running);
  ShowText(state_, ScanLine(scanner_.state()));
  state_->setToolTip(state_->text());
}

void ScanPanel::ShowSettings() {
  const ScanSettings& settings = scanner_.settings();
  up_->SetLit(!settings.down);
  down_->SetLit(settings.down);
  for (const auto& [box, time] : {std::pair(dwell_, settings.dwell), std::pair(hang_, settings.hang)}) {
    const QSignalBlocker quiet(box);
    if (!box->hasFocus()) box->setValue(SecondsOf(time));
  }
  const auto end = [](const std::optional<Frequency>& frequency) {
    return frequency ? ToQt(KhzText(*frequency)) : QString("–");
  };
  const QString ends = tr("%1 to %2").arg(end(scanner_.start_frequency()), end(scanner_.end_frequency()));
  if (ends_->text() != ends) ShowText(ends_, ends);
  const bool watches = settings.level.has_value();
  if (vu_->isChecked() != watches || vu_->text().isEmpty()) {
    vu_->SetLit(watches);
    vu_->SetText(watches ? tr("Stop VU") : tr("Start VU"));
  }
  const QSignalBlocker quiet(mark_);
  if (mark_->maximum() != std::max(1, full_scale())) mark_->setRange(0, std::max(1, full_scale()));
  if (watches && !mark_->isSliderDown()) mark_->setValue(*settings.level);
}

void ScanPanel::ShowLevel() {
  const bool watches = scanner_.settings().level.has_value() && scanner_.level;
  const int level = watches ? scanner_.level() : 0;
  const double full = mark_->maximum();
  level_->SetLevel(level / full);
  level_->SetMark(mark_->value() / full);
  const QString text = watches ? tr("%1 of %2").arg(level).arg(mark_->value()) : tr("mark %1").arg(mark_->value());
  if (mark_text_->text() != text) ShowText(mark_text_, text);
}

}  // namespace kvx::console
