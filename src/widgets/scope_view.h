#pragma once

#include <QImage>
#include <QWidget>
#include <functional>
#include <span>
#include <vector>

#include "widgets/appearance.h"

namespace kvx::widgets {

class AccessibleNumber;

/// What an oscilloscope is shown against.
struct ScopeScene {
  int samples_per_second = 48000;
  int grid = 60;  ///< brightness, 0 to 255
  int ground = 0;
  bool plain = false;   ///< black and white
  int threshold = 880;  ///< 0 at the upper edge to 1000 at the lower

  bool operator==(const ScopeScene&) const = default;
};

/// The wave itself, steadied at a way up through zero, its height setting itself. A click or a drag puts the threshold
/// there; the wheel changes how long a stretch is shown.
class ScopeView final : public QWidget {
  Q_OBJECT

 public:
  explicit ScopeView(const Appearance& appearance, QWidget* parent = nullptr);

  void Show(const ScopeScene& scene);
  void SetSamples(std::span<const float> samples);
  double milliseconds() const { return milliseconds_; }
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

  std::function<void(int threshold)> on_threshold;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void Point(const QPointF& at);
  void SetThreshold(int threshold);
  void PaintWave();
  void PaintTexts(QPainter& painter) const;

  const Appearance& appearance_;
  AccessibleNumber* accessible_;
  ScopeScene scene_;
  std::vector<float> samples_;
  std::vector<std::pair<float, float>> ranges_;
  double milliseconds_ = 20;  ///< shown
  float range_ = 1;           ///< the sample at the edges
  int wheel_ = 0;             ///< eighths of a degree that are not yet a notch
  QImage picture_;
};

}  // namespace kvx::widgets
