#pragma once

#include "widgets/theme.h"

class QPainter;
class QRectF;

namespace kvx::widgets {

/// What displays of signals are drawn in.
struct DisplayColors {
  QColor ground;
  QColor grid;
  QColor text;
  QColor trace;
  QColor below;  ///< the trace
  QColor second;
  QColor marker;
  QColor threshold;
  QColor centre;

  bool operator==(const DisplayColors&) const = default;
};

/// `grid` and `ground` are brightnesses, 0 to 255: the grey itself in the classic theme, else how far from the theme's
/// screen. `plain`: black and white.
DisplayColors MakeDisplayColors(const Theme& theme, int grid, int ground, bool plain);

/// The edge of a display with round corners, over what has been drawn as a rectangle; the focus ring where wanted.
void PaintDisplayEdge(QPainter& painter, const Theme& theme, const QRectF& area, bool focus);

}  // namespace kvx::widgets
