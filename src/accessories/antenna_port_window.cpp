#include "accessories/antenna_port_window.h"

#include <QEvent>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>
#include <tuple>

#include "widgets/qt_text.h"
#include "widgets/side_by_side.h"

namespace kvx::accessories {
namespace {

using enum AntennaField;
using widgets::Named;
using widgets::ToQt;
using widgets::WithRole;

constexpr const char* kPrompt = "prompt";  // a control's property: what is announced when it gets the focus
constexpr const char* kTopic = "topic";
constexpr int kPorts = 8;
constexpr int kBitCharacters = 5;

std::vector<FieldControls::Option> Speeds() {
  std::vector<FieldControls::Option> speeds;
  for (const char* speed : {"1200", "2400", "4800", "9600", "14400", "19200"}) speeds.push_back({speed, speed});
  return speeds;
}

std::vector<FieldControls::Option> Ports() {
  std::vector<FieldControls::Option> ports{{"0", AntSpeedF::tr("none")}};
  for (int port = 1; port <= kPorts; ++port) ports.push_back({QString::number(port), QString::number(port)});
  return ports;
}

}  // namespace

AntSpeedF::AntSpeedF(AntennaControl& antennas, QWidget* parent)
    : QMainWindow(parent), antennas_(antennas), controls_(antennas) {
  setObjectName("AntSpeedF");
  setWindowTitle(tr("Antenna Port Settings"));
  auto* page = new QWidget;
  page->setObjectName("page");
  auto* column = new QVBoxLayout(page);
  auto* upper = new widgets::SideBySide;
  upper->Add(MakeOptions(kRspeed, tr("SPEED"), tr("Baud of the rotator's port"), "Set speed to ", Speeds(), 2), 1);
  upper->Add(
      MakeOptions(kRport, tr("COMM PORT"), tr("Number of the rotator's serial port"), "Set comm port to ", Ports(), 3),
      1);
  auto* lower = new widgets::SideBySide;
  lower->Add(MakeOptions(kPPort, tr("PARALLEL INTERFACE"), tr("The parallel port that switches the antennas"),
                         "Set parallel interface to L P T ", {{"1", "L P T 1"}, {"2", "L P T 2"}}, 1),
             1);
  lower->Add(MakeLine(), 1);
  column->addWidget(upper);
  column->addWidget(lower);
  column->addStretch(1);
  auto* scroll = new QScrollArea;
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setFocusPolicy(Qt::NoFocus);
  scroll->setWidget(page);
  setCentralWidget(scroll);
  connect(new QShortcut(QKeySequence("Ctrl+W"), this), &QShortcut::activated, this, &QWidget::close);
  controls_.on_entered = [this](const Status& status) {
    if (!status) widgets::ShowText(state_, ToQt(status.error().message));
  };
  const auto show = [this] {
    controls_.Refresh();
    widgets::ShowText(state_, tr("%1, %2").arg(ToQt(antennas_.SettingsText()), ToQt(antennas_.port_state())));
  };
  following_ = antennas_.changed.Follow(show);
  controls_.Fit(fontMetrics());
  show();
  resize(page->sizeHint() + QSize(2, 2));
}

QFrame* AntSpeedF::MakeOptions(AntennaField field, const QString& caption, const QString& tip, const char* prompt,
                               const std::vector<FieldControls::Option>& options, int columns) {
  auto* panel = WithRole(new QFrame, "panel");
  auto* grid = new QGridLayout(panel);
  grid->addWidget(WithRole(new QLabel(caption), "caption"), 0, 0, 1, columns);
  int index = 0;
  for (QRadioButton* button : controls_.Options(field, options, tip)) {
    const QString value = field == kPPort ? options[static_cast<std::size_t>(index)].value : button->text();
    Prompt(button, field, prompt + value);
    button->setAccessibleName(prompt + value);
    grid->addWidget(button, 1 + index / columns, index % columns);
    ++index;
  }
  grid->setRowStretch(grid->rowCount(), 1);
  return panel;
}

QFrame* AntSpeedF::MakeLine() {
  auto* panel = WithRole(new QFrame, "panel");
  auto* rows = new QFormLayout(panel);
  rows->addRow(WithRole(new QLabel(tr("LINE")), "caption"));
  for (const auto& [field, text, name, tip] :
       {std::tuple(kRstart, tr("Start &bits"), tr("Start bits"), tr("Kept; every port has one (Alt+B)")),
        std::tuple(kRstop, tr("St&op bits"), tr("Stop bits"), tr("1 or 2 (Alt+O)"))}) {
    auto* line = controls_.Line(field, name, tip, kBitCharacters);
    auto* label = new QLabel(text);
    label->setBuddy(line);
    rows->addRow(label, line);
  }
  auto* rig = controls_.Box(kUseRig, tr("Use &rig comm port"), tr("Sends the comm string on the rig's line"));
  Prompt(rig, kUseRig, {});
  rows->addRow(rig);
  auto* save = MakeButton(this, tr("Save"), tr("Keeps the settings and opens the port with them"), QKeySequence::Save,
                          [this] { Save(); });
  rows->addRow(save);
  state_ = Named(WithRole(new QLabel, "quiet"), tr("Port"), tr("The port's settings and its state"));
  state_->setTextFormat(Qt::PlainText);
  state_->setWordWrap(true);
  rows->addRow(state_);
  return panel;
}

void AntSpeedF::Prompt(QWidget* control, AntennaField field, const QString& sentence) {
  control->setProperty(kPrompt, sentence);
  control->setProperty(kTopic, static_cast<int>(field));
  control->installEventFilter(this);
}

/// What the control in focus would do is announced; of the rig's option, which has no other, how it is set.
bool AntSpeedF::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::FocusIn) {
    const QString prompt = watched->property(kPrompt).toString();
    const QString state = antennas_.is_on(kUseRig) ? "Use rig comm port set to on" : "Use rig comm prot set to off";
    antennas_.Announce(watched->property(kTopic).toInt(), (prompt.isEmpty() ? state : prompt).toStdString());
  }
  return QMainWindow::eventFilter(watched, event);
}

void AntSpeedF::Save() {
  antennas_.Save();
  antennas_.InitComm();
}

void AntSpeedF::closeEvent(QCloseEvent* event) {
  Save();
  QMainWindow::closeEvent(event);
}

void AntSpeedF::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  if (event->type() == QEvent::FontChange && state_ != nullptr) controls_.Fit(fontMetrics());
}

}  // namespace kvx::accessories
