#pragma once

#include <QWidget>

class QBoxLayout;

namespace kvx::widgets {

/// Widgets beside each other or, where a small screen or large text leaves no room for that, below each other.
class SideBySide final : public QWidget {
  Q_OBJECT

 public:
  explicit SideBySide(QWidget* parent = nullptr);

  void Add(QWidget* widget, int stretch = 0);
  QSize minimumSizeHint() const override;

 protected:
  bool event(QEvent* event) override;

 private:
  void Arrange();

  QBoxLayout* row_;
};

}  // namespace kvx::widgets
