#pragma once

#include "console/panel.h"
#include "widgets/frequency_display.h"
#include "widgets/tabular_label.h"

namespace kvx::console {

/// The screen: the large frequency with what belongs to it: VFO, mode, band and limits, step box, the other VFO.
class ScreenPanel final : public Panel {
 public:
  ScreenPanel(Station& station, const widgets::Appearance& appearance);
  void Follow(Field field) override;
  widgets::FrequencyDisplay& display() { return *frequency_; }

 private:
  void MakeChips();
  void ConnectDisplay();
  void ShowVfos();
  void ShowBand();
  void ShowOffset();
  void Light(QLabel* chip, bool lit);

  QLabel* vfo_a_;
  QLabel* vfo_b_;
  QLabel* mode_;
  QLabel* narrow_;
  QLabel* offset_;
  QLabel* transmitting_;
  widgets::TabularLabel* band_;
  widgets::FrequencyDisplay* frequency_;
  widgets::TabularLabel* other_;
  widgets::LampButton* step_;
};

}  // namespace kvx::console
