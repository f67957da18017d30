#include "console/doctor_window.h"

#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QShowEvent>
#include <QVBoxLayout>

#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

using widgets::Named;
using widgets::ToQt;

constexpr int kWidth = 58;  // heights of text
constexpr int kHeight = 32;

template <class Action>
QPushButton* Button(const QString& text, const QString& name, const QString& tip, const QKeySequence& keys,
                    QWidget* parent, Action action) {
  auto* button = Named(new QPushButton(text, parent), name, tip, keys);
  button->setShortcut(keys);
  button->setAutoDefault(false);
  QObject::connect(button, &QPushButton::clicked, parent, action);
  return button;
}

}  // namespace

DoctorWindow::DoctorWindow(Doctor& doctor, QWidget* parent) : QDialog(parent, Qt::Window), doctor_(doctor) {
  setWindowTitle(tr("Check the station"));
  list_ =
      Named(new QListWidget, tr("Findings"), tr("What has been found, a line a check: what is wrong and what to do"));
  list_->setWordWrap(true);
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  list_->setAlternatingRowColors(true);
  summary_ = Named(new QLabel, tr("Summary"), tr("What came of the examination"));
  summary_->setTextFormat(Qt::PlainText);
  summary_->setWordWrap(true);
  again_ = Button(tr("Check again"), tr("Check again"), tr("Examines the station anew"), QKeySequence("F5"), this,
                  [this] { Examine(); });
  auto* copy = Button(tr("Copy"), tr("Copy the findings"), tr("Puts all lines on the clipboard, as text"),
                      QKeySequence("Ctrl+C"), this, [this] { Copy(); });
  auto* close = Button(tr("Close"), tr("Close"), tr("Closes this window"), QKeySequence("Ctrl+W"), this,
                       [this] { this->close(); });
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(summary_, 1);
  for (QPushButton* button : {again_, copy, close}) buttons->addWidget(button);
  auto* column = new QVBoxLayout(this);
  column->addWidget(list_, 1);
  column->addLayout(buttons);
  list_->setFocus();  // so that the finding it comes to stand at is read aloud
  resize(QSize(kWidth, kHeight) * fontMetrics().height());
}

void DoctorWindow::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (!event->spontaneous()) Examine();
}

void DoctorWindow::Examine() {
  if (!examination_.done()) return;
  findings_.clear();
  list_->clear();
  widgets::ShowText(summary_, tr("Examining the station…"));
  examination_ = Run();
}

Task DoctorWindow::Run() {
  Task examination = doctor_.Examine([this](const Finding& finding) { Show(finding); });
  co_await examination;
  Ended();
}

void DoctorWindow::Show(const Finding& finding) {
  findings_.push_back(finding);
  auto* item = new QListWidgetItem(ToQt(LineOf(finding)), list_);
  item->setData(Qt::AccessibleTextRole, item->text());
  if (finding.grade == Finding::Grade::kOk) return;
  QFont font = list_->font();
  font.setBold(true);
  item->setFont(font);
}

/// The first thing that is wrong is where the reader stands.
void DoctorWindow::Ended() {
  int worst = 0;
  for (std::size_t i = 0; i < findings_.size(); ++i) {
    if (findings_[i].grade > findings_[static_cast<std::size_t>(worst)].grade) worst = static_cast<int>(i);
  }
  list_->setCurrentRow(worst);
  list_->scrollToItem(list_->item(worst));
  widgets::ShowText(summary_, tr("In all: ") + ToQt(SummaryOf(findings_)));
}

void DoctorWindow::Copy() const {
  QString text;
  for (const Finding& finding : findings_) text += ToQt(LineOf(finding)) + "\n";
  QApplication::clipboard()->setText(text + summary_->text() + "\n");
}

}  // namespace kvx::console
