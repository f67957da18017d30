#pragma once

#include <QCheckBox>
#include <QHBoxLayout>
#include <array>
#include <functional>

#include "console/panel.h"

namespace kvx::console {

/// Modes, the narrow box, the VFO buttons, RIT and XIT, and the two user buttons Alpha and Bravo.
class ModePanel final : public Panel {
 public:
  explicit ModePanel(Station& station);
  void Follow(Field field) override;

 private:
  QHBoxLayout* MakeModes();
  QHBoxLayout* MakeVfos();
  QHBoxLayout* MakeKeys();
  widgets::LampButton* MakeKey(QHBoxLayout* row, const QString& text, const QString& name, const char* key, bool small,
                               std::function<cat::SendOutcome()> press);
  void AskValue(const char* key, const QPoint& where);
  void ShowMode();
  void ShowOffers();

  struct KeyButton {
    widgets::LampButton* button;
    const char* key;
  };
  std::array<widgets::LampButton*, 6> modes_{};
  QCheckBox* narrow_;
  widgets::LampButton* vfo_a_;
  widgets::LampButton* vfo_b_;
  widgets::LampButton* rit_;
  widgets::LampButton* xit_;
  widgets::LampButton* alpha_;
  widgets::LampButton* bravo_;
  std::vector<KeyButton> keys_;
};

}  // namespace kvx::console
