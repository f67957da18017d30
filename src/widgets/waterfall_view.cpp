#include "widgets/waterfall_view.h"

#include <QHelpEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QToolTip>
#include <cmath>

#include "widgets/accessible_number.h"
#include "widgets/color_map.h"
#include "widgets/display_colors.h"
#include "widgets/painting.h"
#include "widgets/spectrum_columns.h"
#include "widgets/tone_pointer.h"

namespace kvx::widgets {
namespace {

constexpr float kNothing = -300;  // dB, below all that is heard
constexpr double kUsualWidth = 50;
constexpr double kUsualHeight = 20;
constexpr double kSmallestWidth = 14;
constexpr double kSmallestHeight = 5;
constexpr double kHighestHertz = 24000;

}  // namespace

WaterfallView::WaterfallView(const Appearance& appearance, QWidget* parent)
    : QWidget(parent),
      appearance_(appearance),
      pointer_(new TonePointer(*this)),
      accessible_(new AccessibleNumber(
          *this, {.role = QAccessible::Slider,
                  .minimum = 0,
                  .maximum = kHighestHertz,
                  .smallest_step = 1,
                  .value = [this] { return pointer_->marker(); },
                  .text = [this] { return tr("marker %1 Hz").arg(std::lround(pointer_->marker())); },
                  .on_set =
                      [this](double hertz) {
                        if (pointer_->on_move) pointer_->on_move(hertz);
                      },
                  .on_step = [this](int steps) { pointer_->Step(steps); }})) {
  setAccessibleName(tr("Waterfall"));
  setAccessibleDescription(tr("Left and Right move the marker, Page Up and Page Down by more; plus and minus zoom"));
  setAttribute(Qt::WA_OpaquePaintEvent);
  since_.start();
  connect(&appearance, &Appearance::Changed, this, [this] { update(); });
}

void WaterfallView::Show(const WaterfallScene& scene) {
  if (scene == scene_) return;
  const bool recolor = scene.colors != scene_.colors;
  const bool moved = scene.marker != scene_.marker;
  scene_ = scene;
  pointer_->SetMarker(scene.marker);
  pointer_->SetHighest(scene.highest);
  pointer_->SetScale({scene.from, scene.to, static_cast<double>(width())});
  if (recolor || scene.overwriting != history_.overwriting()) picture_ = {};
  history_.SetOverwriting(scene.overwriting);
  if (moved) accessible_->Announce();
  update();
}

QSize WaterfallView::sizeHint() const {
  return (QSizeF(kUsualWidth, kUsualHeight) * Em(*this)).toSize();
}

QSize WaterfallView::minimumSizeHint() const {
  return (QSizeF(kSmallestWidth, kSmallestHeight) * Em(*this)).toSize();
}

void WaterfallView::Fit() {
  const QSize size = (QSizeF(this->size()) * devicePixelRatioF()).toSize();
  const ToneScale scale(scene_.from, scene_.to, size.width());
  const bool same =
      picture_.size() == size && history_.scale().from() == scale.from() && history_.scale().to() == scale.to();
  if (same) return;
  history_.Fit(scale, size.height());
  picture_ = QImage(size, QImage::Format_RGB32);
  for (int row = 0; row < history_.rows(); ++row) ColorRow(row);
}

void WaterfallView::ColorRow(int row) {
  const ColorMap& colors = ColorMapOf(scene_.colors);
  const std::span<const std::uint8_t> shades = history_.row(row);
  auto* pixels = reinterpret_cast<std::uint32_t*>(picture_.scanLine(row));
  const std::size_t count = std::min(shades.size(), static_cast<std::size_t>(picture_.width()));
  for (std::size_t x = 0; x < count; ++x) pixels[x] = colors[shades[x]];
}

void WaterfallView::WaterFall(std::span<const float> levels, double bin_hertz) {
  Fit();
  ToColumns(levels, bin_hertz, history_.scale(), kNothing, columns_);
  levels_.Follow(columns_);
  const std::span<std::uint8_t> row = history_.Add(since_.elapsed());
  if (row.size() != columns_.size() || row.empty()) return;
  levels_.Shade(columns_, row.data());
  ColorRow(history_.newest());
  const double ratio = devicePixelRatioF();
  const int top = static_cast<int>(std::floor((history_.newest() - 1) / ratio));
  undrawn_ |= QRect(0, top, width(), static_cast<int>(std::ceil(4 / ratio)) + 2);
}

void WaterfallView::DrawLines() {
  if (undrawn_.isEmpty()) return;
  update(scene_.overwriting ? undrawn_ : rect());
  undrawn_ = {};
}

bool WaterfallView::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QWidget::event(event);
  const auto* help = static_cast<QHelpEvent*>(event);
  QString text = tr("%1 Hz").arg(std::lround(pointer_->scale().HertzAt(help->pos().x())));
  if (const auto time = history_.TimeAt(static_cast<int>(help->pos().y() * devicePixelRatioF())))
    text += tr(", %1 s ago").arg(static_cast<double>(since_.elapsed() - *time) / 1000, 0, 'f', 1);
  QToolTip::showText(help->globalPos(),
                     text + "\n" + tr("A click puts the decoder there; the wheel zooms, with Shift it moves"), this);
  return true;
}

void WaterfallView::changeEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange) updateGeometry();
  QWidget::changeEvent(event);
}

void WaterfallView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  pointer_->SetScale({scene_.from, scene_.to, static_cast<double>(width())});
}

/// The line below which the oldest rows stand, and the marker.
void WaterfallView::PaintMoving(QPainter& painter) const {
  const QColor marker = MakeDisplayColors(appearance_.theme(), 0, 0, scene_.colors == "Grey").marker;
  if (scene_.overwriting) {
    const int y = static_cast<int>((history_.newest() + 1) / devicePixelRatioF());
    painter.fillRect(QRect(0, y, width(), 2), appearance_.theme().accent);
  }
  const double x = std::round(pointer_->scale().XOf(pointer_->marker()));
  if (x >= 0 && x < width()) painter.fillRect(QRect(static_cast<int>(x), 0, 1, height()), marker);
}

void WaterfallView::paintEvent(QPaintEvent*) {
  QElapsedTimer taken;
  taken.start();
  Fit();
  QPainter painter(this);
  if (!picture_.isNull()) {
    const double ratio = devicePixelRatioF();
    const int wide = picture_.width();
    const int top = history_.top();
    const int first = picture_.height() - top;
    picture_.setDevicePixelRatio(ratio);
    painter.drawImage(QPointF(0, 0), picture_, QRectF(0, top, wide, first));
    if (top > 0) painter.drawImage(QPointF(0, first / ratio), picture_, QRectF(0, 0, wide, top));
    PaintMoving(painter);
  }
  PaintDisplayEdge(painter, appearance_.theme(), rect(), hasFocus());
  painter.end();
  if (on_painted) on_painted(static_cast<double>(taken.nsecsElapsed()) / 1e6);
}

}  // namespace kvx::widgets
