#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>
#include <optional>

#include "core/frequency.h"
#include "widgets/appearance.h"
#include "widgets/digit_entry.h"
#include "widgets/digit_layout.h"
#include "widgets/knob_motion.h"

namespace kvx::widgets {

class AccessibleNumber;

/// The large frequency: six places of kHz, the point, two decimals. The digit under the pointer (or, with the keyboard,
/// under the cursor) is underlined and tunes by wheel and up / down keys; left and right keys move the cursor; digits,
/// a point and Backspace type a frequency in kHz, which Return confirms and Escape drops. What is being typed is never
/// overwritten by SetFrequency.
class FrequencyDisplay final : public QWidget {
  Q_OBJECT

 public:
  explicit FrequencyDisplay(const Appearance& appearance, QWidget* parent = nullptr);

  void SetFrequency(Frequency frequency);
  /// The rig is this much above what is shown: what is typed is measured by what the rig can be tuned to.
  void SetOffset(Frequency offset) { offset_ = offset; }
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

  std::function<void(Frequency)> on_tune;            ///< a digit was turned
  std::function<void(Frequency)> on_base_frequency;  ///< a typed frequency was confirmed
  std::function<void(int steps)> on_wheel;           ///< the wheel turned where no digit is: so many notches up
  std::function<void(const QString&)> on_refused;    ///< what was typed is no frequency: one sentence

 protected:
  bool event(QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  struct KeyRow;
  static const KeyRow kKeys[];

  /// What is shown while nothing is typed: what was tuned and not yet answered by SetFrequency, else what that told.
  Frequency shown() const { return tuned_.value_or(frequency_); }
  DigitLayout digits() const;
  QSize SizeOf(double ems) const;
  AccessibleNumber* MakeAccessible();

  const KeyRow* RowOf(const QKeyEvent& event) const;
  bool Types(const QKeyEvent& event) const;
  void Point(int place);
  void SetCursor(int place);
  void Turn(int place, int steps);
  /// Shows the frequency at once and lets the owner take it over.
  void Ask(Frequency frequency, const std::function<void(Frequency)>& asked);
  void Confirm();
  void Copy();
  void Paste();
  void Refuse(const Error& error);
  void Redraw();

  const Appearance& appearance_;
  Frequency frequency_;
  Frequency offset_;
  std::optional<Frequency> tuned_;
  QTimer unanswered_;  // ends tuned_: where a limit stopped the tuning there is nothing to tell
  DigitEntry entry_;
  DigitMetrics metrics_;
  NotchCounter notches_;
  int wheeled_ = -1;  // the place over which the notches have been counted
  int cursor_ = kDecimalPlaces;
  int pointed_ = -1;
  AccessibleNumber* accessible_;  // a child
};

}  // namespace kvx::widgets
