#pragma once

#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <array>
#include <functional>

#include "console/station.h"
#include "keyer/cw_functions.h"
#include "keyer/keyer.h"
#include "widgets/lamp_button.h"

QT_BEGIN_NAMESPACE
class QHBoxLayout;
QT_END_NAMESPACE

namespace kvx::console {

/// The lower part of the send window: the values that the macros of a text stand for, the twelve function buttons with
/// the stored texts, and a line that shows what would be sent.
class KeyScreenMacros final : public QFrame {
  Q_OBJECT

 public:
  explicit KeyScreenMacros(Station& station);
  ~KeyScreenMacros() override;

  /// Shows what a text with macros would be sent as; an empty one: nothing.
  void Preview(const QString& text);

  std::function<void(int number)> on_function;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QHBoxLayout* MakeValues();
  void MakeButtons();
  QLineEdit* MakeLine(const QString& name, const QString& tip, int characters,
                      Status (keyer::CwFunctions::*set)(std::string_view));
  void Edit(int number);
  void ShowTexts();
  void ShowPreview();
  void Report(const Status& status);

  Station& station_;
  keyer::Keyer& keyer_;
  QLineEdit* call_ = nullptr;
  QLineEdit* rst_ = nullptr;
  QLineEdit* my_call_ = nullptr;
  QSpinBox* number_ = nullptr;
  QLabel* preview_ = nullptr;
  std::array<widgets::LampButton*, keyer::kCwFunctions> buttons_{};
  QString previewed_;
};

}  // namespace kvx::console
