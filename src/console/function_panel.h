#pragma once

#include <QLineEdit>
#include <array>
#include <functional>
#include <string>

#include "console/panel.h"

namespace kvx::console {

/// The nine function keys: a button with its caption, whose lamp shows the second of two states, and its value; and
/// whether the displayed frequency has something stored, which keys are pressed there on arrival.
class FunctionPanel final : public Panel {
 public:
  explicit FunctionPanel(Station& station);
  void Follow(Field field) override;

  /// The operator wants to see everything that is stored.
  std::function<void()> on_list;

 private:
  QWidget* MakeKey(std::size_t index);
  QLayout* MakeStored();
  QPushButton* SmallButton(const QString& text, const QString& name, const QString& tip);
  void ShowCaptions();
  void ShowTexts();
  /// Looks again at what is stored, when that may be something else.
  void ShowStored();
  void Store(const std::string& note);
  void AskNote(const QString& proposal);
  functions::FunctionMemory::Done Noticing();

  std::array<widgets::LampButton*, config::kFunctions> keys_{};
  std::array<QLineEdit*, config::kFunctions> values_{};
  QLabel* mark_ = nullptr;
  std::array<bool, config::kFunctions> on_arrival_{};  ///< keys that are pressed on arrival here
  QPushButton* undo_ = nullptr;
  std::string shown_;  ///< rig, frequency and state of the store of what is shown as stored
  Listeners::Following following_;
};

}  // namespace kvx::console
