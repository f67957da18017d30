#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QWidget>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "widgets/appearance.h"
#include "widgets/waterfall_history.h"
#include "widgets/waterfall_levels.h"

namespace kvx::widgets {

class AccessibleNumber;
class TonePointer;

/// What a waterfall is shown against.
struct WaterfallScene {
  double from = 0;  ///< Hz
  double to = 3000;
  double highest = 24000;  ///< that there can be
  double marker = 500;
  std::string colors = "Ember";
  bool overwriting = false;  ///< over itself, below a moving line, instead of scrolling down

  bool operator==(const WaterfallScene&) const = default;
};

/// The spectra of the last while, a line each. A click points at a tone.
class WaterfallView final : public QWidget {
  Q_OBJECT

 public:
  explicit WaterfallView(const Appearance& appearance, QWidget* parent = nullptr);

  void Show(const WaterfallScene& scene);
  /// Adds a line: `levels[k]`, in dB, is at k * `bin_hertz`. It is seen when the lines are drawn next.
  void WaterFall(std::span<const float> levels, double bin_hertz);
  void DrawLines();
  TonePointer& pointer() { return *pointer_; }
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

  std::function<void(double milliseconds)> on_painted;

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  /// The picture has the size of the window and what the history holds.
  void Fit();
  void ColorRow(int row);
  void PaintMoving(QPainter& painter) const;

  const Appearance& appearance_;
  TonePointer* pointer_;
  AccessibleNumber* accessible_;
  WaterfallScene scene_;
  WaterfallHistory history_;
  WaterfallLevels levels_;
  QImage picture_;  ///< the rows of the history in their colours
  std::vector<float> columns_;
  QRect undrawn_;
  QElapsedTimer since_;
};

}  // namespace kvx::widgets
