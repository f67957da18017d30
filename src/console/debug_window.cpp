#include "console/debug_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QEvent>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QHideEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QShowEvent>
#include <QStyle>
#include <QTableView>
#include <QVBoxLayout>
#include <algorithm>

#include "console/questions.h"
#include "core/text.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

using widgets::Named;

constexpr int kTickMilliseconds = 75;
constexpr int kTextCharacters = 42;  // a column wide enough for the longest status replies
constexpr int kWindowLines = 26;
constexpr int kBytes = 40;  // of the same replies
constexpr int kWindowCharacters = 140;

QPushButton* Button(const QString& text, const QString& name, const QString& tip, const QKeySequence& shortcut) {
  auto* button = Named(new QPushButton(text), name, tip, shortcut);
  button->setShortcut(shortcut);
  button->setAutoDefault(false);
  return button;
}

bool AtEnd(const QScrollBar& bar) {
  return bar.value() >= bar.maximum();
}

}  // namespace

DebugWindow::DebugWindow(Station& station, const widgets::Appearance& appearance, QWidget* parent)
    : QWidget(parent, Qt::Window), station_(station), log_(station.debug_log), model_(log_, appearance) {
  setWindowTitle(tr("Debug view"));
  setObjectName("center");  // the style sheet's ground of a window
  setAttribute(Qt::WA_StyledBackground);
  ask_file = [this](std::function<void(const QString&)> then) {
    AskFile({.window = this, .title = tr("Save the debug view")},
            QString::fromStdString((station_.folder() / "debug.txt").string()), tr("Text (*.txt);;All files (*)"), true,
            std::move(then));
  };
  MakeControls();
  MakeTable();
  auto* column = new QVBoxLayout(this);
  column->addLayout(FilterRow());
  column->addWidget(table_, 1);
  column->addLayout(CommandRow());
  column->addWidget(counters_);
  timer_.setInterval(kTickMilliseconds);
  connect(&timer_, &QTimer::timeout, this, &DebugWindow::Refresh);
  FitColumns();
  resize(fontMetrics().averageCharWidth() * kWindowCharacters, fontMetrics().height() * kWindowLines);
}

DebugWindow::~DebugWindow() {
  SetRecording(false);
}

void DebugWindow::MakeControls() {
  filter_ = Named(new QLineEdit, tr("Filter"), tr("Shows only what has this in its text or in its bytes"),
                  QKeySequence::Find);
  filter_->setPlaceholderText(tr("Filter: FA, MD2;, FE FE 94"));
  filter_->setClearButtonEnabled(true);
  connect(filter_, &QLineEdit::textChanged, this, &DebugWindow::ApplyFilter);
  connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, filter_, [this] { filter_->setFocus(); });
  sent_ = Named(new QCheckBox(tr("S&ent")), tr("Show what was sent"), tr("Shows what was sent"), tr("Alt+E"));
  received_ =
      Named(new QCheckBox(tr("&Received")), tr("Show what was received"), tr("Shows what was received"), tr("Alt+R"));
  for (QCheckBox* box : {sent_, received_}) {
    box->setChecked(true);
    connect(box, &QCheckBox::toggled, this, &DebugWindow::ApplyFilter);
  }
  pause_ = Button(tr("Pause"), tr("Pause"), tr("Holds the picture still; recording goes on"), tr("Ctrl+P"));
  pause_->setCheckable(true);
  connect(pause_, &QPushButton::toggled, this, &DebugWindow::Pause);
  clear_ = Button(tr("Clear"), tr("Clear"), tr("Forgets what has been recorded"), tr("Ctrl+L"));
  connect(clear_, &QPushButton::clicked, this, &DebugWindow::Clear);
  save_ = Button(tr("Save..."), tr("Save"), tr("Writes what is shown to a file"), QKeySequence::Save);
  connect(save_, &QPushButton::clicked, this, [this] { ask_file([this](const QString& file) { Save(file); }); });
  command_ = Named(new CommandEntry, tr("Command"),
                   tr("A command as it stands, or a key of the rig's definition such as XGETFREQ; <CR> and <0x07> are "
                      "control characters, a binary rig takes pairs of digits. Up and Down: the commands before"));
  command_->setPlaceholderText(tr("Send a command: IF;, XGETFREQ"));
  command_->on_command = [this](const QString& command) { Send(command); };
  outcome_ = Named(new QLabel, tr("Nothing sent yet"), tr("What became of the last command"));
  outcome_->setTextFormat(Qt::PlainText);
  counters_ = Named(new QLabel, tr("Counters"), tr("Since the program has been started"));
  counters_->setProperty("role", "quiet");
  counters_->setWordWrap(true);
}

QLayout* DebugWindow::FilterRow() {
  auto* row = new QHBoxLayout;
  row->addWidget(filter_, 1);
  for (QWidget* control : std::initializer_list<QWidget*>{sent_, received_, pause_, clear_, save_}) {
    row->addWidget(control);
  }
  return row;
}

QLayout* DebugWindow::CommandRow() {
  auto* send = Button(tr("Send"), tr("Send the command"), tr("Sends the command"), tr("Ctrl+Return"));
  connect(send, &QPushButton::clicked, command_, [this] { Q_EMIT command_->returnPressed(); });
  auto* row = new QHBoxLayout;
  row->addWidget(command_, 2);
  row->addWidget(send);
  row->addWidget(outcome_, 1);
  return row;
}

void DebugWindow::MakeTable() {
  table_ = Named(new QTableView, tr("Traffic"), tr("What went over the rig's line, the newest last"));
  table_->setModel(&model_);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setShowGrid(false);
  table_->setWordWrap(false);
  table_->setTabKeyNavigation(false);
  table_->setCornerButtonEnabled(false);
  table_->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  table_->verticalHeader()->hide();
  table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  table_->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  table_->horizontalHeader()->setHighlightSections(false);
  auto* copy = new QShortcut(QKeySequence::Copy, table_);
  copy->setContext(Qt::WidgetShortcut);
  connect(copy, &QShortcut::activated, this, &DebugWindow::Copy);
}

void DebugWindow::FitColumns() {
  const QFont font = widgets::FixedFont();
  model_.SetFont(font);
  const QFontMetrics metrics(font);
  const int margin = metrics.averageCharWidth() * 2;
  table_->verticalHeader()->setMinimumSectionSize(metrics.height());
  table_->verticalHeader()->setDefaultSectionSize(metrics.height() + metrics.height() / 4);
  table_->setColumnWidth(DebugModel::kTime, metrics.horizontalAdvance("00:00:00.000") + margin);
  table_->setColumnWidth(DebugModel::kDirection, metrics.horizontalAdvance(tr("< received")) + margin);
  table_->setColumnWidth(DebugModel::kText, metrics.averageCharWidth() * kTextCharacters + margin);
  table_->setColumnWidth(DebugModel::kHex, metrics.averageCharWidth() * kBytes * 3 + margin);
}

void DebugWindow::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::FontChange && table_ != nullptr) FitColumns();
}

void DebugWindow::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (!event->spontaneous()) SetRecording(true);
}

void DebugWindow::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  if (!event->spontaneous()) SetRecording(false);  // a minimised window goes on recording
}

void DebugWindow::SetRecording(bool on) {
  if (on == recording_) return;
  recording_ = on;
  if (on) {
    log_.Open();
    timer_.start();
    Refresh();
  } else {
    timer_.stop();
    log_.Close();
  }
}

/// Several times a second, all that has come since in one go. The end of the list stays in sight unless the operator
/// has scrolled up; then what he looks at stays where it is.
void DebugWindow::Refresh() {
  QScrollBar& bar = *table_->verticalScrollBar();
  const bool follow = AtEnd(bar);
  const int top = bar.value();
  model_.Update();
  if (follow) {
    table_->scrollToBottom();
  } else if (model_.removed() > 0) {
    bar.setValue(std::max(0, top - model_.removed()));
  }
  ShowCounters();
}

void DebugWindow::ShowCounters() {
  const cat::Engine& engine = station_.engine;
  const QString text = tr("%1 of %2 lines  ·  sent %3 bytes  ·  received %4 bytes  ·  %5 replies read, %6 refused")
                           .arg(model_.rowCount())
                           .arg(model_.ring().end() - model_.ring().first())
                           .arg(engine.link.sent_bytes())
                           .arg(engine.link.received_bytes())
                           .arg(engine.parser.replies_read())
                           .arg(engine.parser.refusals());
  if (text != counters_->text()) counters_->setText(text);
}

void DebugWindow::ApplyFilter() {
  model_.SetFilter({filter_->text().toStdString(), sent_->isChecked(), received_->isChecked()});
  table_->scrollToBottom();
  ShowCounters();
}

void DebugWindow::Pause(bool paused) {
  model_.SetPaused(paused);
  if (!paused) table_->scrollToBottom();
  ShowCounters();
}

void DebugWindow::Clear() {
  log_.Clear();
  model_.Clear();
  ShowCounters();
}

void DebugWindow::Save(const QString& file) {
  const Status saved = log_.SaveTo(platform::Path(file.toStdString()), model_.ring(), model_.filter());
  Say(saved ? tr("Saved to %1").arg(file) : QString::fromStdString(saved.error().message), !saved);
}

void DebugWindow::Copy() {
  QString lines;
  QModelIndexList rows = table_->selectionModel()->selectedRows();
  std::sort(rows.begin(), rows.end());
  for (const QModelIndex& index : rows) {
    if (const Traffic* entry = model_.EntryAt(index.row()))
      lines += QString::fromStdString(log_.text().FormatLine(*entry)) + "\n";
  }
  if (!lines.isEmpty()) QApplication::clipboard()->setText(lines);
}

void DebugWindow::Send(const QString& command) {
  station_.console.ErrorText.Set("");
  const cat::SendOutcome outcome = station_.SendCommand(FromVisible(command.trimmed().toStdString()));
  const bool sent = outcome == cat::SendOutcome::kSent;
  Say(sent ? tr("Sent") : QString::fromStdString(station_.WhyNotSent(outcome)), !sent);
}

void DebugWindow::Say(const QString& line, bool bad) {
  outcome_->setText(line);
  outcome_->setAccessibleName(line);
  outcome_->setToolTip(line);
  outcome_->setProperty("role", bad ? "error" : "quiet");
  outcome_->style()->polish(outcome_);
}

}  // namespace kvx::console
