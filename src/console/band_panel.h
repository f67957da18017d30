#pragma once

#include <array>

#include "cat/bands.h"
#include "console/panel.h"
#include "widgets/band_chart.h"

namespace kvx::console {

/// The chart of the band in use and the band buttons.
class BandPanel final : public Panel {
 public:
  BandPanel(Station& station, const widgets::Appearance& appearance);
  void Follow(Field field) override;
  /// Presses the button so many places to the right of the lit one.
  void PressNeighbour(int places);

 private:
  void ChartLines();
  void ShowBand();

  static constexpr std::size_t kButtons = 15;
  widgets::BandChart* chart_;
  std::array<widgets::LampButton*, kButtons> bands_{};
};

}  // namespace kvx::console
