#include "accessories/field_controls.h"

#include <QButtonGroup>
#include <QShortcut>

#include "widgets/qt_text.h"

namespace kvx::accessories {

using widgets::Named;

QPushButton* MakeButton(QWidget* window, const QString& text, const QString& tip, const QKeySequence& keys,
                        const std::function<void()>& action) {
  auto* button = Named(new QPushButton(text), QString(text).remove(u'…'), tip, keys);
  button->setAutoDefault(true);
  QObject::connect(button, &QPushButton::clicked, button, [action] { action(); });
  auto* shortcut = new QShortcut(keys, window);
  shortcut->setAutoRepeat(false);
  QObject::connect(shortcut, &QShortcut::activated, button, [button] { button->click(); });
  return button;
}

QString FieldControls::TextOf(AntennaField field) const {
  return widgets::ToQt(antennas_.field(field));
}

void FieldControls::Enter(AntennaField field, const QString& text) const {
  const Status entered = antennas_.SetField(field, text.toStdString());
  if (on_entered) on_entered(entered);
}

void FieldControls::Choose(AntennaField field, const QString& text) const {
  Enter(field, text);
  antennas_.SaveChanges();
}

QLineEdit* FieldControls::Line(AntennaField field, const QString& name, const QString& tip, int characters) {
  auto* line = Named(new QLineEdit, name, tip);
  line->setObjectName(RowOf(field).name);
  const auto show = [this, line, field] {
    if (line->text() != TextOf(field)) line->setText(TextOf(field));
  };
  QObject::connect(line, &QLineEdit::textEdited, line, [this, field](const QString& text) { Enter(field, text); });
  QObject::connect(line, &QLineEdit::editingFinished, line, [this, show] {
    antennas_.SaveChanges();
    show();  // what was refused goes
  });
  refreshed_.emplace_back([line, show] {
    const bool in_hand = line->hasFocus() && line->isModified();
    if (!in_hand) show();
  });
  if (characters > 0) narrow_.emplace_back(line, characters);
  return line;
}

QCheckBox* FieldControls::Box(AntennaField field, const QString& text, const QString& tip) {
  auto* box = Named(new QCheckBox(text), QString(text).remove('&'), tip, QKeySequence::mnemonic(text));
  box->setObjectName(RowOf(field).name);
  QObject::connect(box, &QCheckBox::clicked, box, [this, field](bool on) { Choose(field, on ? "True" : "False"); });
  refreshed_.emplace_back([this, box, field] { box->setChecked(antennas_.is_on(field)); });
  return box;
}

QList<QRadioButton*> FieldControls::Options(AntennaField field, const std::vector<Option>& options,
                                            const QString& tip) {
  QList<QRadioButton*> buttons;
  auto* group = new QButtonGroup;
  for (const auto& [value, text] : options) {
    auto* button = Named(new QRadioButton(text), text, tip);
    group->addButton(button);
    buttons << button;
    QObject::connect(button, &QRadioButton::clicked, button, [this, field, value = value] { Choose(field, value); });
    refreshed_.emplace_back([this, button, group, field, value = value] {
      group->setExclusive(false);  // the field may hold none of the values
      button->setChecked(TextOf(field).trimmed() == value);
      group->setExclusive(true);
    });
  }
  group->setParent(buttons.first());
  return buttons;
}

void FieldControls::Refresh() const {
  for (const auto& refresh : refreshed_) refresh();
}

void FieldControls::Fit(const QFontMetrics& metrics) const {
  for (const auto& [line, characters] : narrow_)
    line->setFixedWidth(metrics.averageCharWidth() * characters + 2 * metrics.height());
}

}  // namespace kvx::accessories
