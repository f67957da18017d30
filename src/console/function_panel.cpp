#include "console/function_panel.h"

#include <QGridLayout>
#include <QKeySequence>
#include <QVBoxLayout>

#include "core/text.h"

namespace kvx::console {
namespace {

constexpr int kColumns = 3;
constexpr int kLongestValue = 200;

}  // namespace

FunctionPanel::FunctionPanel(Station& station) : Panel(station, "panel") {
  auto* grid = new QGridLayout(this);
  const int gap = fontMetrics().height() / 3;
  grid->setContentsMargins(2 * gap, gap + 2, 2 * gap, gap + 2);
  grid->setSpacing(gap);
  for (std::size_t i = 0; i < keys_.size(); ++i) {
    const int place = static_cast<int>(i);
    grid->addWidget(MakeKey(i), place / kColumns, place % kColumns);
  }
}

QWidget* FunctionPanel::MakeKey(std::size_t index) {
  const int number = static_cast<int>(index) + 1;
  auto* cell = new QWidget;
  auto* column = new QVBoxLayout(cell);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(2);
  auto* key = new widgets::LampButton({}, {});
  connect(key, &QPushButton::clicked, this, [this, number] { Report(station_.PressFunction(number)); });
  auto* value = new QLineEdit;
  value->setMaxLength(kLongestValue);
  value->setAccessibleName(tr("Value of function key %1").arg(number));
  value->setToolTip(
      tr("What function key %1 sends as its value; Return stores all nine for this frequency").arg(number));
  value->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  connect(value, &QLineEdit::textEdited, this,
          [this, index](const QString& text) { station_.console.Text5.Set(index, text.toStdString()); });
  connect(value, &QLineEdit::returnPressed, this, [&station = station_] {
    station.functions.keys.StoreFN(
        "", [&station](const Result<std::string>& done) { station.Notice(done ? *done : done.error().message); });
  });
  column->addWidget(key, 1);
  column->addWidget(value);
  keys_[index] = key;
  values_[index] = value;
  return cell;
}

void FunctionPanel::Follow(Field field) {
  switch (field) {
    case Field::kRigRow:
    case Field::kRigName:
      return ShowCaptions();
    case Field::kFunctionText:
      return ShowTexts();
    case Field::kFunctionState:
      for (std::size_t i = 0; i < keys_.size(); ++i) keys_[i]->SetLit(station_.console.FunctionState[i]);
      return;
    default:
      return;
  }
}

void FunctionPanel::ShowCaptions() {
  const config::RigDefinition& rig = station_.engine.rig();
  for (std::size_t i = 0; i < keys_.size(); ++i) {
    const std::string number = std::to_string(i + 1);
    const std::string key = "F" + number;
    QString caption = ToQt(ToVisible(rig.captions[i])).simplified();
    const QString description = ToQt(ToVisible(rig.row[key + "Desc"])).simplified();
    if (caption == ToQt(number) && !description.isEmpty()) caption = description;
    keys_[i]->setText(ToQt(key) + "   " + QString(caption).replace('&', "&&"));
    keys_[i]->setAccessibleName(tr("Function key %1: %2").arg(i + 1).arg(caption));
    keys_[i]->SetKeys(QKeySequence(ToQt(key)));
    if (!description.isEmpty()) keys_[i]->setToolTip(description + " (" + ToQt(key) + ")");
    keys_[i]->setEnabled(Offers("XFN" + number));
    values_[i]->setEnabled(keys_[i]->isEnabled());
  }
}

void FunctionPanel::ShowTexts() {
  for (std::size_t i = 0; i < values_.size(); ++i) {
    const QString text = ToQt(station_.console.Text5[i]);
    if (values_[i]->text() != text) values_[i]->setText(text);
  }
}

}  // namespace kvx::console
