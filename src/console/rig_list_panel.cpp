#include "console/rig_list_panel.h"

#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

#include "widgets/qt_text.h"

namespace kvx::console {

RigListPanel::RigListPanel(QWidget* parent)
    : QFrame(parent), search_(new QLineEdit(this)), list_(new QListWidget(this)) {
  setProperty("role", "panel");
  auto* caption = new QLabel(tr("RIGS"), this);
  caption->setProperty("role", "caption");
  search_->setPlaceholderText(tr("Find a rig"));
  search_->setAccessibleName(tr("Find a rig"));
  search_->setToolTip(tr("Lists the rigs with this text in their name (Ctrl+L; Esc clears it)"));
  auto* clear = new QShortcut(QKeySequence("Esc"), search_);
  clear->setContext(Qt::WidgetShortcut);
  connect(clear, &QShortcut::activated, search_, &QLineEdit::clear);
  list_->setAccessibleName(tr("Rigs"));
  list_->setToolTip(tr("The rig that is edited; the rig in use is bold"));
  list_->setStyleSheet("QListWidget::item { padding: 0.2em; }");
  list_->setTextElideMode(Qt::ElideRight);
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  auto* grid = new QGridLayout;
  AddButton(*grid, tr("New"), tr("Begin an empty rig"), QKeySequence("Ctrl+N"), &RigListPanel::on_new);
  for_a_rig_ = {
      AddButton(*grid, tr("Copy"), tr("Go on with this rig under another name"), QKeySequence("Ctrl+D"),
                &RigListPanel::on_copy),
      AddButton(*grid, tr("Rename"), tr("Give this rig another name"), QKeySequence("F2"), &RigListPanel::on_rename),
      AddButton(*grid, tr("Delete"), tr("Delete this rig"), QKeySequence("Ctrl+Del"), &RigListPanel::on_delete)};
  for_a_rig_.back()->setProperty("role", "danger");
  AddButton(*grid, tr("Import"), tr("Take rigs from a CSV file"), QKeySequence("Ctrl+I"), &RigListPanel::on_import);
  AddButton(*grid, tr("Export"), tr("Write this rig or all rigs to a CSV file"), QKeySequence("Ctrl+E"),
            &RigListPanel::on_export);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(caption);
  layout->addWidget(search_);
  layout->addWidget(list_, 1);
  layout->addLayout(grid);
  connect(search_, &QLineEdit::textChanged, this, [this] { Filter(); });
  connect(search_, &QLineEdit::returnPressed, this, [this] {
    for (int i = 0; i < list_->count(); ++i) {
      if (!list_->item(i)->isHidden()) return list_->setCurrentRow(i);
    }
  });
  connect(list_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
    if (!marking_ && item != nullptr && on_chosen) on_chosen(item->text().toStdString());
  });
  FitToFont();
}

QPushButton* RigListPanel::AddButton(QGridLayout& grid, const QString& text, const QString& tip,
                                     const QKeySequence& keys, std::function<void()> RigListPanel::*action) {
  auto* button = new QPushButton(text, this);
  connect(new QShortcut(keys, this), &QShortcut::activated, button, &QPushButton::click);
  button->setToolTip(tip + " (" + keys.toString(QKeySequence::NativeText) + ")");
  button->setAccessibleName(tip);
  button->setAutoDefault(false);
  const int count = grid.count();
  grid.addWidget(button, count / 2, count % 2);
  connect(button, &QPushButton::clicked, this, [this, action] {
    if (this->*action) (this->*action)();
  });
  return button;
}

void RigListPanel::List(const std::vector<std::string>& names, const std::string& in_use) {
  const QListWidgetItem* current = list_->currentItem();
  const std::string marked = current != nullptr ? current->text().toStdString() : "";
  marking_ = true;
  list_->clear();
  for (const std::string& name : names) {
    auto* item = new QListWidgetItem(widgets::ToQt(name), list_);
    item->setToolTip(item->text());
    if (QString::compare(item->text(), widgets::ToQt(in_use), Qt::CaseInsensitive) != 0) continue;
    QFont bold = item->font();
    bold.setBold(true);
    item->setFont(bold);
    item->setToolTip(tr("%1, the rig in use").arg(item->text()));
    item->setData(Qt::AccessibleTextRole, item->toolTip());
  }
  marking_ = false;
  Mark(marked);
  Filter();
}

void RigListPanel::Mark(const std::string& name) {
  const auto found = list_->findItems(widgets::ToQt(name), Qt::MatchFixedString);
  marking_ = true;
  list_->setCurrentItem(found.isEmpty() ? nullptr : found.first());
  if (!found.isEmpty()) list_->scrollToItem(found.first());
  marking_ = false;
}

void RigListPanel::SetHasRig(bool has) {
  for (QPushButton* button : for_a_rig_) button->setEnabled(has);
}

void RigListPanel::Filter() {
  const QString text = search_->text().trimmed();
  for (int i = 0; i < list_->count(); ++i) {
    list_->item(i)->setHidden(!list_->item(i)->text().contains(text, Qt::CaseInsensitive));
  }
}

void RigListPanel::FitToFont() {
  list_->setMinimumWidth(12 * fontMetrics().averageCharWidth());
  list_->setMinimumHeight(3 * fontMetrics().height());
}

void RigListPanel::changeEvent(QEvent* event) {
  QFrame::changeEvent(event);
  if (event->type() == QEvent::FontChange) FitToFont();
}

}  // namespace kvx::console
