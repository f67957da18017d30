#include "widgets/slider_column.h"

#include <QEvent>
#include <QLabel>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>
#include <chrono>

#include "widgets/level_slider.h"
#include "widgets/tabular_label.h"

namespace kvx::widgets {
namespace {

using std::chrono_literals::operator""ms;

constexpr auto kHold = 700ms;  // in which the rig obeys and answers
constexpr int kPages = 16;     // in the whole range

}  // namespace

SliderColumn::SliderColumn(const Appearance& appearance, QWidget* parent)
    : QWidget(parent),
      shown_(new TabularLabel({}, this)),
      slider_(new LevelSlider(appearance, this)),
      caption_(new QLabel(this)) {
  shown_->setProperty("role", "quiet");
  shown_->SetAlignment(Qt::AlignHCenter);
  shown_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  caption_->setAlignment(Qt::AlignHCenter);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(3);
  layout->addWidget(shown_);
  layout->addWidget(slider_, 1, Qt::AlignHCenter);
  layout->addWidget(caption_);
  setFocusProxy(slider_);
  hold_.setSingleShot(true);
  hold_.setInterval(kHold);
  connect(&hold_, &QTimer::timeout, this, [this] {
    if (!slider_->isSliderDown()) Release();
  });
  // Only the operator's movements come here: SetValue blocks the signals.
  connect(slider_, &QSlider::valueChanged, this, &SliderColumn::Moved);
  connect(slider_, &QSlider::sliderReleased, this, [this] { hold_.start(); });
}

void SliderColumn::SetControl(const QString& caption, const QString& description, int minimum, int maximum) {
  const auto [low, high] = std::minmax(minimum, maximum);
  const bool missing = caption.trimmed().compare("na", Qt::CaseInsensitive) == 0;
  const QString name = missing                 ? tr("No control here on this rig")
                       : description.isEmpty() ? caption
                                               : QString("%1 (%2)").arg(description, caption);
  const bool same = name == accessibleName() && caption == caption_->text() && low == slider_->minimum() &&
                    high == slider_->maximum();
  if (same) return;  // a movement in progress goes on
  hold_.stop();
  kept_back_.reset();
  {
    const QSignalBlocker blocker(slider_);
    slider_->setSliderDown(false);
    slider_->setRange(low, high);
    slider_->setPageStep(std::max((high - low) / kPages, 1));
  }
  caption_->setText(caption);
  setEnabled(!missing);
  slider_->setAccessibleName(name);
  setAccessibleName(name);
  setToolTip(missing ? name
                     : tr("%1: %2 to %3\nWheel or Up / Down: by 1; with Shift, or Page Up / Page Down: by %4")
                           .arg(name)
                           .arg(low)
                           .arg(high)
                           .arg(slider_->pageStep()));
  Show(slider_->value());
}

void SliderColumn::SetValue(int value) {
  if (slider_->isSliderDown() || hold_.isActive()) {
    kept_back_ = value;
    return;
  }
  Show(value);
}

int SliderColumn::value() const {
  return slider_->value();
}

void SliderColumn::Moved(int value) {
  kept_back_.reset();  // said before this movement
  hold_.start();
  shown_->SetText(QString::number(value));
  if (on_move) on_move(value);
}

void SliderColumn::Release() {
  if (kept_back_) Show(*kept_back_);
  kept_back_.reset();
}

void SliderColumn::Show(int value) {
  const QSignalBlocker blocker(slider_);
  slider_->setValue(value);
  shown_->SetText(isEnabled() ? QString::number(slider_->value()) : QString());
  FitValue();
}

/// The column keeps its width whatever the value.
void SliderColumn::FitValue() {
  const auto length = [this](int value) { return QString::number(value).size(); };
  const auto digits = std::max({length(slider_->minimum()), length(slider_->maximum()), qsizetype{3}});
  shown_->setMinimumWidth(fontMetrics().horizontalAdvance(QString(digits, '0')) + 2);
  shown_->setMinimumHeight(fontMetrics().height());
}

void SliderColumn::changeEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) FitValue();
  QWidget::changeEvent(event);
}

}  // namespace kvx::widgets
