#pragma once

#include <QWidget>

#include "widgets/appearance.h"

namespace kvx::widgets {

class AccessibleNumber;

/// A level as a horizontal bar with a mark: in the accent's colour above the mark, in green below it.
class LevelBar final : public QWidget {
  Q_OBJECT

 public:
  /// `name` for the screen reader.
  LevelBar(const Appearance& appearance, const QString& name, QWidget* parent = nullptr);

  /// Both as shares of full scale, 0 to 1.
  void SetLevel(double level);
  void SetMark(double mark);
  double level() const { return level_; }
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  const Appearance& appearance_;
  AccessibleNumber* accessible_;
  double level_ = 0;
  double mark_ = 1;
};

}  // namespace kvx::widgets
