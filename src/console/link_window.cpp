#include "console/link_window.h"

#include <QEvent>
#include <QHeaderView>
#include <QHideEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QShowEvent>
#include <QTableWidget>
#include <QVBoxLayout>
#include <cmath>

#include "core/text.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

using widgets::Named;
using widgets::ToQt;

constexpr int kTickMilliseconds = 250;
constexpr int kProgramRounds = 8;          // looking through all processes takes its time
constexpr int kMostBlocks = 400;           // of the receive display
constexpr std::size_t kMostHeard = 16384;  // between two looks
constexpr int kTextLines = 5;

enum Column { kName, kState, kAsked, kRate, kLast, kAnswer, kRefused, kColumns };

QString Title(std::string_view name) {
  if (name == "logger") return LinkWindow::tr("Logger, skimmer");
  if (name == "keyer") return LinkWindow::tr("CW of the logger");
  return name == "dde" ? LinkWindow::tr("DDE") : LinkWindow::tr("NET rigctl");
}

QString Shown(const std::string& bytes) {
  return ToQt(ToVisible(Trim(bytes)));
}

QPlainTextEdit* TextBox(const QString& name, const QString& tip) {
  auto* box = Named(new QPlainTextEdit, name, tip);
  box->setReadOnly(true);
  box->setTabChangesFocus(true);
  box->setMaximumBlockCount(kMostBlocks);
  box->setFont(widgets::FixedFont());
  return box;
}

QLabel* Caption(const QString& text, QWidget* of) {
  auto* label = new QLabel(text);
  label->setProperty("role", "quiet");
  label->setBuddy(of);
  return label;
}

}  // namespace

LinkWindow::LinkWindow(Station& station, QWidget* parent) : QWidget(parent, Qt::Window), station_(station) {
  setWindowTitle(tr("Link monitor"));
  setObjectName("center");  // the style sheet's ground of a window
  setAttribute(Qt::WA_StyledBackground);
  MakeTable();
  program_ = Named(new QLabel, tr("The logger's program"), tr("Whether the logger or the skimmer runs"));
  program_->setProperty("role", "quiet");
  program_->setWordWrap(true);
  received_ = TextBox(tr("Received from the logger"),
                      tr("What has arrived at the logger's port while this window is open, with the link off as well"));
  cw_ = TextBox(tr("CW of the logger"), tr("What the logger has had the WinKeyer send lately, blanks left out"));
  cw_->setMaximumHeight(fontMetrics().height() * kTextLines);
  auto* column = new QVBoxLayout(this);
  column->addWidget(table_, 2);
  column->addWidget(program_);
  column->addWidget(Caption(tr("&Received from the logger"), received_));
  column->addWidget(received_, 2);
  column->addWidget(Caption(tr("&CW of the logger"), cw_));
  column->addWidget(cw_, 1);
  timer_.setInterval(kTickMilliseconds);
  connect(&timer_, &QTimer::timeout, this, &LinkWindow::Refresh);
  Refresh();
  FitColumns();
}

LinkWindow::~LinkWindow() {
  Listen(false);
}

void LinkWindow::MakeTable() {
  table_ = Named(new QTableWidget(0, kColumns), tr("Links"), tr("The links to other programs, a line each"));
  table_->setHorizontalHeaderLabels({tr("Link"), tr("State"), tr("Commands"), tr("A second"), tr("Last command"),
                                     tr("Last answer"), tr("Refused last")});
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setShowGrid(false);
  table_->setTabKeyNavigation(false);
  table_->setCornerButtonEnabled(false);
  table_->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  table_->verticalHeader()->hide();
  table_->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  table_->horizontalHeader()->setHighlightSections(false);
  table_->horizontalHeader()->setStretchLastSection(true);
}

void LinkWindow::FitColumns() {
  constexpr int kCharacters[kColumns] = {17, 30, 10, 9, 18, 24, 18};
  const int width = table_->fontMetrics().averageCharWidth();
  for (int column = 0; column < kColumns; ++column) table_->setColumnWidth(column, width * (kCharacters[column] + 2));
}

void LinkWindow::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::FontChange && table_ != nullptr) FitColumns();
}

void LinkWindow::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (event->spontaneous()) return;  // a minimised window goes on
  Listen(true);
  Refresh();
  timer_.start();
}

void LinkWindow::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  if (event->spontaneous()) return;
  timer_.stop();
  Listen(false);
}

void LinkWindow::Listen(bool on) {
  if (!station_.loggers) return;
  station_.loggers->logger.on_received = nullptr;
  if (!on) return;
  station_.loggers->logger.on_received = [this](std::string_view bytes) {
    heard_ += bytes;
    if (heard_.size() > kMostHeard) heard_.erase(0, heard_.size() - kMostHeard);
  };
}

void LinkWindow::Refresh() {
  const std::vector<LinkLine> lines = LinkLines(station_);
  const double seconds = since_.isValid() ? static_cast<double>(since_.restart()) / 1000 : 0;
  if (!since_.isValid()) since_.start();
  asked_.resize(lines.size());
  table_->setRowCount(static_cast<int>(lines.size()));
  for (std::size_t i = 0; i < lines.size(); ++i) {
    ShowRow(static_cast<int>(i), lines[i], seconds);
    asked_[i] = lines[i].activity->asked();
  }
  if (!heard_.empty()) received_->appendPlainText(Shown(std::exchange(heard_, {})));
  if (!station_.loggers) return;
  if (rounds_++ % kProgramRounds == 0) program_->setText(ToQt(station_.loggers->program_state()));
  const QString cw = ToQt(station_.loggers->winkey.text());
  if (cw != cw_->toPlainText()) {
    cw_->setPlainText(cw);
    cw_->moveCursor(QTextCursor::End);
  }
}

void LinkWindow::ShowRow(int row, const LinkLine& line, double seconds) {
  const auto number = static_cast<std::size_t>(row);
  const double more = static_cast<double>(line.activity->asked() - asked_[number]);
  Put(row, kName, Title(line.name));
  Put(row, kState, ToQt(line.state));
  Put(row, kAsked, QString::number(line.activity->asked()));
  Put(row, kRate, seconds > 0 ? QString::number(std::llround(more / seconds)) : QString("0"));
  Put(row, kLast, Shown(line.activity->last()));
  Put(row, kAnswer, Shown(line.activity->answer()));
  Put(row, kRefused, Shown(line.activity->last_refused()));
}

/// Only what is different: a screen reader is told of each change.
void LinkWindow::Put(int row, int column, const QString& text) {
  QTableWidgetItem* item = table_->item(row, column);
  if (item == nullptr) table_->setItem(row, column, item = new QTableWidgetItem);
  if (item->text() == text) return;
  item->setText(text);
  item->setToolTip(text);
}

}  // namespace kvx::console
