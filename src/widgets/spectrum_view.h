#pragma once

#include <QImage>
#include <QWidget>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "widgets/appearance.h"
#include "widgets/display_colors.h"
#include "widgets/tone_scale.h"
#include "widgets/trace_raster.h"

namespace kvx::widgets {

class AccessibleNumber;
class TonePointer;

/// What a spectrum is shown against.
struct SpectrumScene {
  double from = 0;  ///< Hz
  double to = 3000;
  double highest = 24000;  ///< that there can be
  double reference = 0;    ///< dB at the upper edge
  double per_division = 10;
  bool difference = false;  ///< the levels are differences: 0 dB is in the middle
  int grid = 60;            ///< brightness, 0 to 255
  int ground = 0;
  bool plain = false;   ///< black and white
  double marker = 500;  ///< Hz
  double centre = 1000;
  int threshold = 880;  ///< 0 at the upper edge to 1000 at the lower

  bool operator==(const SpectrumScene&) const = default;
};

/// A signal's mark at the upper edge.
struct ToneFlag {
  double hertz = 0;
  QString text;
  QColor color;

  bool operator==(const ToneFlag&) const = default;
};

/// A spectrum with its grid and its scales, up to two traces, the decoder's marker, its centre and its threshold. A
/// click points at a tone; the handle at the right edge and the keys Up and Down move the threshold.
class SpectrumView final : public QWidget {
  Q_OBJECT

 public:
  explicit SpectrumView(const Appearance& appearance, QWidget* parent = nullptr);

  void Show(const SpectrumScene& scene);
  const SpectrumScene& scene() const { return scene_; }
  /// `levels[k]`, in dB, is at k * `bin_hertz`. An empty second trace is none.
  void SetTraces(std::span<const float> levels, std::span<const float> second, double bin_hertz);
  void SetFlags(std::vector<ToneFlag> flags);
  TonePointer& pointer() { return *pointer_; }
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

  std::function<void(int threshold)> on_threshold;
  std::function<void(double milliseconds)> on_painted;

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  double plot_height() const;
  ToneScale tones() const;
  LevelScale levels(double height) const;
  QRectF handle() const;
  QString Reading() const;
  void MakePictures();
  void PaintGrid(QPainter& painter) const;
  void PaintTraces();
  void PaintMarks(QPainter& painter) const;
  void PaintFlags(QPainter& painter) const;
  void SetThreshold(int threshold);

  const Appearance& appearance_;
  TonePointer* pointer_;
  AccessibleNumber* accessible_;
  SpectrumScene scene_;
  DisplayColors colors_;
  std::vector<float> trace_;
  std::vector<float> second_;
  double bin_hertz_ = 0;
  std::vector<ToneFlag> flags_;
  bool held_ = false;  ///< the threshold's handle
  bool stale_ = true;  ///< the pictures have to be made anew
  QImage above_;       ///< the grid
  QImage below_;       ///< the same under the trace
  QImage picture_;
  TraceGround ground_;
  std::vector<float> first_heights_;
  std::vector<float> second_heights_;
};

}  // namespace kvx::widgets
