#pragma once

#include <QSpinBox>
#include <array>

#include "console/panel.h"
#include "widgets/tuning_knob.h"

class QHBoxLayout;

namespace kvx::console {

/// The tuning knob, the seven rig buttons, the nine saved-rig buttons, and the CW speed with the tune key.
class KnobPanel final : public Panel {
 public:
  KnobPanel(Station& station, const widgets::Appearance& appearance);
  void Follow(Field field) override;

 private:
  QHBoxLayout* MakeKeying();
  void ShowSavedRigs();

  widgets::TuningKnob* knob_;
  std::array<widgets::LampButton*, 7> rigs_{};
  std::array<widgets::LampButton*, 9> saved_rigs_{};
  QSpinBox* speed_ = nullptr;  ///< CWSpeed
  widgets::LampButton* tune_ = nullptr;
};

}  // namespace kvx::console
