#include "console/meter_panel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include "cat/reply.h"

namespace kvx::console {
namespace {

struct Row {
  const char* key;
  const char* text;
  const char* name;
};

constexpr std::array kMeters{
    Row{"ALC", "ALC", QT_TRANSLATE_NOOP("MeterPanel", "ALC meter")},
    Row{"PWR", "PWR", QT_TRANSLATE_NOOP("MeterPanel", "Power meter")},
    Row{"SWR", "SWR", QT_TRANSLATE_NOOP("MeterPanel", "Standing wave meter")},
    Row{"ID", "ID", QT_TRANSLATE_NOOP("MeterPanel", "Drain current meter")},
    Row{"VDD", "VDD", QT_TRANSLATE_NOOP("MeterPanel", "Drain voltage meter")},
    Row{"COMP", "COMP", QT_TRANSLATE_NOOP("MeterPanel", "Compression meter")},
};
constexpr std::array kAgc{
    Row{"AGCOFF", QT_TRANSLATE_NOOP("MeterPanel", "Off"), QT_TRANSLATE_NOOP("MeterPanel", "AGC off")},
    Row{"AGCAUTO", QT_TRANSLATE_NOOP("MeterPanel", "Auto"), QT_TRANSLATE_NOOP("MeterPanel", "AGC automatic")},
    Row{"AGCFAST", QT_TRANSLATE_NOOP("MeterPanel", "Fast"), QT_TRANSLATE_NOOP("MeterPanel", "AGC fast")},
    Row{"AGCMED", QT_TRANSLATE_NOOP("MeterPanel", "Med"), QT_TRANSLATE_NOOP("MeterPanel", "AGC medium")},
    Row{"AGCSLOW", QT_TRANSLATE_NOOP("MeterPanel", "Slow"), QT_TRANSLATE_NOOP("MeterPanel", "AGC slow")},
};

}  // namespace

MeterPanel::MeterPanel(Station& station, const widgets::Appearance& appearance) : Panel(station, "panel") {
  dial_ = new widgets::MeterDial(appearance);
  auto* column = new QVBoxLayout(this);
  const int gap = fontMetrics().height() / 3;
  column->setContentsMargins(2 * gap, gap, 2 * gap, gap);
  column->setSpacing(gap);
  column->addWidget(dial_, 1);
  const auto add_button = [this](QHBoxLayout* row, const Row& button_row, auto press) {
    auto* button = new widgets::LampButton(tr(button_row.text), tr(button_row.name));
    button->SetRole("small");
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    connect(button, &QPushButton::clicked, this, press);
    row->addWidget(button);
    return button;
  };
  auto* meters = new QHBoxLayout;
  for (std::size_t i = 0; i < kMeters.size(); ++i) {
    meters_[i] = add_button(meters, kMeters[i], [this, i] { Report(station_.PressMeter(kMeters[i].key)); });
  }
  auto* agc = new QHBoxLayout;
  QLabel* caption = MakeLabel(tr("Automatic gain control"), "caption");
  caption->setText(tr("AGC"));
  agc->addWidget(caption);
  for (std::size_t i = 0; i < kAgc.size(); ++i) {
    agc_[i] = add_button(agc, kAgc[i], [this, i] { Report(station_.PressAgc(kAgc[i].key)); });
  }
  for (QHBoxLayout* row : {meters, agc}) {
    row->setSpacing(gap);
    column->addLayout(row);
  }
}

void MeterPanel::Follow(Field field) {
  switch (field) {
    case Field::kSMeter:
      return dial_->SetSMeter(*station_.console.SMeter, cat::SMeterFullScale(station_.engine.rig()));
    case Field::kMeterValue:
      return ShowMeter();
    case Field::kMeterOn:
    case Field::kLabel10:
    case Field::kAgc:
    case Field::kRigRow:
      ShowButtons();
      return ShowMeter();
    default:
      return;
  }
}

void MeterPanel::ShowMeter() {
  const Console& console = station_.console;
  dial_->SetMeter(ToQt(*console.Label10), *console.MeterValue, cat::SMeterFullScale(station_.engine.rig()));
}

void MeterPanel::ShowButtons() {
  const Console& console = station_.console;
  for (std::size_t i = 0; i < kMeters.size(); ++i) {
    meters_[i]->SetLit(*console.MeterOn && *console.Label10 == kMeters[i].key);
    meters_[i]->setEnabled(Offers(kMeters[i].key));
  }
  for (std::size_t i = 0; i < kAgc.size(); ++i) {
    agc_[i]->SetLit(*console.Agc == kAgc[i].key);
    agc_[i]->setEnabled(Offers(kAgc[i].key));
  }
}

}  // namespace kvx::console
