#include "audio/control_set.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QSlider>

#include "audio/spectrum_controls.h"
#include "widgets/qt_text.h"

namespace kvx::audio {

using widgets::Named;
using widgets::ToQt;

constexpr int kPages = 16;  // of a slider

void AddKeys(QWidget* window, QAbstractButton* button, const QKeySequence& keys) {
  auto* shortcut = new QShortcut(keys, window);
  shortcut->setAutoRepeat(false);
  QObject::connect(shortcut, &QShortcut::activated, button, [button] { button->click(); });
  button->setToolTip(button->toolTip() + " (" + keys.toString(QKeySequence::NativeText) + ")");
}

QString ControlSet::ValueOf(const char* name) const {
  const auto value = ControlValue(audio_.settings(), name);
  return value ? ToQt(*value) : QString();
}

void ControlSet::Enter(const char* name, const QString& value) const {
  const Status entered = audio_.Set(name, value.toStdString());
  if (on_entered) on_entered(entered);
}

QPushButton* ControlSet::Button(const char* name, const QString& tip, bool SpectrumSettings::*is_on) {
  auto* button = Named(new QPushButton, {}, tip);
  button->setObjectName(name);
  button->setCheckable(is_on != nullptr);
  QObject::connect(button, &QPushButton::clicked, button, [this, name] {
    const Status pressed = audio_.Press(name);
    if (on_entered) on_entered(pressed);
    Refresh();
  });
  refreshed_.emplace_back([this, button, name, is_on] {
    const QString caption = ToQt(audio_.Caption(name));
    if (!caption.isEmpty() && caption != button->text()) {
      button->setText(caption);
      button->setAccessibleName(caption);
    }
    if (is_on != nullptr) button->setChecked(audio_.settings().*is_on);
  });
  return button;
}

QPushButton* ControlSet::Option(const char* name, TraceMode mode, const QString& text, const QString& tip) {
  auto* button = Named(new QPushButton(text), text, tip);
  button->setObjectName(name);
  button->setCheckable(true);
  QObject::connect(button, &QPushButton::clicked, button, [this, name] {
    Enter(name, "TRUE");
    Refresh();
  });
  refreshed_.emplace_back([this, button, mode] { button->setChecked(audio_.settings().trace == mode); });
  return button;
}

QCheckBox* ControlSet::Box(const char* name, const QString& text, const QString& tip) {
  auto* box = Named(new QCheckBox(text), QString(text).remove('&'), tip);
  box->setObjectName(name);
  QObject::connect(box, &QCheckBox::clicked, box, [this, name](bool on) { Enter(name, on ? "TRUE" : "FALSE"); });
  refreshed_.emplace_back([this, box, name] { box->setChecked(ValueOf(name) == "TRUE"); });
  return box;
}

QSlider* ControlSet::Slider(const char* name, const QString& title, const QString& tip) {
  auto* slider = Named(new QSlider(Qt::Horizontal), title, tip);
  slider->setObjectName(name);
  if (const auto range = ControlRange(name)) {
    slider->setRange(range->low, range->high);
    slider->setPageStep(std::max((range->high - range->low) / kPages, 1));
  }
  QObject::connect(slider, &QSlider::valueChanged, slider,
                   [this, name](int value) { Enter(name, QString::number(value)); });
  refreshed_.emplace_back([this, slider, name] {
    const QSignalBlocker quiet(slider);
    if (!slider->isSliderDown()) slider->setValue(ValueOf(name).toInt());
  });
  return slider;
}

QLabel* ControlSet::Value(const char* name, const QString& text) {
  auto* label = new QLabel;
  label->setTextFormat(Qt::PlainText);
  refreshed_.emplace_back([this, label, name, text] {
    const QString value = text.isEmpty() ? ToQt(audio_.Caption(name)) : text.arg(ValueOf(name));
    if (label->text() != value) label->setText(value);
  });
  return label;
}

QComboBox* ControlSet::List(const char* name, const QString& title, const QString& tip, const QStringList& values) {
  auto* list = Named(new QComboBox, title, tip);
  list->setObjectName(name);
  list->addItems(values);
  QObject::connect(list, &QComboBox::textActivated, list, [this, name](const QString& value) { Enter(name, value); });
  refreshed_.emplace_back(
      [this, list, name] { list->setCurrentIndex(list->findText(ValueOf(name), Qt::MatchFixedString)); });
  return list;
}

QLineEdit* ControlSet::Line(const char* name, const QString& title, const QString& tip) {
  auto* line = Named(new QLineEdit, title, tip);
  line->setObjectName(name);
  line->setMaxLength(6);
  const auto show = [this, line, name] {
    if (line->text() != ValueOf(name)) line->setText(ValueOf(name));
  };
  QObject::connect(line, &QLineEdit::editingFinished, line, [this, line, name, show] {
    if (line->isModified()) Enter(name, line->text());
    show();  // what was refused goes
  });
  refreshed_.emplace_back([line, show] {
    const bool in_hand = line->hasFocus() && line->isModified();
    if (!in_hand) show();
  });
  return line;
}

void ControlSet::Refresh() const {
  for (const auto& refresh : refreshed_) refresh();
}

}  // namespace kvx::audio
