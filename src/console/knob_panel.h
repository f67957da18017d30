#pragma once

#include <array>

#include "console/panel.h"
#include "widgets/tuning_knob.h"

namespace kvx::console {

/// The tuning knob, the seven rig buttons and the nine saved-rig buttons.
class KnobPanel final : public Panel {
 public:
  KnobPanel(Station& station, const widgets::Appearance& appearance);
  void Follow(Field field) override;

 private:
  void ShowSavedRigs();

  widgets::TuningKnob* knob_;
  std::array<widgets::LampButton*, 7> rigs_{};
  std::array<widgets::LampButton*, 9> saved_rigs_{};
};

}  // namespace kvx::console
