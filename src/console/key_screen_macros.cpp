#include "console/key_screen_macros.h"

#include <QContextMenuEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "console/panel.h"
#include "console/questions.h"
#include "keyer/cw_macros.h"

namespace kvx::console {
namespace {

constexpr int kButtonsInRow = 6;
constexpr int kNumberDigits = 3;

/// Numbers of contacts have three digits, as they are sent.
class NumberBox final : public QSpinBox {
 protected:
  QString textFromValue(int value) const override { return QString("%1").arg(value, kNumberDigits, 10, QChar('0')); }
};

}  // namespace

KeyScreenMacros::KeyScreenMacros(Station& station) : station_(station), keyer_(station.keyer) {
  setProperty("role", "panel");
  const int gap = fontMetrics().height() / 2;
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(2 * gap, gap, 2 * gap, gap);
  column->setSpacing(gap);
  column->addLayout(MakeValues());
  auto* grid = new QGridLayout;
  grid->setSpacing(gap / 2 + 1);
  MakeButtons();
  for (int i = 0; i < keyer::kCwFunctions; ++i) {
    grid->addWidget(buttons_[static_cast<std::size_t>(i)], i / kButtonsInRow, i % kButtonsInRow);
  }
  column->addLayout(grid);
  preview_ = MakeLabel(tr("What would be sent"), "quiet");
  preview_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  column->addWidget(preview_);
  keyer_.functions.on_change = [this] { ShowTexts(); };
  ShowTexts();
}

KeyScreenMacros::~KeyScreenMacros() {
  keyer_.functions.on_change = nullptr;
}

QLineEdit* KeyScreenMacros::MakeLine(const QString& name, const QString& tip, int characters,
                                     Status (keyer::CwFunctions::*set)(std::string_view)) {
  auto* line = new QLineEdit;
  line->setAccessibleName(name);
  line->setToolTip(tip);
  line->setMinimumWidth(fontMetrics().averageCharWidth() * characters);
  connect(line, &QLineEdit::textEdited, this, [this, line, set](const QString& text) {
    const int cursor = line->cursorPosition();
    line->setText(text.toUpper());
    line->setCursorPosition(cursor);
    Report((keyer_.functions.*set)(text.toStdString()));
  });
  return line;
}

QHBoxLayout* KeyScreenMacros::MakeValues() {
  call_ = MakeLine(tr("Call"), tr("The other station's call: {CALL} (Alt+C)"), 14, &keyer::CwFunctions::SetCall);
  rst_ = MakeLine(tr("Report"), tr("The report that is given: {RST} (Alt+R)"), 6, &keyer::CwFunctions::SetRst);
  my_call_ =
      MakeLine(tr("My call"), tr("The station's own call: {MYCALL} (Alt+M)"), 14, &keyer::CwFunctions::SetMyCall);
  number_ = new NumberBox;
  number_->setRange(1, keyer::kMostContacts);
  number_->setAccessibleName(tr("Number"));
  number_->setToolTip(tr("The number of the contact: {NR}; {NR+} counts on when it is sent (Alt+N)"));
  connect(number_, &QSpinBox::valueChanged, this, [this](int value) { Report(keyer_.functions.SetNumber(value)); });
  auto* row = new QHBoxLayout;
  row->setSpacing(fontMetrics().height() / 2);
  const auto add = [row](const QString& caption, QWidget* control, int stretch) {
    auto* label = new QLabel(caption);
    label->setProperty("role", "caption");
    label->setBuddy(control);
    row->addWidget(label);
    row->addWidget(control, stretch);
  };
  add(tr("&Call"), call_, 3);
  add(tr("&RST"), rst_, 1);
  add(tr("&Nr"), number_, 1);
  add(tr("&My call"), my_call_, 3);
  return row;
}

void KeyScreenMacros::MakeButtons() {
  for (std::size_t i = 0; i < buttons_.size(); ++i) {
    const int number = static_cast<int>(i) + 1;
    auto* button = new widgets::LampButton({}, tr("Function %1").arg(number));
    button->setCheckable(false);
    button->SetKeys(QKeySequence(QString("F%1").arg(number)));
    button->setContextMenuPolicy(Qt::CustomContextMenu);
    button->installEventFilter(this);
    button->setMouseTracking(true);
    connect(button, &QPushButton::clicked, this, [this, number] {
      if (on_function) on_function(number);
    });
    connect(button, &QWidget::customContextMenuRequested, this, [this, number] { Edit(number); });
    buttons_[i] = button;
  }
}

void KeyScreenMacros::Edit(int number) {
  const QString rule = tr("The first three characters will be the function key title and will not be transmitted.");
  AskText({.window = this, .title = tr("Enter Function")},
          rule + "\n" + tr("F%1; {CALL}, {RST}, {NR}, {NR+}, {FREQ} and {MYCALL} stand for their values.").arg(number),
          widgets::ToQt(keyer_.functions.text(number)),
          [this, number](const QString& text) { Report(keyer_.functions.SetText(number, text.toStdString())); });
}

void KeyScreenMacros::Report(const Status& status) {
  if (!status) station_.Notice(status.error().message);
}

void KeyScreenMacros::ShowTexts() {
  const keyer::CwFunctions& functions = keyer_.functions;
  for (std::size_t i = 0; i < buttons_.size(); ++i) {
    const int number = static_cast<int>(i) + 1;
    const QString title = widgets::ToQt(functions.title(number)).trimmed();
    const QString message = widgets::ToQt(functions.message(number)).trimmed();
    widgets::LampButton* button = buttons_[i];
    button->SetText(QString("F%1  %2").arg(number).arg(QString(title).replace('&', "&&")));
    button->setAccessibleName(tr("Function %1: %2").arg(number).arg(title));
    button->setAccessibleDescription(message);
    button->setToolTip(
        tr("%1\nF%2 sends it; the right mouse button, or the menu key, changes it").arg(message).arg(number));
  }
  const keyer::MacroValues& values = functions.values();
  for (const auto& [line, text] : {std::pair{call_, &values.call}, {rst_, &values.rst}, {my_call_, &values.my_call}}) {
    if (!line->hasFocus()) line->setText(widgets::ToQt(*text));
  }
  const QSignalBlocker quiet(number_);
  number_->setValue(values.number);
  ShowPreview();
}

void KeyScreenMacros::Preview(const QString& text) {
  previewed_ = text;
  ShowPreview();
}

void KeyScreenMacros::ShowPreview() {
  QString shown;
  bool good = true;
  if (!previewed_.isEmpty()) {
    keyer::MacroValues values = keyer_.functions.values();
    values.frequency = *station_.console.FreqDisp;
    const auto expanded = keyer::ExpandMacros(previewed_.toStdString(), values);
    good = expanded.ok();
    shown = widgets::ToQt(good ? expanded->text : expanded.error().message);
  }
  if (shown.isEmpty()) shown = tr("F1 to F12 send their texts; the right mouse button changes them.");
  widgets::SetRole(preview_, good ? "quiet" : "error");
  ShowText(preview_, shown);
}

/// A button shows what it sends while the mouse or the keyboard is on it.
bool KeyScreenMacros::eventFilter(QObject* watched, QEvent* event) {
  const bool comes = event->type() == QEvent::Enter || event->type() == QEvent::FocusIn;
  const bool goes = event->type() == QEvent::Leave || event->type() == QEvent::FocusOut;
  for (std::size_t i = 0; (comes || goes) && i < buttons_.size(); ++i) {
    if (watched != buttons_[i]) continue;
    Preview(comes ? widgets::ToQt(keyer_.functions.message(static_cast<int>(i) + 1)) : QString());
  }
  return QFrame::eventFilter(watched, event);
}

}  // namespace kvx::console
