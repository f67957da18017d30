#pragma once

#include <QAbstractButton>

#include "widgets/appearance.h"

namespace kvx::console {

/// A theme to choose: a small picture of a console in its colours, and its name.
class ThemeTile final : public QAbstractButton {
  Q_OBJECT

 public:
  ThemeTile(const widgets::Appearance& appearance, const QString& title, QWidget* parent = nullptr);

  void Show(const widgets::Theme& preview);
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void PaintPreview(QPainter& painter, const QRectF& place) const;

  const widgets::Appearance& appearance_;
  widgets::Theme preview_;
};

}  // namespace kvx::console
