#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <optional>
#include <vector>

#include "core/frequency.h"
#include "widgets/appearance.h"
#include "widgets/chart_lines.h"

class QPainter;

namespace kvx::widgets {

class AccessibleNumber;

/// One stretch of a band as the chart draws it.
struct ChartSegment {
  enum class Color { kCw, kData, kPhone, kMixed, kSpecial };  ///< kSpecial: beacons, satellites, repeaters
  Frequency from;
  Frequency to;
  Color color = Color::kMixed;
  QString text;
  bool note = false;  ///< drawn as a mark on top: a calling frequency, a window

  bool operator==(const ChartSegment&) const = default;
};

/// What a use is drawn in.
QColor ChartColor(const Theme& theme, ChartSegment::Color color);
/// The ground of such a stretch, on which its text stands.
QColor ChartGround(const Theme& theme, ChartSegment::Color color);

/// The chart of the band in use: its segments coloured by use, a frequency scale below, a red cursor at the frequency
/// in use. A click tunes there; the tool tip tells the frequency and the use under the pointer.
class BandChart final : public QWidget {
  Q_OBJECT

 public:
  explicit BandChart(const Appearance& appearance, QWidget* parent = nullptr);

  /// Redraws the lines of the chart: the limits of the band and its segments.
  void ChartLines(Frequency from, Frequency to, std::vector<ChartSegment> segments);
  void SetCursor(Frequency frequency);
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

  std::function<void(Frequency)> on_tune;

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  struct Rows;

  void Tune(Frequency frequency);
  ChartScale scale() const;
  Rows rows() const;
  /// The narrowest stretch that holds the frequency, notes before what they stand on; null between all.
  const ChartSegment* At(Frequency frequency) const;
  /// "14025.00 kHz", and the use there.
  QString Description(Frequency frequency, const QString& separator) const;
  void PaintSegments(QPainter& painter, const Rows& rows, const ChartScale& scale) const;
  void PaintTexts(QPainter& painter, const Rows& rows, const ChartScale& scale) const;
  void PaintNotes(QPainter& painter, const Rows& rows, const ChartScale& scale) const;
  void PaintTicks(QPainter& painter, const Rows& rows, const ChartScale& scale) const;
  void PaintCursor(QPainter& painter, const Rows& rows, const ChartScale& scale) const;

  const Appearance& appearance_;
  AccessibleNumber* accessible_;
  Frequency from_;
  Frequency to_;
  std::vector<ChartSegment> told_;      ///< as the owner gave them
  std::vector<ChartSegment> segments_;  ///< cut to the limits, neighbours of one text and use as one
  std::vector<ChartSegment> notes_;
  Frequency cursor_;
  std::optional<Frequency> dragged_to_;  ///< while the button is held
};

}  // namespace kvx::widgets
