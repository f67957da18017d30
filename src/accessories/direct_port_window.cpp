#include "accessories/direct_port_window.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QScrollArea>
#include <QShortcut>
#include <QShowEvent>
#include <QVBoxLayout>
#include <tuple>

#include "widgets/qt_text.h"

namespace kvx::accessories {
namespace {

using enum AntennaField;
using widgets::Named;
using widgets::ToQt;
using widgets::WithRole;

constexpr int kPinOfBitZero = 2;

}  // namespace

DirectPF::DirectPF(AntennaControl& antennas, DirectPort& direct, QWidget* parent)
    : QMainWindow(parent), antennas_(antennas), direct_(direct), controls_(antennas) {
  setObjectName("DirectPF");
  setWindowTitle(tr("Direct Port"));
  auto* page = new QWidget;
  page->setObjectName("page");
  auto* column = new QVBoxLayout(page);
  column->addWidget(MakeLines(true, tr("LATCHED")));
  column->addWidget(MakeLines(false, tr("PULSED")));
  column->addWidget(MakeOptions());
  message_ = Named(new QLabel, tr("Message"), tr("What came of the last action"));
  message_->setTextFormat(Qt::PlainText);
  message_->setWordWrap(true);
  column->addWidget(message_);
  column->addStretch(1);
  auto* scroll = new QScrollArea;
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setFocusPolicy(Qt::NoFocus);
  scroll->setWidget(page);
  setCentralWidget(scroll);
  connect(new QShortcut(QKeySequence("Ctrl+W"), this), &QShortcut::activated, this, &QWidget::close);
  following_fields_ = antennas_.changed.Follow([this] { Show(); });
  following_lamps_ = direct_.changed.Follow([this] { Show(); });
  Show();
  resize(page->sizeHint() + QSize(2, 2));
}

QWidget* DirectPF::MakeLines(bool toggles, const QString& caption) {
  auto* panel = WithRole(new QFrame, "panel");
  auto* grid = new QGridLayout(panel);
  grid->addWidget(WithRole(new QLabel(caption), "caption"), 0, 0, 1, DirectPort::kBits);
  int column = 0;
  for (const DirectPort::Button& row : DirectPort::kButtons) {
    if (row.toggle != toggles) continue;
    const int bit = row.bit;
    Line& line = lines_[static_cast<std::size_t>(bit)];
    line.lamp = new widgets::Lamp(tr("Lamp of data bit %1").arg(bit));
    line.lamp->setObjectName(QString("Lamp%1").arg(bit));
    const QString tip = toggles ? tr("Sets data bit %1, pin %2, or clears it") : tr("Pulses data bit %1, pin %2");
    line.button = MakeButton(this, {}, tip.arg(bit).arg(bit + kPinOfBitZero), QKeySequence(QString("Alt+%1").arg(bit)),
                             [this, bit] { Press(bit); });
    line.button->setObjectName(row.name);
    grid->addWidget(line.lamp, 1, column);
    grid->addWidget(line.button, 2, column++);
  }
  return panel;
}

QWidget* DirectPF::MakeOptions() {
  auto* panel = WithRole(new QFrame, "panel");
  auto* rows = new QFormLayout(panel);
  rows->setRowWrapPolicy(QFormLayout::WrapLongRows);
  auto* ports = new QHBoxLayout;
  int number = 0;
  for (QRadioButton* port : controls_.Options(kDirectPort, {{"1", tr("Port 1")}, {"2", tr("Port 2")}},
                                              tr("The parallel port that these buttons drive"))) {
    port->setObjectName(QString("Option%1").arg(++number));
    ports->addWidget(port);
  }
  ports->addStretch(1);
  rows->addRow(ports);
  rows->addRow(controls_.Box(kDirectInvert, tr("&Invert signal"), tr("Kept with the settings")));
  for (const auto& [field, text, name] :
       {std::tuple(kDirectText, tr("Captions, &latched"), tr("Captions of the latched bits")),
        std::tuple(kDirectText1, tr("Captions, &pulsed"), tr("Captions of the pulsed bits"))}) {
    auto* line = controls_.Line(field, name,
                                tr("Captions of the four buttons, separated by commas (%1)")
                                    .arg(QKeySequence::mnemonic(text).toString(QKeySequence::NativeText)));
    auto* label = new QLabel(text);
    label->setBuddy(line);
    rows->addRow(label, line);
  }
  return panel;
}

/// The operator's own, the first one for the lowest bit of its kind.
QString DirectPF::CaptionOf(const DirectPort::Button& button) const {
  int index = 0;
  for (const DirectPort::Button& other : DirectPort::kButtons)
    index += other.toggle == button.toggle && other.bit < button.bit ? 1 : 0;
  const QString captions = ToQt(antennas_.field(button.toggle ? kDirectText : kDirectText1));
  const QString own = captions.section(',', index, index).trimmed();
  if (!own.isEmpty()) return own;
  return button.toggle ? tr("Bit %1").arg(button.bit) : tr("Pin %1").arg(button.bit + kPinOfBitZero);
}

void DirectPF::Press(int bit) {
  const Status pressed = direct_.Press(bit);
  widgets::SetRole(message_, pressed ? "quiet" : "error");
  widgets::ShowText(message_, pressed ? QString() : ToQt(pressed.error().message));
}

void DirectPF::Show() {
  controls_.Refresh();
  for (const DirectPort::Button& row : DirectPort::kButtons) {
    const Line& line = lines_[static_cast<std::size_t>(row.bit)];
    const QString caption = CaptionOf(row);
    line.lamp->SetLit(direct_.lamp(row.bit));
    line.button->setText(QString(caption).replace('&', "&&"));
    line.button->setAccessibleName(caption);
    line.button->setAccessibleDescription(direct_.lamp(row.bit) ? tr("on") : tr("off"));
  }
}

void DirectPF::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  if (!event->spontaneous()) direct_.ReadLights();
}

void DirectPF::closeEvent(QCloseEvent* event) {
  antennas_.Save();
  QMainWindow::closeEvent(event);
}

}  // namespace kvx::accessories
