#pragma once

#include <QFont>

#include "widgets/theme.h"

class QPainter;
class QRectF;
class QWidget;

namespace kvx::widgets {

// What widgets that paint themselves share, in the size of their text so that they scale with it.

/// The size of the widget's text in pixels.
double Em(const QWidget& widget);
/// The widget's font, larger or smaller.
QFont ScaledFont(const QWidget& widget, double factor);
/// The ring that shows the keyboard focus, just inside `area`.
void PaintFocusRing(QPainter& painter, const Theme& theme, const QRectF& area, double radius);

}  // namespace kvx::widgets
