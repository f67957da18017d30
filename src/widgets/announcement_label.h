#pragma once

#include "widgets/elided_label.h"

namespace kvx::widgets {

/// The announcement box: shows the last announcement, and is the text that a screen reader reads whenever it changes.
class AnnouncementLabel final : public ElidedLabel {
  Q_OBJECT

 public:
  explicit AnnouncementLabel(QWidget* parent = nullptr);

  /// Shows a sentence; a screen reader is told once.
  void Show(const QString& sentence);
  /// Has the screen reader read the sentence that is shown once more.
  void Repeat();
};

}  // namespace kvx::widgets
