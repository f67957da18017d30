#pragma once

#include <QLabel>

namespace kvx::widgets {

/// A line of plain text that may have less room than it needs: its beginning is shown then, and an ellipsis. A screen
/// reader reads all of it.
class ElidedLabel : public QLabel {
  Q_OBJECT

 public:
  explicit ElidedLabel(QWidget* parent = nullptr);
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace kvx::widgets
