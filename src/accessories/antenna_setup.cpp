#include "accessories/antenna_setup.h"

#include <QComboBox>
#include <QEvent>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <tuple>

#include "accessories/rotator_presets.h"
#include "widgets/qt_text.h"
#include "widgets/side_by_side.h"

namespace kvx::accessories {
namespace {

using enum AntennaField;
using widgets::Named;
using widgets::WithRole;

constexpr int kBearingCharacters = 5;
constexpr int kNumberCharacters = 8;

/// The label's mnemonic leads to the control.
QLabel* LabelFor(const QString& text, QWidget* control) {
  auto* label = new QLabel(text);
  label->setBuddy(control);
  const QString key = QKeySequence::mnemonic(text).toString(QKeySequence::NativeText);
  if (!key.isEmpty()) control->setToolTip(control->toolTip() + " (" + key + ")");
  return label;
}

}  // namespace

AntennaSetup::AntennaSetup(AntennaControl& antennas, QWidget* parent)
    : QWidget(parent), antennas_(antennas), controls_(antennas) {
  controls_.on_entered = [this](const Status& status) {
    if (on_entered) on_entered(status);
  };
  auto* panels = new widgets::SideBySide;
  panels->Add(MakeRotator(), 1);
  panels->Add(MakeRanges());
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->addWidget(panels);
  controls_.Fit(fontMetrics());
  Refresh();
}

QWidget* AntennaSetup::MakeRotator() {
  auto* panel = WithRole(new QFrame, "panel");
  auto* rows = new QFormLayout(panel);
  rows->setRowWrapPolicy(QFormLayout::WrapLongRows);
  rows->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  rows->addRow(WithRole(new QLabel(tr("ROTATOR")), "caption"));
  presets_ = Named(new QComboBox, tr("Controller"), tr("Puts the command of a usual controller into the comm string"));
  presets_->addItem(tr("its own command"));
  for (const RotatorPreset& preset : RotatorPresets()) {
    presets_->addItem(preset.name);
    presets_->setItemData(presets_->count() - 1, preset.made_from, Qt::ToolTipRole);
  }
  connect(presets_, &QComboBox::activated, this, &AntennaSetup::ChoosePreset);
  rows->addRow(LabelFor(tr("Contro&ller"), presets_), presets_);
  for (const auto& [field, label, name, tip, characters] : {
           std::tuple(kCommString, tr("Comm Str&ing"), tr("Comm String"),
                      tr("What the rotator is sent; <BEARING> stands for the bearing, <CR> for a carriage return"), 0),
           std::tuple(kRport, tr("&Port number"), tr("Port number"),
                      tr("Number of the rotator's serial port; 0: no port"), kNumberCharacters),
           std::tuple(kRspeed, tr("Sp&eed"), tr("Speed"), tr("Baud"), kNumberCharacters),
           std::tuple(kRstart, tr("Start &bits"), tr("Start bits"), tr("Kept; every port has one"), kNumberCharacters),
           std::tuple(kRstop, tr("St&op bits"), tr("Stop bits"), tr("1 or 2"), kNumberCharacters),
           std::tuple(kLocator, tr("Own lo&cator"), tr("Own locator"),
                      tr("Your own Maidenhead locator, from which bearings to others are computed"), kNumberCharacters),
       }) {
    auto* line = controls_.Line(field, name, tip, characters);
    rows->addRow(LabelFor(label, line), line);
    if (field != kRport && field != kRspeed && field != kRstop) continue;
    connect(line, &QLineEdit::textEdited, line, [line] { line->setProperty("entered", true); });
    connect(line, &QLineEdit::editingFinished, this, [this, line] {
      if (line->property("entered").toBool()) antennas_.InitComm();
      line->setProperty("entered", false);
    });
  }
  rows->addRow(controls_.Box(kUseRig, tr("Use &rig comm port"), tr("Sends the comm string on the rig's line")));
  return panel;
}

QWidget* AntennaSetup::MakeRanges() {
  auto* panel = WithRole(new QFrame, "panel");
  auto* grid = new QGridLayout(panel);
  grid->addWidget(WithRole(new QLabel(tr("ANTENNAS")), "caption"), 0, 0, 1, 2);
  grid->addWidget(new QLabel(tr("From")), 0, 2);
  grid->addWidget(new QLabel(tr("To")), 0, 3);
  for (int antenna = 1; antenna <= kAntennas; ++antenna) {
    grid->addWidget(new QLabel(tr(kAntennaNames[static_cast<std::size_t>(antenna - 1)])), antenna, 0, 1, 2);
    for (const auto& [field, word, column] :
         {std::tuple(FromField(antenna), tr("from"), 2), std::tuple(ToField(antenna), tr("to"), 3)})
      grid->addWidget(
          controls_.Line(field, tr("Antenna %1 %2").arg(antenna).arg(word),
                         tr("The antenna is switched in for bearings of this range, in degrees"), kBearingCharacters),
          antenna, column);
  }
  int row = kAntennas + 1;
  auto* pulse = controls_.Line(kMSec, tr("Micro seconds"), tr("Length of a pulse; 0: the line stays as it is set"),
                               kNumberCharacters);
  grid->addWidget(LabelFor(tr("&Micro Seconds"), pulse), row, 0, 1, 2);
  grid->addWidget(pulse, row++, 2, 1, 2);
  for (const QString& note : {tr("Or set To Zero"), tr("to maintaine state")}) {
    grid->addWidget(WithRole(new QLabel(note), "quiet"), row++, 0, 1, 4);
  }
  auto* port = controls_.Line(kPPort, tr("Parallel port"), tr("1: LPT1, 2: LPT2"), kBearingCharacters);
  grid->addWidget(LabelFor(tr("P&arallel port"), port), row, 0, 1, 2);
  grid->addWidget(port, row++, 2, 1, 2);
  grid->addWidget(controls_.Box(kAntLock, tr("No hot s&witching"),
                                tr("Switches no antenna while the console keys the transmitter")),
                  row++, 0, 1, 4);
  grid->setRowStretch(row, 1);
  return panel;
}

void AntennaSetup::ChoosePreset(int index) {
  if (index == 0) return;
  const Status used = antennas_.UsePreset(presets_->itemText(index).toStdString());
  antennas_.SaveChanges();
  if (on_entered) on_entered(used);
}

void AntennaSetup::Refresh() {
  controls_.Refresh();
  const auto& presets = RotatorPresets();
  const auto same = [this](const RotatorPreset& preset) { return preset.command == antennas_.field(kCommString); };
  const auto preset = std::find_if(presets.begin(), presets.end(), same);
  presets_->setCurrentIndex(preset == presets.end() ? 0 : static_cast<int>(preset - presets.begin()) + 1);
}

void AntennaSetup::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::FontChange && presets_ != nullptr) controls_.Fit(fontMetrics());
}

}  // namespace kvx::accessories
