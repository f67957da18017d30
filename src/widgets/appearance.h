#pragma once

#include <QObject>

#include "widgets/theme.h"

namespace kvx::widgets {

/// The look that all windows share. Native widgets follow it through the application's style sheet, font and palette;
/// what a widget paints itself it takes from theme() and repaints on Changed. Outlives every window.
class Appearance final : public QObject {
  Q_OBJECT

 public:
  /// Remembers the application's own font as the size of 100 %.
  explicit Appearance(QObject* parent = nullptr);

  const Theme& theme() const { return theme_; }
  int text_percent() const { return text_percent_; }
  /// Applies a theme and a text size of 70 to 250 %.
  void Use(const Theme& theme, int text_percent);

 Q_SIGNALS:
  void Changed();

 private:
  Theme theme_;
  int text_percent_ = 0;
  double points_;
};

}  // namespace kvx::widgets
