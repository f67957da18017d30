#pragma once

#include <QFont>
#include <QPainter>
#include <QRectF>

#include "core/frequency.h"
#include "widgets/digit_entry.h"
#include "widgets/digit_layout.h"
#include "widgets/theme.h"

namespace kvx::widgets {

/// What the frequency display shows at one moment.
struct FrequencyFace {
  Frequency frequency;
  const DigitEntry& entry;  ///< shown instead of the frequency while it is active
  int marked = -1;          ///< the place that wheel or keys turn: underlined
  int cursor = -1;          ///< the keyboard cursor, underlined thinly where it is not the marked place
  bool enabled = true;
};

/// The font of the digits at a size in pixels; `base` is the widget's own.
QFont DigitFont(const QFont& base, double pixels);
DigitMetrics MeasureDigits(const QFont& base);
void PaintFrequency(QPainter& painter, const DigitLayout& layout, const QFont& base, const Theme& theme,
                    const FrequencyFace& face);

}  // namespace kvx::widgets
