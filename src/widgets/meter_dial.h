#pragma once

#include <QTimer>
#include <QWidget>

#include "widgets/appearance.h"
#include "widgets/meter_scale.h"

class QPainter;

namespace kvx::widgets {

class AccessibleNumber;

/// The S-meter drawn as an instrument: an arc with S units, red above S9, and a needle; below it, a smaller scale with
/// the selected meter, and one line of text ("S9+5 · ALC 0"). Takes shares of full scale, so that it knows no rig.
class MeterDial final : public QWidget {
  Q_OBJECT

 public:
  explicit MeterDial(const Appearance& appearance, QWidget* parent = nullptr);

  /// A reading in the rig's own units and its full scale (S9+60).
  void SetSMeter(int value, int full_scale);
  /// The selected meter: its caption ("ALC"), its reading and full scale in the rig's units.
  void SetMeter(const QString& caption, int value, int full_scale);
  /// Whether the needles glide to a new reading or go there at once.
  void SetGliding(bool gliding);
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

  /// The line of text below the needle.
  const QString& text() const { return text_; }
  /// Whether a needle is on its way. Nothing runs while none is.
  bool gliding() const { return frames_.isActive(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  struct Face;

  void Follow();
  void Settle();
  Face face() const;
  void PaintScale(QPainter& painter, const Face& face) const;
  void PaintMeter(QPainter& painter, const Face& face) const;
  void PaintNeedle(QPainter& painter, const Face& face) const;

  const Appearance& appearance_;
  AccessibleNumber* accessible_;
  QString s_text_;
  QString meter_text_;
  QString text_;
  NeedleMotion needle_;
  NeedleMotion meter_;
  QTimer frames_;
  bool glides_ = true;
};

}  // namespace kvx::widgets
