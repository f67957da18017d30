#include "console/knob_panel.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeySequence>

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
