#include "console/key_screen.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QKeySequence>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <cmath>
#include <utility>

#include "console/keyer_lamp.h"
#include "console/panel.h"
#include "keyer/cw_text.h"
#include "keyer/keyer_settings.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;

constexpr int kTickMilliseconds = 200;
constexpr int kNotch = 120;  // eighths of a degree
constexpr int kHistoryCharacters = 24;
constexpr int kTextLines = 6;
constexpr int kLongestSign = 8;

QPushButton* Button(const QString& text, const QString& name, const QString& tip, const QKeySequence& keys = {}) {
  auto* button = new QPushButton(text);
  button->setAccessibleName(name);
  button->setAutoDefault(false);
  if (!keys.isEmpty()) button->setShortcut(keys);
  const QString shown = button->shortcut().toString(QKeySequence::NativeText);
  button->setToolTip(shown.isEmpty() ? tip : tip + " (" + shown + ")");
  return button;
}

QCheckBox* Box(const QString& text, const QString& tip) {
  auto* box = new QCheckBox(text);
  box->setAccessibleName(QString(text).remove('&'));
  box->setToolTip(tip);
  return box;
}

double Seconds(Duration duration) {
  return std::chrono::duration<double>(duration).count();
}

}  // namespace

KeyScreen::KeyScreen(Station& station, Loop& loop, LocalTone* tone, const widgets::Appearance& appearance,
                     QWidget* parent)
    : QWidget(parent), station_(station), loop_(loop), keyer_(station.keyer), tone_(tone), appearance_(appearance) {
  setWindowTitle(tr("Send CW"));
  setObjectName("center");
  setAttribute(Qt::WA_StyledBackground);
  const int gap = fontMetrics().height() / 2;
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(gap, gap, gap, gap);
  column->setSpacing(gap);
  MakeHistory();
  macros_ = new KeyScreenMacros(station_);
  macros_->on_function = [this](int number) { Report(keyer_.SendFunction(number)); };
  column->addLayout(MakeState());
  column->addLayout(MakeText(), 1);
  column->addLayout(MakeLine());
  column->addWidget(macros_);
  column->addLayout(MakeOptions());
  tick_.setInterval(kTickMilliseconds);
  connect(&tick_, &QTimer::timeout, this, [this] { ShowTimes(); });
  connect(&appearance_, &widgets::Appearance::Changed, this, [this] { ShowState(); });
  if (tone_ != nullptr) tone_->on_change = [this] { local_tone_->setChecked(tone_->is_on()); };
  subscription_ = station_.console.Subscribe([this](Field field) { Follow(field); });
  Fit();
  UseLine(false);
  for (const Field field : {Field::kKeyer, Field::kCwSpeed, Field::kTune, Field::kCwProgress, Field::kMsgArea})
    Follow(field);
}

KeyScreen::~KeyScreen() {
  if (tone_ != nullptr) tone_->on_change = nullptr;
}

QHBoxLayout* KeyScreen::MakeState() {
  lamp_ = MakeLabel(tr("Keyer"), "lamp");
  lamp_->setTextFormat(Qt::RichText);
  start_ = Button(tr("Start &keyer"), tr("Start keyer"), tr("Opens the keyer and starts it up anew"));
  connect(start_, &QPushButton::clicked, this, [this] { keyer_.Open(); });
  left_ = new widgets::TabularLabel(tr("Time left"));
  left_->setProperty("role", "quiet");
  speed_ = new QSpinBox;
  speed_->setObjectName("CWSpeed");
  speed_->setRange(keyer::kSlowest, keyer::kFastest);
  speed_->setSuffix(tr(" wpm"));
  speed_->setAccessibleName(tr("Speed, words a minute"));
  speed_->setToolTip(tr("Words a minute (PgUp, PgDn, Alt+Up, Alt+Down, Ctrl and the wheel)"));
  connect(speed_, &QSpinBox::valueChanged, this, [this](int wpm) { (void)keyer_.SetSpeed(wpm); });
  stop_ = Button(tr("Stop"), tr("Stop sending"), tr("Stops at once and drops what waits (Esc)"));
  connect(stop_, &QPushButton::clicked, this, [this] { keyer_.Escape(); });
  pause_ = new widgets::LampButton(tr("Pause"), tr("Pause after the sign being sent, or go on"));
  pause_->SetKeys(QKeySequence("Ctrl+P"));
  connect(pause_, &QPushButton::clicked, this, [this] { keyer_.Pause(!keyer_.sender().paused()); });
  tune_ = new widgets::LampButton(tr("TUNE"), tr("Tune: hold the key down, or let it go"));
  tune_->setObjectName("tune");
  tune_->SetRole("transmit");
  tune_->SetKeys(QKeySequence("Ctrl+T"));
  connect(tune_, &QPushButton::clicked, this, [this] { keyer_.TuneIt(); });
  for (QWidget* button : std::initializer_list<QWidget*>{pause_, tune_, stop_})
    button->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Preferred);
  auto* row = new QHBoxLayout;
  row->addWidget(lamp_);
  row->addWidget(start_);
  row->addStretch();
  row->addWidget(left_);
  for (QWidget* control : std::initializer_list<QWidget*>{speed_, pause_, stop_, tune_}) row->addWidget(control);
  return row;
}

QHBoxLayout* KeyScreen::MakeText() {
  text_ = new CWText(appearance_);
  text_->setAccessibleName(tr("Text to send"));
  text_->setToolTip(
      tr("Sends what is typed while it is typed; Backspace takes back what still waits; <AR> is one sign"));
  for (QAbstractScrollArea* area : std::initializer_list<QAbstractScrollArea*>{text_, history_})
    area->viewport()->installEventFilter(this);
  text_->setPlaceholderText(tr("Type here: it is sent at once"));
  text_->on_type = [this](const QString& text) { Type(text); };
  text_->on_backspace = [this] { Backspace(); };
  auto* before = new QLabel(tr("SENT BEFORE"));
  before->setProperty("role", "caption");
  before->setBuddy(history_);
  auto* column = new QVBoxLayout;
  column->addWidget(before);
  column->addWidget(history_, 1);
  auto* row = new QHBoxLayout;
  row->addWidget(text_, 3);
  row->addLayout(column, 1);
  return row;
}

void KeyScreen::MakeHistory() {
  history_ = new QListWidget;
  history_->setAccessibleName(tr("Sent before"));
  history_->setToolTip(tr("What was sent: a double click or Enter sends it again, Del removes it"));
  history_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Expanding);
  history_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  history_->setTextElideMode(Qt::ElideRight);
  connect(history_, &QListWidget::itemActivated, this, [this] { SendAgain(); });
  auto* remove = new QShortcut(QKeySequence::Delete, history_);
  remove->setContext(Qt::WidgetShortcut);
  connect(remove, &QShortcut::activated, this, [this] { RemoveFromHistory(); });
}

QHBoxLayout* KeyScreen::MakeLine() {
  line_ = new QLineEdit;
  line_->setAccessibleName(tr("Line to send"));
  line_->setToolTip(tr("Return sends the line; macros such as {CALL} are written out"));
  line_->setPlaceholderText(tr("A line to be sent with Return; {CALL} {RST} {NR} are written out"));
  connect(line_, &QLineEdit::returnPressed, this, [this] { SendX(); });
  connect(line_, &QLineEdit::textChanged, this, [this](const QString& text) { macros_->Preview(text); });
  send_ = Button(tr("&Send"), tr("Send the line"), tr("Sends the line"));
  connect(send_, &QPushButton::clicked, this, [this] { SendX(); });
  auto* row = new QHBoxLayout;
  row->addWidget(line_, 1);
  row->addWidget(send_);
  return row;
}

QHBoxLayout* KeyScreen::MakeOptions() {
  local_tone_ = Box(tr("&Local side tone"), tr("Sounds what is sent on this computer (Alt+L)"));
  local_tone_->setObjectName("LocalCW");
  local_tone_->setEnabled(tone_ != nullptr);
  if (tone_ != nullptr) local_tone_->setChecked(tone_->is_on());
  connect(local_tone_, &QCheckBox::clicked, this, [this](bool on) { tone_->LocalCW(on); });
  by_line_ = Box(tr("Send on R&eturn"), tr("A line is finished first and sent with Return (Alt+E)"));
  connect(by_line_, &QCheckBox::toggled, this, [this](bool on) { UseLine(on); });
  message_ = MakeLabel(tr("Message"), "message");
  message_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  message_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  auto* close =
      Button(tr("Close"), tr("Close"), tr("Closes the window; what is being sent goes on"), QKeySequence("Ctrl+W"));
  connect(close, &QPushButton::clicked, this, [this] { ShutIt(); });
  auto* row = new QHBoxLayout;
  row->addWidget(local_tone_);
  row->addWidget(by_line_);
  row->addWidget(message_, 1);
  row->addWidget(close);
  return row;
}

void KeyScreen::Fit() {
  const QFontMetrics metrics = fontMetrics();
  text_->setMinimumHeight(metrics.lineSpacing() * kTextLines);
  history_->setMinimumWidth(metrics.averageCharWidth() * kHistoryCharacters);
  tune_->setMinimumWidth(metrics.horizontalAdvance("TUNE 120 s") + 2 * metrics.height());
}

void KeyScreen::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::FontChange && message_ != nullptr) Fit();
}

/// Letters between < and > are one sign: they wait for its end.
void KeyScreen::Type(const QString& text) {
  QString whole;
  for (const QChar& character : text) {
    const bool waits = !sign_.isEmpty() || character == '<';
    (waits ? sign_ : whole) += character;
    if (!waits || (character != '>' && !character.isSpace() && sign_.size() < kLongestSign)) continue;
    whole += std::exchange(sign_, {});
  }
  if (!whole.isEmpty()) Report(keyer_.Type(whole.toStdString()));
  ShowProgress();
}

void KeyScreen::Backspace() {
  if (sign_.isEmpty()) return keyer_.SendChar1(keyer::kBackspaceCode);
  sign_.chop(1);
  ShowProgress();
}

void KeyScreen::UseLine(bool on) {
  line_->setVisible(on);
  send_->setVisible(on);
  (on ? static_cast<QWidget*>(line_) : text_)->setFocus();
}

void KeyScreen::SendX() {
  const Result<keyer::CwTaken> taken = keyer_.Send(line_->text().toStdString());
  Report(taken);
  if (taken) line_->clear();
}

void KeyScreen::ShutIt() {
  window()->close();
}

void KeyScreen::Report(const Result<keyer::CwTaken>& taken) {
  if (!taken) {
    station_.Notice(taken.error().message);
  } else if (!taken->left_out.empty()) {
    station_.Notice(taken->left_out);
  }
}

void KeyScreen::Follow(Field field) {
  switch (field) {
    case Field::kKeyer:
      return ShowState();
    case Field::kCwSpeed:
      return ShowSpeed();
    case Field::kTune:
      return ShowTune();
    case Field::kCwProgress:
      return ShowProgress();
    case Field::kMsgArea:
      message_->setToolTip(widgets::ToQt(*station_.console.MsgArea));
      return ShowText(message_, widgets::ToQt(*station_.console.MsgArea));
    default:
      return;
  }
}

void KeyScreen::ShowState() {
  const std::string& state = *station_.console.KeyerState;
  lamp_->setText(KeyerLamp(station_, appearance_.theme()));
  lamp_->setAccessibleDescription(KeyerState(station_));
  start_->setVisible(state == "closed" || state == "failed");
}

void KeyScreen::ShowSpeed() {
  const QSignalBlocker quiet(speed_);
  speed_->setValue(*station_.console.CWSpeed);
}

void KeyScreen::ShowTune() {
  const bool on = *station_.console.Tune;
  if (on) tuned_at_ = loop_.Now();
  tune_->SetLit(on);
  ShowTimes();
}

void KeyScreen::ShowProgress() {
  const keyer::CwSender& sender = keyer_.sender();
  const QString current = widgets::ToQt(sender.current().empty() ? "" : keyer::ShownSymbol(sender.current()));
  QString sent = widgets::ToQt(sender.sent());
  if (!current.isEmpty() && sent.endsWith(current)) sent.chop(current.size());
  text_->Show({sent, current, widgets::ToQt(sender.waiting()) + sign_});
  pause_->SetLit(sender.paused());
  pause_->SetText(sender.paused() ? tr("Resume") : tr("Pause"));
  ShowHistory();
  ShowTimes();
}

/// What runs by the clock.
void KeyScreen::ShowTimes() {
  const keyer::CwSender& sender = keyer_.sender();
  const bool tune = *station_.console.Tune;
  left_->SetText(sender.sending() ? tr("%1 s left").arg(Seconds(sender.left()), 0, 'f', 1) : QString());
  const Duration rest = keyer_.settings().tune_limit - (loop_.Now() - tuned_at_);
  tune_->SetText(tune ? tr("TUNE %1 s").arg(std::max(0, static_cast<int>(std::ceil(Seconds(rest))))) : tr("TUNE"));
  if ((tune || sender.sending()) && isVisible()) {
    if (!tick_.isActive()) tick_.start();
  } else {
    tick_.stop();
  }
}

void KeyScreen::ShowHistory() {
  const keyer::CwSender& sender = keyer_.sender();
  sent_before_.Take(sender.sent(), sender.begun(), sender.sending(), loop_.Now());
  const std::vector<std::string>& texts = sent_before_.texts();
  while (history_->count() > static_cast<int>(texts.size())) delete history_->takeItem(0);
  const bool grown = history_->count() < static_cast<int>(texts.size());
  while (history_->count() < static_cast<int>(texts.size())) history_->addItem(QString());
  for (int row = 0; row < history_->count(); ++row) {
    const QString text = widgets::ToQt(texts[static_cast<std::size_t>(row)]);
    QListWidgetItem* item = history_->item(row);
    if (item->text() == text) continue;
    item->setText(text);
    item->setToolTip(text);
  }
  if (grown) history_->scrollToBottom();
}

void KeyScreen::SendAgain() {
  const int row = history_->currentRow();
  if (row >= 0) Report(keyer_.Type(sent_before_.texts()[static_cast<std::size_t>(row)]));
}

void KeyScreen::RemoveFromHistory() {
  const int row = history_->currentRow();
  if (row < 0) return;
  sent_before_.Remove(static_cast<std::size_t>(row));
  delete history_->takeItem(row);
}

void KeyScreen::ChangeSpeed(int by) {
  speed_->setValue(*station_.console.CWSpeed + by);
}

void KeyScreen::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (!event->spontaneous()) UseLine(by_line_->isChecked());
  ShowTimes();
}

void KeyScreen::keyPressEvent(QKeyEvent* event) {
  const bool alt = event->modifiers() == Qt::AltModifier;
  const int key = event->key();
  if (key == Qt::Key_PageUp || (alt && key == Qt::Key_Up)) return ChangeSpeed(1);
  if (key == Qt::Key_PageDown || (alt && key == Qt::Key_Down)) return ChangeSpeed(-1);
  QWidget::keyPressEvent(event);
}

/// With Ctrl the wheel is the window's wherever it is turned.
bool KeyScreen::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::Wheel) return QWidget::eventFilter(watched, event);
  auto* wheel = static_cast<QWheelEvent*>(event);
  if (!(wheel->modifiers() & Qt::ControlModifier)) return false;
  wheelEvent(wheel);
  return true;
}

void KeyScreen::wheelEvent(QWheelEvent* event) {
  if (!(event->modifiers() & Qt::ControlModifier)) return QWidget::wheelEvent(event);
  wheel_ += event->angleDelta().y();
  if (wheel_ / kNotch != 0) ChangeSpeed(wheel_ / kNotch);
  wheel_ %= kNotch;
  event->accept();
}

}  // namespace kvx::console
