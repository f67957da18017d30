#include "widgets/display_colors.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>

#include "widgets/painting.h"

namespace kvx::widgets {
namespace {

constexpr double kReadable = 4.5;
constexpr double kVisible = 3;
constexpr double kGridShare = 0.7;
constexpr double kFill = 0.16;
constexpr double kRadius = 8;
constexpr double kRound = 0.914;  // of the way to the corner, where a parabola is nearest to the circle
const QColor kBlack("#000000");
const QColor kWhite("#ffffff");

QColor InkOn(const QColor& ground) {
  return Contrast(ground, kBlack) >= Contrast(ground, kWhite) ? kBlack : kWhite;
}

/// The first that can be seen on the ground.
QColor SeenOn(const QColor& ground, std::initializer_list<QColor> colors) {
  for (const QColor& color : colors) {
    if (Contrast(ground, color) >= kVisible) return color;
  }
  return InkOn(ground);
}

QColor Grey(int level) {
  const int held = std::clamp(level, 0, 255);
  return {held, held, held};
}

QColor Ground(const Theme& theme, int level, bool plain) {
  if (theme.name == "classic") return Grey(level);
  const QColor from = !plain ? theme.screen : theme.dark ? kBlack : kWhite;
  return Mixed(from, theme.dark ? kWhite : kBlack, std::clamp(level, 0, 255) / 255.0);
}

}  // namespace

DisplayColors MakeDisplayColors(const Theme& theme, int grid, int ground_level, bool plain) {
  const QColor ground = Ground(theme, ground_level, plain);
  const QColor ink = InkOn(ground);
  const double share = std::clamp(grid, 0, 255) / 255.0;
  const bool contrast = theme.name == "contrast";
  DisplayColors colors{
      .ground = ground,
      .grid = theme.name == "classic" ? Grey(grid) : Mixed(ground, ink, share * (contrast ? 1 : kGridShare)),
      .text = contrast ? ink : QuietInkOn(ground, ink),
      .trace = plain ? ink : SeenOn(ground, {theme.digits, theme.amber, QColor("#ffd08a")}),
      .below = {},
      .second = plain ? Mixed(ground, ink, 0.6) : SeenOn(ground, {theme.green, QColor("#54d18c")}),
      .marker = plain ? ink : SeenOn(ground, {theme.blue, QColor("#5aa9ff")}),
      .threshold = plain ? ink : SeenOn(ground, {theme.red, QColor("#ff5d5d")}),
      .centre = Mixed(ground, ink, 0.5)};
  colors.below = Mixed(ground, colors.trace, kFill);
  return colors;
}

void PaintDisplayEdge(QPainter& painter, const Theme& theme, const QRectF& area, bool focus) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  for (const bool right : {false, true}) {
    for (const bool low : {false, true}) {
      // What a quarter of a circle leaves of its square.
      const QPointF at(right ? area.right() : area.left(), low ? area.bottom() : area.top());
      const QPointF middle(at.x() + (right ? -kRadius : kRadius), at.y() + (low ? -kRadius : kRadius));
      QPainterPath outside(at);
      outside.lineTo(middle.x(), at.y());
      outside.quadTo(at.x() * kRound + middle.x() * (1 - kRound), at.y() * kRound + middle.y() * (1 - kRound), at.x(),
                     middle.y());
      outside.closeSubpath();
      painter.fillPath(outside, theme.background);
    }
  }
  painter.setPen(QPen(theme.edge, theme.edge_width));
  painter.setBrush(Qt::NoBrush);
  const double half = theme.edge_width / 2.0;
  painter.drawRoundedRect(area.adjusted(half, half, -half, -half), kRadius, kRadius);
  painter.restore();
  if (focus) PaintFocusRing(painter, theme, area, kRadius);
}

}  // namespace kvx::widgets
