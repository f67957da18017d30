#pragma once

#include <QWidget>

#include "console/theme.h"

namespace kvx::console {

/// The S-meter as a bar over its scale, 0 to the family's full scale.
class MeterView final : public QWidget {
 public:
  explicit MeterView(const Theme& theme, QWidget* parent = nullptr);
  /// `value` in the rig's units, `full_scale` what the rig shows at S9+60.
  void SetValue(int value, int full_scale);
  QSize sizeHint() const override { return {320, 64}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Theme theme_;
  double share_ = 0;
};

}  // namespace kvx::console
