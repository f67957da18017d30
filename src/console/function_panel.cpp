#include "console/function_panel.h"

#include <QGridLayout>
#include <QKeySequence>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include "console/questions.h"
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
    grid->setRowStretch(place / kColumns, 1);
  }
  grid->addLayout(MakeStored(), 0, kColumns, static_cast<int>(keys_.size()) / kColumns, 1);
  following_ = station.functions.store.changed.Follow([this] { ShowStored(); });
}

QPushButton* FunctionPanel::SmallButton(const QString& text, const QString& name, const QString& tip) {
  auto* button = new QPushButton(text);
  button->setProperty("role", "small");
  button->setAutoDefault(false);
  button->setAccessibleName(name);
  button->setToolTip(tip);
  const int margin = fontMetrics().height();
  button->setMinimumWidth(fontMetrics().horizontalAdvance(text) + margin);
  return button;
}

QLayout* FunctionPanel::MakeStored() {
  mark_ = MakeLabel(tr("Stored for this frequency"), "quiet");
  mark_->setAlignment(Qt::AlignCenter);
  auto* note = SmallButton(tr("Note…"), tr("Note for this frequency"),
                           tr("Stores the nine values, the mode and a note for this frequency (Ctrl+N)"));
  note->setShortcut(QKeySequence("Ctrl+N"));
  connect(note, &QPushButton::clicked, this, [this] { AskNote({}); });
  auto* clear = SmallButton(tr("Clear"), tr("Clear all function keys for this frequency"),
                            tr("Left click to clear all function keys for this frequency. Right click for list of "
                               "stored functions."));
  connect(clear, &QPushButton::clicked, this, [this] {
    station_.functions.scanner.OperatorActs();
    station_.functions.keys.DelFN(Noticing());
  });
  clear->setContextMenuPolicy(Qt::CustomContextMenu);  // the right button, and the Menu key
  connect(clear, &QWidget::customContextMenuRequested, this, [this] {
    if (on_list) on_list();
  });
  undo_ = SmallButton(tr("Undo"), tr("Undo the clearing"), tr("Puts back what was cleared or deleted last (Ctrl+Z)"));
  undo_->setShortcut(QKeySequence::Undo);
  connect(undo_, &QPushButton::clicked, this, [this] { station_.functions.keys.UndoDelete(Noticing()); });
  auto* column = new QVBoxLayout;
  column->setSpacing(fontMetrics().height() / 3);
  column->addWidget(mark_);
  column->addStretch(1);
  for (QPushButton* button : {note, clear, undo_}) column->addWidget(button);
  return column;
}

functions::FunctionMemory::Done FunctionPanel::Noticing() {
  return
      [&station = station_](const Result<std::string>& done) { station.Notice(done ? *done : done.error().message); };
}

void FunctionPanel::Store(const std::string& note) {
  station_.functions.scanner.OperatorActs();
  station_.functions.keys.StoreFN(note, Noticing());
}

/// A note is for the frequency at which it was begun: when another one is displayed by then, it is asked for anew.
void FunctionPanel::AskNote(const QString& proposal) {
  station_.functions.scanner.OperatorActs();
  const Frequency frequency = *station_.console.FreqDisp;
  const QString title = tr("Note for %1").arg(ToQt(KhzText(frequency)));
  AskText({.window = window(), .title = title}, tr("Enter a note for this memory location."), proposal,
          [panel = QPointer<FunctionPanel>(this), frequency](const QString& note) {
            if (!panel || note.isEmpty()) return;
            const bool moved = *panel->station_.console.FreqDisp != frequency;
            moved ? panel->AskNote(note) : panel->Store(note.toStdString());
          });
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
  connect(value, &QLineEdit::returnPressed, this, [this] { Store(""); });
  column->addWidget(key, 1);
  column->addWidget(value);
  keys_[index] = key;
  values_[index] = value;
  return cell;
}

void FunctionPanel::Follow(Field field) {
  switch (field) {
    case Field::kRigRow:
      return ShowCaptions();
    case Field::kRigName:
      ShowCaptions();
      return ShowStored();
    case Field::kFreqDisp:
    case Field::kRiggmt:  // somebody else may have written the store
      return ShowStored();
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
    if (caption == ToQt(number) && description.isEmpty()) {
      const QString title = ToQt(ToVisible(station_.settings().function_titles[i])).simplified();
      if (!title.isEmpty()) caption = title;
    }
    const QString arrival = on_arrival_[i] ? QString(" •  ") : QString("   ");
    keys_[i]->setText(ToQt(key) + arrival + QString(caption).replace('&', "&&"));
    const QString name = tr("Function key %1: %2").arg(i + 1).arg(caption);
    keys_[i]->setAccessibleName(on_arrival_[i] ? tr("%1, pressed on arrival").arg(name) : name);
    keys_[i]->SetKeys(QKeySequence(ToQt(key)));
    if (!description.isEmpty()) keys_[i]->setToolTip(description + " (" + ToQt(key) + ")");
    keys_[i]->setEnabled(Offers("XFN" + number));
    values_[i]->setEnabled(keys_[i]->isEnabled());
  }
}

void FunctionPanel::ShowStored() {
  functions::FunctionKeys& functions = station_.functions;
  undo_->setEnabled(functions.keys.deleted_rows() > 0);
  const std::string now =
      *station_.console.RigName + "/" + KhzText(*station_.console.FreqDisp) + "/" + functions.store.Stamp();
  if (now == shown_) return;
  const auto row = functions.keys.Stored();
  if (!row && row.error().code == ErrorCode::kBusy) return;
  shown_ = now;
  const bool stored = row && *row;
  widgets::SetRole(mark_, stored ? "chip-on" : "quiet");
  mark_->setText(stored ? tr("Stored") : tr("Not stored"));  // behind it: a chip has an edge
  const QString note = stored ? ToQt(OneLine((*row)->description)) : QString();
  mark_->setToolTip(note.isEmpty() ? mark_->accessibleName() : note);
  mark_->setAccessibleDescription(note.isEmpty() ? mark_->text() : mark_->text() + ": " + note);
  on_arrival_ = stored ? (*row)->presses : decltype(on_arrival_)();
  ShowCaptions();
}

void FunctionPanel::ShowTexts() {
  for (std::size_t i = 0; i < values_.size(); ++i) {
    const QString text = ToQt(station_.console.Text5[i]);
    if (values_[i]->text() != text) values_[i]->setText(text);
  }
}

}  // namespace kvx::console
