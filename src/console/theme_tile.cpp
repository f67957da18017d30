#include "console/theme_tile.h"

#include <QEvent>
#include <QPainter>
#include <algorithm>

namespace kvx::console {

ThemeTile::ThemeTile(const widgets::Appearance& appearance, const QString& title, QWidget* parent)
    : QAbstractButton(parent), appearance_(appearance) {
  setText(title);
  setAccessibleName(QString(title).remove('&'));
  setCheckable(true);
  setFocusPolicy(Qt::StrongFocus);
  connect(&appearance, &widgets::Appearance::Changed, this, [this] { update(); });
}

void ThemeTile::Show(const widgets::Theme& preview) {
  preview_ = preview;
  update();
}

QSize ThemeTile::sizeHint() const {
  return {fontMetrics().height() * 8, fontMetrics().height() * 6};
}

void ThemeTile::changeEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange) updateGeometry();
  QAbstractButton::changeEvent(event);
}

void ThemeTile::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const widgets::Theme& theme = appearance_.theme();
  const double ring = 2;
  const QRectF frame = QRectF(rect()).adjusted(ring, ring, -ring, -ring);
  painter.setPen(QPen(isChecked() ? theme.accent : theme.edge, isChecked() ? 2.5 : theme.edge_width));
  painter.setBrush(theme.button);
  painter.drawRoundedRect(frame, 8, 8);
  const double line = fontMetrics().height() * 1.5;
  const double gap = fontMetrics().height() * 0.4;
  PaintPreview(painter, frame.adjusted(gap, gap, -gap, -line));
  painter.setPen(theme.ink);
  QFont font = painter.font();
  font.setBold(isChecked());
  painter.setFont(font);
  painter.drawText(QRectF(frame.left(), frame.bottom() - line, frame.width(), line),
                   Qt::AlignCenter | Qt::TextShowMnemonic, text());
  if (!hasFocus()) return;
  painter.setPen(QPen(theme.name == "contrast" ? QColor("#00ffff") : theme.blue, 2));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 9, 9);
}

/// The frequency on its screen, and below it three buttons of which one is on.
void ThemeTile::PaintPreview(QPainter& painter, const QRectF& place) const {
  const double gap = place.height() * 0.1;
  const auto box = [&](const QRectF& where, const QColor& fill) {
    painter.setPen(QPen(preview_.edge, preview_.edge_width));
    painter.setBrush(fill);
    painter.drawRoundedRect(where, 3, 3);
  };
  painter.save();
  box(place, preview_.background);
  const QRectF inside = place.adjusted(gap, gap, -gap, -gap);
  const QRectF screen(inside.left(), inside.top(), inside.width(), inside.height() * 0.55);
  box(screen, preview_.screen);
  QFont font = painter.font();
  font.setBold(true);
  font.setPixelSize(std::max(6, static_cast<int>(screen.height() * 0.62)));
  painter.setFont(font);
  painter.setPen(preview_.digits);
  painter.drawText(screen, Qt::AlignCenter, "14025.00");
  const double width = (inside.width() - 2 * gap) / 3;
  for (int i = 0; i < 3; ++i) {
    const double top = screen.bottom() + gap;
    box({inside.left() + i * (width + gap), top, width, inside.bottom() - top},
        i == 0 ? preview_.accent : preview_.button);
  }
  painter.restore();
}

}  // namespace kvx::console
