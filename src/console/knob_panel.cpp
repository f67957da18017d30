#include "console/knob_panel.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLineEdit>
#include <QSignalBlocker>

namespace kvx::console {

KnobPanel::KnobPanel(Station& station, const widgets::Appearance& appearance) : Panel(station, "panel") {
  knob_ = new widgets::TuningKnob(appearance);
  knob_->on_turn = [this](int steps) { Report(station_.bands.TurnKnob(steps)); };
  const int gap = fontMetrics().height() / 2;
  auto* grid = new QGridLayout(this);
  grid->setContentsMargins(gap, gap, gap, gap);
  grid->setSpacing(gap / 2 + 1);
  grid->addWidget(knob_, 0, 0, 1, 2);
  grid->setRowStretch(0, 1);
  grid->setColumnStretch(1, 1);
  const auto add_row = [&](int at, const QString& caption, const QString& name, auto& buttons, int first,
                           const QString& keys, auto press) {
    QLabel* label = MakeLabel(name, "caption");
    label->setText(caption);
    grid->addWidget(label, at, 0);
    auto* row = new QHBoxLayout;
    row->setSpacing(gap / 2);
    for (std::size_t i = 0; i < buttons.size(); ++i) {
      const int number = static_cast<int>(i) + first;
      buttons[i] = new widgets::LampButton(QString::number(number), name + " " + QString::number(number));
      buttons[i]->SetRole("small");
      buttons[i]->SetKeys(QKeySequence(keys.arg(number)));
      connect(buttons[i], &QPushButton::clicked, this, [press, number] { press(number); });
      row->addWidget(buttons[i]);
    }
    grid->addLayout(row, at, 1);
  };
  add_row(1, tr("RIG"), tr("Rig number"), rigs_, 1, "Ctrl+%1",
          [this](int number) { Report(station_.Rig_Click(number)); });
  add_row(2, tr("SAVED"), tr("Saved rig"), saved_rigs_, 0, "Ctrl+Alt+%1",
          [this](int slot) { Report(station_.xRig_Click(slot)); });
  QLabel* cw = MakeLabel(tr("CW keying"), "caption");
  cw->setText(tr("CW"));
  grid->addWidget(cw, 3, 0);
  grid->addLayout(MakeKeying(), 3, 1);
}

QHBoxLayout* KnobPanel::MakeKeying() {
  speed_ = new QSpinBox;
  speed_->setObjectName("CWSpeed");
  speed_->setRange(keyer::kSlowest, keyer::kFastest);
  speed_->setSuffix(tr(" wpm"));
  speed_->setAccessibleName(tr("CW speed, words a minute"));
  speed_->findChild<QLineEdit*>()->setAccessibleName(speed_->accessibleName());
  speed_->setToolTip(tr("CW speed in words a minute (Ctrl+Shift+PgUp, Ctrl+Shift+PgDown)"));
  speed_->setFocusPolicy(Qt::StrongFocus);
  connect(speed_, &QSpinBox::valueChanged, this, [this](int wpm) { Report(station_.keyer.SetSpeed(wpm)); });
  tune_ = new widgets::LampButton(tr("TUNE"), tr("Tune: hold the key down, or let it go"));
  tune_->SetRole("transmit");
  tune_->SetKeys(QKeySequence("Ctrl+T"));
  connect(tune_, &QPushButton::clicked, this, [this] { station_.keyer.TuneIt(); });
  auto* row = new QHBoxLayout;
  row->setSpacing(fontMetrics().height() / 4);
  row->addWidget(speed_);
  row->addWidget(tune_, 1);
  return row;
}

void KnobPanel::Follow(Field field) {
  const Console& console = station_.console;
  switch (field) {
    case Field::kVfoKnob:
      return knob_->SetReadout(ToQt(*console.VFO));
    case Field::kRigNumber:
      for (std::size_t i = 0; i < rigs_.size(); ++i) rigs_[i]->SetLit(ToQt(*console.RigNumber) == rigs_[i]->text());
      return;
    case Field::kRigSlot:
    case Field::kSavedRigs:
    case Field::kRigName:
      return ShowSavedRigs();
    case Field::kCwSpeed: {
      const QSignalBlocker quiet(speed_);
      return speed_->setValue(*console.CWSpeed);
    }
    case Field::kTune:
      return tune_->SetLit(*console.Tune);
    default:
      return;
  }
}

void KnobPanel::ShowSavedRigs() {
  for (std::size_t i = 0; i < saved_rigs_.size(); ++i) {
    widgets::LampButton* button = saved_rigs_[i];
    const bool plain = i == 0;
    const QString rig = plain ? tr("the rig of the settings") : ToQt(station_.settings().saved_rigs[i].name);
    button->setAccessibleName(tr("Saved rig %1: %2").arg(i).arg(rig.isEmpty() ? tr("empty") : rig));
    button->SetKeys(button->shortcut());
    button->SetLit(static_cast<int>(i) == *station_.console.RigSlot);
  }
}

}  // namespace kvx::console
