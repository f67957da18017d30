#include "console/slider_panel.h"

#include <QHBoxLayout>

namespace kvx::console {
namespace {

/// As the rig's row spells it, "AF gain" rather than "af gain", where the definition has it from there.
QString Description(const config::RigDefinition& rig, std::size_t index) {
  const QString description = ToQt(rig.slider_descriptions[index]);
  const QString spelled =
      ToQt(rig.row["MEMO3"]).section(',', static_cast<int>(index), static_cast<int>(index)).trimmed();
  return spelled.toLower() == description ? spelled : description;
}

}  // namespace

SliderPanel::SliderPanel(Station& station, const widgets::Appearance& appearance) : Panel(station, "panel") {
  auto* row = new QHBoxLayout(this);
  const int gap = fontMetrics().height() / 2;
  row->setContentsMargins(gap, gap, gap, gap);
  row->setSpacing(0);
  for (std::size_t i = 0; i < sliders_.size(); ++i) {
    const int number = static_cast<int>(i) + 1;
    sliders_[i] = new widgets::SliderColumn(appearance);
    sliders_[i]->on_move = [this, number](int value) {
      const cat::SendOutcome outcome = station_.MoveSlider(number, value);
      if (outcome != cat::SendOutcome::kNoTemplate) Report(outcome);  // the tone slider has no command
    };
    row->addWidget(sliders_[i]);
  }
}

void SliderPanel::Follow(Field field) {
  if (field == Field::kRigRow || field == Field::kRigName) ShowControls();
  if (field == Field::kSlider) ShowValues();
}

void SliderPanel::ShowControls() {
  const config::RigDefinition& rig = station_.engine.rig();
  for (std::size_t i = 0; i < sliders_.size(); ++i) {
    const config::SliderBounds bounds = station_.slider_bounds(static_cast<int>(i) + 1);
    sliders_[i]->SetControl(ToQt(rig.slider_captions[i]), Description(rig, i), bounds.minimum, bounds.maximum);
  }
  ShowValues();
}

void SliderPanel::ShowValues() {
  for (std::size_t i = 0; i < sliders_.size(); ++i) sliders_[i]->SetValue(station_.console.Slider[i]);
}

}  // namespace kvx::console
