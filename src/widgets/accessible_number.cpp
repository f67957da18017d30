#include "widgets/accessible_number.h"

#include <QAccessibleWidget>
#include <QPointer>
#include <QWidget>
#include <chrono>

namespace kvx::widgets {
namespace {

using std::chrono_literals::operator""ms;

constexpr auto kPause = 250ms;

/// What assistive technology sees of such a widget. May outlive the widget's children while the widget goes down.
class NumberInterface final : public QAccessibleWidget, public QAccessibleValueInterface {
 public:
  NumberInterface(QWidget* widget, AccessibleNumber* number)
      : QAccessibleWidget(widget, number->access().role), number_(number) {}

  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
  }

  QString text(QAccessible::Text kind) const override {
    // AT-SPI carries the value as a number only: its text is found in the description.
    const QString text = QAccessibleWidget::text(kind);
    if (!number_ || (kind != QAccessible::Value && kind != QAccessible::Description)) return text;
    const QString reading = number_->access().text();
    return kind == QAccessible::Value || text.isEmpty() ? reading : reading + ", " + text;
  }

  QVariant currentValue() const override { return number_ ? number_->access().value() : QVariant(); }
  QVariant minimumValue() const override { return number_ ? number_->access().minimum : QVariant(); }
  QVariant maximumValue() const override { return number_ ? number_->access().maximum : QVariant(); }
  QVariant minimumStepSize() const override { return number_ ? number_->access().smallest_step : QVariant(); }
  void setCurrentValue(const QVariant& value) override {
    bool is_number = false;
    const double wanted = value.toDouble(&is_number);
    if (number_ && is_number && widget()->isEnabled()) number_->access().on_set(wanted);
  }

  QStringList actionNames() const override {
    QStringList names = QAccessibleWidget::actionNames();
    if (widget()->isEnabled()) names << increaseAction() << decreaseAction();
    return names;
  }

  void doAction(const QString& name) override {
    const int steps = name == increaseAction() ? 1 : name == decreaseAction() ? -1 : 0;
    if (steps == 0) return QAccessibleWidget::doAction(name);
    if (number_ && widget()->isEnabled()) number_->access().on_step(steps);
  }

 private:
  QPointer<AccessibleNumber> number_;
};

QAccessibleInterface* MakeInterface(const QString&, QObject* object) {
  auto* widget = qobject_cast<QWidget*>(object);
  if (widget == nullptr) return nullptr;
  auto* number = widget->findChild<AccessibleNumber*>(QString(), Qt::FindDirectChildrenOnly);
  return number == nullptr ? nullptr : new NumberInterface(widget, number);
}

}  // namespace

AccessibleNumber::AccessibleNumber(QWidget& widget, Access access)
    : QObject(&widget), widget_(widget), access_(std::move(access)) {
  QAccessible::installFactory(MakeInterface);  // the same one again is ignored
  pause_.setSingleShot(true);
  pause_.setInterval(kPause);
  connect(&pause_, &QTimer::timeout, this, [this] {
    if (news_) Tell();
  });
}

void AccessibleNumber::Announce() {
  news_ = true;
  if (!pause_.isActive()) Tell();
}

void AccessibleNumber::Tell() {
  news_ = false;
  pause_.start();
  QAccessibleValueChangeEvent event(&widget_, access_.value());
  QAccessible::updateAccessibility(&event);
}

}  // namespace kvx::widgets
