#pragma once

#include <QLineEdit>
#include <array>

#include "console/panel.h"

namespace kvx::console {

/// The nine function keys: a button with its caption, whose lamp shows the second of two states, and its value.
class FunctionPanel final : public Panel {
 public:
  explicit FunctionPanel(Station& station);
  void Follow(Field field) override;

 private:
  QWidget* MakeKey(std::size_t index);
  void ShowCaptions();
  void ShowTexts();

  std::array<widgets::LampButton*, config::kFunctions> keys_{};
  std::array<QLineEdit*, config::kFunctions> values_{};
};

}  // namespace kvx::console
