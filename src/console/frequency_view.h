#pragma once

#include <QWidget>

#include "console/theme.h"
#include "core/frequency.h"

namespace kvx::console {

/// The large frequency display: kHz with two decimals in tabular digits, leading zeros dimmed.
class FrequencyView final : public QWidget {
 public:
  explicit FrequencyView(const Theme& theme, QWidget* parent = nullptr);
  void SetFrequency(Frequency frequency);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Theme theme_;
  Frequency frequency_;
};

}  // namespace kvx::console
