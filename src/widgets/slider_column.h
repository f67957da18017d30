#pragma once

#include <QString>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <optional>

#include "widgets/appearance.h"

class QLabel;

namespace kvx::widgets {

class LevelSlider;
class TabularLabel;

/// One slider of the slider panel: its value above, the slider, its short caption below. Follows SetValue except while
/// the operator drags it. Caption "na": the rig has no such control, and the column is greyed.
class SliderColumn final : public QWidget {
  Q_OBJECT

 public:
  explicit SliderColumn(const Appearance& appearance, QWidget* parent = nullptr);

  /// `description` names the control for tool tip and screen reader. The limits may come in either order.
  void SetControl(const QString& caption, const QString& description, int minimum, int maximum);
  /// What the rig says. While the operator moves the slider, and shortly after, it is kept back, so that an answer from
  /// before the movement does not pull the slider away.
  void SetValue(int value);
  int value() const;

  std::function<void(int value)> on_move;  ///< the operator has moved it

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void Moved(int value);
  void Release();
  void Show(int value);
  void FitValue();

  TabularLabel* shown_;
  LevelSlider* slider_;
  QLabel* caption_;
  QTimer hold_;
  std::optional<int> kept_back_;
};

}  // namespace kvx::widgets
