#include "accessories/antenna_window.h"

#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>
#include <algorithm>

#include "core/text.h"
#include "widgets/qt_text.h"
#include "widgets/side_by_side.h"

namespace kvx::accessories {
namespace {

using enum AntennaField;
using widgets::Named;
using widgets::ShowText;
using widgets::ToQt;
using widgets::WithRole;

constexpr int kWide = 56;  // heights of text
constexpr int kHigh = 31;
constexpr int kMostTyped = 20;
constexpr std::array kButtons{"Command2", "Command3", "Command4", "Command5"};

QLabel* Label(const QString& name, const QString& tip, const char* role) {
  auto* label = Named(WithRole(new QLabel, role), name, tip);
  label->setTextFormat(Qt::PlainText);
  return label;
}

QString Degrees(const std::string& bearing) {
  return QString("%1°").arg(static_cast<int>(Val(bearing)), 3, 10, QChar('0'));
}

}  // namespace

AntContF::AntContF(AntennaControl& antennas, Console& console, const widgets::Appearance& appearance, QWidget* parent)
    : QMainWindow(parent), antennas_(antennas), console_(console), appearance_(appearance), scroll_(new QScrollArea) {
  setObjectName("AntContF");
  setWindowTitle(tr("Antenna Control"));
  auto* page = new QWidget;
  page->setObjectName("page");
  auto* column = new QVBoxLayout(page);
  auto* controls = new QWidget;
  auto* right = new QVBoxLayout(controls);
  right->setContentsMargins(0, 0, 0, 0);
  right->addWidget(MakeBearing());
  right->addWidget(MakeAntennas());
  right->addLayout(MakeState());
  right->addStretch(1);
  auto* upper = new widgets::SideBySide;
  upper->Add(MakeRose(), 1);
  upper->Add(controls);
  column->addWidget(upper, 1);
  setup_ = new AntennaSetup(antennas_);
  setup_->on_entered = [this](const Status& status) { Tell(status); };
  setup_->hide();
  column->addWidget(setup_);
  message_ = Label(tr("Message"), tr("What went wrong with the last action"), "error");
  message_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  column->addWidget(message_);
  scroll_->setWidgetResizable(true);
  scroll_->setFrameShape(QFrame::NoFrame);
  scroll_->setFocusPolicy(Qt::NoFocus);
  scroll_->setWidget(page);
  setCentralWidget(scroll_);
  connect(new QShortcut(QKeySequence("Ctrl+W"), this), &QShortcut::activated, this, &QWidget::close);
  connect(&appearance_, &widgets::Appearance::Changed, this, [this] {
    command_->setFont(widgets::FixedFont());
    ShowPorts();
  });
  following_ = antennas_.changed.Follow([this] { Show(); });
  subscription_ = console.Subscribe([this](Field field) {
    if (field == Field::kPort) ShowPorts();
  });
  bearing_->setFocus();
  Show();
  resize(QSize(kWide, kHigh) * fontMetrics().height());
}

QWidget* AntContF::MakeRose() {
  auto* panel = WithRole(new QFrame, "panel");
  auto* box = new QVBoxLayout(panel);
  rose_ = new widgets::CompassRose(appearance_);
  rose_->setObjectName("rose");
  rose_->on_wanted = [this](std::optional<double> bearing) {
    antennas_.SetLongPath(false);  // the rose is where the antenna points
    antennas_.SetBearing(bearing ? QString::number(*bearing).toStdString() : std::string());
  };
  rose_->on_ask = [this](int bearing) {
    rose_->on_wanted(bearing);
    Send();
  };
  box->addWidget(rose_);
  return panel;
}

QWidget* AntContF::MakeBearing() {
  auto* panel = WithRole(new QFrame, "panel");
  auto* grid = new QGridLayout(panel);
  bearing_ = Named(new QLineEdit, tr("Go to bearing"),
                   tr("Degrees, 0 to 359, or a Maidenhead locator such as JN58; Enter sends"), QKeySequence("Alt+G"));
  bearing_->setObjectName("IBearing");
  bearing_->setMaxLength(kMostTyped);
  bearing_->setPlaceholderText(tr("0 to 359, or JN58"));
  connect(bearing_, &QLineEdit::textEdited, this,
          [this](const QString& text) { antennas_.SetBearing(text.toStdString()); });
  auto* caption = new QLabel(tr("&Go to bearing"));
  caption->setBuddy(bearing_);
  auto* send = MakeButton(this, tr("Send"), tr("Turns the rotator and switches the antenna"), QKeySequence("Alt+S"),
                          [this] { Send(); });
  send->setObjectName("Command1");
  send->setDefault(true);
  long_path_ = Named(new QCheckBox(tr("Long path")), tr("Long path"), tr("The other way round the earth"),
                     QKeySequence("Alt+H"));
  connect(new QShortcut(QKeySequence("Alt+H"), this), &QShortcut::activated, long_path_, &QAbstractButton::click);
  connect(long_path_, &QCheckBox::clicked, this, [this](bool on) { antennas_.SetLongPath(on); });
  target_ = Label(tr("Goes to"), tr("Where it would go, and how far away that is"), "title");
  command_ = Label(tr("Command"), tr("What the rotator would be sent"), "quiet");
  command_->setFont(widgets::FixedFont());
  last_ = Label(tr("Last bearing"), tr("The last bearing that was sent"), "chip");
  last_->setObjectName("LastBearing");
  grid->addWidget(caption, 0, 0, 1, 2);
  grid->addWidget(bearing_, 1, 0);
  grid->addWidget(send, 1, 1);
  grid->addWidget(long_path_, 2, 0, 1, 2);
  grid->addWidget(target_, 3, 0, 1, 2);
  grid->addWidget(command_, 4, 0, 1, 2);
  grid->addWidget(WithRole(new QLabel(tr("Last bearing")), "quiet"), 5, 0);
  grid->addWidget(last_, 5, 1);
  return panel;
}

QWidget* AntContF::MakeAntennas() {
  auto* panel = WithRole(new QFrame, "panel");
  auto* grid = new QGridLayout(panel);
  for (int antenna = 1; antenna <= kAntennas; ++antenna) {
    const auto index = static_cast<std::size_t>(antenna - 1);
    auto* button = MakeButton(this, tr(kAntennaNames[index]), tr("Switches antenna %1 in").arg(antenna),
                              QKeySequence(QString("Alt+%1").arg(antenna)), [this, antenna] { PressAntenna(antenna); });
    button->setObjectName(kButtons[index]);
    button->setAccessibleName(tr("Antenna %1").arg(tr(kAntennaNames[index])));
    auto* lamp = new widgets::Lamp(tr("Lamp of antenna %1").arg(tr(kAntennaNames[index])));
    lamp->setObjectName(QString("Ant%1Dot").arg(antenna));
    const int column = 2 * ((antenna - 1) % 2);
    grid->addWidget(lamp, (antenna - 1) / 2, column);
    grid->addWidget(button, (antenna - 1) / 2, column + 1);
    grid->setColumnStretch(column + 1, 1);
    rows_[index] = {lamp, button};
  }
  return panel;
}

QLayout* AntContF::MakeState() {
  port_ = Label(tr("Rotator port"), tr("State of the rotator's port"), "quiet");
  port_->setTextFormat(Qt::RichText);
  lines_ = Label(tr("Antenna lines"), tr("How the antennas are switched"), "quiet");
  for (QLabel* label : {port_, lines_}) label->setWordWrap(true);
  setup_button_ = MakeButton(this, tr("Setup"), tr("Shows or hides the setup"), QKeySequence("Alt+U"),
                             [this] { ShowSetup(!setup_->isVisibleTo(this)); });
  setup_button_->setObjectName("setup");
  setup_button_->setCheckable(true);
  auto* grid = new QGridLayout;
  grid->addWidget(port_, 0, 0, 1, 3);
  grid->addWidget(lines_, 1, 0, 1, 3);
  grid->addWidget(setup_button_, 2, 0);
  grid->addWidget(MakeButton(this, tr("Ports…"), tr("Opens the antenna port settings"), QKeySequence("Alt+N"),
                             [this] {
                               if (on_port_settings) on_port_settings();
                             }),
                  2, 1);
  grid->addWidget(
      MakeButton(this, tr("Direct…"), tr("Opens the window of the single data lines"), QKeySequence("Alt+D"),
                 [this] {
                   if (on_direct_port) on_direct_port();
                 }),
      2, 2);
  return grid;
}

void AntContF::Send() {
  Tell(Ok());
  const Status sent = antennas_.SendIt();
  if (!sent) Tell(sent);
  if (!sent && sent.error().code == ErrorCode::kInvalid && !*console_.Announce && on_message)
    on_message(ToQt(sent.error().message));
}

void AntContF::PressAntenna(int antenna) {
  Tell(antennas_.PressAntenna(antenna));
}

void AntContF::ShowMessage(const QString& message) {
  ShowText(message_, message);
}

void AntContF::Tell(const Status& status) {
  ShowMessage(status ? QString() : ToQt(status.error().message));
}

void AntContF::ShowSetup(bool shown) {
  const int more = (shown ? setup_->sizeHint().height() : setup_->height()) + scroll_->widget()->layout()->spacing();
  setup_->setVisible(shown);
  setup_button_->setChecked(shown);
  if (windowState() != Qt::WindowNoState) return;
  const int room = screen()->availableSize().height() - (frameGeometry().height() - height());
  resize(width(), std::min(std::max(height() + (shown ? more : -more), minimumSizeHint().height()), room));
}

void AntContF::Show() {
  std::vector<widgets::CompassRose::Antenna> shown;
  for (int antenna = 1; antenna <= kAntennas; ++antenna) {
    const auto index = static_cast<std::size_t>(antenna - 1);
    const bool lit = antennas_.AntDot(antenna);
    rows_[index].lamp->SetLit(lit);
    const auto value = [this](AntennaField field) { return Val(antennas_.field(field)); };
    shown.push_back({tr(kAntennaNames[index]), {value(FromField(antenna)), value(ToField(antenna))}, lit});
  }
  rose_->SetAntennas(std::move(shown));
  if (bearing_->text() != ToQt(antennas_.IBearing())) bearing_->setText(ToQt(antennas_.IBearing()));
  long_path_->setChecked(antennas_.long_path());
  const std::string& last = antennas_.LastBearing();
  rose_->SetBearing(last.empty() ? std::nullopt : std::optional(Val(last)));
  ShowText(last_, last.empty() ? tr("none") : ToQt(last));
  setup_->Refresh();
  ShowTarget();
  ShowPorts();
}

void AntContF::ShowTarget() {
  const auto target = antennas_.PreviewTarget();
  rose_->SetWanted(target ? std::optional(Val(target->text)) : std::nullopt);
  QString text = target ? Degrees(target->text) : antennas_.IBearing().empty() ? QString() : tr("no bearing");
  if (target && target->kilometres) text += tr(", %1 km").arg(*target->kilometres, 0, 'f', 0);
  if (target && antennas_.long_path()) text += tr(", long path");
  ShowText(target_, text);
  ShowText(command_, ToQt(antennas_.PreviewCommand()));
}

void AntContF::ShowPorts() {
  const bool rig = antennas_.is_on(kUseRig);
  const bool open = rig ? *console_.Port == "open" : antennas_.port_state() == "open";
  const QString state = rig ? tr("Rotator on the rig's port, %1").arg(ToQt(*console_.Port))
                            : tr("Rotator COM%1, %2").arg(ToQt(antennas_.field(kRport)), ToQt(antennas_.port_state()));
  const widgets::Theme& theme = appearance_.theme();
  const QColor color = open ? theme.green : theme.quiet_ink;
  const QString none = tr("No rotator port is chosen");
  const bool chosen = rig || LeadingNumber(antennas_.field(kRport)) > 0;
  const QString reply = ToQt(antennas_.last_reply());
  const QString text = !chosen ? none : reply.isEmpty() ? state : tr("%1, says %2").arg(state, reply);
  port_->setText(
      QString("<span style='color:%1'>%2</span> %3").arg(color.name(), open ? "●" : "○", text.toHtmlEscaped()));
  port_->setAccessibleDescription(text);
  const int pulse = antennas_.pulse_microseconds();
  const QString how = pulse > 0 ? tr("pulses of %1 µs").arg(pulse) : pulse == 0 ? tr("latched") : tr("nothing is sent");
  ShowText(lines_, tr("Antennas on LPT%1, %2").arg(antennas_.parallel_port()).arg(how));
}

void AntContF::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  if (!event->spontaneous()) antennas_.ReadLights();
}

void AntContF::closeEvent(QCloseEvent* event) {
  antennas_.Save();
  antennas_.SaveBearing();
  QMainWindow::closeEvent(event);
}

/// Enter sends from the bearing's field alone: in the setup it only ends an entry, and a kilowatt may be on.
void AntContF::keyPressEvent(QKeyEvent* event) {
  const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (!enter || !bearing_->hasFocus() || event->modifiers() & ~Qt::KeypadModifier)
    return QMainWindow::keyPressEvent(event);
  if (!event->isAutoRepeat()) Send();
}

}  // namespace kvx::accessories
