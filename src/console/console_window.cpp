#include "console/console_window.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include "core/text.h"

namespace kvx::console {
namespace {

constexpr int kGap = 10;
constexpr int kClockCharacters = 19;  // of RIGGMT: date and time to the second

QFrame* Panel(const char* role) {
  auto* frame = new QFrame;
  frame->setProperty("role", role);
  return frame;
}

QString Text(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

void SetRole(QLabel* label, const char* role) {
  if (label->property("role").toString() == role) return;
  label->setProperty("role", role);
  label->style()->unpolish(label);
  label->style()->polish(label);
}

}  // namespace

ConsoleWindow::ConsoleWindow(Station& station) : station_(station), theme_(DarkTheme()) {
  setWindowTitle("KVX");
  setStyleSheet(StyleSheet(theme_));
  auto* center = new QWidget;
  center->setObjectName("center");
  auto* column = new QVBoxLayout(center);
  column->setContentsMargins(kGap, kGap, kGap, kGap);
  column->setSpacing(kGap);
  offer_ = MakeOffer();
  column->addWidget(MakeHeader());
  column->addWidget(offer_);
  column->addWidget(MakeScreen(), 1);
  column->addWidget(MakeMeter());
  column->addWidget(MakeFooter());
  setCentralWidget(center);
  resize(860, 420);
  subscription_ = station_.console.Subscribe([this](Field field) { Follow(field); });
  ShowAll();
}

QLabel* ConsoleWindow::MakeLabel(const QString& name, const char* role) {
  auto* label = new QLabel;
  label->setProperty("role", role);
  label->setAccessibleName(name);
  label->setToolTip(name);
  label->setTextFormat(Qt::PlainText);
  return label;
}

QFrame* ConsoleWindow::MakeHeader() {
  auto* frame = new QFrame;
  auto* row = new QHBoxLayout(frame);
  row->setContentsMargins(4, 0, 4, 0);
  rig_ = MakeLabel(tr("Rig"), "title");
  clock_ = MakeLabel(tr("UTC clock"), "quiet");
  row->addWidget(rig_);
  row->addStretch();
  row->addWidget(clock_);
  return frame;
}

QFrame* ConsoleWindow::MakeScreen() {
  QFrame* frame = Panel("screen");
  auto* column = new QVBoxLayout(frame);
  column->setContentsMargins(18, 12, 18, 12);
  auto* chips = new QHBoxLayout;
  vfo_a_ = MakeLabel(tr("VFO A"), "chip");
  vfo_a_->setText(tr("VFO A"));
  vfo_b_ = MakeLabel(tr("VFO B"), "chip");
  vfo_b_->setText(tr("VFO B"));
  mode_ = MakeLabel(tr("Mode"), "chip");
  for (QLabel* chip : {vfo_a_, vfo_b_, mode_}) chips->addWidget(chip);
  chips->addStretch();
  other_frequency_ = MakeLabel(tr("Frequency of the other VFO"), "quiet");
  chips->addWidget(other_frequency_);
  frequency_ = new FrequencyView(theme_);
  column->addLayout(chips);
  column->addWidget(frequency_, 1);
  return frame;
}

QFrame* ConsoleWindow::MakeMeter() {
  QFrame* frame = Panel("panel");
  auto* row = new QHBoxLayout(frame);
  row->setContentsMargins(18, 10, 18, 10);
  meter_ = new MeterView(theme_);
  meter_text_ = MakeLabel(tr("S-meter reading"), "quiet");
  meter_text_->setMinimumWidth(60);
  meter_text_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  row->addWidget(meter_, 1);
  row->addWidget(meter_text_);
  return frame;
}

QFrame* ConsoleWindow::MakeOffer() {
  QFrame* frame = Panel("panel");
  auto* row = new QHBoxLayout(frame);
  row->addWidget(new QLabel(tr("No rig is chosen on this station yet.")), 1);
  auto* button = new QPushButton(tr("&Use the simulated rig"));
  button->setToolTip(tr("Try the console on a simulated TS-2000 (Alt+U)"));
  connect(button, &QPushButton::clicked, this, [this] {
    if (on_use_simulated_rig) on_use_simulated_rig();
    OfferSimulatedRig(false);
  });
  row->addWidget(button);
  frame->hide();
  return frame;
}

QFrame* ConsoleWindow::MakeFooter() {
  QFrame* frame = Panel("panel");
  auto* row = new QHBoxLayout(frame);
  row->setContentsMargins(12, 7, 12, 7);
  port_ = MakeLabel(tr("Rig port"), "quiet");
  message_ = MakeLabel(tr("Message"), "message");
  message_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  message_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  row->addWidget(port_);
  row->addWidget(message_, 1);
  return frame;
}

void ConsoleWindow::OfferSimulatedRig(bool offer) {
  offer_->setVisible(offer);
}

void ConsoleWindow::closeEvent(QCloseEvent* event) {
  event->ignore();  // the program ends after the orderly shut-down
  hide();
  if (on_close) on_close();
}

void ConsoleWindow::ShowAll() {
  for (const Field field : {Field::kFreqDisp, Field::kMode, Field::kActiveVfo, Field::kSMeter, Field::kRigName,
                            Field::kRiggmt, Field::kPort, Field::kMsgArea}) {
    Follow(field);
  }
}

void ConsoleWindow::Follow(Field field) {
  const Console& console = station_.console;
  switch (field) {
    case Field::kFreqDisp:
      return frequency_->SetFrequency(*console.FreqDisp);
    case Field::kMode:
      return mode_->setText(Text(Trim(*console.Mode)));
    case Field::kActiveVfo:
    case Field::kFreqA:
    case Field::kFreqB:
      return ShowVfo();
    case Field::kSMeter:
      meter_->SetValue(*console.SMeter, cat::SMeterFullScale(station_.engine.rig()));
      return meter_text_->setText(QString::number(*console.SMeter));
    case Field::kRigName:
      return rig_->setText("KVX   " + Text(*console.RigName)), ShowPort();
    case Field::kRiggmt:
      return ShowClock();
    case Field::kPort:
      return ShowPort();
    case Field::kMsgArea:
      return message_->setText(Text(*console.MsgArea));
    case Field::kErrorText:
      if (!console.ErrorText->empty()) message_->setText(Text(*console.ErrorText));  // cleared: the last message stays
      return;
    default:
      return;
  }
}

void ConsoleWindow::ShowClock() {
  const QString text = Text(*station_.console.RIGGMT).left(kClockCharacters) + " UTC";
  if (clock_->text() != text) clock_->setText(text);
}

void ConsoleWindow::ShowPort() {
  const config::StationSettings& settings = station_.settings();
  port_->setText(settings.rig_port == 0 ? tr("No rig port")
                                        : QString("COM%1  %2 baud  %3")
                                              .arg(settings.rig_port)
                                              .arg(settings.rig_speed)
                                              .arg(Text(*station_.console.Port)));
}

void ConsoleWindow::ShowVfo() {
  const Console& console = station_.console;
  const bool b = *console.ActiveVfo == 'B';
  SetRole(vfo_a_, b ? "chip" : "chip-on");
  SetRole(vfo_b_, b ? "chip-on" : "chip");
  const Frequency other = b ? *console.FreqA : *console.FreqB;
  other_frequency_->setText(other.decihertz == 0 ? QString() : QString(b ? "A  " : "B  ") + Text(KhzText(other)));
}

}  // namespace kvx::console
