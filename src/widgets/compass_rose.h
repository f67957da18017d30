#pragma once

#include <QWidget>
#include <functional>
#include <optional>
#include <vector>

#include "widgets/appearance.h"
#include "widgets/compass_layout.h"

namespace kvx::widgets {

class AccessibleNumber;

/// A compass rose: the ranges of the antennas as coloured arcs, a needle at the last bearing, and a dashed one at the
/// bearing that would be gone to next. A click asks for the bearing under it; a drag shows it first, and Escape gives
/// the drag up. Left / Right turn the dashed needle by a degree, Page Down / Page Up by ten, Home to north; Enter asks
/// for it, Escape drops it.
class CompassRose final : public QWidget {
  Q_OBJECT

 public:
  struct Antenna {
    QString name;
    BearingRange range;
    bool lit = false;

    bool operator==(const Antenna&) const = default;
  };

  explicit CompassRose(const Appearance& appearance, QWidget* parent = nullptr);

  void SetAntennas(std::vector<Antenna> antennas);
  /// The last bearing; nothing before the first.
  void SetBearing(std::optional<double> bearing);
  /// What would be gone to next, typed elsewhere.
  void SetWanted(std::optional<double> bearing);
  std::optional<double> wanted() const { return wanted_; }
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

  std::function<void(std::optional<double> bearing)> on_wanted;  ///< the operator turns, or drops, the dashed needle
  std::function<void(int bearing)> on_ask;                       ///< ... and wants to go there

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  struct Face;

  AccessibleNumber* MakeAccessible();
  Face face() const;
  void Want(std::optional<double> bearing);
  void Ask();
  void TurnBy(int degrees);
  void DragTo(QPointF point);
  void GiveUp();
  QString Description() const;
  void PaintFace(QPainter& painter, const Face& face) const;
  void PaintArc(QPainter& painter, const Face& face, std::size_t index) const;
  void PaintNeedle(QPainter& painter, const Face& face, double bearing, const QPen& pen) const;
  void PaintNumber(QPainter& painter, const Face& face) const;

  const Appearance& appearance_;
  std::vector<Antenna> antennas_;
  std::vector<std::optional<RoseArc>> arcs_;
  std::optional<double> bearing_;
  std::optional<double> wanted_;
  bool dragging_ = false;
  std::optional<double> before_drag_;
  AccessibleNumber* accessible_;  // a child
};

}  // namespace kvx::widgets
