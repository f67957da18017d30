#include "widgets/scope_view.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "widgets/accessible_number.h"
#include "widgets/display_colors.h"
#include "widgets/painting.h"
#include "widgets/spectrum_columns.h"
#include "widgets/tone_scale.h"
#include "widgets/trace_raster.h"

namespace kvx::widgets {
namespace {

constexpr int kDivisions = 8;
constexpr double kSmallText = 0.86;
constexpr float kThick = 1.4F;  // pixels
constexpr int kThresholdStep = 10;
constexpr int kNotch = 120;
constexpr double kShortest = 2;  // milliseconds
constexpr double kLongest = 400;
constexpr double kUsualWidth = 50;
constexpr double kUsualHeight = 10;
constexpr double kSmallestWidth = 10;
constexpr double kSmallestHeight = 5;

}  // namespace

ScopeView::ScopeView(const Appearance& appearance, QWidget* parent)
    : QWidget(parent),
      appearance_(appearance),
      accessible_(
          new AccessibleNumber(*this, {.role = QAccessible::Slider,
                                       .minimum = 0,
                                       .maximum = kThresholdSteps,
                                       .smallest_step = 1,
                                       .value = [this] { return scene_.threshold; },
                                       .text = [this] { return tr("threshold %1").arg(scene_.threshold); },
                                       .on_set = [this](double wanted) { SetThreshold(static_cast<int>(wanted)); },
                                       .on_step = [this](int steps) { SetThreshold(scene_.threshold + steps); }})) {
  setAccessibleName(tr("Oscilloscope"));
  setAccessibleDescription(tr("Up and Down move the threshold, plus and minus change the time that is shown"));
  setToolTip(tr("A click puts the threshold there; the wheel changes the time that is shown"));
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_OpaquePaintEvent);
  connect(&appearance, &Appearance::Changed, this, [this] { update(); });
}

void ScopeView::Show(const ScopeScene& scene) {
  if (scene == scene_) return;
  if (scene.threshold != scene_.threshold) accessible_->Announce();
  scene_ = scene;
  update();
}

void ScopeView::SetSamples(std::span<const float> samples) {
  samples_.assign(samples.begin(), samples.end());
  // Up at once, down a step at a time when there is much room.
  const float wanted = ScopeRange(samples_);
  range_ = wanted >= range_ ? wanted : std::max(wanted, range_ * 0.93F);
  update();
}

QSize ScopeView::sizeHint() const {
  return (QSizeF(kUsualWidth, kUsualHeight) * Em(*this)).toSize();
}

QSize ScopeView::minimumSizeHint() const {
  return (QSizeF(kSmallestWidth, kSmallestHeight) * Em(*this)).toSize();
}

/// Places outside the picture are none.
void ScopeView::Point(const QPointF& at) {
  const int along = ThresholdAt(at.x(), width());
  const int down = ThresholdAt(at.y(), height());
  if (along >= 0 && along <= kThresholdSteps && down >= 0 && down <= kThresholdSteps) SetThreshold(down);
}

void ScopeView::SetThreshold(int threshold) {
  scene_.threshold = std::clamp(threshold, 0, kThresholdSteps);
  update();
  if (on_threshold) on_threshold(scene_.threshold);
}

void ScopeView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return event->ignore();
  Point(event->position());
}

void ScopeView::mouseMoveEvent(QMouseEvent* event) {
  if (event->buttons() & Qt::LeftButton) Point(event->position());
}

void ScopeView::wheelEvent(QWheelEvent* event) {
  wheel_ += event->angleDelta().y();
  const int notches = wheel_ / kNotch;
  wheel_ -= notches * kNotch;
  milliseconds_ = std::clamp(milliseconds_ * std::pow(0.8, notches), kShortest, kLongest);
  update();
  event->accept();
}

void ScopeView::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Up:
      return SetThreshold(scene_.threshold - kThresholdStep);
    case Qt::Key_Down:
      return SetThreshold(scene_.threshold + kThresholdStep);
    case Qt::Key_Plus:
    case Qt::Key_Equal:
    case Qt::Key_Minus:
      milliseconds_ = std::clamp(milliseconds_ * (event->key() == Qt::Key_Minus ? 1.25 : 0.8), kShortest, kLongest);
      return update();
    default:
      QWidget::keyPressEvent(event);
  }
}

void ScopeView::PaintWave() {
  const double ratio = devicePixelRatioF();
  const QSize size = (QSizeF(this->size()) * ratio).toSize();
  if (picture_.size() != size) picture_ = QImage(size, QImage::Format_RGB32);
  picture_.setDevicePixelRatio(ratio);
  const DisplayColors colors = MakeDisplayColors(appearance_.theme(), scene_.grid, scene_.ground, scene_.plain);
  picture_.fill(colors.ground);
  {
    QPainter painter(&picture_);
    for (int i = 1; i < kDivisions; ++i) {
      painter.fillRect(QRectF(std::round(width() * i / double{kDivisions}), 0, 1, height()), colors.grid);
      painter.fillRect(QRectF(0, std::round(height() * i / double{kDivisions}), width(), 1), colors.grid);
    }
  }
  const PixelArea area{reinterpret_cast<std::uint32_t*>(picture_.bits()), picture_.width(), picture_.height()};
  const std::size_t start = ScopeStart(samples_);
  const auto wanted = static_cast<std::size_t>(milliseconds_ * scene_.samples_per_second / 1000);
  const std::size_t count = std::min(wanted, samples_.size() - start);
  ToScope(std::span(samples_).subspan(start, count), picture_.width(), ranges_);
  const float middle = static_cast<float>(area.height) / 2;
  const float half = kThick * static_cast<float>(ratio) / 2;
  const auto y_of = [&](float sample) { return middle - sample / range_ * middle * 0.94F; };
  for (std::size_t x = 0; x < ranges_.size(); ++x) {
    // As far as the neighbour, so that steep ways have no gaps.
    const auto& [low, high] = ranges_[x];
    const auto& next = ranges_[std::min(x + 1, ranges_.size() - 1)];
    const float top = y_of(std::max(high, std::min(next.first, (low + next.second) / 2)));
    const float bottom = y_of(std::min(low, std::max(next.second, (high + next.first) / 2)));
    PaintStroke(area, static_cast<int>(x), top - half, bottom + half, colors.trace.rgb());
  }
}

void ScopeView::PaintTexts(QPainter& painter) const {
  const DisplayColors colors = MakeDisplayColors(appearance_.theme(), scene_.grid, scene_.ground, scene_.plain);
  const double em = Em(*this);
  const double y = std::min(std::round(ThresholdY(scene_.threshold, height())), height() - 1.0);
  for (double x = 0; x < width(); x += 0.6 * em) painter.fillRect(QRectF(x, y, 0.35 * em, 1.5), colors.threshold);
  painter.setFont(ScaledFont(*this, kSmallText));
  painter.setPen(colors.text);
  const QRectF inside = QRectF(rect()).adjusted(0.6 * em, 0.4 * em, -0.6 * em, -0.4 * em);
  painter.drawText(inside, Qt::AlignTop | Qt::AlignLeft, tr("±%1").arg(static_cast<double>(range_), 0, 'g', 2));
  const double shown = milliseconds_ / kDivisions;
  painter.drawText(inside, Qt::AlignTop | Qt::AlignRight, tr("%1 ms/div").arg(shown, 0, 'g', 2));
}

void ScopeView::paintEvent(QPaintEvent*) {
  PaintWave();
  QPainter painter(this);
  painter.drawImage(QPointF(0, 0), picture_);
  PaintTexts(painter);
  PaintDisplayEdge(painter, appearance_.theme(), rect(), hasFocus());
}

}  // namespace kvx::widgets
