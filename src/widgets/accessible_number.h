#pragma once

#include <QAccessible>
#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>

class QWidget;

namespace kvx::widgets {

/// Lets assistive technology read, set and step a painted widget that stands for one number. A child of the widget,
/// made in its constructor.
class AccessibleNumber final : public QObject {
  Q_OBJECT

 public:
  struct Access {
    QAccessible::Role role = QAccessible::SpinBox;
    double minimum = 0;
    double maximum = 0;
    double smallest_step = 1;
    std::function<double()> value;
    std::function<QString()> text;             ///< the value as it is read out, with its unit
    std::function<void(double value)> on_set;  ///< the operator wants this value
    std::function<void(int steps)> on_step;    ///< ... or so many steps up, or down when negative
  };

  AccessibleNumber(QWidget& widget, Access access);

  const Access& access() const { return access_; }
  /// The value is another one: told at most a few times a second, so that a spinning wheel does not flood the listener.
  /// Costs next to nothing while there is none: the toolkit drops the event then.
  void Announce();

 private:
  void Tell();

  QWidget& widget_;
  Access access_;
  QTimer pause_;
  bool news_ = false;
};

}  // namespace kvx::widgets
