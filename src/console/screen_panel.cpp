#include "console/screen_panel.h"

#include <QHBoxLayout>
#include <QKeySequence>
#include <QVBoxLayout>

#include "core/text.h"

namespace kvx::console {
namespace {

QString BandName(int number) {
  if (number == 35) return "902 MHz";
  if (number == 220 || number == 440) return QString::number(number) + " MHz";
  return QString::number(number) + (number == 23 ? " cm" : " m");
}

/// "14000.0": limits have one decimal.
QString LimitText(Frequency frequency) {
  return ToQt(KhzText(frequency)).chopped(1);
}

/// "14 030.00"
QString SpacedKhz(Frequency frequency) {
  QString text = ToQt(KhzText(frequency));
  if (text.size() > 6) text.insert(text.size() - 6, ' ');
  return text;
}

}  // namespace

ScreenPanel::ScreenPanel(Station& station, const widgets::Appearance& appearance) : Panel(station, "screen") {
  frequency_ = new widgets::FrequencyDisplay(appearance);
  auto* column = new QVBoxLayout(this);
  const int em = fontMetrics().height();
  column->setContentsMargins(em, em / 2, em, em / 2);
  column->setSpacing(em / 4);
  MakeChips();
  auto* chips = new QHBoxLayout;
  for (QLabel* chip : {vfo_a_, vfo_b_, mode_, narrow_, offset_, transmitting_}) chips->addWidget(chip);
  chips->addStretch();
  chips->addWidget(band_);
  auto* bottom = new QHBoxLayout;
  bottom->addWidget(other_);
  bottom->addStretch();
  bottom->addWidget(step_);
  column->addLayout(chips);
  column->addWidget(frequency_, 1);
  column->addLayout(bottom);
  ConnectDisplay();
}

void ScreenPanel::MakeChips() {
  const auto chip = [](const QString& text, const QString& name) {
    QLabel* label = MakeLabel(name, "chip");
    label->setText(text);
    return label;
  };
  vfo_a_ = chip(tr("VFO A"), tr("VFO A"));
  vfo_b_ = chip(tr("VFO B"), tr("VFO B"));
  mode_ = chip({}, tr("Mode"));
  narrow_ = chip(tr("Narrow"), tr("Narrow CW and FM"));
  offset_ = chip({}, tr("Offset: the rig is this much above the display"));
  transmitting_ = chip(tr("TX"), tr("The transmitter is keyed"));
  transmitting_->setProperty("role", "chip-danger");
  band_ = new widgets::TabularLabel(tr("Band and its limits"));
  band_->setProperty("role", "quiet");
  other_ = new widgets::TabularLabel(tr("Frequency of the other VFO"));
  other_->setProperty("role", "quiet");
  other_->SetScale(1.7);
  step_ = new widgets::LampButton({}, tr("Tuning step, kHz"));
  step_->SetRole("chip");
  step_->setCheckable(false);
  step_->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
  step_->SetKeys(QKeySequence("Alt+0"));
  connect(step_, &QPushButton::clicked, this, [this] { station_.bands.ClickStep(); });
}

void ScreenPanel::ConnectDisplay() {
  frequency_->on_tune = [this](Frequency frequency) { Report(station_.engine.operations.TuneTo(frequency)); };
  frequency_->on_base_frequency = [this](Frequency frequency) { Report(station_.bands.SetBaseFrequency(frequency)); };
  frequency_->on_wheel = [this](int steps) { Report(station_.bands.TurnKnob(steps)); };
  frequency_->on_refused = [this](const QString& why) { station_.Notice(why.toStdString()); };
}

void ScreenPanel::Follow(Field field) {
  const Console& console = station_.console;
  switch (field) {
    case Field::kFreqDisp:
      return frequency_->SetFrequency(*console.FreqDisp);
    case Field::kMode:
      return ShowText(mode_, ToQt(Trim(*console.Mode)));
    case Field::kXnarrow:
      return narrow_->setVisible(*console.Xnarrow);
    case Field::kActiveVfo:
    case Field::kFreqA:
    case Field::kFreqB:
      return ShowVfos();
    case Field::kBandNumber:
    case Field::kFromF:
    case Field::kToF:
      return ShowBand();
    case Field::kChannel:
      step_->setAccessibleName(tr("Tuning step %1 kHz").arg(ToQt(*console.Channel)));
      return step_->SetText(tr("Step %1").arg(ToQt(*console.Channel)));
    case Field::kOffset:
      return ShowOffset();
    case Field::kTransmitting:
      return transmitting_->setVisible(*console.Transmitting);
    default:
      return;
  }
}

void ScreenPanel::Light(QLabel* chip, bool lit) {
  chip->setAccessibleDescription(lit ? tr("in use") : QString());
  widgets::SetRole(chip, lit ? "chip-on" : "chip");
}

void ScreenPanel::ShowVfos() {
  const Console& console = station_.console;
  const bool b = *console.ActiveVfo == 'B';
  Light(vfo_a_, !b);
  Light(vfo_b_, b);
  const Frequency other = b ? *console.FreqA : *console.FreqB;
  other_->SetText(other.decihertz == 0 ? QString() : QString(b ? "A   " : "B   ") + SpacedKhz(other));
}

void ScreenPanel::ShowBand() {
  const Console& console = station_.console;
  band_->SetText(BandName(*console.BandNumber) + "   " + LimitText(*console.FromF) + " – " + LimitText(*console.ToF));
}

void ScreenPanel::ShowOffset() {
  const Frequency offset = *station_.console.Offset;
  frequency_->SetOffset(offset);
  ShowText(offset_, tr("Offset %1").arg(ToQt(KhzText(offset))));
  offset_->setVisible(offset.decihertz != 0);
}

}  // namespace kvx::console
