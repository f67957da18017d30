#pragma once

#include <array>

#include "console/panel.h"
#include "widgets/meter_dial.h"

namespace kvx::console {

/// The meters, the buttons that select one, and the AGC buttons.
class MeterPanel final : public Panel {
 public:
  MeterPanel(Station& station, const widgets::Appearance& appearance);
  void Follow(Field field) override;

 private:
  void ShowMeter();
  void ShowButtons();

  widgets::MeterDial* dial_;
  std::array<widgets::LampButton*, 6> meters_{};
  std::array<widgets::LampButton*, 5> agc_{};
};

}  // namespace kvx::console
