#pragma once

#include <array>

#include "console/panel.h"
#include "widgets/slider_column.h"

namespace kvx::console {

/// The eleven sliders: captions, descriptions and bounds from the rig's row.
class SliderPanel final : public Panel {
 public:
  SliderPanel(Station& station, const widgets::Appearance& appearance);
  void Follow(Field field) override;

 private:
  void ShowControls();
  void ShowValues();

  std::array<widgets::SliderColumn*, config::kSliders> sliders_{};
};

}  // namespace kvx::console
